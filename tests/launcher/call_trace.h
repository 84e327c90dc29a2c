// A trace of the calls that the launcher makes while it starts and stops.
//
// traced_launcher.cpp, linked with the launcher's sources, makes each of these calls and
// notes it in a file. The test reads the file, also after the launcher has ended:
//
//   CallTrace const trace(file);
//   setenv(CallTrace::kVariable, file.c_str(), 1);
//   ...                                  // start the program, send it a SIGTERM
//   trace.Calls()  -> {kInstallsHandler, main}, ..., {kKills, main, 4711}, ...

#ifndef TESTS_LAUNCHER_CALL_TRACE_H
#define TESTS_LAUNCHER_CALL_TRACE_H

#include <sys/types.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <vector>

enum class CallKind {
    kNone,
    kInstallsHandler,
    kHasInstalledHandler,
    kHandlerBegins,
    kHandlerEnds,
    kStartsThread,
    kHasStartedThread,
    kForks,
    kHasForked,  // value: the child
    kKills,      // value: whom
    kJoins,      // value: kItself if the thread is to wait for its own end
    kHasJoined,
    kAborts
};

constexpr long kItself = 1;

// Whether this thread is in malloc or its like. A sanitizer has an allocator of its own,
// which does not tell.
inline thread_local bool inside_malloc = false;

// One call, or the return from one.
struct TracedCall {
    CallKind kind = CallKind::kNone;
    pid_t thread = 0;
    long value = 0;
    bool inside_fork = false;    // a signal interrupted the thread in fork
    bool inside_malloc = false;  // ... or in malloc or its like
};

// Returns the call in words.
std::string Describe(TracedCall const& call);

// The content of the file. A slot counts once its kind is set.
struct TraceSlots {
    static constexpr unsigned kCount = 16384;
    struct Slot {
        std::atomic<CallKind> kind;
        pid_t thread;
        long value;
        bool inside_fork;
        bool inside_malloc;
    };
    std::atomic<unsigned> used;
    Slot slots[kCount];
};

// The file of one run, empty at first.
class CallTrace {
  public:
    // The environment variable that names the file to the program.
    static constexpr char const* kVariable = "CALL_TRACE";

    // Makes the file. Throws std::system_error if that cannot be done.
    explicit CallTrace(std::filesystem::path const& file);
    ~CallTrace();
    CallTrace(CallTrace const&) = delete;
    CallTrace& operator=(CallTrace const&) = delete;

    // Returns the calls so far, in order.
    std::vector<TracedCall> Calls() const;

  private:
    std::filesystem::path const path;
    TraceSlots* slots;
};

#endif
