#include "tools/launch_with/options.h"

#include <getopt.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "tools/common/signal_names.h"
#include "tools/common/text.h"

namespace launch_with {

namespace {

enum Id : int {
    kAtMostEvery = 256,
    kDirectory,
    kEnvironment,
    kError,
    kGrace,
    kHelp,
    kLimit,
    kLock,
    kNice,
    kOutput,
    kStopSignal,
    kTail,
    kUmask,
    kVersion,
};

constexpr option kKnown[] = {
    {"at-most-every", required_argument, nullptr, kAtMostEvery},
    {"directory", required_argument, nullptr, kDirectory},
    {"environment", required_argument, nullptr, kEnvironment},
    {"error", required_argument, nullptr, kError},
    {"grace", required_argument, nullptr, kGrace},
    {"help", no_argument, nullptr, kHelp},
    {"limit", required_argument, nullptr, kLimit},
    {"lock", required_argument, nullptr, kLock},
    {"nice", required_argument, nullptr, kNice},
    {"output", required_argument, nullptr, kOutput},
    {"stop-signal", required_argument, nullptr, kStopSignal},
    {"tail", required_argument, nullptr, kTail},
    {"umask", required_argument, nullptr, kUmask},
    {"version", no_argument, nullptr, kVersion},
    {},
};

// "+" ends the options at the program; ":" tells a missing value from an unknown option.
char const* const kShortOptions = "+:h";
constexpr int kEnd = -1;

struct ResourceName {
    char const* name;
    int resource;
};

constexpr ResourceName kResources[] = {
    {"as", RLIMIT_AS},         {"core", RLIMIT_CORE},   {"cpu", RLIMIT_CPU},
    {"data", RLIMIT_DATA},     {"fsize", RLIMIT_FSIZE}, {"memlock", RLIMIT_MEMLOCK},
    {"nofile", RLIMIT_NOFILE}, {"nproc", RLIMIT_NPROC}, {"stack", RLIMIT_STACK},
};

// The largest number that is taken, of seconds, lines and so on: a billion.
constexpr long long kMost = 1'000'000'000;

// Reads a whole number from `least` to `most`. Returns false if `text` is something else.
bool ReadNumber(std::string_view text, int base, long long least, long long most,
                long long& number) {
    bool const is_negative = tools::BeginsWith(text, "-");
    if (is_negative) {
        text.remove_prefix(1);
    }
    long long sum = 0;
    for (char const digit : text) {
        if (!tools::IsDigit(digit) || digit - '0' >= base || sum > kMost) {
            return false;
        }
        sum = sum * base + (digit - '0');
    }
    number = is_negative ? -sum : sum;
    return !text.empty() && number >= least && number <= most;
}

// Reads seconds, with up to three digits after a point, as milliseconds.
bool ReadSeconds(std::string_view text, long long& milliseconds) {
    std::size_t const point = text.find('.');
    std::string_view fraction;
    if (point != std::string_view::npos) {
        fraction = text;
        fraction.remove_prefix(point + 1);
        text.remove_suffix(text.size() - point);
        if (!tools::IsDigits(fraction) || fraction.size() > 3) {
            return false;
        }
    }
    long long whole = 0;
    if (!tools::IsDigits(text) || !ReadNumber(text, 10, 0, kMost, whole)) {
        return false;
    }
    long long thousandths = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        thousandths = thousandths * 10 + (i < fraction.size() ? fraction[i] - '0' : 0);
    }
    milliseconds = whole * 1000 + thousandths;
    return true;
}

bool ReadWhole(char const* text, int base, long long least, long long most, int& number) {
    long long read = 0;
    if (!ReadNumber(text, base, least, most, read)) {
        return false;
    }
    number = static_cast<int>(read);
    return true;
}

// Reads one half of a limit.
bool ReadLimitValue(std::string_view text, rlim_t& value) {
    if (text == "unlimited") {
        value = RLIM_INFINITY;
        return true;
    }
    if (!tools::IsDigits(text) || text.size() > 18) {
        return false;
    }
    value = 0;
    for (char const digit : text) {
        value = value * 10 + static_cast<rlim_t>(digit - '0');
    }
    return true;
}

bool IsVariable(char const* text) {
    char const* const sign = std::strchr(text, '=');
    return sign != nullptr && sign != text;
}

// Takes the value of an option. Returns what is wrong with it; null if it is right.
char const* Take(int id, char* value, Options& options) {
    long long number = 0;
    Limit limit = {};
    switch (id) {
        case kAtMostEvery:
            return ReadSeconds(value, options.at_most_every)
                       ? nullptr
                       : "is not a number of seconds";
        case kGrace:
            return ReadSeconds(value, options.grace) ? nullptr
                                                     : "is not a number of seconds";
        case kStopSignal:
            options.stop_signal = tools::SignalNamed(value);
            return options.stop_signal != 0 ? nullptr : "is not a signal";
        case kOutput:
            options.output = value;
            return *value != '\0' ? nullptr : "names no file";
        case kError:
            options.error = value;
            return *value != '\0' ? nullptr : "names no file";
        case kTail:
            if (!ReadNumber(value, 10, 1, kMost, number)) {
                return "is not a number of lines";
            }
            options.tail = static_cast<long>(number);
            return nullptr;
        case kDirectory:
            options.directory = value;
            return *value != '\0' ? nullptr : "names no directory";
        case kUmask:
            return ReadWhole(value, 8, 0, 0777, options.umask) ? nullptr
                                                               : "is not an octal mask";
        case kNice:
            options.has_nice = true;
            return ReadWhole(value, 10, -20, 19, options.nice)
                       ? nullptr
                       : "is not a number from -20 to 19";
        case kLock:
            options.lock = value;
            return *value != '\0' ? nullptr : "is an empty name";
        case kEnvironment:
            return IsVariable(value) ? nullptr : "is not NAME=VALUE";
        default:  // kLimit
            return ReadLimit(value, limit) ? nullptr : "is not a limit, such as core=0";
    }
}

// Returns true if `word` is the option as it is written in full, alone or with a value:
// an abbreviation could mean two options after the next one is added.
bool IsInFull(std::string_view word, char const* name) {
    word.remove_prefix(2);
    return word == name ||
           (tools::BeginsWith(word, name) && word[std::strlen(name)] == '=');
}

// Returns the name of the option with this id; an empty text if there is none.
char const* NameOf(int id) {
    for (option const& it : kKnown) {
        if (it.val == id && it.name != nullptr) {
            return it.name;
        }
    }
    return "";
}

// Adds a text and the zero after it to a hash (FNV-1a).
std::uint64_t Hash(std::uint64_t hash, char const* text) {
    constexpr std::uint64_t kPrime = 1'099'511'628'211;
    for (; *text != '\0'; ++text) {
        hash = (hash ^ static_cast<unsigned char>(*text)) * kPrime;
    }
    return hash * kPrime;
}

void MakeName(int argc, char** argv, Options& options) {
    std::uint64_t hash = 14'695'981'039'346'656'037ULL;
    if (options.lock != nullptr) {
        hash = Hash(hash, options.lock);
    } else {
        for (int i = 1; i < argc; ++i) {
            hash = Hash(hash, argv[i]);
        }
    }
    std::snprintf(options.name, sizeof options.name, "%016llx",
                  static_cast<unsigned long long>(hash));
}

// Checks what no single option can tell.
bool CheckTogether(Options& options, Complaint& complaint) {
    if (options.tail != 0 && options.output == nullptr && options.error == nullptr) {
        complaint = {"--tail", "needs --output or --error"};
        return false;
    }
    if (options.command == nullptr) {
        complaint = {"the command line", "names no program"};
        return false;
    }
    if (options.error == nullptr) {
        options.error = options.output;
    }
    return true;
}

}  // namespace

bool ReadOptions(int argc, char** argv, Options& options, Complaint& complaint) {
    if (argc < 1) {
        return CheckTogether(options, complaint);
    }
    opterr = 0;
    optind = 0;  // starts anew, also after an earlier call
    while (true) {
        char* const word = argv[optind == 0 ? 1 : optind];
        int const id = getopt_long(argc, argv, kShortOptions, kKnown, nullptr);
        if (id == kEnd) {
            options.command = optind < argc ? argv + optind : nullptr;
            MakeName(argc, argv, options);
            return CheckTogether(options, complaint);
        }
        bool const is_long = id != '?' && id != ':' && id != 'h';
        if (id == '?' || (is_long && !IsInFull(word, NameOf(id)))) {
            complaint = {word, "is not an option"};
            return false;
        }
        if (id == 'h' || id == kHelp) {
            options.help = true;
            return true;
        }
        if (id == kVersion) {
            options.version = true;
            return true;
        }
        char const* const wrong = id == ':' ? "needs a value" : Take(id, optarg, options);
        if (wrong != nullptr) {
            complaint = {word, wrong};
            return false;
        }
    }
}

void ForEachSetting(int argc, char** argv,
                    bool (*use)(char const* name, char const* value)) {
    optind = 0;
    int id = 0;
    while ((id = getopt_long(argc, argv, kShortOptions, kKnown, nullptr)) != kEnd) {
        if ((id == kEnvironment && !use("environment", optarg)) ||
            (id == kLimit && !use("limit", optarg))) {
            return;
        }
    }
}

bool ReadLimit(char const* text, Limit& limit) {
    std::string_view const all = text;
    for (ResourceName const& it : kResources) {
        std::string_view value = all;
        if (!tools::BeginsWith(value, it.name)) {
            continue;
        }
        value.remove_prefix(std::strlen(it.name));
        if (!tools::BeginsWith(value, "=")) {
            continue;
        }
        value.remove_prefix(1);
        std::string_view soft = value;
        std::size_t const colon = value.find(':');
        if (colon != std::string_view::npos) {
            soft.remove_suffix(value.size() - colon);
            value.remove_prefix(colon + 1);
        }
        limit.resource = it.resource;
        return ReadLimitValue(soft, limit.value.rlim_cur) &&
               ReadLimitValue(value, limit.value.rlim_max) &&
               limit.value.rlim_cur <= limit.value.rlim_max;
    }
    return false;
}

}  // namespace launch_with
