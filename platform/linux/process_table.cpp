#include "platform/process_table.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>

#include "platform/linux/process_text.h"

namespace {

std::string PathIn(pid_t id, char const* file) {
    return "/proc/" + std::to_string(id) + "/" + file;
}

// Returns the content of the file; an empty string if it cannot be read.
std::string ReadWhole(std::string const& path) {
    std::string text;
    int const file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    char chunk[4096];
    ssize_t length = 0;
    while (file >= 0 && ((length = read(file, chunk, sizeof chunk)) > 0 ||
                         (length < 0 && errno == EINTR))) {
        text.append(chunk, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    }
    if (file >= 0) {
        close(file);
    }
    return text;
}

// Returns where the link leads; an empty string if that cannot be read.
std::string ReadLink(std::string const& path) {
    char target[PATH_MAX];
    ssize_t const length = readlink(path.c_str(), target, sizeof target);
    return length < 0 ? "" : std::string(target, static_cast<std::size_t>(length));
}

std::string ProgramOf(pid_t id) {
    std::string const removed = " (deleted)";
    std::string program = ReadLink(PathIn(id, "exe"));
    if (program.size() > removed.size() &&
        program.compare(program.size() - removed.size(), removed.size(), removed) == 0) {
        program.resize(program.size() - removed.size());
    }
    return program;
}

ThreadInfo ReadThread(pid_t process, pid_t thread) {
    std::string const directory = "task/" + std::to_string(thread) + "/";
    ThreadInfo info = ThreadOf(ReadWhole(PathIn(process, (directory + "status").c_str())),
                               ReadWhole(PathIn(process, (directory + "wchan").c_str())));
    info.id = thread;
    return info;
}

// The system does not tell what a thread sleeps in if that is a secret, or if the thread
// is only about to sleep. If it tells that of one thread, it is no secret of the others.
void ForgetUnknownWaits(std::vector<ThreadInfo>& threads) {
    auto const is_unknown = [](ThreadInfo const& thread) {
        return thread.waits_for_child_or_time && thread.waits_for_thread;
    };
    bool const is_secret = std::none_of(
        threads.begin(), threads.end(),
        [&](ThreadInfo const& thread) { return thread.waits && !is_unknown(thread); });
    for (ThreadInfo& thread : threads) {
        if (!is_secret && is_unknown(thread)) {
            thread.waits = thread.waits_for_child_or_time = thread.waits_for_thread =
                false;
        }
    }
}

}  // namespace

std::vector<ProcessInfo> ReadProcesses() {
    // The list of ids grows at its end. To read a process takes longer than to fork one,
    // so a look at each before the next id might never come to the end.
    std::vector<pid_t> ids;
    std::unique_ptr<DIR, int (*)(DIR*)> const directory(opendir("/proc"), closedir);
    while (directory) {
        dirent const* const entry = readdir(directory.get());
        if (entry == nullptr) {
            break;
        }
        ids.push_back(std::atoi(entry->d_name));
    }
    std::vector<ProcessInfo> processes;
    for (pid_t const id : ids) {
        if (std::optional<ProcessInfo> process =
                id > 0 ? ReadProcess(id) : std::nullopt) {
            processes.push_back(std::move(*process));
        }
    }
    return processes;
}

std::optional<ProcessInfo> ReadProcess(pid_t id) {
    ProcessInfo process;
    process.id = id;
    struct stat owner = {};
    if (stat(PathIn(id, "").c_str(), &owner) != 0 ||
        !TakeStat(ReadWhole(PathIn(id, "stat")), process)) {
        return std::nullopt;
    }
    process.user = owner.st_uid;
    // A zombie has neither.
    if (!process.is_zombie) {
        process.program = ProgramOf(id);
        process.arguments = SplitArguments(ReadWhole(PathIn(id, "cmdline")));
    }
    return process;
}

std::vector<ThreadInfo> ReadThreads(pid_t id) {
    std::vector<ThreadInfo> threads;
    std::unique_ptr<DIR, int (*)(DIR*)> const directory(
        opendir(PathIn(id, "task").c_str()), closedir);
    while (directory) {
        dirent const* const entry = readdir(directory.get());
        if (entry == nullptr) {
            break;
        }
        pid_t const thread = std::atoi(entry->d_name);
        if (thread > 0) {
            threads.push_back(ReadThread(id, thread));
        }
    }
    ForgetUnknownWaits(threads);
    return threads;
}

std::string DirectoryOf(pid_t id) {
    return ReadLink(PathIn(id, "cwd"));
}
