// One of the program's output streams, on its way to a file.

#ifndef TOOLS_LAUNCH_WITH_STREAM_H
#define TOOLS_LAUNCH_WITH_STREAM_H

#include <cstddef>

namespace launch_with {

// Appends `size` bytes to the file, which is opened for that, created if it is missing,
// and closed again. So the file may be renamed or removed at any time. Returns how many
// bytes were written; fewer than `size` with errno set.
std::size_t AppendToFile(char const* path, char const* text, std::size_t size) noexcept;

// A pipe, from which this process copies to a file. With a tail, the stream only keeps
// the last lines, as many as fit into 64 KiB.
class Stream {
  public:
    Stream() = default;
    ~Stream();
    Stream(Stream const&) = delete;
    Stream& operator=(Stream const&) = delete;

    // Makes the pipe for the file `path`. `tail_lines` is 0 to copy all. `path` must live
    // as long as the stream. Returns false, with errno set, if there is no pipe.
    bool Open(char const* path, long tail_lines) noexcept;

    // Returns the descriptor to read from, for poll; -1 once every writer has closed the
    // pipe, or if it was never opened.
    int ReadEnd() const noexcept { return read_end; }

    // Returns the descriptor to write to; -1 if there is none.
    int WriteEnd() const noexcept { return write_end; }

    // Closes this process's own descriptor to write to.
    void CloseWriteEnd() noexcept;

    // Copies what is in the pipe, up to 16 KiB. Returns true if there may be more.
    bool Copy() noexcept;

    // Adds text of this program's own, as if the program had written it.
    void Add(char const* text, std::size_t size) noexcept;

    // Writes the last lines to the file, and after them `note`, a line or nothing.
    void WriteTail(char const* note) noexcept;

  private:
    void Keep(char const* text, std::size_t size) noexcept;
    void Write(char const* text, std::size_t size) noexcept;
    void ReportLoss() noexcept;

    static constexpr std::size_t kTailSize = 65'536;

    int read_end = -1;
    int write_end = -1;
    char const* path = nullptr;
    long lines = 0;
    // How many bytes could not be written, since the last ones that were, and why.
    unsigned long long lost = 0;
    int why_lost = 0;
    // How many bytes came; the last ones are in `kept`, each at its number modulo the
    // size. Not set to zero, so that no memory is used before there is output.
    unsigned long long received = 0;
    char kept[kTailSize];
};

}  // namespace launch_with

#endif
