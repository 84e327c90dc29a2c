#include "tests/support/fake_log.h"

#include <cstdio>

void FakeLog::LogV(LOGLEVEL level, char const* format, va_list arguments) {
    char message[4096];
    std::vsnprintf(message, sizeof message, format, arguments);
    std::unique_lock<std::mutex> lock(mutex);
    lines.emplace_back(level, message);
    ++blocked;
    changed.notify_all();
    changed.wait(lock, [&] {
        return blocked_text.empty() ||
               std::string(message).find(blocked_text) == std::string::npos;
    });
    --blocked;
}

std::vector<FakeLog::Line> FakeLog::Lines() const {
    std::lock_guard<std::mutex> const lock(mutex);
    return lines;
}

void FakeLog::Block(std::string const& text) {
    std::lock_guard<std::mutex> const lock(mutex);
    blocked_text = text;
}

void FakeLog::WaitUntilOneIsBlocked() {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [this] { return blocked > 0; });
}

void FakeLog::Unblock() {
    Block("");
    changed.notify_all();
}
