/* launch-with: two of one command line, one after the other, while somebody kills two of
   all that there are, each at any moment. Never do two copies of the program run at a
   time, and at a standstill none is left that nobody watches.

   launch-with is the partner, its child the watcher, and the program a child of that. Each
   transition names the function of tools/launch_with/ that it stands for. After SIGKILL the
   program may do more before it ends; the others end at once, since they hold the name
   until they are gone.

     KILLS         how many are killed, 2 if it is not set
     ENDS_ITSELF   the program may end by itself

   The program ignores the stop signal, and starts a child, which leaves its group and
   ignores the signal too. */

#ifndef KILLS
#define KILLS 2
#endif

/* The parents that a process can have. */
mtype = {program, watcher, partner, the_system};

/* Of the first and the second launch-with. */
bool is_started[2];
bool has_partner[2];
bool has_watcher[2];
bool has_program[2];  /* the process is there ... */
bool runs[2];         /* ... and executes the program */
bool is_dying[2];     /* it has got SIGKILL */
bool has_child[2];
mtype parent_of_program[2];
mtype parent_of_child[2];
bool dies_with_parent[2];  /* the program, by DieWithParent */
bool has_reported[2];
bool is_pipe_open[2];      /* partner and watcher hear of each other's end */

bool has_launcher[2];      /* the first, and the next after its death */
byte launcher_of[2];

/* HoldName: the name is held until all processes that have the socket are gone. execv
   closes it. */
#define is_held_by(i) (holds[i] && (has_partner[i] || has_watcher[i] || \
                                    (has_program[i] && !runs[i])))
bool holds[2];
bool is_held_for_life[2];

byte kills;
bool is_killed_partner[2];
bool is_killed_watcher[2];

#define adopter(i) (has_watcher[i] -> watcher : (has_partner[i] -> partner : the_system))

inline end_program(i) {
    has_program[i] = false;
    runs[i] = false;
    is_held_for_life[i] = false;
    if
    :: has_child[i] && parent_of_child[i] == program -> parent_of_child[i] = adopter(i)
    :: else
    fi
}

inline end_watcher(i) {
    has_watcher[i] = false;
    if
    :: has_child[i] && parent_of_child[i] == watcher -> parent_of_child[i] = adopter(i)
    :: else
    fi;
    if
    :: has_program[i] ->
        is_dying[i] = is_dying[i] || dies_with_parent[i];
        parent_of_program[i] = adopter(i)
    :: else
    fi
}

inline end_partner(i) {
    has_partner[i] = false;
    if
    :: has_child[i] && parent_of_child[i] == partner -> parent_of_child[i] = the_system
    :: else
    fi;
    if
    :: has_program[i] && parent_of_program[i] == partner ->
        parent_of_program[i] = the_system
    :: else
    fi
}

/* What descends from the watcher, or from the partner after the watcher's end. */
#define is_below(i, who) (has_program[i] && parent_of_program[i] == who)
#define is_child_below(i, who) (has_child[i] && (parent_of_child[i] == who || \
                                (parent_of_child[i] == program && is_below(i, who))))

/* SIGKILL to all that descends from `who`, as long as there is something. */
inline kill_descendants(i, who) {
    do
    :: is_below(i, who) && !is_dying[i] -> is_dying[i] = true
    :: atomic { is_child_below(i, who) -> has_child[i] = false }
    :: !is_below(i, who) && !is_child_below(i, who) -> break
    od;
    atomic { /* ForgetName */
        is_held_for_life[0] = false;
        is_held_for_life[1] = false
    }
}

active [2] proctype Partner() provided (!is_started[_pid] || has_partner[_pid]) {
    is_started[_pid];
    if
    :: has_launcher[launcher_of[_pid]] /* IsOrphan */
    :: else -> goto end
    fi;
    if /* AwaitTurn: HoldName ... */
    :: atomic { !is_held_by(1 - _pid) -> holds[_pid] = true }
    :: !has_launcher[launcher_of[_pid]] -> goto end
    fi;
    if /* ... and IsNameHeldForLife */
    :: !is_held_for_life[1 - _pid]
    :: !has_launcher[launcher_of[_pid]] -> goto end
    fi;
    d_step { /* RunProgram */
        is_pipe_open[_pid] = true;
        has_watcher[_pid] = true
    };
    if /* AwaitReport */
    :: has_reported[_pid]
    :: !has_watcher[_pid] && !has_reported[_pid] -> kill_descendants(_pid, partner)
    fi;
end:
    true;
    d_step { end_partner(_pid) }
}

active [2] proctype Watcher() provided (has_watcher[_pid - 2]) {
    byte i = _pid - 2;
    atomic { /* Watcher::Run */
        has_program[i] = true;
        parent_of_program[i] = watcher
    };
    if /* AwaitEnd */
    :: !has_program[i]
    :: !has_partner[i] || !is_pipe_open[i]
    :: !has_launcher[launcher_of[i]]
    fi;
    kill_descendants(i, watcher); /* EndFamily, after the grace */
    has_reported[i] = true;
    d_step { end_watcher(i) }
}

active [2] proctype Program() provided (has_program[_pid - 4]) {
    byte i = _pid - 4;
    dies_with_parent[i] = true; /* BecomeProgram: DieWithParent ... */
    if
    :: parent_of_program[i] != watcher -> d_step { end_program(i) }
    :: else
        is_held_for_life[i] = true; /* ... HoldNameForLife ... */
        runs[i] = true; /* ... and execv */
        assert(!runs[1 - i]);
        if
        :: atomic { true -> has_child[i] = true; parent_of_child[i] = program }
        :: true
        fi;
#ifdef ENDS_ITSELF
        d_step { end_program(i) }
#endif
    fi
}

/* The end of what has got SIGKILL. */
active [2] proctype End() {
    byte i = _pid - 6;
    do
    :: d_step { has_program[i] && is_dying[i] -> end_program(i); is_dying[i] = false }
    od
}

/* The launcher starts launch-with, and again after its end; somebody starts another
   launcher with the same list after the launcher's death. */
active proctype Launchers() {
    atomic { has_launcher[0] = true; has_partner[0] = true; is_started[0] = true };
    if
    :: atomic { has_launcher[0] && !has_partner[0] ->
                has_partner[1] = true; is_started[1] = true }
    :: atomic { !has_launcher[0] -> has_launcher[1] = true; launcher_of[1] = 1;
                has_partner[1] = true; is_started[1] = true }
    fi
}

#define kill(what) kills < KILLS && what -> kills++

active proctype Killer() {
    byte i;
    do
    :: d_step { kill(has_launcher[0]); has_launcher[0] = false }
    :: d_step { kill(has_partner[0]); is_killed_partner[0] = true; end_partner(0) }
    :: d_step { kill(has_partner[1]); is_killed_partner[1] = true; end_partner(1) }
    :: d_step { kill(has_watcher[0]); is_killed_watcher[0] = true; end_watcher(0) }
    :: d_step { kill(has_watcher[1]); is_killed_watcher[1] = true; end_watcher(1) }
    :: d_step { kill(has_program[0] && !is_dying[0]); is_dying[0] = true }
    :: d_step { kill(has_program[1] && !is_dying[1]); is_dying[1] = true }
    :: timeout -> break
    od;
    i = 0;
    do
    :: i < 2 ->
        if
        :: has_program[i] && !has_watcher[i] -> printf("outcome: a program is left\n")
        :: has_child[i] && !has_watcher[i] && is_killed_partner[i] && is_killed_watcher[i] ->
            printf("outcome: both were killed, and what the program had started is left\n")
        :: has_child[i] && !has_watcher[i] && !(is_killed_partner[i] && is_killed_watcher[i]) ->
            printf("outcome: what the program had started is left\n")
        :: has_program[i] && has_watcher[i] && has_partner[i] -> printf("outcome: it runs\n")
        :: has_program[i] && has_watcher[i] && !has_partner[i] ->
            printf("outcome: it runs, and nobody stops it\n")
        :: !has_program[i] && !has_child[i] && !has_partner[i] && !has_watcher[i] ->
            printf("outcome: nothing is left\n")
        :: else -> printf("outcome: none of these\n"); assert(false)
        fi;
        i++
    :: i == 2 -> break
    od
}
