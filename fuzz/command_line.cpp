// Compares the command line of a tool, and what launchlog-report makes of it, with a
// second reader of both. Each line of an input is an argument.

#include "tools/common/command_line.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "common/config/log.h"
#include "fuzz/fuzzing.h"
#include "tools/common/printable.h"
#include "tools/launchlog_report/options.h"

ILog* logger = nullptr;

namespace {

using launchlog_report::Options;
using launchlog_report::ParseWhen;
using launchlog_report::Time;
using Words = std::vector<std::string>;

// The options of launchlog-report, and whether each takes a value.
std::map<std::string, bool> const kKnown = {
    {"follow", false},        {"since", true}, {"until", true},   {"json", false},
    {"ends", false},          {"html", true},  {"metrics", true}, {"list", true},
    {"sort", true},           {"now", true},   {"help", false},   {"version", false},
    {"fail-if-marked", false}};

// What getopt_long should make of the words.
struct Model {
    bool Has(std::string const& option) const { return options.count(option) != 0; }
    std::string Value(std::string const& option) const {
        return Has(option) ? options.at(option) : "";
    }

    std::map<std::string, std::string> options;
    Words operands;
    std::string error;
};

// Takes the words "-h", "-hh" and so on. Returns false if there is another letter.
bool TakeLetters(std::string const& word, Model& model) {
    if (word[1] == 'h') {
        model.options["help"];
    }
    return word.find_first_not_of('h', 1) == std::string::npos;
}

// Takes a long option. `next` is the word after it, if there is one. Returns false if the
// option is wrong.
bool TakeLong(std::string const& word, std::optional<std::string> const& next,
              Model& model) {
    std::size_t const sign = word.find('=');
    bool const has_sign = sign != std::string::npos;
    std::string const name = word.substr(2, has_sign ? sign - 2 : sign);
    auto const value = has_sign ? std::optional(word.substr(sign + 1)) : next;
    auto const known = kKnown.find(name);
    if (known == kKnown.end()) {
        model.error = "unknown option " + tools::Printable("--" + name);
    } else if (!known->second && has_sign) {
        model.error = "--" + name + " takes no value";
    } else if (known->second && !value) {
        model.error = "--" + name + " needs a value";
    } else {
        model.options[name] = known->second ? *value : "";
    }
    return model.error.empty();
}

Model Read(Words const& words) {
    Model model;
    for (std::size_t i = 0; i < words.size(); ++i) {
        std::string const& word = words[i];
        if (word == "--") {
            model.operands.insert(model.operands.end(), words.data() + i + 1,
                                  words.data() + words.size());
            return model;
        }
        if (word[0] != '-' || word == "-") {
            model.operands.push_back(word);
        } else if (word[1] != '-') {
            if (!TakeLetters(word, model)) {
                model.error =
                    "unknown option " + tools::Printable(word.substr(0, word.find('=')));
                return model;
            }
        } else {
            auto const next =
                i + 1 < words.size() ? std::optional(words[i + 1]) : std::nullopt;
            if (!TakeLong(word, next, model)) {
                return model;
            }
            bool const took_next =
                word.find('=') == std::string::npos && kKnown.at(word.substr(2));
            i += took_next ? 1 : 0;
        }
    }
    return model;
}

// Returns true if launchlog-report takes these options together.
bool CanBeCombined(Model const& model) {
    bool const reads_stdin =
        std::count(model.operands.begin(), model.operands.end(), "-");
    // The options that rule out those in their rows.
    std::map<std::string, Words> const rows = {
        {"html", {"json", "ends"}},
        {"follow", {"ends", "html", "until", "fail-if-marked"}},
        {"metrics",
         {"json", "ends", "html", "since", "until", "now", "sort", "fail-if-marked"}}};
    for (auto const& [option, others] : rows) {
        for (std::string const& other : others) {
            if (model.Has(option) && model.Has(other)) {
                return false;
            }
        }
    }
    return !(reads_stdin && (model.Has("follow") || model.Has("metrics"))) &&
           !(model.Has("html") && model.Value("html").empty()) &&
           !(model.Has("metrics") && model.Value("metrics").empty()) &&
           !(model.Has("list") && !model.Has("html") && !model.Has("metrics"));
}

// A span counts back and on alike. The same time in full is the same time.
void CheckWhen(std::string const& text, Time now) {
    constexpr Time kYear = 366LL * 24 * 60 * 60 * 1000;
    auto const back = ParseWhen("-" + text, now);
    auto const on = ParseWhen("+" + text, now);
    Require(back.has_value() == on.has_value() && (!on || now - *back == *on - now),
            "a span counts back and on alike");
    Require(!on || ParseWhen(text + " ago", now) == back, "a span ago is one back");
    auto const time = ParseWhen(text, now);
    if (time && *time >= kYear && *time < 8000 * kYear) {
        Require(ParseWhen(launchlog_report::FormatExactTime(*time), now) == time,
                "a time in full is the same time");
    }
}

// Returns true if --since and --until are times, and not the wrong way round.
bool IsRangeRight(Model const& model, Time now) {
    auto const since = ParseWhen(model.Value("since"), now);
    auto const until = ParseWhen(model.Value("until"), now);
    return (since || !model.Has("since")) && (until || !model.Has("until")) &&
           !(since && until && *since > *until);
}

void CheckReport(Model const& model, Options const& options) {
    Words const orders = {"marked",     "name",      "restarts",
                          "per-minute", "first-end", "last-end"};
    bool const is_sort_right =
        !model.Has("sort") ||
        std::count(orders.begin(), orders.end(), model.Value("sort")) != 0;
    auto const now = launchlog_report::ParseTime(model.Value("now"));
    bool const is_right = model.error.empty() && is_sort_right &&
                          (now || !model.Has("now")) &&
                          IsRangeRight(model, now.value_or(0)) && CanBeCombined(model);
    Require(options.line.error.empty() == is_right, "both accept the same command lines");
    Require(options.follow == model.Has("follow") && options.json == model.Has("json") &&
                options.ends == model.Has("ends") &&
                options.fail_if_marked == model.Has("fail-if-marked"),
            "the report knows what was asked");
    Require(options.metrics == model.Value("metrics") &&
                options.html == model.Value("html") &&
                options.list == model.Value("list") && options.logs == model.operands,
            "the report knows the files");
    if (is_right) {
        Require(options.now == now && options.sort.has_value() == model.Has("sort") &&
                    options.range.since.has_value() == model.Has("since") &&
                    options.range.until.has_value() == model.Has("until"),
                "the report knows the values");
    }
}

std::vector<tools::Option> KnownOptions() {
    std::vector<tools::Option> options;
    for (auto const& [name, takes_value] : kKnown) {
        if (name != "help" && name != "version") {
            options.push_back({name.c_str(), takes_value});
        }
    }
    return options;
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string input(data, data + size);
    Words words;
    while (!input.empty()) {
        words.emplace_back(TakeLine(input).c_str());
    }
    Model model = Read(words);
    if ((model.Has("since") || model.Has("until")) && !model.Has("now")) {
        words.insert(words.begin(), "--now=2026-11-21T12:00:00Z");
        model = Read(words);
    }
    Words whole = words;
    whole.insert(whole.begin(), "tool");
    std::vector<char*> const arguments = tools::Pointers(whole);
    int const count = static_cast<int>(whole.size());

    tools::CommandLine const line =
        tools::ReadCommandLine(count, arguments.data(), KnownOptions());
    Require(line.error == model.error, "both complain of the same");
    Require(line.options == model.options && line.operands == model.operands,
            "both read the same options and operands");
    for (std::string const& word : words) {
        CheckWhen(word, 1'795'262'018'837);
    }
    CheckReport(model, launchlog_report::ReadOptions(count, arguments.data()));
    return 0;
}
