#include "common/strings/format.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <memory>
#include <new>

namespace {

// A stream into memory that grows by itself. vswprintf is no help: it reports a buffer
// that is too small in the same way as text that cannot be converted.
class WideMemoryStream {
  public:
    WideMemoryStream() : stream(open_wmemstream(&text, &length)) {
        if (stream == nullptr) {
            throw std::bad_alloc();
        }
    }
    ~WideMemoryStream() {
        Close();
        std::free(text);
    }
    WideMemoryStream(WideMemoryStream const&) = delete;
    WideMemoryStream& operator=(WideMemoryStream const&) = delete;

    std::FILE* Stream() { return stream; }

    // Flushes and closes the stream. Returns true if the text is complete.
    bool Close() {
        std::FILE* const closed = stream;
        stream = nullptr;
        // If the final flush lacks memory, fclose succeeds and `text` is null.
        return closed != nullptr && std::fclose(closed) == 0 && text != nullptr;
    }

    // Returns what was written, with a NUL after it. Call it after Close.
    wchar_t const* Text() { return text; }

  private:
    wchar_t* text = nullptr;
    std::size_t length = 0;
    std::FILE* stream;
};

// Returns the result for a failure, an empty string. Throws std::bad_alloc if `errno`
// says that memory ran out.
template <typename Char>
std::basic_string<Char> FailedText() {
    if (errno == ENOMEM) {
        throw std::bad_alloc();
    }
    return {};
}

}  // namespace

std::string string_format(std::string format, ...) {
    va_list arguments;
    errno = 0;
    va_start(arguments, format);
    int const length = std::vsnprintf(nullptr, 0, format.c_str(), arguments);
    va_end(arguments);
    if (length < 0) {
        return FailedText<char>();
    }
    std::size_t const size = static_cast<std::size_t>(length) + 1;
    auto const text = std::make_unique<char[]>(size);
    va_start(arguments, format);
    int const written = std::vsnprintf(text.get(), size, format.c_str(), arguments);
    va_end(arguments);
    // Contract: the text ends at its first NUL.
    return written < 0 ? FailedText<char>() : text.get();
}

std::wstring wstring_format(std::wstring format, ...) {
    WideMemoryStream output;
    va_list arguments;
    errno = 0;
    va_start(arguments, format);
    bool const formatted =
        std::vfwprintf(output.Stream(), format.c_str(), arguments) >= 0 && output.Close();
    va_end(arguments);
    return formatted ? output.Text() : FailedText<wchar_t>();
}
