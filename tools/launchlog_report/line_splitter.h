// Cutting the bytes of a log into lines.
//
//   LineSplitter lines([](std::string const& line, bool is_cut) { ... });
//   lines.Add("one\ntw", 6);   // passes on "one"
//   lines.Add("o\n", 2);       // passes on "two"

#ifndef TOOLS_LAUNCHLOG_REPORT_LINE_SPLITTER_H
#define TOOLS_LAUNCHLOG_REPORT_LINE_SPLITTER_H

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

namespace launchlog_report {

// Takes one line, without its line feed. `is_cut` says that it is only the beginning of a
// line that was too long.
using LineTaker = std::function<void(std::string const& line, bool is_cut)>;

// Cuts bytes into lines.
class LineSplitter {
  public:
    explicit LineSplitter(LineTaker taker) : take(std::move(taker)) {}

    // Passes on the lines that end in these bytes. Of a line with more than a million
    // bytes it passes on the first million.
    void Add(char const* bytes, std::size_t size);

    // Passes on the beginning of a line that will not end; nothing without one.
    void Finish();

  private:
    void PassOn();

    LineTaker take;
    std::string line;
    bool is_cut = false;
};

}  // namespace launchlog_report

#endif
