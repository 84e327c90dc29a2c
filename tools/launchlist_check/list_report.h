// Making findings about the text of a launch list.

#ifndef TOOLS_LAUNCHLIST_CHECK_LIST_REPORT_H
#define TOOLS_LAUNCHLIST_CHECK_LIST_REPORT_H

#include <json/value.h>

#include <cstddef>
#include <string>

#include "tools/launchlist_check/finding.h"
#include "tools/launchlist_check/source_text.h"

namespace launchlist_check {

// Adds findings, each with its place in the text.
class ListReport {
  public:
    // Refers to `places`, which must live as long.
    ListReport(Positions const& places, std::size_t most_of_a_kind)
        : findings(most_of_a_kind), positions(places) {}

    // Adds a finding about what begins at the byte `offset` of the text.
    void Add(Severity severity, std::string const& kind, std::size_t offset,
             std::string const& message, Subject const& subject = {}) {
        findings.Add({severity, kind, message, positions.Find(offset), subject});
    }

    // Returns the place of the value, which the parser has read from the text.
    static std::size_t ValueOffset(Json::Value const& value) {
        return static_cast<std::size_t>(value.getOffsetStart());
    }

    // Returns the place of the key of the value.
    std::size_t KeyOffset(Json::Value const& value) const {
        return FindKeyBefore(positions.Text(), ValueOffset(value));
    }

    // What was added so far.
    Findings findings;

  private:
    Positions const& positions;
};

}  // namespace launchlist_check

#endif
