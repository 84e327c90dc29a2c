#include "tests/support/counted_malloc.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstddef>

// The C library's own, under its second names.
extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);
extern "C" void* __libc_realloc(void* memory, std::size_t size);
extern "C" void* __libc_memalign(std::size_t alignment, std::size_t size);

namespace {

std::atomic<int> g_allocations{0};
std::atomic<int> g_last_granted{INT_MAX};

bool IsGranted() {
    bool const granted = ++g_allocations <= g_last_granted;
    if (!granted) {
        errno = ENOMEM;
    }
    return granted;
}

}  // namespace

int CountAllocations() {
    return g_allocations;
}

RefusedAllocations::RefusedAllocations(int granted) {
    g_last_granted = g_allocations + granted;
}

RefusedAllocations::~RefusedAllocations() {
    g_last_granted = INT_MAX;
}

bool RefusedAllocations::Any() const {
    return g_allocations > g_last_granted;
}

extern "C" void* malloc(std::size_t size) {
    return IsGranted() ? __libc_malloc(size) : nullptr;
}

extern "C" void* calloc(std::size_t count, std::size_t size) {
    return IsGranted() ? __libc_calloc(count, size) : nullptr;
}

extern "C" void* realloc(void* memory, std::size_t size) {
    return IsGranted() ? __libc_realloc(memory, size) : nullptr;
}

extern "C" void* aligned_alloc(std::size_t alignment, std::size_t size) {
    return IsGranted() ? __libc_memalign(alignment, size) : nullptr;
}
