// Lines that a full disk cut short.

#ifndef LIBLOGGER_CUT_LINES_H
#define LIBLOGGER_CUT_LINES_H

#include <atomic>

namespace liblogger {

// How many lines were cut short by a full disk, and how many of them were later
// terminated. While the two differ, the next line begins with a line feed.
struct CutLines {
    std::atomic<unsigned int> cut{0};
    std::atomic<unsigned int> terminated{0};
};

// Returns counts that this process shares with the children that it forks: one process
// may cut a line short, and another one write the next line. Null if there is no memory.
// They are never freed.
CutLines* ShareCutLines() noexcept;

}  // namespace liblogger

#endif
