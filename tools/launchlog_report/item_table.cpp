#include "tools/launchlog_report/item_table.h"

#include <algorithm>

#include "tools/common/printable.h"

namespace launchlog_report {
namespace {

using Cells = std::vector<std::string>;

enum class Field { Name, Restarts, PerMinute, FirstEnd, LastEnd, LastStatus };

enum class TimeForm {
    Full,      // 2026-11-21T11:53:38Z
    NoYear,    // 11-21 11:53:38
    Shortest,  // 11:53:38 within a day, else 11-21
};

// A choice of columns. Names and last statuses are not cut below the least width.
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
// Without a limit, longer names do not widen the column.
constexpr std::size_t kWidestName = 60;

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

// Returns the cells of the title and of each row.
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

// Makes the first and the last column narrower, so that the table fits. Returns false if
// the layout does not permit it.
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

}  // namespace

std::vector<std::string> MakeItemTable(std::vector<Row const*> const& rows,
                                       std::optional<std::size_t> columns, Time now) {
    Layout const* layout = &Layouts().front();
    std::vector<Cells> lines = MakeCells(rows, *layout, now);
    std::vector<std::size_t> widths = WidthsOf(lines);
    widths.front() = columns ? widths.front() : std::min(widths.front(), kWidestName);
    while (columns && !Fit(widths, *layout, *columns) && layout != &Layouts().back()) {
        ++layout;
        lines = MakeCells(rows, *layout, now);
        widths = WidthsOf(lines);
    }
    // If even the last layout does not fit, no padding is wider than the space.
    for (std::size_t& width : widths) {
        width = std::min(width, columns.value_or(width));
    }
    std::vector<std::string> texts;
    for (Cells const& cells : lines) {
        texts.push_back(Align(cells, widths, *layout, columns.has_value()));
    }
    return texts;
}

}  // namespace launchlog_report
