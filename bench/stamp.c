/* The program that is supervised in the measurements:

     stamp FILE SLOT

   It stamps its start and its end into its slot of the file, and ends at once, or stays
   until it is killed if the slot says so. It does as little as it can, for what it costs
   is added to what every supervisor costs. */

#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include "bench/stamps.h"

static int64_t Now(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000000LL + now.tv_nsec;
}

int main(int argc, char** argv) {
    int64_t const start = Now();
    if (argc != 3) {
        return 2;
    }
    int const file = open(argv[1], O_RDWR);
    off_t const place = (off_t)sizeof(struct StampSlot) * atoi(argv[2]);
    struct StampSlot* const slot = mmap(NULL, sizeof(struct StampSlot),
                                        PROT_READ | PROT_WRITE, MAP_SHARED, file, place);
    if (slot == MAP_FAILED) {
        return 3;
    }
    uint32_t const number = slot->starts;
    struct Stamp* const stamp = &slot->stamps[number % kStampsKept];
    stamp->start = start;
    stamp->end = 0;
    slot->pid = getpid();
    __atomic_store_n(&slot->starts, number + 1, __ATOMIC_RELEASE);
    while (slot->stays) {
        pause();
    }
    stamp->end = Now();
    __atomic_store_n(&slot->ends, slot->ends + 1, __ATOMIC_RELEASE);
    _exit(0);
}
