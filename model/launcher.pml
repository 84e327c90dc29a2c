/* The launcher, its programs, and the system that gives it signals. sigterm.pml and
   launcher_stop.pml add who sends them.

   Each process here is a thread of the launcher, a handler that may interrupt one, or the
   programs. Each transition names the function of launcher/ that it stands for.

   These macros choose what is explored:

     ITEMS         how many items the list has, 1 to 3
     ENDS          the programs end by themselves: ALWAYS, NEVER or MAYBE
     TWINS         the last two items have one name
     WRONG         the item after the last is wrong: the launcher exits with 0
     FORK_FAILS    a fork may fail
     CHAIN         no program can be executed
     STARTS        how often a program is started at most: a third start is like the
                   second

   Time has no length: a pause ends at some time. */

#define ALWAYS 1
#define NEVER 2
#define MAYBE 3

#ifndef ITEMS
#define ITEMS 2
#endif
#ifndef ENDS
#define ENDS NEVER
#endif

#define THREADS (ITEMS + 1)
#ifndef STARTS
#define STARTS 2
#endif
#define NOBODY 255

/* What `pid` of a ChildProc, noted_id here, can be, besides the number of a start. */
#define NOT_FORKED 0
#define FAILED 200

/* How the launcher ended. */
mtype = {running_on, by_sigterm, exit_0, exit_1, group_killed, aborted,
         aborted_in_fork, crashed, by_sigkill};

mtype end = running_on;
#define gone (end != running_on)

/* The threads: 0 is main, the others supervise the item of their number. */
bool created[4];
bool ended[4];
bool blocked[4];     /* the thread blocks signals */
bool interrupted[4]; /* the handler runs on the thread */
bool inside_fork[4];

byte allocator = NOBODY; /* the thread that holds the lock of malloc */

bool has_handler; /* InitDaemon has installed it */
bool is_pending;  /* a SIGTERM waits for a thread */
byte sigterms;
bool are_forks_safe; /* launcher-stop has looked: from there on no fork fails */

/* ChildProc. */
bool keeps_running[4];
byte noted_id[4];

/* g_child_map: the item of each name, 0 without one. */
byte table[4];
byte clearing;     /* threads that are clearing it */
bool is_adding;    /* main is in operator[] */
bool is_spoilt;    /* both at a time */

bool rests[4];    /* the thread is in waitpid, or in the pause */
bool is_waiting;  /* main waits for g_process_condition, ... */
bool is_joining;  /* ... or for the end of an earlier item of the same name */
bool is_notified;

/* The programs: the number of the start that lives, 0 without one. */
byte starts[4];
byte alive[4];
bool ends_itself[4];
bool has_links[4]; /* the chain of the item has links below its first one */

bool everybody_killed;
bool is_pending_of_stop; /* the SIGTERM that waits is launcher-stop's */
bool is_of_stop[4];      /* it was, for the handler on this thread */
bool is_by_stop;         /* such a handler killed the group or everybody */

#ifdef TWINS
#define NAME_OF(item) (item == ITEMS -> ITEMS - 1 : item)
#else
#define NAME_OF(item) (item)
#endif

/* kill(pid, SIGKILL) in ChildProc::Stop, on the thread `self`. */
inline send_sigkill(item, self) {
    if
    :: noted_id[item] == NOT_FORKED ->
        end = group_killed; is_by_stop = is_of_stop[self] && _pid >= THREADS; forget_programs()
    :: noted_id[item] == FAILED ->
        everybody_killed = true; is_by_stop = is_of_stop[self] && _pid >= THREADS; forget_programs()
    :: noted_id[item] != NOT_FORKED && noted_id[item] == alive[item] -> alive[item] = 0
    :: else
    fi
}

/* The group and the user's processes include all programs and links. */
inline forget_programs() {
    alive[1] = 0; alive[2] = 0; alive[3] = 0;
    has_links[1] = false; has_links[2] = false; has_links[3] = false
}

/* free, or the allocation of an exception, in a handler: it finds what it needs in the cache
   of its thread, or takes the lock of malloc. Then it waits for it. */
inline free_memory() {
    if
    :: true
    :: true -> allocator == NOBODY
    fi
}

/* ChildProc::~ChildProc on the thread `self`. */
inline destroy(item, self) {
    keeps_running[item] = false; /* ChildProc::Stop ... */
    d_step { is_joining = (_pid == 0); send_sigkill(item, self) }; /* ... and its kill */
    if
    :: item == self -> /* std::thread::join throws in a destructor */
        free_memory();
        end = (inside_fork[self] -> aborted_in_fork : aborted)
    :: item != self && ended[item] /* std::thread::join */
    fi;
    free_memory()
}

/* std::unordered_map::clear on the thread `self`. Nothing guards the table: whoever
   changes it too may crash, or see an entry that is gone. */
inline clear_table(self) {
    atomic {
        clearing++;
        is_spoilt = is_spoilt || is_adding || clearing > 1
    };
    name = 1;
    do
    :: d_step { name <= ITEMS && table[name] != 0 ->
        item = table[name];
        table[name] = (clearing > 1 -> 0 : table[name]) };
        destroy(item, self);
        atomic { table[name] = 0; item = 0; name++ }
    :: name <= ITEMS && table[name] == 0 -> name++
    :: name > ITEMS -> break
    od;
    atomic {
        clearing--; name = 0;
        if
        :: is_spoilt && clearing > 0 -> end = crashed
        :: true
        fi
    }
}

active proctype Main() provided (!gone && !interrupted[_pid]) {
    byte next = 1;
    byte name;
    byte item;
    created[0] = true;
    has_handler = true; /* InitDaemon */
    do
    :: next <= ITEMS ->
        atomic { allocator == NOBODY -> allocator = 0 }; /* StartItem: JsonObject */
        allocator = NOBODY;
        blocked[0] = true; /* ChildProc::ChildProc: std::thread blocks signals ... */
        atomic { keeps_running[next] = true; created[next] = true };
        blocked[0] = false; /* ... while it makes the thread */
        atomic { /* StartItem: operator[] of g_child_map begins ... */
            is_adding = true;
            is_spoilt = is_spoilt || clearing > 0
        };
        item = table[NAME_OF(next)];
        atomic { /* ... and the assignment ends */
            if
            :: !is_spoilt -> table[NAME_OF(next)] = next
            :: is_spoilt -> table[NAME_OF(next)] = next
            :: is_spoilt /* the entry is lost */
            :: is_spoilt -> end = crashed
            fi;
            is_adding = false;
            is_spoilt = clearing > 1
        };
        if
        :: item != 0 -> /* ChildProc of the same name */
            destroy(item, 0);
            is_joining = false;
            item = 0
        :: else
        fi;
        next++
    :: next > ITEMS -> break
    od;
#ifdef WRONG
    clear_table(0); /* main catches, returns 0, and exit destroys g_child_map */
    end = exit_0
#else
    is_waiting = true; /* WaitForStop */
    is_notified;
    is_waiting = false;
    clear_table(0); /* main returns 1, and exit destroys g_child_map */
    end = exit_1
#endif
}

/* ChildProc::Supervise, on the thread of its item. */
active [ITEMS] proctype Supervisor() provided (!gone && !interrupted[_pid]) {
    created[_pid];
    do
    :: !keeps_running[_pid] -> break
    :: keeps_running[_pid] ->
        atomic { allocator == NOBODY -> allocator = _pid }; /* launch_list::Program */
        allocator = NOBODY;
        atomic { allocator == NOBODY -> allocator = _pid; inside_fork[_pid] = true };
        byte child;
        atomic { /* fork */
            if
            :: true ->
                starts[_pid]++;
                child = starts[_pid];
                alive[_pid] = child;
                if
                :: ENDS != NEVER -> ends_itself[_pid] = true
                :: ENDS != ALWAYS -> ends_itself[_pid] = false
                fi
#ifdef FORK_FAILS
            :: !are_forks_safe -> child = FAILED
#endif
            fi
        };
        atomic { allocator = NOBODY; inside_fork[_pid] = false };
        noted_id[_pid] = child; /* pid.store */
        if
        :: child == FAILED -> break
        :: child != FAILED ->
            rests[_pid] = true; /* WaitForEnd */
            alive[_pid] == 0
        fi;
        /* The pause. Another start would change nothing that the last one did not. */
        starts[_pid] < STARTS || !keeps_running[_pid];
        rests[_pid] = false
    od;
    atomic { keeps_running[_pid] = false; ended[_pid] = true }
}

/* sigterm_handler, on the thread that it interrupts. */
active [THREADS] proctype Handler() provided (!gone) {
    byte self = _pid - THREADS;
    byte name;
    byte item;
    do
    :: interrupted[self] ->
        if
        :: table[1] == 0 && table[2] == 0 && table[3] == 0
        :: else -> clear_table(self)
        fi;
        is_notified = is_notified || is_waiting; /* notify_all */
        interrupted[self] = false
    od
}

/* What the programs do by themselves. */
active proctype Programs() {
    byte item;
    do
#ifdef CHAIN
    :: atomic { alive[1] != 0 && !has_links[1] -> has_links[1] = true } /* Supervise */
    :: atomic { alive[2] != 0 && !has_links[2] -> has_links[2] = true }
    :: atomic { alive[3] != 0 && !has_links[3] -> has_links[3] = true }
#else
    :: atomic { alive[1] != 0 && ends_itself[1] -> alive[1] = 0 }
    :: atomic { alive[2] != 0 && ends_itself[2] -> alive[2] = 0 }
    :: atomic { alive[3] != 0 && ends_itself[3] -> alive[3] = 0 }
#endif
    od
}

#define is_any_alive (alive[1] != 0 || alive[2] != 0 || alive[3] != 0)
#define has_any_links (has_links[1] || has_links[2] || has_links[3])
#define is_any_interrupted (interrupted[0] || interrupted[1] || interrupted[2] || \
                            interrupted[3])
#define takes(thread) (thread < THREADS && created[thread] && !ended[thread] && \
                       !blocked[thread] && !interrupted[thread])

inline send_sigterm() {
    atomic {
        sigterms++;
        if
        :: gone
        :: !gone && !has_handler -> end = by_sigterm
        :: !gone && has_handler -> is_pending = true
        fi
    }
}

inline deliver(thread) {
    is_pending = false;
    interrupted[thread] = true;
    is_of_stop[thread] = is_pending_of_stop;
    is_pending_of_stop = false
}

/* The system: any thread that does not block the signal may take it. */
active proctype Delivery() provided (!gone) {
    do
    :: atomic { is_pending && takes(0) -> deliver(0) }
    :: atomic { is_pending && takes(1) -> deliver(1) }
    :: atomic { is_pending && takes(2) -> deliver(2) }
    :: atomic { is_pending && takes(3) -> deliver(3) }
    od
}
