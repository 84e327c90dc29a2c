#include "liblogger/line_buffer.h"

#include <sys/mman.h>

#include <cstring>

namespace liblogger {

bool LineBuffer::Reserve(std::size_t wanted, std::size_t kept) noexcept {
    if (wanted <= size) {
        return true;
    }
    void* const map =
        mmap(nullptr, wanted, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
    if (map == MAP_FAILED) {
        return false;
    }
    std::memcpy(map, bytes, kept);
    Release();
    bytes = static_cast<char*>(map);
    size = wanted;
    return true;
}

void LineBuffer::Release() noexcept {
    if (bytes != inside) {
        munmap(bytes, size);
    }
}

}  // namespace liblogger
