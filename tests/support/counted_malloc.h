// Counts the calls of malloc, calloc, realloc and aligned_alloc, and lets them fail. A
// program that uses it links counted_malloc.cpp, which replaces these functions
// everywhere, in the C library too. It does not work with sanitizers, which replace them
// themselves.

#ifndef TESTS_SUPPORT_COUNTED_MALLOC_H
#define TESTS_SUPPORT_COUNTED_MALLOC_H

#include <climits>

// Returns the number of calls so far.
int CountAllocations();

// While it lives, the first `granted` calls succeed, the next `refused` fail, and later
// ones succeed again.
class RefusedAllocations {
  public:
    explicit RefusedAllocations(int granted, int refused = INT_MAX);
    ~RefusedAllocations();
    RefusedAllocations(RefusedAllocations const&) = delete;
    RefusedAllocations& operator=(RefusedAllocations const&) = delete;

    // Returns whether a block was refused.
    bool Any() const;
};

#endif
