#include "tests/support/allocation_limit.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> largest_allocation = SIZE_MAX;

}  // namespace

AllocationLimit::AllocationLimit(std::size_t bytes) {
    largest_allocation = bytes;
}

AllocationLimit::~AllocationLimit() {
    largest_allocation = SIZE_MAX;
}

void* operator new(std::size_t size) {
    void* const block = size <= largest_allocation ? std::malloc(size) : nullptr;
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void operator delete(void* block) noexcept {
    std::free(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}
