#include "tools/launchlog_report/time_stamp.h"

#include <cctype>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <ctime>

#include "tools/common/text.h"

namespace launchlog_report {
namespace {

// Reads a text from its beginning. What a function does not take, it leaves.
class Cursor {
  public:
    explicit Cursor(std::string const& read) : text(read) {}

    // Takes exactly `count` digits, as a number.
    bool TakeDigits(std::size_t count, int& number) {
        int value = 0;
        for (std::size_t i = 0; i < count; ++i) {
            if (!tools::IsDigit(Peek(i))) {
                return false;
            }
            value = value * 10 + (Peek(i) - '0');
        }
        place += count;
        number = value;
        return true;
    }

    // Takes one of these characters. Returns it; 0 if another one is next.
    char TakeOneOf(char const* characters) {
        char const next = Peek();
        if (next == '\0' || std::strchr(characters, next) == nullptr) {
            return '\0';
        }
        ++place;
        return next;
    }

    // Takes all that follow one another. Returns whether there was one.
    bool TakeAllOf(char const* characters) {
        bool found = false;
        while (TakeOneOf(characters) != '\0') {
            found = true;
        }
        return found;
    }

    // Takes the word, unless a letter or a digit follows it.
    bool TakeWord(char const* word) {
        std::size_t const length = std::strlen(word);
        if (text.compare(place, length, word) != 0 ||
            std::isalnum(static_cast<unsigned char>(Peek(length))) != 0) {
            return false;
        }
        place += length;
        return true;
    }

    bool IsAtDigit() const { return tools::IsDigit(Peek()); }
    bool IsAtEnd() const { return place == text.size(); }

    // The place of the next character, to go back to.
    std::size_t Place() const { return place; }
    void GoBackTo(std::size_t earlier) { place = earlier; }

  private:
    char Peek(std::size_t ahead = 0) const {
        return place + ahead < text.size() ? text[place + ahead] : '\0';
    }

    std::string const& text;
    std::size_t place = 0;
};

bool TakeDate(Cursor& cursor, std::tm& time) {
    if (!cursor.TakeDigits(4, time.tm_year) || cursor.TakeOneOf("-/.") == '\0' ||
        !cursor.TakeDigits(2, time.tm_mon) || cursor.TakeOneOf("-/.") == '\0' ||
        !cursor.TakeDigits(2, time.tm_mday)) {
        return false;
    }
    time.tm_year -= 1900;
    time.tm_mon -= 1;
    return time.tm_mon >= 0 && time.tm_mon <= 11 && time.tm_mday >= 1 &&
           time.tm_mday <= 31;
}

bool TakeTimeOfDay(Cursor& cursor, std::tm& time) {
    return cursor.TakeDigits(2, time.tm_hour) && cursor.TakeOneOf(":") != '\0' &&
           cursor.TakeDigits(2, time.tm_min) && cursor.TakeOneOf(":") != '\0' &&
           cursor.TakeDigits(2, time.tm_sec) && time.tm_hour <= 23 && time.tm_min <= 59 &&
           time.tm_sec <= 60;
}

// Takes a fraction of a second, if there is one. Returns it in milliseconds.
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

// Takes a zone. Returns how many minutes it is ahead of UTC; std::nullopt if there is
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

// timegm and mktime change what they are given, so these two take a copy.
long long SecondsInUtc(std::tm time) {
    return timegm(&time);
}

long long SecondsInLocalTime(std::tm time) {
    time.tm_isdst = -1;
    return std::mktime(&time);
}

// Takes a date, a time of day and perhaps a zone. `fields` gets the date and the time of
// day as they are written.
std::optional<Time> TakeTime(Cursor& cursor, std::tm& fields) {
    if (!TakeDate(cursor, fields) ||
        (cursor.TakeOneOf("T") == '\0' && !cursor.TakeAllOf(" ")) ||
        !TakeTimeOfDay(cursor, fields)) {
        return std::nullopt;
    }
    int const milliseconds = TakeFraction(cursor);
    std::size_t const end = cursor.Place();
    std::optional<int> const zone = TakeZone(cursor);
    if (!zone) {
        cursor.GoBackTo(end);
    }
    long long const seconds =
        zone ? SecondsInUtc(fields) - *zone * 60LL : SecondsInLocalTime(fields);
    return seconds * 1000 + milliseconds;
}

// timegm takes a day that does not exist for one of the next month. A leap second would
// change the day, too.
bool DayExists(std::tm const& fields) {
    std::tm date = fields;
    date.tm_sec = 0;
    timegm(&date);
    return date.tm_mday == fields.tm_mday;
}

}  // namespace

std::optional<Time> ParseTimeStamp(std::string const& line) {
    Cursor cursor(line);
    cursor.TakeAllOf(" \t");
    cursor.TakeOneOf("[(");
    std::tm fields = {};
    return TakeTime(cursor, fields);
}

std::optional<Time> ParseTime(std::string const& text) {
    Cursor cursor(text);
    std::tm fields = {};
    std::optional<Time> const time = TakeTime(cursor, fields);
    return cursor.IsAtEnd() && DayExists(fields) ? time : std::nullopt;
}

std::string FormatTime(Time time) {
    // Rounded down before 1970, too.
    std::time_t const seconds = (time >= 0 ? time : time - 999) / 1000;
    std::tm utc = {};
    char text[64];
    if (gmtime_r(&seconds, &utc) == nullptr ||
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc) == 0) {
        return "";
    }
    return text;
}

std::string FormatExactTime(Time time) {
    std::string text = FormatTime(time);
    if (!text.empty()) {
        std::string const milliseconds = std::to_string((time % 1000 + 1000) % 1000);
        text.insert(text.size() - 1,
                    "." + std::string(3 - milliseconds.size(), '0') + milliseconds);
    }
    return text;
}

Time Now() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

}  // namespace launchlog_report
