#include "tools/launchlog_report/footer.h"

#include <algorithm>

#include "tools/common/printable.h"

namespace launchlog_report {
namespace {

constexpr std::size_t kMostLauncherLines = 5;

std::string Count(std::size_t number, std::string const& word) {
    return std::to_string(number) + " " + word + (number == 1 ? "" : "s");
}

// Returns why items are marked; an empty string if none is.
std::string Legend(std::vector<Row> const& rows) {
    bool const is_often = std::any_of(rows.begin(), rows.end(),
                                      [](Row const& row) { return row.RestartsOften(); });
    bool const is_state = std::any_of(rows.begin(), rows.end(), [](Row const& row) {
        return row.chain || row.given_up || row.no_program;
    });
    std::string const often = "more than ten restarts in the last minute";
    std::string const state = "a state that needs you";
    if (is_often && is_state) {
        return "! " + often + ", or " + state;
    }
    return is_often ? "! " + often : is_state ? "! " + state : "";
}

std::string Describe(LauncherLines const& lines) {
    std::string text =
        lines.process.empty() ? "a launcher:" : "launcher " + lines.process + ":";
    if (lines.items_without_name > 0) {
        text += " There is an item has no name.";
    }
    if (lines.items_without_name > 1) {
        text += " (" + std::to_string(lines.items_without_name) + " times)";
    }
    if (lines.list_failed) {
        text += " Error while parsing saved json string.";
    }
    return text + (lines.last ? " " + FormatTime(*lines.last) : "");
}

}  // namespace

std::string DescribeHidden(std::size_t hidden, std::size_t marked) {
    return "  and " + Count(hidden, "more item") +
           (marked > 0 ? ", " + std::to_string(marked) + " marked" : "");
}

std::vector<std::string> MakeFooter(Report const& report) {
    std::vector<std::string> texts;
    std::size_t const count = report.launchers.size();
    std::size_t const shown = std::min(count, kMostLauncherLines);
    for (std::size_t i = count - shown; i < count; ++i) {
        texts.push_back(Describe(report.launchers[i]));
    }
    if (shown < count) {
        texts.push_back("and " + Count(count - shown, "more launcher") + " before");
    }
    for (std::string const& problem : report.problems) {
        texts.push_back(tools::Printable(problem));
    }
    if (report.cut_lines > 0) {
        texts.push_back(Count(static_cast<std::size_t>(report.cut_lines), "line") +
                        " longer than 1,000,000 bytes left out");
    }
    if (report.lines_without_time > 0) {
        texts.push_back(
            Count(static_cast<std::size_t>(report.lines_without_time), "line") +
            " without a time left out");
    }
    std::string const legend = Legend(report.items);
    if (!legend.empty()) {
        texts.push_back(legend);
    }
    return texts;
}

}  // namespace launchlog_report
