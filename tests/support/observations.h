// What the launcher does while it starts and stops, told by the calls that it makes.
//
// A program that links observer.cpp beside the launcher's sources notes these calls, and
// makes them as before, in a file that the test shares with it and that outlives it:
//
//   Observations const observations(file);
//   setenv(Observations::kVariable, file.c_str(), 1);
//   ...                                  // start the program, send it a SIGTERM
//   observations.Acts()  -> {kInstallsHandler, main}, ..., {kKills, main, 4711}, ...

#ifndef TESTS_SUPPORT_OBSERVATIONS_H
#define TESTS_SUPPORT_OBSERVATIONS_H

#include <sys/types.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <vector>

enum class ActKind {
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
    kAborts,
};

constexpr long kItself = 1;

// One call, or the return from it.
struct Act {
    ActKind kind = ActKind::kNone;
    pid_t thread = 0;
    long value = 0;
    bool inside_fork = false;  // the thread was interrupted in the midst of fork
};

// Returns the act in words.
std::string Describe(Act const& act);

// The shared file's content. A slot counts once its kind is set.
struct ObservationSlots {
    static constexpr unsigned kCount = 16384;
    struct Slot {
        std::atomic<ActKind> kind;
        pid_t thread;
        long value;
        bool inside_fork;
    };
    std::atomic<unsigned> used;
    Slot slots[kCount];
};

// The file of one run, empty at first.
class Observations {
  public:
    // The environment variable that names the file to the program.
    static constexpr char const* kVariable = "OBSERVATIONS";

    // Makes the file. Throws std::system_error if that cannot be done.
    explicit Observations(std::filesystem::path const& file);
    ~Observations();
    Observations(Observations const&) = delete;
    Observations& operator=(Observations const&) = delete;

    // Returns what was noted so far, in order.
    std::vector<Act> Acts() const;

  private:
    std::filesystem::path const path;
    ObservationSlots* slots;
};

#endif
