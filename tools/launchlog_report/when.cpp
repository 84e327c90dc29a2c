#include "tools/launchlog_report/when.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <ctime>
#include <string_view>

#include "tools/common/text.h"

namespace launchlog_report {
namespace {

constexpr double kSecond = 1000;
constexpr double kMinute = 60 * kSecond;
constexpr double kHour = 60 * kMinute;
constexpr double kDay = 24 * kHour;
// Longer spans would leave the times that can be printed.
constexpr double kLongestSpan = 2000 * 365.25 * kDay;

struct Unit {
    std::string_view name;
    double milliseconds;
};

constexpr Unit kUnits[] = {
    {"ms", 1},
    {"msec", 1},
    {"", kSecond},
    {"s", kSecond},
    {"sec", kSecond},
    {"second", kSecond},
    {"seconds", kSecond},
    {"m", kMinute},
    {"min", kMinute},
    {"minute", kMinute},
    {"minutes", kMinute},
    {"h", kHour},
    {"hr", kHour},
    {"hour", kHour},
    {"hours", kHour},
    {"d", kDay},
    {"day", kDay},
    {"days", kDay},
    {"w", 7 * kDay},
    {"week", 7 * kDay},
    {"weeks", 7 * kDay},
    {"M", 30.44 * kDay},
    {"month", 30.44 * kDay},
    {"months", 30.44 * kDay},
    {"y", 365.25 * kDay},
    {"year", 365.25 * kDay},
    {"years", 365.25 * kDay},
};

// Takes these characters off the beginning of `text`. Returns them.
std::string_view TakeAll(std::string_view& text, std::string_view characters) {
    std::string_view const taken =
        text.substr(0, std::min(text.find_first_not_of(characters), text.size()));
    text.remove_prefix(taken.size());
    return taken;
}

// Takes a number with its unit. Returns it in milliseconds.
std::optional<double> TakePart(std::string_view& text) {
    std::string const number(TakeAll(text, "0123456789."));
    TakeAll(text, " ");
    std::string_view const name =
        text.substr(0, std::min(text.find_first_of(" 0123456789.+-"), text.size()));
    text.remove_prefix(name.size());
    TakeAll(text, " ");
    auto const unit = std::find_if(std::begin(kUnits), std::end(kUnits),
                                   [name](Unit const& it) { return it.name == name; });
    bool const is_number = !number.empty() && tools::IsDigit(number.front()) &&
                           std::count(number.begin(), number.end(), '.') <= 1;
    if (!is_number || unit == std::end(kUnits)) {
        return std::nullopt;
    }
    return std::strtod(number.c_str(), nullptr) * unit->milliseconds;
}

// Returns the span in milliseconds.
std::optional<Time> ParseSpan(std::string_view text) {
    double span = 0;
    TakeAll(text, " ");
    do {
        std::optional<double> const part = TakePart(text);
        if (!part || *part > kLongestSpan) {
            return std::nullopt;
        }
        span += *part;
    } while (!text.empty());
    return span > kLongestSpan ? std::nullopt : std::optional<Time>(std::llround(span));
}

std::tm LocalTime(Time time) {
    auto const seconds = static_cast<std::time_t>(time / 1000);
    std::tm local = {};
    localtime_r(&seconds, &local);
    return local;
}

// Returns the midnight at the beginning of a day, so many days after that of `time`.
Time Midnight(Time time, int days) {
    std::tm date = LocalTime(time);
    date.tm_mday += days;
    date.tm_hour = date.tm_min = date.tm_sec = 0;
    date.tm_isdst = -1;
    return std::mktime(&date) * 1000LL;
}

std::optional<Time> ParseWord(std::string_view text, Time now) {
    if (text == "now") {
        return now;
    }
    if (text == "today") {
        return Midnight(now, 0);
    }
    if (text == "yesterday") {
        return Midnight(now, -1);
    }
    if (text == "tomorrow") {
        return Midnight(now, 1);
    }
    return std::nullopt;
}

std::optional<Time> ParseRelative(std::string_view text, Time now) {
    constexpr std::string_view kAgo = " ago";
    if (tools::BeginsWith(text, "@")) {
        text.remove_prefix(1);
        return tools::IsDigits(text) ? ParseSpan(text) : std::nullopt;
    }
    bool const is_ago =
        text.size() > kAgo.size() && text.substr(text.size() - kAgo.size()) == kAgo;
    bool const has_sign = tools::BeginsWith(text, "-") || tools::BeginsWith(text, "+");
    if (is_ago == has_sign) {
        return std::nullopt;
    }
    bool const is_after = text.front() == '+';
    text.remove_prefix(has_sign ? 1 : 0);
    text.remove_suffix(is_ago ? kAgo.size() : 0);
    std::optional<Time> const span = ParseSpan(text);
    return span ? std::optional<Time>(is_after ? now + *span : now - *span)
                : std::nullopt;
}

}  // namespace

std::optional<Time> ParseWhen(std::string const& text, Time now) {
    if (std::optional<Time> const time = ParseWord(text, now)) {
        return time;
    }
    if (std::optional<Time> const time = ParseRelative(text, now)) {
        return time;
    }
    char today[16];
    std::tm const local = LocalTime(now);
    std::strftime(today, sizeof today, "%Y-%m-%d ", &local);
    for (std::string const& full :
         {text, text + ":00", text + " 00:00:00", today + text, today + text + ":00"}) {
        if (std::optional<Time> const time = ParseTime(full)) {
            return time;
        }
    }
    return std::nullopt;
}

}  // namespace launchlog_report
