/* The program that is supervised in the measurements. Its name is a number. It writes the
   times of its start and of its end into the slot of that number, in a file in the same
   directory. It ends at once; if the slot says so, it stays until it is killed. It does as
   little as it can, because its cost is part of what is measured. */

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <time.h>
#include <unistd.h>

#include "bench/stamps.h"

static int64_t Now(void) {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000000LL + now.tv_nsec;
}

/* Returns the slot of the program with this path, MAP_FAILED if there is no file. */
static struct StampSlot* MapSlot(char const* path) {
    char program[PATH_MAX + sizeof STAMPS_FILE]; /* no path of execv is longer */
    strcpy(program, path);
    char* const name = strrchr(program, '/') + 1;
    off_t const place = (off_t)sizeof(struct StampSlot) * atoi(name);
    strcpy(name, STAMPS_FILE);
    return mmap(NULL, sizeof(struct StampSlot), PROT_READ | PROT_WRITE, MAP_SHARED,
                open(program, O_RDWR), place);
}

int main(int argc, char** argv) {
    int64_t const start = Now();
    (void)argc;
    struct StampSlot* const slot = MapSlot(argv[0]);
    if (slot == MAP_FAILED) {
        return 2;
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
