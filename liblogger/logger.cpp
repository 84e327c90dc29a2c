// The logging library for machines that lack the application's own.
//
// Its callers are many threads, processes forked from a threaded process, and threads
// that a signal handler waits for. So the library holds no lock and no open file,
// allocates no memory for an ordinary line, and calls nothing in the C library that could
// wait for another thread.
//
// One log call is one line, and one write to a file that is opened for that line in
// append mode. So lines never mix, and the next line creates a log file again that was
// renamed or removed.

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "common/config/log.h"
#include "liblogger/cut_lines.h"
#include "liblogger/line.h"
#include "liblogger/log_file.h"

namespace {

using liblogger::CutLines;
using liblogger::Line;
using liblogger::LogFile;

// Restores errno at its end, so that a log call leaves the caller's alone.
class ErrnoKeeper {
  public:
    ErrnoKeeper() noexcept : kept(errno) {}
    ~ErrnoKeeper() { errno = kept; }
    ErrnoKeeper(ErrnoKeeper const&) = delete;
    ErrnoKeeper& operator=(ErrnoKeeper const&) = delete;

  private:
    int const kept;
};

class Log final : public ILog {
  public:
    Log(std::string file_path, LOGLEVEL least_level, CutLines& shared_cut_lines)
        : path(std::move(file_path)), least(least_level), cut_lines(shared_cut_lines) {}

    void Reserved0() override {}
    void Reserved1() override {}

    void LogV(LOGLEVEL level, char const* format, va_list arguments) override {
        if (level < least && least != LOGLEVEL_VERBOSE) {
            return;
        }
        ErrnoKeeper const errno_keeper;
        Line line(level);
        if (line.AppendMessage(format, arguments)) {
            Write(line);
        }
    }

  private:
    void Write(Line& line) noexcept {
        unsigned int const cut = cut_lines.cut.load(std::memory_order_relaxed);
        bool const terminates =
            cut != cut_lines.terminated.load(std::memory_order_relaxed);
        std::string_view const text =
            terminates ? line.WithLineFeedBefore() : line.Alone();
        ssize_t const written = LogFile(path).Write(text.data(), text.size());
        if (written <= 0) {
            return;
        }
        if (terminates) {
            cut_lines.terminated.store(cut, std::memory_order_relaxed);
        }
        if (text[static_cast<std::size_t>(written) - 1] != '\n') {
            cut_lines.cut.fetch_add(1, std::memory_order_relaxed);
        }
    }

    std::string const path;
    LOGLEVEL const least;
    CutLines& cut_lines;
};

// Set by InitLogger and read by GetLogger, on the main thread.
std::string log_directory;

}  // namespace

extern "C" [[gnu::visibility("default")]] int InitLogger(char const* directory) {
    if (directory == nullptr || *directory == '\0') {
        return EINVAL;
    }
    try {
        std::error_code error;
        std::filesystem::create_directories(directory, error);
        std::string const inside = std::string(directory) + "/.";
        if (access(inside.c_str(), W_OK | X_OK) != 0) {
            return error ? error.value() : errno;
        }
        log_directory = directory;
        return 0;
    } catch (std::bad_alloc const&) {
        return ENOMEM;
    }
}

extern "C" [[gnu::visibility("default")]] int GetLogger(int /*kind*/, char const* name,
                                                        LOGLEVEL level, ILog** result) {
    if (name == nullptr || *name == '\0' || std::strchr(name, '/') != nullptr ||
        result == nullptr || log_directory.empty()) {
        return EINVAL;
    }
    try {
        std::string path = log_directory + "/" + name + ".log";
        CutLines* const cut_lines = liblogger::ShareCutLines();
        if (cut_lines == nullptr) {
            return ENOMEM;
        }
        // Never deleted: threads may log until the very end of the process.
        *result = new Log(std::move(path), level, *cut_lines);
        return 0;
    } catch (std::bad_alloc const&) {
        return ENOMEM;
    }
}
