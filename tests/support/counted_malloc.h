// Counts the calls of malloc and its kin, and lets them fail. A program that uses it
// links counted_malloc.cpp, which stands in for them everywhere, the C library included;
// not where a sanitizer brings an allocator of its own.

#ifndef TESTS_SUPPORT_COUNTED_MALLOC_H
#define TESTS_SUPPORT_COUNTED_MALLOC_H

#include <climits>

// Returns how many blocks were asked for so far.
int CountAllocations();

// While it lives, the first `granted` blocks are given, the next `refused` are not, and
// later ones are given again.
class RefusedAllocations {
  public:
    explicit RefusedAllocations(int granted, int refused = INT_MAX);
    ~RefusedAllocations();
    RefusedAllocations(RefusedAllocations const&) = delete;
    RefusedAllocations& operator=(RefusedAllocations const&) = delete;

    // Says whether a block was refused.
    bool Any() const;
};

#endif
