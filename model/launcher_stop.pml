/* launcher-stop, begun at any moment of the launcher's life. At its end nothing of the
   launcher is left, and no SIGTERM of its has harmed anybody else.

   Each transition of the process Tool names the function of tools/launcher_stop/stop.cpp
   that it stands for. "timeout" is the end of a time limit: all that can happen by itself
   has happened by then. Where no harm can follow, a time limit may end at any moment. A
   fork may fail until launcher-stop has looked: it keeps a
   distance to the process limit (IsShortOfProcesses).

   With ANOTHER somebody else sends a SIGTERM too, at any moment. With LIST_CHANGED the list
   is no longer the one that the launcher has read, so nobody knows how many threads there
   should be. */

#include "launcher.pml"

#ifdef LIST_CHANGED
#define NAMES 0
#elif defined(TWINS)
#define NAMES (ITEMS - 1)
#else
#define NAMES ITEMS
#endif

#define is_supervising(thread) (thread < THREADS && created[thread] && !ended[thread])
#define count_supervising() (is_supervising(1) + is_supervising(2) + is_supervising(3))

bool has_forked[4]; /* launcher-stop has seen the thread rest */
bool is_harmless;   /* a look has shown nothing that forbids SIGTERM */

mtype = {had_ended, after_sigterm, hung, by_doubt};
mtype how;

inline send_sigterm_of_stop() {
    atomic {
        is_pending_of_stop = is_pending_of_stop || !is_pending;
        send_sigterm()
    }
}

/* The launcher alone dies. */
inline send_sigkill_to_launcher() {
    atomic {
        if
        :: !gone -> end = by_sigkill
        :: gone
        fi
    }
}

/* One look of LauncherStop::AwaitForks: at main, and at one thread after the other. */
inline look() {
    is_harmless = is_waiting || is_joining;
    thread = 1;
    do
    :: atomic { thread < THREADS && is_supervising(thread) ->
        has_forked[thread] = has_forked[thread] || rests[thread];
        is_harmless = is_harmless && has_forked[thread] && !interrupted[thread];
        thread++ }
    :: thread < THREADS && !is_supervising(thread) -> thread++
    :: thread == THREADS -> break
    od;
    atomic {
        is_harmless = is_harmless && count_supervising() >= NAMES && !interrupted[0];
        thread = 0
    }
}

/* LauncherStop::AwaitForks. Its looks are apart for longer than a pause: main no longer
   joins the thread that it joined at the first. A fork that may fail does so before. */
inline await_forks() {
    do
    :: gone -> break
    :: !gone ->
        look();
        if
        :: is_harmless && are_forks_safe -> break
        :: is_harmless && !are_forks_safe ->
            (!is_joining || gone);
            atomic {
                are_forks_safe = true;
                is_harmless = false;
                has_forked[1] = false; has_forked[2] = false; has_forked[3] = false
            }
        :: else
        fi
    :: true -> are_forks_safe = false; break /* the time is over */
    od
}

/* LauncherStop::HasFailedFork: only if the list has changed it reads the log. */
#ifdef LIST_CHANGED
#define has_failed_fork (noted_id[1] == FAILED || noted_id[2] == FAILED || \
                         noted_id[3] == FAILED)
#else
#define has_failed_fork false
#endif

active proctype Tool() {
    byte thread;
    await_forks();
    if
    :: gone -> how = had_ended
    :: !gone && are_forks_safe && !has_failed_fork ->
        send_sigterm_of_stop(); /* LauncherStop::Stop */
        if
        :: gone -> how = after_sigterm
        :: timeout -> /* AwaitEnd */
            send_sigkill_to_launcher();
            how = hung
        fi
    :: else -> send_sigkill_to_launcher(); how = by_doubt
    fi;
    do /* FamilyEnd::End: links and programs, until no more come */
    :: atomic { alive[1] != 0 -> alive[1] = 0 }
    :: atomic { alive[2] != 0 -> alive[2] = 0 }
    :: atomic { alive[3] != 0 -> alive[3] = 0 }
    :: atomic { has_any_links && !is_any_alive ->
                has_links[1] = false; has_links[2] = false; has_links[3] = false }
    :: timeout -> break
    od;
    if
    :: !gone || is_any_alive || has_any_links -> printf("outcome: something is left\n")
    :: else ->
        if
        :: is_by_stop && everybody_killed ->
            printf("outcome: all processes of the user were ended\n")
        :: is_by_stop && !everybody_killed ->
            printf("outcome: the process group was ended\n")
        :: !is_by_stop ->
            if
            :: how == had_ended -> printf("outcome: had ended\n")
            :: how == after_sigterm -> printf("outcome: ended after SIGTERM\n")
            :: how == hung -> printf("outcome: hung, and was ended by SIGKILL\n")
            :: how == by_doubt -> printf("outcome: was ended by SIGKILL\n")
            fi
        fi
    fi
}

#ifdef ANOTHER
active proctype Sender() {
    send_sigterm()
}
#endif
