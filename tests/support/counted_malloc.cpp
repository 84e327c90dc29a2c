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
std::atomic<int> g_first_refused{INT_MAX};
std::atomic<int> g_last_refused{INT_MAX};

bool IsGranted() {
    int const allocation = ++g_allocations;
    bool const granted = allocation < g_first_refused || allocation > g_last_refused;
    if (!granted) {
        errno = ENOMEM;
    }
    return granted;
}

}  // namespace

int CountAllocations() {
    return g_allocations;
}

RefusedAllocations::RefusedAllocations(int granted, int refused) {
    int const before = g_allocations + granted;
    g_last_refused = refused < INT_MAX - before ? before + refused : INT_MAX;
    g_first_refused = before + 1;
}

RefusedAllocations::~RefusedAllocations() {
    g_first_refused = INT_MAX;
}

bool RefusedAllocations::Any() const {
    return g_allocations >= g_first_refused;
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
