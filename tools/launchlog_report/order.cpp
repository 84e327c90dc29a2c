#include "tools/launchlog_report/order.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "tools/common/text.h"

namespace launchlog_report {
namespace {

using tools::IsDigit;

struct KeyName {
    char const* name;
    SortKey key;
};

constexpr KeyName kKeyNames[] = {
    {"marked", SortKey::Marked},      {"name", SortKey::Name},
    {"restarts", SortKey::Restarts},  {"per-minute", SortKey::PerMinute},
    {"first-end", SortKey::FirstEnd}, {"last-end", SortKey::LastEnd},
};

// Takes the digits off the beginning of `text`. Returns them without leading zeros.
std::string_view TakeDigits(std::string_view& text) {
    std::size_t end = 0;
    while (end < text.size() && IsDigit(text[end])) {
        ++end;
    }
    std::string_view digits = text.substr(0, end);
    text.remove_prefix(end);
    digits.remove_prefix(std::min(digits.find_first_not_of('0'), digits.size()));
    return digits;
}

// Returns a negative number if `a` comes before `b`, a positive one if it comes after
// `b`, and 0 if they differ in leading zeros at most.
int CompareNaturally(std::string_view a, std::string_view b) {
    while (!a.empty() && !b.empty()) {
        if (IsDigit(a.front()) && IsDigit(b.front())) {
            std::string_view const number = TakeDigits(a);
            std::string_view const other = TakeDigits(b);
            if (number.size() != other.size()) {
                return number.size() < other.size() ? -1 : 1;
            }
            if (int const order = number.compare(other)) {
                return order;
            }
        } else if (a.front() != b.front()) {
            return static_cast<unsigned char>(a.front()) <
                           static_cast<unsigned char>(b.front())
                       ? -1
                       : 1;
        } else {
            a.remove_prefix(1);
            b.remove_prefix(1);
        }
    }
    return a.empty() ? (b.empty() ? 0 : -1) : 1;
}

// Returns the value by which rows are sorted, the highest first.
std::optional<long long> ValueOf(Row const& row, SortKey key) {
    switch (key) {
        case SortKey::Marked:
            return row.IsMarked() ? 1 : 0;
        case SortKey::Name:
            return std::nullopt;
        case SortKey::Restarts:
            return row.restarts;
        case SortKey::PerMinute:
            return row.restarts_per_minute;
        case SortKey::FirstEnd:
            return row.first_end;
        case SortKey::LastEnd:
            return row.last_end;
    }
    return std::nullopt;
}

}  // namespace

std::optional<SortKey> ParseSortKey(std::string const& name) {
    for (KeyName const& entry : kKeyNames) {
        if (entry.name == name) {
            return entry.key;
        }
    }
    return std::nullopt;
}

bool NaturallyLess(std::string const& a, std::string const& b) {
    int const order = CompareNaturally(a, b);
    return order != 0 ? order < 0 : a < b;
}

void Sort(std::vector<Row>& rows, SortKey key) {
    std::sort(rows.begin(), rows.end(), [key](Row const& a, Row const& b) {
        std::optional<long long> const value = ValueOf(a, key);
        std::optional<long long> const other = ValueOf(b, key);
        return value != other ? value > other : NaturallyLess(a.name, b.name);
    });
}

}  // namespace launchlog_report
