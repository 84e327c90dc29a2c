// Making findings about one item of a launch list.

#ifndef TOOLS_LAUNCHLIST_CHECK_ITEM_REPORT_H
#define TOOLS_LAUNCHLIST_CHECK_ITEM_REPORT_H

#include <json/value.h>

#include <cstddef>
#include <string>

#include "tools/launchlist_check/finding.h"
#include "tools/launchlist_check/list_report.h"

namespace launchlist_check {

// Adds the findings about one item to the report about its list.
class ItemReport {
  public:
    // Refers to `list_report`, which must live as long.
    ItemReport(ListReport& list_report, Subject item)
        : report(list_report), subject(item) {}

    // Add a finding about a value, at its place.
    void Error(std::string const& kind, Json::Value const& value,
               std::string const& message) {
        report.Add(Severity::Error, kind, ListReport::ValueOffset(value), message,
                   subject);
    }
    void Warning(std::string const& kind, Json::Value const& value,
                 std::string const& message) {
        report.Add(Severity::Warning, kind, ListReport::ValueOffset(value), message,
                   subject);
    }

    // Add a finding about a key, or about something that is missing: at the place of the
    // value's key.
    void ErrorAtKey(std::string const& kind, Json::Value const& value,
                    std::string const& message) {
        report.Add(Severity::Error, kind, report.KeyOffset(value), message, subject);
    }
    void WarningAtKey(std::string const& kind, Json::Value const& value,
                      std::string const& message) {
        report.Add(Severity::Warning, kind, report.KeyOffset(value), message, subject);
    }

    // Warns of a text that the launcher reads as `read_as`, if it is written differently.
    // `what` names it in the message, and `kind` is for a value that is not a string.
    void CheckText(Json::Value const& value, std::string const& read_as,
                   std::string const& what, std::string const& kind);

  private:
    ListReport& report;
    Subject subject;
};

}  // namespace launchlist_check

#endif
