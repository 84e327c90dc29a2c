#include "tools/launchlog_report/time_stamp.h"

#include <cctype>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

struct Moment {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
};

// Reads a text from its beginning on; what does not match is left.
class Cursor {
  public:
    explicit Cursor(std::string const& read) : text(read) {}

    // Takes exactly `count` digits.
    bool TakeDigits(int count, int& number) {
        int value = 0;
        for (int i = 0; i < count; ++i) {
            if (!IsDigit(Peek(static_cast<std::size_t>(i)))) {
                return false;
            }
            value = value * 10 + (Peek(static_cast<std::size_t>(i)) - '0');
        }
        place += static_cast<std::size_t>(count);
        number = value;
        return true;
    }

    // Takes one of these characters and returns it, or 0.
    char TakeOneOf(char const* characters) {
        char const next = Peek();
        if (next == '\0' || std::strchr(characters, next) == nullptr) {
            return '\0';
        }
        ++place;
        return next;
    }

    // Takes all of them that follow one another; says whether there was one.
    bool TakeAllOf(char const* characters) {
        bool found = false;
        while (TakeOneOf(characters) != '\0') {
            found = true;
        }
        return found;
    }

    // Takes a word that no letter or digit follows.
    bool TakeWord(char const* word) {
        std::size_t const length = std::strlen(word);
        if (text.compare(place, length, word) != 0 ||
            std::isalnum(static_cast<unsigned char>(Peek(length))) != 0) {
            return false;
        }
        place += length;
        return true;
    }

    bool IsAtDigit() const { return IsDigit(Peek()); }
    bool IsAtEnd() const { return place == text.size(); }

    // The place that the next character is at; one of before to go back to.
    std::size_t Place() const { return place; }
    void GoBackTo(std::size_t before) { place = before; }

  private:
    static bool IsDigit(char letter) { return letter >= '0' && letter <= '9'; }

    char Peek(std::size_t ahead = 0) const {
        return place + ahead < text.size() ? text[place + ahead] : '\0';
    }

    std::string const& text;
    std::size_t place = 0;
};

bool TakeDate(Cursor& cursor, Moment& moment) {
    return cursor.TakeDigits(4, moment.year) && cursor.TakeOneOf("-/.") != '\0' &&
           cursor.TakeDigits(2, moment.month) && cursor.TakeOneOf("-/.") != '\0' &&
           cursor.TakeDigits(2, moment.day) && moment.month >= 1 && moment.month <= 12 &&
           moment.day >= 1 && moment.day <= 31;
}

bool TakeTimeOfDay(Cursor& cursor, Moment& moment) {
    return cursor.TakeDigits(2, moment.hour) && cursor.TakeOneOf(":") != '\0' &&
           cursor.TakeDigits(2, moment.minute) && cursor.TakeOneOf(":") != '\0' &&
           cursor.TakeDigits(2, moment.second) && moment.hour <= 23 &&
           moment.minute <= 59 && moment.second <= 60;
}

// Takes the digits behind a decimal sign and returns them as milliseconds.
int TakeFraction(Cursor& cursor) {
    int milliseconds = 0;
    if (cursor.TakeOneOf(".,") != '\0') {
        int digit = 0;
        for (int weight = 100; cursor.TakeDigits(1, digit); weight /= 10) {
            milliseconds += weight * digit;
        }
    }
    return milliseconds;
}

// Takes a zone and returns how many minutes it is ahead of UTC; std::nullopt if there is
// none.
std::optional<int> TakeZone(Cursor& cursor) {
    cursor.TakeAllOf(" ");
    if (cursor.TakeWord("Z") || cursor.TakeWord("UTC") || cursor.TakeWord("GMT")) {
        return 0;
    }
    char const sign = cursor.TakeOneOf("+-");
    int hours = 0;
    int minutes = 0;
    if (sign == '\0' || !cursor.TakeDigits(2, hours)) {
        return std::nullopt;
    }
    cursor.TakeOneOf(":");
    cursor.TakeDigits(2, minutes);
    // A longer number is no zone.
    if (cursor.IsAtDigit() || hours > 23 || minutes > 59) {
        return std::nullopt;
    }
    return (sign == '-' ? -1 : 1) * (hours * 60 + minutes);
}

// Returns the number of days from 1970-01-01. Years are counted from March, so that the
// leap day ends the year, and in eras of 400 years, which all have 146,097 days.
long long DaysBefore(Moment const& moment) {
    long long const year = moment.month <= 2 ? moment.year - 1 : moment.year;
    long long const month = moment.month <= 2 ? moment.month + 9 : moment.month - 3;
    long long const era = (year >= 0 ? year : year - 399) / 400;
    long long const year_of_era = year - era * 400;
    long long const day_of_year = (153 * month + 2) / 5 + moment.day - 1;
    return era * 146097 + year_of_era * 365 + year_of_era / 4 - year_of_era / 100 +
           day_of_year - 719468;
}

long long SecondsInUtc(Moment const& moment) {
    return ((DaysBefore(moment) * 24 + moment.hour) * 60 + moment.minute) * 60 +
           moment.second;
}

long long SecondsInLocalTime(Moment const& moment) {
    std::tm local = {};
    local.tm_year = moment.year - 1900;
    local.tm_mon = moment.month - 1;
    local.tm_mday = moment.day;
    local.tm_hour = moment.hour;
    local.tm_min = moment.minute;
    local.tm_sec = moment.second;
    local.tm_isdst = -1;
    return std::mktime(&local);
}

// Takes a date, a time of day and perhaps a zone.
std::optional<Time> TakeTime(Cursor& cursor, Moment& moment) {
    if (!TakeDate(cursor, moment) ||
        (cursor.TakeOneOf("T") == '\0' && !cursor.TakeAllOf(" ")) ||
        !TakeTimeOfDay(cursor, moment)) {
        return std::nullopt;
    }
    int const milliseconds = TakeFraction(cursor);
    std::size_t const end = cursor.Place();
    std::optional<int> const zone = TakeZone(cursor);
    if (!zone) {
        cursor.GoBackTo(end);
    }
    long long const seconds =
        zone ? SecondsInUtc(moment) - *zone * 60LL : SecondsInLocalTime(moment);
    return seconds * 1000 + milliseconds;
}

bool DayExists(Moment const& moment) {
    Moment first;
    first.year = moment.year;
    first.month = moment.month;
    first.day = 1;
    Moment next = first;
    next.year += moment.month / 12;
    next.month = moment.month % 12 + 1;
    return moment.day <= DaysBefore(next) - DaysBefore(first);
}

}  // namespace

std::optional<Time> ParseTimeStamp(std::string const& line) {
    Cursor cursor(line);
    cursor.TakeAllOf(" \t");
    cursor.TakeOneOf("[(");
    Moment moment;
    return TakeTime(cursor, moment);
}

std::optional<Time> ParseTime(std::string const& text) {
    Cursor cursor(text);
    Moment moment;
    std::optional<Time> const time = TakeTime(cursor, moment);
    return cursor.IsAtEnd() && DayExists(moment) ? time : std::nullopt;
}

std::string FormatTime(Time time) {
    // Whole seconds, rounded down before 1970, too.
    std::time_t const seconds = (time >= 0 ? time : time - 999) / 1000;
    std::tm utc = {};
    char text[64];
    if (gmtime_r(&seconds, &utc) == nullptr ||
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc) == 0) {
        return "";
    }
    return text;
}

Time Now() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}
