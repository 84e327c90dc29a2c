// Input for code that reads a file by its path.

#ifndef FUZZ_INPUT_PIPE_H
#define FUZZ_INPUT_PIPE_H

#include <unistd.h>

#include <string>

#include "fuzz/fuzzing.h"

// A pipe with the content in it, to be opened and read once. It costs a hundredth of a
// file on a disk, and disappears with the process.
class InputPipe {
  public:
    // What a pipe holds on every system, without a reader.
    static constexpr std::size_t kCapacity = 16384;

    // `content` is no longer than kCapacity.
    explicit InputPipe(std::string const& content) {
        int ends[2];
        Require(pipe(ends) == 0, "a pipe can be made");
        Require(write(ends[1], content.data(), content.size()) ==
                    static_cast<ssize_t>(content.size()),
                "a pipe takes as much as it has room for");
        close(ends[1]);
        descriptor = ends[0];
    }

    ~InputPipe() { close(descriptor); }

    InputPipe(InputPipe const&) = delete;
    InputPipe& operator=(InputPipe const&) = delete;

    std::string Path() const { return "/dev/fd/" + std::to_string(descriptor); }

  private:
    int descriptor;
};

#endif
