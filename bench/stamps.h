/* What the supervised program of the measurements leaves in a file that it shares with
   the one who measures: when it started and when it ended. It is started by links with
   the numbers of the slots for names, which lie beside the file. */

#ifndef BENCH_STAMPS_H
#define BENCH_STAMPS_H

/* NOLINTNEXTLINE(modernize-deprecated-headers): C reads this too. */
#include <stdint.h>

#define STAMPS_FILE "stamps"

enum { kStampsKept = 1023 };

/* One start of the program, in nanoseconds of CLOCK_MONOTONIC. */
struct Stamp {
    int64_t start;
    int64_t end; /* just before its exit; 0 if it has not come to that */
};

/* The stamps of one item: whole pages of the file, written by one process at a time.
   Number n of its starts, counted from 0, is in stamps[n % kStampsKept]. The counts are
   read and written with the __atomic functions: what they count is complete. */
struct StampSlot {
    uint32_t starts;
    uint32_t ends;
    uint32_t
        stays;   /* set by the one who measures: the next start does not end by itself */
    int32_t pid; /* of the latest start */
    struct Stamp stamps[kStampsKept];
};

#endif
