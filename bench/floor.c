/* The least that a supervisor of the launcher's design can be. The launcher is measured
   against it.

     floor COUNT DIRECTORY [ARGUMENT...]

   keeps the programs 0, 1, ... in the directory running with these arguments. There is a
   thread for each: fork, execv, waitpid, 50 ms. SIGTERM stops it: it kills the programs
   one after the other, and waits for each thread's end. */

#define _GNU_SOURCE
#include <pthread.h>
#include <semaphore.h>
#include <signal.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

struct Item {
    atomic_int pid;
    atomic_bool running;
    pthread_t thread;
    char** arguments;
};

static sem_t stop_asked;

static void HandleStop(int signal_number) {
    (void)signal_number;
    sem_post(&stop_asked);
}

static void* Supervise(void* argument) {
    struct Item* const item = argument;
    while (atomic_load_explicit(&item->running, memory_order_relaxed)) {
        pid_t const child = fork();
        if (child < 0) {
            break;
        }
        if (child == 0) {
            execv(item->arguments[0], item->arguments);
            _exit(127);
        }
        atomic_store_explicit(&item->pid, child, memory_order_relaxed);
        int status;
        waitpid(child, &status, 0);
        struct timespec const delay = {0, 50000000};
        nanosleep(&delay, NULL);
    }
    return NULL;
}

/* Starts the item's thread. `argv` is the directory, the arguments and null, `argc` of
   them without the null. Returns whether it was started. */
static int Start(struct Item* item, int number, int argc, char** argv) {
    item->arguments = calloc((size_t)argc + 1, sizeof(char*));
    if (item->arguments == NULL ||
        asprintf(&item->arguments[0], "%s/%d", argv[0], number) < 0) {
        return 0;
    }
    memcpy(item->arguments + 1, argv + 1, (size_t)argc * sizeof(char*));
    item->running = 1;
    return pthread_create(&item->thread, NULL, Supervise, item) == 0;
}

static void Stop(struct Item* item) {
    atomic_store_explicit(&item->running, 0, memory_order_relaxed);
    pid_t const child = atomic_load_explicit(&item->pid, memory_order_relaxed);
    if (child > 0) {
        kill(child, SIGKILL);
    }
    pthread_join(item->thread, NULL);
}

int main(int argc, char** argv) {
    close(0);
    close(1);
    close(2);
    sem_init(&stop_asked, 0, 0);
    signal(SIGTERM, HandleStop);
    int const count = argc < 3 ? 0 : atoi(argv[1]);
    if (count < 1) {
        return 2;
    }
    struct Item* const items = calloc((size_t)count, sizeof(struct Item));
    for (int i = 0; i < count; ++i) {
        if (items == NULL || !Start(&items[i], i, argc - 2, argv + 2)) {
            return 3;
        }
    }
    while (sem_wait(&stop_asked) != 0) {
    }
    for (int i = 0; i < count; ++i) {
        Stop(&items[i]);
    }
    return 0;
}
