// Makes malloc use one arena for all threads of the process, on Linux. By itself the C
// library gives each of the first threads an arena of its own, in a mapping of its own,
// and a fork copies every mapping.
//
// This changes the whole process. So only programs link it, never libraries. Nothing has
// to be called.

#include <malloc.h>

namespace {

// Runs before main, when there is no other thread.
[[maybe_unused]] int const is_set = mallopt(M_ARENA_MAX, 1);

}  // namespace
