// A log that keeps its lines for the test.

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

    std::vector<Line> Lines() const;

    // From now on, who logs a message that holds `text` waits until LetPass.
    void HoldUp(std::string const& text);
    void WaitUntilOneIsHeldUp();
    void LetPass();

  private:
    mutable std::mutex mutex;
    std::condition_variable changed;
    std::vector<Line> lines;
    std::string held_up_text;
    int held_up = 0;
};

#endif
