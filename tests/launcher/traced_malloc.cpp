// The allocator of the traced launcher, which knows that a thread is in it.

#include <cstddef>

#include "tests/launcher/call_trace.h"

// The C library's own, under its second names.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* memory, std::size_t size);
extern "C" void __libc_free(void* memory);

namespace {

// A handler that interrupts the allocator may call it, too.
class Inside {
  public:
    Inside() { inside_malloc = true; }
    ~Inside() { inside_malloc = before; }
    Inside(Inside const&) = delete;
    Inside& operator=(Inside const&) = delete;

  private:
    bool const before = inside_malloc;
};

}  // namespace

extern "C" void* malloc(std::size_t size) {
    Inside const inside;
    return __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size) {
    Inside const inside;
    return __libc_calloc(count, size);
}

extern "C" void* realloc(void* memory, std::size_t size) {
    Inside const inside;
    return __libc_realloc(memory, size);
}

extern "C" void free(void* memory) {
    Inside const inside;
    __libc_free(memory);
}
