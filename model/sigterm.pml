/* SIGTERM to the launcher at any moment, and a second one if main has missed the first. At
   a standstill Judge prints the outcome. An exhaustive search prints all that there can be.

   With SECOND_ANY the second SIGTERM, too, may come at any moment. */

#include "launcher.pml"

bool was_in_vain;

#define waits_in_vain (is_waiting && !is_notified && !is_any_interrupted && !is_pending)

active proctype Sender() {
    send_sigterm();
#ifdef SECOND_ANY
    send_sigterm()
#endif
}

active proctype Judge() {
    do
    :: timeout ->
        if
        :: !gone && waits_in_vain && !was_in_vain -> was_in_vain = true; send_sigterm()
        :: else -> break
        fi
    od;
    if
    :: everybody_killed -> printf("outcome: killed every process of the user\n")
    :: else ->
        if
        :: end == by_sigterm ->
            printf("outcome: ended by SIGTERM before it had its handler\n")
        :: end == group_killed -> printf("outcome: killed its own process group\n")
        :: end == aborted ->
            printf("outcome: aborted in the handler on a supervising thread\n")
        :: end == aborted_in_fork ->
            printf("outcome: aborted in the handler on a supervising thread inside fork\n")
        :: end == crashed -> printf("outcome: crashed when the table was changed twice at a time\n")
        :: end == exit_0 && !is_any_alive -> printf("outcome: ended with 0\n")
        :: end == exit_0 && is_any_alive -> printf("outcome: ended with 0 and left programs\n")
        :: end == exit_1 && is_any_alive ->
            printf("outcome: ended with 1 and left what main was adding\n")
        :: end == exit_1 && !is_any_alive && has_any_links ->
            printf("outcome: ended with 1 and left the links of a chain\n")
        :: end == exit_1 && !is_any_alive && !has_any_links && !was_in_vain ->
            printf("outcome: ended with 1\n")
        :: end == exit_1 && !is_any_alive && !has_any_links && was_in_vain ->
            printf("outcome: ended with 1 after a second SIGTERM\n")
        :: !gone && allocator != NOBODY && inside_fork[allocator] ->
            printf("outcome: hung in the handler on a supervising thread inside fork\n")
        :: !gone && allocator != NOBODY && !inside_fork[allocator] ->
            printf("outcome: hung in the handler on a thread that allocates memory\n")
        :: !gone && allocator == NOBODY && is_any_alive ->
            printf("outcome: waits for a program that had just been started again\n")
        :: !gone && allocator == NOBODY && !is_any_alive && is_any_interrupted ->
            printf("outcome: hung in two handlers that wait for each other's threads\n")
        :: else -> printf("outcome: none of these\n"); assert(false)
        fi
    fi
}
