// One heap for all threads of a process, on Linux. It concerns the whole process, so a
// program links this for itself alone, and calls nothing.
//
// A fork copies every mapping of the process, and by itself the C library gives each of
// the first threads a heap of its own.

#include <malloc.h>

namespace {

// Before main, and so before there is another thread.
[[maybe_unused]] int const is_set = mallopt(M_ARENA_MAX, 1);

}  // namespace
