// A log that keeps its lines for the test, and can block who logs.

#ifndef TESTS_SUPPORT_FAKE_LOG_H
#define TESTS_SUPPORT_FAKE_LOG_H

#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "common/config/log.h"

class FakeLog final : public ILog {
  public:
    using Line = std::pair<int, std::string>;  // level and message

    void Reserved0() override {}
    void Reserved1() override {}
    void LogV(LOGLEVEL level, char const* format, va_list arguments) override;

    // Returns all lines so far.
    std::vector<Line> Lines() const;

    // From now on, a thread that logs a message with `text` in it blocks until Unblock.
    void Block(std::string const& text);
    void WaitUntilOneIsBlocked();
    void Unblock();

  private:
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::vector<Line> lines;
    std::string blocked_text;
    int blocked = 0;
};

#endif
