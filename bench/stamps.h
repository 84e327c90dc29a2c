/* The file in which the supervised program tells the measuring one when it started and
   when it ended. In the directory of the file there is a link to the program for each
   slot, whose name is the number of the slot. */

#ifndef BENCH_STAMPS_H
#define BENCH_STAMPS_H

/* NOLINTNEXTLINE(modernize-deprecated-headers): C reads this too. */
#include <stdint.h>

#define STAMPS_FILE "stamps"

enum { kStampsKept = 1023 };

/* One start of the program, in nanoseconds of CLOCK_MONOTONIC. */
struct Stamp {
    int64_t start;
    int64_t end; /* just before its exit; 0 before that */
};

/* The stamps of one item: whole pages of the file, written by one process at a time.
   Start number n, counted from 0, is in stamps[n % kStampsKept]. The counts are read and
   written with the __atomic functions: a stamp is complete once it is counted. */
struct StampSlot {
    uint32_t starts;
    uint32_t ends;
    uint32_t
        stays;   /* set by the one who measures: the next start does not end by itself */
    int32_t pid; /* of the latest start */
    struct Stamp stamps[kStampsKept];
};

#endif
