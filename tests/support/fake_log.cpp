#include "tests/support/fake_log.h"

#include <cstdio>

void FakeLog::LogV(LOGLEVEL level, char const* format, va_list arguments) {
    char message[4096];
    std::vsnprintf(message, sizeof message, format, arguments);
    std::unique_lock<std::mutex> lock(mutex);
    lines.emplace_back(level, message);
    ++held_up;
    changed.notify_all();
    changed.wait(lock, [&] {
        return held_up_text.empty() ||
               std::string(message).find(held_up_text) == std::string::npos;
    });
    --held_up;
}

std::vector<FakeLog::Line> FakeLog::Lines() const {
    std::lock_guard<std::mutex> const lock(mutex);
    return lines;
}

void FakeLog::HoldUp(std::string const& text) {
    std::lock_guard<std::mutex> const lock(mutex);
    held_up_text = text;
}

void FakeLog::WaitUntilOneIsHeldUp() {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [this] { return held_up > 0; });
}

void FakeLog::LetPass() {
    HoldUp("");
    changed.notify_all();
}
