// A limit on memory, for calls that would go on until memory runs out.

#ifndef TESTS_SUPPORT_ALLOCATION_LIMIT_H
#define TESTS_SUPPORT_ALLOCATION_LIMIT_H

#include <cstddef>

// While an AllocationLimit lives, operator new throws std::bad_alloc in every thread if
// it is asked for more than `bytes` at once. A program that uses it links
// allocation_limit.cpp, which replaces operator new.
class AllocationLimit {
  public:
    explicit AllocationLimit(std::size_t bytes);
    ~AllocationLimit();
    AllocationLimit(AllocationLimit const&) = delete;
    AllocationLimit& operator=(AllocationLimit const&) = delete;
};

#endif
