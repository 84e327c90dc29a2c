#include "tools/launchlog_report/line_splitter.h"

#include <algorithm>
#include <cstring>

namespace launchlog_report {
namespace {

constexpr std::size_t kLongestLine = 1'000'000;

}  // namespace

void LineSplitter::Add(char const* bytes, std::size_t size) {
    for (std::size_t begin = 0; begin < size;) {
        auto const* const feed =
            static_cast<char const*>(std::memchr(bytes + begin, '\n', size - begin));
        std::size_t const end =
            feed == nullptr ? size : static_cast<std::size_t>(feed - bytes);
        std::size_t const room = kLongestLine - line.size();
        is_cut = is_cut || end - begin > room;
        line.append(bytes + begin, std::min(room, end - begin));
        if (feed != nullptr) {
            PassOn();
        }
        begin = end + 1;
    }
}

void LineSplitter::Finish() {
    if (!line.empty()) {
        PassOn();
    }
}

void LineSplitter::PassOn() {
    take(line, is_cut);
    line.clear();
    is_cut = false;
}

}  // namespace launchlog_report
