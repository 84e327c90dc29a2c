// What the check of a launch list finds.

#ifndef TOOLS_LAUNCHLIST_CHECK_FINDING_H
#define TOOLS_LAUNCHLIST_CHECK_FINDING_H

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// A note says how the check itself was made. A warning says that the launcher takes
// something differently from how it is written, while the program runs. An error says
// that a program will not run, or that a part of the list, which may hold programs, is
// not read.
enum class Severity { Note, Warning, Error };

// A place in a text as editors show it: lines and characters, from 1 on.
struct Position {
    int line = 1;
    int column = 1;
};

// The item that a finding is about.
struct Subject {
    // Its key, as it is in the list; empty if the finding is not about an item.
    std::string item = {};
    // Its name as the launcher reads it; empty if it has none.
    std::string name = {};
};

// The texts are as they are in the list, and may hold any bytes.
struct Finding {
    Severity severity;
    // One word that stays the same from version to version: "duplicate-name".
    std::string kind;
    // What is wrong, and what will happen.
    std::string message;
    Position position;
    Subject subject;
};

// The findings about one list. Of each kind and severity it keeps the first ones only,
// and counts the others.
class Findings {
  public:
    using Kind = std::pair<std::string, Severity>;

    // Keeps as many of each kind.
    explicit Findings(std::size_t most_of_a_kind) : most(most_of_a_kind) {}

    // Counts one of this kind. Returns whether it is kept, and so is to be added.
    bool Count(std::string const& kind, Severity severity);

    // Adds one that has been counted.
    void Add(Finding finding) { kept.push_back(std::move(finding)); }

    // Counts and adds those of `others`, with its counts.
    void Add(Findings const& others);

    // Returns the findings that are kept, in the order of their places in the list.
    std::vector<Finding> InOrder() const;

    // Returns how many there are of each kind, kept or not.
    std::map<Kind, std::size_t> const& Counts() const noexcept { return counts; }

    // Returns how many of each kind are not kept, for kinds of which some are not.
    std::map<Kind, std::size_t> LeftOut() const;

    // Returns how many there are of this severity, kept or not.
    std::size_t Count(Severity severity) const;

  private:
    std::size_t most;
    std::vector<Finding> kept;
    std::map<Kind, std::size_t> counts;
};

// Returns `text` between quotation marks, for a message. A long one is cut.
std::string Quote(std::string_view text);

// Returns `text`; of a long one the beginning, and "...".
std::string Shorten(std::string_view text);

#endif
