#include "tools/launchlog_report/table.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "tools/common/printable.h"

namespace {

using Cells = std::vector<std::string>;
using Texts = std::vector<std::string>;

enum class Field { Name, Restarts, PerMinute, FirstEnd, LastEnd, LastStatus };

enum class TimeForm {
    Full,      // 2026-11-21T11:53:38Z
    NoYear,    // 11-21 11:53:38
    Shortest,  // 11:53:38 within a day, else 11-21
};

// A choice of columns. Names and the last status are cut to no less than the least width.
struct Layout {
    std::vector<Field> fields;
    TimeForm times;
    bool has_short_titles;
    std::size_t least_name;
    std::size_t least_status;
};

// From the widest to the narrowest.
std::vector<Layout> const& Layouts() {
    static Field const name = Field::Name;
    static Field const status = Field::LastStatus;
    static std::vector<Layout> const layouts = {
        {{name, Field::Restarts, Field::PerMinute, Field::FirstEnd, Field::LastEnd,
          status},
         TimeForm::Full,
         false,
         34,
         60},
        {{name, Field::Restarts, Field::PerMinute, Field::FirstEnd, Field::LastEnd,
          status},
         TimeForm::NoYear,
         false,
         26,
         40},
        {{name, Field::Restarts, Field::PerMinute, Field::FirstEnd, Field::LastEnd,
          status},
         TimeForm::Shortest,
         true,
         18,
         24},
        {{name, Field::Restarts, Field::PerMinute, Field::LastEnd, status},
         TimeForm::Shortest,
         true,
         14,
         16},
        {{name, Field::Restarts, Field::PerMinute, status},
         TimeForm::Shortest,
         true,
         10,
         10},
        {{name, Field::PerMinute, status}, TimeForm::Shortest, true, 8, 8},
        {{name, status}, TimeForm::Shortest, true, 8, 2},
    };
    return layouts;
}

constexpr std::size_t kGap = 2;
// Where there is room for everything, longer names take what they need for themselves.
constexpr std::size_t kWidestName = 60;
constexpr std::size_t kMostLauncherLines = 5;

char const* Title(Field field, bool is_short) {
    switch (field) {
        case Field::Name:
            return "  NAME";
        case Field::Restarts:
            return "RESTARTS";
        case Field::PerMinute:
            return is_short ? "/MIN" : "PER MINUTE";
        case Field::FirstEnd:
            return is_short ? "FIRST" : "FIRST END";
        case Field::LastEnd:
            return is_short ? "LAST" : "LAST END";
        case Field::LastStatus:
            return is_short ? "STATUS" : "LAST STATUS";
    }
    return "";
}

bool IsNumber(Field field) {
    return field == Field::Restarts || field == Field::PerMinute;
}

std::string TimeText(std::optional<Time> const& time, TimeForm form, Time now) {
    constexpr Time kDay = Time{24} * 60 * 60 * 1000;
    if (!time) {
        return "-";
    }
    std::string full = FormatTime(*time);
    if (form == TimeForm::Full || full.size() < 20) {
        return full;
    }
    std::string const day = full.substr(5, 5);
    std::string const time_of_day = full.substr(11, 8);
    if (form == TimeForm::NoYear) {
        return day + " " + time_of_day;
    }
    return *time > now - kDay && *time < now + kDay ? time_of_day : day;
}

std::string Text(Row const& row, Field field, TimeForm form, Time now) {
    switch (field) {
        case Field::Name:
            return (row.IsMarked() ? "! " : "  ") +
                   (row.name.empty() ? tools::Quoted("") : tools::Printable(row.name));
        case Field::Restarts:
            return std::to_string(row.restarts);
        case Field::PerMinute:
            return row.restarts_per_minute ? std::to_string(*row.restarts_per_minute)
                                           : "-";
        case Field::FirstEnd:
            return TimeText(row.first_end, form, now);
        case Field::LastEnd:
            return TimeText(row.last_end, form, now);
        case Field::LastStatus:
            return DescribeLastStatus(row);
    }
    return "";
}

// Returns the title and the items as cells.
std::vector<Cells> MakeCells(std::vector<Row const*> const& rows, Layout const& layout,
                             Time now) {
    std::vector<Cells> lines(1 + rows.size());
    for (Field const field : layout.fields) {
        lines[0].emplace_back(Title(field, layout.has_short_titles));
        for (std::size_t i = 0; i < rows.size(); ++i) {
            lines[i + 1].push_back(Text(*rows[i], field, layout.times, now));
        }
    }
    return lines;
}

std::vector<std::size_t> WidthsOf(std::vector<Cells> const& lines) {
    std::vector<std::size_t> widths(lines[0].size());
    for (Cells const& cells : lines) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            widths[i] = std::max(widths[i], tools::CountColumns(cells[i]));
        }
    }
    return widths;
}

// Makes the first and the last column narrower, so that the table fits, if the layout
// permits it. Returns false if not.
bool Fit(std::vector<std::size_t>& widths, Layout const& layout, std::size_t columns) {
    std::size_t taken = kGap * (widths.size() - 1);
    for (std::size_t i = 1; i + 1 < widths.size(); ++i) {
        taken += widths[i];
    }
    std::size_t const room = columns - std::min(columns, taken);
    std::size_t& name = widths.front();
    std::size_t& status = widths.back();
    if (room <
        std::min(name, layout.least_name) + std::min(status, layout.least_status)) {
        return false;
    }
    name =
        std::min(name, room - std::min(status, room - std::min(name, layout.least_name)));
    status = std::min(status, room - name);
    return true;
}

std::string Align(std::vector<std::string> const& cells,
                  std::vector<std::size_t> const& widths, Layout const& layout,
                  bool is_cut) {
    std::string text;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        std::string const cell =
            is_cut ? tools::CutToColumns(cells[i], widths[i]) : cells[i];
        std::size_t const width = std::min(widths[i], tools::CountColumns(cell));
        bool const is_last = i + 1 == cells.size();
        std::string const padding(is_last ? 0 : widths[i] - width, ' ');
        text += IsNumber(layout.fields[i]) ? padding + cell : cell + padding;
        text += is_last ? "" : std::string(kGap, ' ');
    }
    return text;
}

// Returns the title and a line for each row.
Texts MakeTable(std::vector<Row const*> const& rows, std::optional<std::size_t> columns,
                Time now) {
    Layout const* layout = &Layouts().front();
    std::vector<Cells> lines = MakeCells(rows, *layout, now);
    std::vector<std::size_t> widths = WidthsOf(lines);
    widths.front() = columns ? widths.front() : std::min(widths.front(), kWidestName);
    while (columns && !Fit(widths, *layout, *columns) && layout != &Layouts().back()) {
        ++layout;
        lines = MakeCells(rows, *layout, now);
        widths = WidthsOf(lines);
    }
    // Where even the last layout does not fit, no padding is wider than the space.
    for (std::size_t& width : widths) {
        width = std::min(width, columns.value_or(width));
    }
    Texts texts;
    for (Cells const& cells : lines) {
        texts.push_back(Align(cells, widths, *layout, columns.has_value()));
    }
    return texts;
}

std::size_t CountMarked(std::vector<Row> const& rows) {
    return static_cast<std::size_t>(std::count_if(
        rows.begin(), rows.end(), [](Row const& row) { return row.IsMarked(); }));
}

// Returns the rows that find room in so many lines: marked ones rather than others.
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

std::string Count(std::size_t number, std::string const& word) {
    return std::to_string(number) + " " + word + (number == 1 ? "" : "s");
}

// Tells of the rows that have found no room.
std::string DescribeHidden(std::vector<Row> const& rows,
                           std::vector<Row const*> const& shown) {
    std::size_t const marked =
        CountMarked(rows) -
        static_cast<std::size_t>(std::count_if(
            shown.begin(), shown.end(), [](Row const* row) { return row->IsMarked(); }));
    return "  and " + Count(rows.size() - shown.size(), "more item") +
           (marked > 0 ? ", " + std::to_string(marked) + " marked" : "");
}

// Says why items are marked; returns an empty string if none is.
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

// Returns what stands below the table, the most important first.
Texts MakeFooter(Report const& report) {
    Texts texts;
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
    std::string const legend = Legend(report.items);
    if (!legend.empty()) {
        texts.push_back(legend);
    }
    return texts;
}

// Returns the title, the items and what stands below them, in no more than the given
// number of lines.
Texts FitLines(Report const& report, Space const& space) {
    std::vector<Row> const& items = report.items;
    Texts footer = MakeFooter(report);
    std::size_t room = std::max<std::size_t>(space.lines.value_or(SIZE_MAX), 1) - 1;
    if (items.size() + footer.size() > room) {
        std::size_t const marked = CountMarked(items);
        std::size_t const least = marked + (marked < items.size() ? 1 : 0);
        footer.resize(std::min(footer.size(), room - std::min(room, least)));
    }
    room -= footer.size();
    bool const has_all = items.size() <= room;
    std::vector<Row const*> const rows = RowsThatFit(
        items, has_all ? items.size() : room - std::min<std::size_t>(room, 1));
    Texts texts = items.empty() ? Texts{"no program has ended"}
                                : MakeTable(rows, space.columns, report.now);
    if (!has_all && room > 0) {
        texts.push_back(DescribeHidden(items, rows));
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
