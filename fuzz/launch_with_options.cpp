// Compares the command line of launch-with with a second reader of it. Each line of an
// input is an argument.

#include "tools/launch_with/options.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "fuzz/fuzzing.h"
#include "tools/common/signal_names.h"

namespace {

using launch_with::Complaint;
using launch_with::Options;
using Settings = std::vector<std::pair<std::string, std::string>>;

// The settings that ForEachSetting has passed on.
Settings passed;

bool TakeSetting(char const* name, char const* value) {
    passed.emplace_back(name, value);
    return true;
}

bool IsOf(std::string const& text, char const* characters) {
    return !text.empty() && text.find_first_not_of(characters) == std::string::npos;
}

std::string WithoutZeros(std::string const& text) {
    std::size_t const begin = text.find_first_not_of('0');
    return begin == std::string::npos ? "0" : text.substr(begin);
}

// Returns the number that the text is, if it is one from `least` to `most`.
std::optional<long long> Whole(std::string text, char const* digits, int base,
                               long long least, long long most) {
    bool const is_negative = !text.empty() && text[0] == '-';
    text.erase(0, is_negative ? 1 : 0);
    if (!IsOf(text, digits) || WithoutZeros(text).size() > 15) {
        return std::nullopt;
    }
    long long const size = std::stoll(WithoutZeros(text), nullptr, base);
    long long const number = is_negative ? -size : size;
    return number < least || number > most ? std::nullopt : std::optional(number);
}

std::optional<long long> Milliseconds(std::string const& text) {
    std::size_t const point = text.find('.');
    std::string const whole = text.substr(0, point);
    std::string const rest = point == std::string::npos ? "0" : text.substr(point + 1);
    bool const is_right = IsOf(whole, "0123456789") && IsOf(rest, "0123456789") &&
                          rest.size() <= 3 && WithoutZeros(whole).size() <= 10 &&
                          std::stoll(WithoutZeros(whole)) <= 1'000'000'000;
    return is_right ? std::optional(std::llround(std::stod(whole + "." + rest) * 1000))
                    : std::nullopt;
}

std::optional<rlim_t> LimitValue(std::string const& text) {
    if (text == "unlimited") {
        return RLIM_INFINITY;
    }
    bool const is_number = IsOf(text, "0123456789") && text.size() <= 18;
    return is_number ? std::optional<rlim_t>(std::stoull(text)) : std::nullopt;
}

bool IsLimit(std::string const& text) {
    std::string const name = text.substr(0, text.find('='));
    std::string const value = name == text ? "" : text.substr(name.size() + 1);
    std::size_t const colon = value.find(':');
    auto const soft = LimitValue(value.substr(0, colon));
    auto const hard =
        LimitValue(colon == std::string::npos ? value : value.substr(colon + 1));
    char const* const names[] = {"as",      "core",   "cpu",   "data", "fsize",
                                 "memlock", "nofile", "nproc", "stack"};
    return soft && hard && *soft <= *hard &&
           std::find(std::begin(names), std::end(names), name) != std::end(names);
}

int SignalNumber(std::string const& text) {
    for (tools::NamedSignal const& it : tools::kSignals) {
        if (text == it.name || "SIG" + text == it.name) {
            return it.number;
        }
    }
    return 0;
}

// What a command line asks for, or the first word that is wrong.
struct Model {
    long long at_most_every = 0;
    long long grace = 10'000;
    int stop_signal = SIGTERM;
    long long tail = 0;
    long long umask = -1;
    long long nice = 0;
    std::string output;
    std::string error;
    std::string directory;
    std::string lock;
    Settings settings;
    bool help = false;
    bool version = false;
    // The number of the first word of the command.
    std::optional<std::size_t> command;
    std::optional<std::string> wrong;
};

bool Set(long long& member, std::optional<long long> const& value) {
    member = value.value_or(member);
    return value.has_value();
}

bool SetText(std::string& member, std::string const& value) {
    member = value;
    return !value.empty();
}

// Takes an option that has a value. Returns false if it is wrong.
bool TakeOption(std::string const& name, std::string const& value, Model& model) {
    char const* const decimal = "0123456789";
    if (name == "at-most-every" || name == "grace") {
        return Set(name == "grace" ? model.grace : model.at_most_every,
                   Milliseconds(value));
    }
    if (name == "stop-signal") {
        model.stop_signal = SignalNumber(value);
        return model.stop_signal != 0;
    }
    if (name == "tail") {
        return Set(model.tail, Whole(value, decimal, 10, 1, 1'000'000'000));
    }
    if (name == "umask") {
        return Set(model.umask, Whole(value, "01234567", 8, 0, 0777));
    }
    if (name == "nice") {
        return Set(model.nice, Whole(value, decimal, 10, -20, 19));
    }
    if (name == "environment" || name == "limit") {
        model.settings.emplace_back(name, value);
        std::size_t const sign = value.find('=');
        return name == "limit" ? IsLimit(value) : sign != 0 && sign != std::string::npos;
    }
    return SetText(name == "output"      ? model.output
                   : name == "error"     ? model.error
                   : name == "directory" ? model.directory
                                         : model.lock,
                   value);
}

bool TakesValue(std::string const& name) {
    char const* const names[] = {"at-most-every", "directory",   "environment", "error",
                                 "grace",         "limit",       "lock",        "nice",
                                 "output",        "stop-signal", "tail",        "umask"};
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

// Checks what no word alone tells.
Model Finish(Model model) {
    bool const has_file = !model.output.empty() || !model.error.empty();
    if (model.tail != 0 && !has_file) {
        model.wrong = "--tail";
    } else if (!model.command) {
        model.wrong = "the command line";
    }
    return model;
}

// Reads the words after the name of the program.
Model Read(std::vector<std::string> const& words) {
    Model model;
    for (std::size_t i = 0; i < words.size(); ++i) {
        std::string const& word = words[i];
        if (word == "--" || word[0] != '-' || word.size() == 1) {
            std::size_t const command = i + (word == "--" ? 1 : 0);
            model.command =
                command < words.size() ? std::optional(command) : std::nullopt;
            return Finish(model);
        }
        std::size_t const sign = word.find('=');
        std::string const name =
            word.substr(2, sign == std::string::npos ? sign : sign - 2);
        if (word.compare(0, 2, "-h") == 0 || word == "--help" || word == "--version") {
            (word == "--version" ? model.version : model.help) = true;
            return model;
        }
        bool const is_next = sign == std::string::npos && i + 1 < words.size();
        bool const is_right =
            word[1] == '-' && TakesValue(name) &&
            (is_next || sign != std::string::npos) &&
            TakeOption(name, is_next ? words[i + 1] : word.substr(sign + 1), model);
        if (!is_right) {
            model.wrong = word;
            return model;
        }
        i += is_next ? 1 : 0;
    }
    return Finish(model);
}

bool IsText(char const* text, std::string const& expected) {
    return text == nullptr ? expected.empty() : text == expected;
}

void Compare(Options const& options, Model const& model) {
    Require(options.help == model.help && options.version == model.version,
            "--help and --version are seen");
    Require(options.at_most_every == model.at_most_every &&
                options.grace == model.grace &&
                options.stop_signal == model.stop_signal && options.tail == model.tail &&
                options.umask == model.umask && options.nice == model.nice,
            "the numbers are those of the words");
    Require(IsText(options.output, model.output) &&
                IsText(options.directory, model.directory) &&
                IsText(options.lock, model.lock),
            "the texts are those of the words");
    bool const is_whole = !model.help && !model.version;
    Require(IsText(options.error,
                   is_whole && model.error.empty() ? model.output : model.error),
            "errors go to their file, or to that of the output");
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string input(data, data + size);
    std::vector<std::string> words;
    while (!input.empty()) {
        words.emplace_back(TakeLine(input).c_str());
    }
    // Copies with nothing after the zero, so that a sanitizer sees a read past their end.
    std::vector<std::vector<char>> copies = {{'a', '\0'}};
    for (std::string const& word : words) {
        copies.emplace_back(word.c_str(), word.c_str() + word.size() + 1);
    }
    std::vector<char*> arguments;
    for (std::vector<char>& copy : copies) {
        arguments.push_back(copy.data());
    }
    arguments.push_back(nullptr);
    int const count = static_cast<int>(copies.size());

    Model const model = Read(words);
    Options options;
    Complaint complaint;
    bool const is_right = ReadOptions(count, arguments.data(), options, complaint);
    Require(is_right == !model.wrong, "both readers accept the same command lines");
    if (!is_right) {
        Require(complaint.subject == *model.wrong, "both complain of the same word");
        return 0;
    }
    Compare(options, model);
    if (model.command) {
        Require(options.command == arguments.data() + 1 + *model.command,
                "the command begins where the options end");
        passed.clear();
        launch_with::ForEachSetting(count, arguments.data(), TakeSetting);
        Require(passed == model.settings, "all settings are passed on in their order");
    }
    return 0;
}
