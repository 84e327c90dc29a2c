#include "tools/launchlog_report/table.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "tools/common/printable.h"
#include "tools/launchlog_report/footer.h"
#include "tools/launchlog_report/item_table.h"

namespace launchlog_report {
namespace {

using Texts = std::vector<std::string>;

std::size_t CountMarked(std::vector<Row> const& rows) {
    return static_cast<std::size_t>(std::count_if(
        rows.begin(), rows.end(), [](Row const& row) { return row.IsMarked(); }));
}

// Returns the rows that fit into so many lines. Marked rows have precedence.
std::vector<Row const*> RowsThatFit(std::vector<Row> const& rows, std::size_t lines) {
    std::vector<Row const*> chosen;
    std::size_t room_for_marked = std::min(lines, CountMarked(rows));
    std::size_t room_for_others = lines - room_for_marked;
    for (Row const& row : rows) {
        std::size_t& room = row.IsMarked() ? room_for_marked : room_for_others;
        if (room > 0) {
            --room;
            chosen.push_back(&row);
        }
    }
    return chosen;
}

// Returns the title, the items and the footer, in no more lines than there is space for.
Texts FitLines(Report const& report, Space const& space) {
    std::vector<Row> const& items = report.items;
    std::size_t const marked = CountMarked(items);
    Texts footer = MakeFooter(report);
    std::size_t room = std::max<std::size_t>(space.lines.value_or(SIZE_MAX), 1) - 1;
    if (items.size() + footer.size() > room) {
        std::size_t const least = marked + (marked < items.size() ? 1 : 0);
        footer.resize(std::min(footer.size(), room - std::min(room, least)));
    }
    room -= footer.size();
    bool const has_all = items.size() <= room;
    std::vector<Row const*> const rows = RowsThatFit(
        items, has_all ? items.size() : room - std::min<std::size_t>(room, 1));
    Texts texts = items.empty() ? Texts{"no program has ended"}
                                : MakeItemTable(rows, space.columns, report.now);
    if (!has_all && room > 0) {
        texts.push_back(DescribeHidden(items.size() - rows.size(),
                                       marked - std::min(marked, rows.size())));
    }
    texts.insert(texts.end(), footer.begin(), footer.end());
    return texts;
}

}  // namespace

std::string ToTable(Report const& report, Space const& space) {
    std::string text;
    for (std::string const& line : FitLines(report, space)) {
        text += (space.columns ? tools::CutToColumns(line, *space.columns) : line) + "\n";
    }
    return text;
}

}  // namespace launchlog_report
