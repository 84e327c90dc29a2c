#include "tests/support/recording_log.h"

#include <cstdio>

void RecordingLog::LogV(LOGLEVEL level, char const* format, va_list arguments) {
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

std::vector<RecordingLog::Line> RecordingLog::Lines() const {
    std::lock_guard<std::mutex> const lock(mutex);
    return lines;
}

void RecordingLog::HoldUp(std::string const& text) {
    std::lock_guard<std::mutex> const lock(mutex);
    held_up_text = text;
}

void RecordingLog::WaitUntilOneIsHeldUp() {
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [this] { return held_up > 0; });
}

void RecordingLog::LetPass() {
    HoldUp("");
    changed.notify_all();
}
