// What the check of a launch list finds.

#ifndef TOOLS_LAUNCHLIST_CHECK_FINDING_H
#define TOOLS_LAUNCHLIST_CHECK_FINDING_H

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace launchlist_check {

// Error: a program will not run, or a part of the list, which may hold programs, is not
// read. Warning: the program runs, but a value is read differently from how it is
// written. Note: how the check itself was made.
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

// Something wrong with a list, or with the check. The texts are as they are in the list,
// and may hold any bytes.
struct Finding {
    Severity severity;
    // One word that stays the same from version to version: "duplicate-name".
    std::string kind;
    // What is wrong, and what will happen.
    std::string message;
    // The place in the list that it is about.
    Position position;
    Subject subject;
};

// The findings about one list. It counts all of them, and keeps the first ones of each
// kind and severity.
class Findings {
  public:
    using Kind = std::pair<std::string, Severity>;

    // Keeps up to `most_of_a_kind` of each kind.
    explicit Findings(std::size_t most_of_a_kind) : most(most_of_a_kind) {}

    // Counts the finding, and keeps it unless enough of its kind are kept.
    void Add(Finding finding);

    // Returns the findings that are kept, in the order of their places in the list.
    std::vector<Finding> InOrder() const;

    // Returns how many there are of each kind, kept or not.
    std::map<Kind, std::size_t> const& Counts() const noexcept { return counts; }

    // Returns how many are not kept, for each kind of which some are not.
    std::map<Kind, std::size_t> LeftOut() const;

    // Returns how many there are of this severity, kept or not.
    std::size_t Count(Severity severity) const;

  private:
    std::size_t most;
    std::vector<Finding> kept;
    std::map<Kind, std::size_t> counts;
};

}  // namespace launchlist_check

#endif
