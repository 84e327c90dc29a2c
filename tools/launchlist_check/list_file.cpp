#include "tools/launchlist_check/list_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace {

// A million items take less.
constexpr std::size_t kMostBytes = 64UL * 1024 * 1024;

// A descriptor for reading, closed with the object unless it is the standard input.
class InputFile {
  public:
    explicit InputFile(std::string const& path)
        : descriptor(path == "-" ? STDIN_FILENO
                                 : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~InputFile() {
        if (descriptor > STDIN_FILENO) {
            close(descriptor);
        }
    }
    InputFile(InputFile const&) = delete;
    InputFile& operator=(InputFile const&) = delete;

    bool IsOpen() const { return descriptor >= 0; }

    // Returns how many bytes were read, 0 at the end of the file, -1 if it failed.
    ssize_t Read(char* bytes, std::size_t size) const {
        return read(descriptor, bytes, size);
    }

  private:
    int const descriptor;
};

void AddError(CheckResult& result, Outcome outcome, char const* kind,
              std::string const& message) {
    result.findings.push_back({Severity::Error, kind, message});
    result.outcome = outcome;
}

void AddReadError(CheckResult& result, int error) {
    if (error == EISDIR) {
        AddError(result, Outcome::Hangs, "directory",
                 "this is a directory: the launcher reads it for ever, in a busy loop "
                 "that only SIGKILL ends");
    } else {
        AddError(result, Outcome::Hangs, "unreadable",
                 std::string("reading fails: ") + std::strerror(error) +
                     ": the launcher tries it for ever");
    }
}

}  // namespace

bool ReadListFile(std::string const& path, std::string& bytes, CheckResult& result) {
    InputFile const file(path);
    if (!file.IsOpen()) {
        AddError(result, Outcome::Exits, "unreadable",
                 std::string("this cannot be opened: ") + std::strerror(errno) +
                     ": the launcher ends without a word, with exit code 0");
        return false;
    }
    bytes.clear();
    char chunk[65536];
    ssize_t length = 0;
    while ((length = file.Read(chunk, sizeof chunk)) > 0) {
        bytes.append(chunk, static_cast<std::size_t>(length));
        if (bytes.size() > kMostBytes) {
            AddError(result, Outcome::Unknown, "too-large",
                     "this is longer than 64 MiB: no launch list, and not checked");
            return false;
        }
    }
    if (length < 0) {
        AddReadError(result, errno);
        return false;
    }
    return true;
}
