// Room for the text of one line, without malloc.

#ifndef LIBLOGGER_LINE_BUFFER_H
#define LIBLOGGER_LINE_BUFFER_H

#include <cstddef>

namespace liblogger {

// Holds 512 bytes in the object itself, and maps memory for more.
//
// malloc has locks, and the thread that holds one may be waiting for this one to end. The
// object is small because the first write to a page of the stack after a fork copies that
// page.
class LineBuffer {
  public:
    LineBuffer() noexcept = default;
    ~LineBuffer() { Release(); }
    LineBuffer(LineBuffer const&) = delete;
    LineBuffer& operator=(LineBuffer const&) = delete;

    // Makes room for `wanted` bytes and keeps the first `kept` bytes. Returns false, and
    // changes nothing, if there is no memory.
    bool Reserve(std::size_t wanted, std::size_t kept) noexcept;

    // Valid until the next Reserve.
    char* Data() noexcept { return bytes; }

    std::size_t Size() const noexcept { return size; }

  private:
    void Release() noexcept;

    char inside[512];
    char* bytes = inside;
    std::size_t size = sizeof inside;
};

}  // namespace liblogger

#endif
