// Measures the calls of the support layer at three sizes or more, and compares each with
// the call that a program would use otherwise. Prints a table: the times, their ratio,
// the units that are done in a second, and how much longer a unit takes than at the
// smallest size. scripts/bench runs it. It takes the options of Google Benchmark.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <json/reader.h>
#include <unistd.h>

#include <codecvt>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <locale>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "common/config/log.h"
#include "common/config/profile_reader.h"
#include "common/json/json_object.h"
#include "common/json/text_encoding.h"
#include "common/strings/encoders.h"
#include "common/strings/split.h"
#include "common/strings/wildcard.h"
#include "harness/files.h"
#include "harness/launch_list.h"

ILog* logger = nullptr;

namespace {

// What is measured. Everything that it needs is made before.
using Work = std::function<void()>;
using Maker = std::function<Work(std::size_t size)>;

struct Comparison {
    std::string name;
    std::string reference;  // what it is compared with; may be empty
    std::string unit;       // of the sizes
    std::vector<std::size_t> sizes;
    Maker ours;
    Maker theirs;
};

std::string LaunchList(std::size_t items) {
    return ListText(std::vector<std::string>(
        items, ItemText("program", "/opt/example/bin/program", {"--port", "7000"})));
}

// Makes work that calls `call` on the input that `make` makes for a size.
template <typename Make, typename Call>
Maker Calling(Make make, Call call) {
    return [=](std::size_t size) -> Work {
        return [call, input = make(size)] {
            auto const result = call(input);
            benchmark::DoNotOptimize(result);
        };
    };
}

Comparison ParsingJson() {
    return {"JsonObject, parsing a launch list",
            "Json::Reader",
            "items",
            {10, 1000, 100'000},
            Calling(LaunchList,
                    [](std::string const& text) {
                        return JsonObject(text.data(),
                                          static_cast<unsigned>(text.size()));
                    }),
            Calling(LaunchList, [](std::string const& text) {
                Json::Value list;
                Json::Reader().parse(text.data(), text.data() + text.size(), list, false);
                return list;
            })};
}

// An object of that many levels, each with one member "member".
std::string NestedObject(std::size_t levels) {
    std::string text = "1";
    for (std::size_t i = 0; i < levels; ++i) {
        text = R"({"member": )" + text + "}";
    }
    return text;
}

std::string NestedPath(std::size_t levels) {
    std::string path;
    for (std::size_t i = 0; i < levels; ++i) {
        path += "/member";
    }
    return path;
}

Maker LookingUpWithJsoncpp() {
    return [](std::size_t levels) -> Work {
        auto root = std::make_shared<Json::Value>();
        Json::Reader().parse(NestedObject(levels), *root);
        return [root, levels] {
            Json::Value* value = root.get();
            for (std::size_t i = 0; i < levels && value->isMember("member"); ++i) {
                value = &(*value)["member"];
            }
            benchmark::DoNotOptimize(value);
        };
    };
}

Comparison LookingUp(char const* call,
                     void (*look_up)(JsonObject& object, std::string const& path)) {
    return {call,
            "isMember and [] of Json::Value",
            "members",
            {1, 2, 4, 8},
            [look_up](std::size_t levels) -> Work {
                auto object = std::make_shared<JsonObject>(NestedObject(levels).c_str());
                return [=, path = NestedPath(levels)] { look_up(*object, path); };
            },
            LookingUpWithJsoncpp()};
}

Comparison HasObject() {
    return LookingUp("HasObject", [](JsonObject& object, std::string const& path) {
        benchmark::DoNotOptimize(object.HasObject(path.c_str()));
    });
}

Comparison GetObject() {
    return LookingUp("GetObject", [](JsonObject& object, std::string const& path) {
        JsonObject found = object.GetObject(path.c_str());
        benchmark::DoNotOptimize(found);
    });
}

// Returns words of seven letters with a comma after each.
std::string Words(std::size_t bytes) {
    std::string text;
    while (text.size() < bytes) {
        text += "letters,";
    }
    text.resize(bytes);
    return text;
}

std::vector<std::string> CutInALoop(std::string const& text) {
    std::vector<std::string> pieces;
    std::size_t begin = 0;
    for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
        end = text.find(',', begin);
        pieces.push_back(text.substr(begin, end - begin));
    }
    return pieces;
}

Comparison Splitter(std::string const& name,
                    std::vector<std::string> (*cut)(std::string const&)) {
    return {name,
            "a loop with find",
            "bytes",
            {100, 10'000, 1'000'000},
            Calling(Words, cut),
            Calling(Words, CutInALoop)};
}

std::string Same(std::string& piece) {
    return std::move(piece);
}

std::vector<Comparison> Splitters() {
    return {
        Splitter("split at a regular expression",
                 [](std::string const& text) {
                     static std::regex const comma(",");
                     return split(text, comma);
                 }),
        Splitter("split_delim",
                 [](std::string const& text) { return split_delim(text, ",", Same); }),
        Splitter("tokenize at a character",
                 [](std::string const& text) { return tokenize(text, ',', Same); }),
        Splitter("tokenize at a text", [](std::string const& text) {
            return tokenize(text, std::string(","), Same);
        })};
}

Comparison Wildcard(std::string const& name, std::vector<std::size_t> const& sizes,
                    std::string const& expression, char const* ending) {
    auto const make = [ending](std::size_t size) {
        return std::string(size, 'a') + ending;
    };
    return {name,
            "fnmatch",
            "characters",
            sizes,
            Calling(make,
                    [=](std::string const& file) {
                        return IsNameInExpressionA(expression.c_str(), file.c_str(),
                                                   false);
                    }),
            Calling(make, [=](std::string const& file) {
                return fnmatch(expression.c_str(), file.c_str(), 0);
            })};
}

std::vector<Comparison> Wildcards() {
    return {
        Wildcard("IsNameInExpressionA, *.txt", {8, 64, 512}, "*.txt", ".txt"),
        Wildcard("IsNameInExpressionA, a*.tar.*", {8, 64, 512}, "a*.tar.*", ".tar.gz"),
        Wildcard("IsNameInExpressionA, *.TXT, no match", {8, 64, 512}, "*.TXT", ".txt"),
        Wildcard("IsNameInExpressionA, *a*a*a*b, worst case", {8, 16, 32, 64}, "*a*a*a*b",
                 "")};
}

// The encoders, without a reference: no function that every machine has does the same.
std::vector<Comparison> Encoders() {
    std::vector<std::size_t> const sizes = {100, 10'000, 1'000'000};
    auto const make = [](std::size_t bytes) {
        return std::vector<unsigned char>(bytes, 0xA5);
    };
    Maker const encode_base64 = Calling(make, [](std::vector<unsigned char> const& data) {
        return base64(data.data(), data.size());
    });
    Maker const encode_url = Calling(
        Words, [](std::string const& text) { return URLEncode(text.c_str(), true); });
    return {{"base64", "", "bytes", sizes, encode_base64, {}},
            {"URLEncode, every eighth byte escaped", "", "bytes", sizes, encode_url, {}}};
}

using Converter = std::wstring_convert<std::codecvt_utf8<wchar_t>>;

// Returns text in which every other character is not ASCII.
std::wstring WideText(std::size_t characters) {
    std::wstring text;
    while (text.size() < characters) {
        text += L"a\u00E9";
    }
    return text;
}

std::string EncodedText(std::size_t characters) {
    return ws2s(WideText(characters));
}

std::vector<Comparison> Conversions() {
    std::vector<std::size_t> const sizes = {100, 10'000, 1'000'000};
    Maker const decode = Calling(EncodedText, [](std::string const& text) {
        return Converter().from_bytes(text);
    });
    Maker const encode = Calling(
        WideText, [](std::wstring const& text) { return Converter().to_bytes(text); });
    Maker const encode_pointer = Calling(
        WideText, [](std::wstring const& text) { return wchar2utf8(text.c_str()); });
    return {
        {"s2ws", "wstring_convert", "characters", sizes, Calling(EncodedText, s2ws),
         decode},
        {"ws2s", "wstring_convert", "characters", sizes, Calling(WideText, ws2s), encode},
        {"wchar2utf8", "wstring_convert", "characters", sizes, encode_pointer, encode}};
}

// Writes a file with a section of that many lines. The last one has the key "wanted".
std::string WriteProfile(TempDirectory const& directory, std::size_t lines) {
    std::string text = "[SECTION]\n";
    for (std::size_t i = 1; i < lines - 1; ++i) {
        text += "key" + std::to_string(i) + "=value\n";
    }
    return directory.Write(std::to_string(lines) + ".ini", text + "wanted=value\n");
}

Comparison ReadingProfile(TempDirectory const& directory) {
    auto const write = [&directory](std::size_t lines) {
        return WriteProfile(directory, lines);
    };
    return {"GetPrivateProfileString",
            "a loop with getline",
            "lines",
            {10, 1000, 10'000},
            Calling(write,
                    [](std::string const& path) {
                        char value[16];
                        return GetPrivateProfileString("section", "wanted", "", value,
                                                       sizeof value, path);
                    }),
            Calling(write, [](std::string const& path) {
                std::ifstream file(path);
                std::string line;
                while (std::getline(file, line) && line.rfind("wanted=", 0) != 0) {
                }
                return line;
            })};
}

void Log(char const* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    logger->LogV(LOGLEVEL_ERROR, format, arguments);
    va_end(arguments);
}

// The line that the launcher logs of an end, with a name of that many characters. It is
// compared with a single write, of a line that is ready, to a file that is open.
Comparison Logging(TempDirectory const& directory) {
    return {"a log line",
            "write of a line that is ready, to an open file",
            "characters",
            {10, 100, 1000},
            [](std::size_t size) -> Work {
                return [name = std::string(size, 'a')] {
                    Log("[LAUNCHER  ] %s %d is killed. ret = %d, status = %d",
                        name.c_str(), 4711, 4711, 9);
                };
            },
            [&directory](std::size_t size) -> Work {
                std::string const path = directory.Write("plain.log", "");
                int const file = open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
                return [file, line = std::string(100 + size, 'a')] {
                    benchmark::DoNotOptimize(write(file, line.data(), line.size()));
                };
            }};
}

// Keeps the median times of all benchmarks by their names.
class MedianKeeper : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(Context const& /*context*/) override { return true; }
    void ReportRuns(std::vector<Run> const& runs) override {
        for (Run const& run : runs) {
            if (run.repetitions <= 1 || run.aggregate_name == "median") {
                // The plain name, without what options add to it.
                nanoseconds[run.run_name.function_name] = run.GetAdjustedRealTime();
            }
        }
    }

    std::map<std::string, double> nanoseconds;
};

std::string BenchmarkName(Comparison const& comparison, char const* side,
                          std::size_t size) {
    return comparison.name + " | " + side + " | " + std::to_string(size);
}

void Register(Comparison const& comparison, char const* side, Maker const& make) {
    for (std::size_t const size : comparison.sizes) {
        benchmark::RegisterBenchmark(BenchmarkName(comparison, side, size).c_str(),
                                     [make, size](benchmark::State& state) {
                                         Work const work = make(size);
                                         for (auto _ : state) {
                                             work();
                                         }
                                     });
    }
}

void PrintTime(double nanoseconds) {
    char const* const units[] = {"ns", "us", "ms", "s"};
    int unit = 0;
    for (; nanoseconds >= 1000 && unit < 3; ++unit) {
        nanoseconds /= 1000;
    }
    std::printf(" %.3g %s |", nanoseconds, units[unit]);
}

void PrintRate(double units_per_second, std::string const& unit) {
    char const* const prefixes[] = {"", "k ", "M ", "G "};
    int prefix = 0;
    for (; units_per_second >= 1000 && prefix < 3; ++prefix) {
        units_per_second /= 1000;
    }
    std::printf(" %.3g %s%s/s |", units_per_second, prefixes[prefix], unit.c_str());
}

void PrintRows(Comparison const& comparison,
               std::map<std::string, double> const& nanoseconds) {
    double first_per_unit = 0;
    for (std::size_t const size : comparison.sizes) {
        auto const ours = nanoseconds.find(BenchmarkName(comparison, "ours", size));
        auto const theirs = nanoseconds.find(BenchmarkName(comparison, "theirs", size));
        if (ours == nanoseconds.end()) {
            continue;
        }
        double const per_unit = ours->second / static_cast<double>(size);
        first_per_unit = first_per_unit == 0 ? per_unit : first_per_unit;
        std::printf("| %s | %zu %s |", comparison.name.c_str(), size,
                    comparison.unit.c_str());
        PrintTime(ours->second);
        if (theirs == nanoseconds.end()) {
            std::printf(" | |");
        } else {
            PrintTime(theirs->second);
            std::printf(" %.2f |", ours->second / theirs->second);
        }
        PrintRate(1e9 / per_unit, comparison.unit);
        std::printf(" %.2f | %s |\n", per_unit / first_per_unit,
                    comparison.reference.c_str());
    }
}

std::vector<Comparison> AllComparisons(TempDirectory const& directory) {
    std::vector<Comparison> all = {ParsingJson(), HasObject(), GetObject()};
    for (std::vector<Comparison> const& some :
         {Splitters(), Wildcards(), Encoders(), Conversions()}) {
        all.insert(all.end(), some.begin(), some.end());
    }
    all.insert(all.end(), {ReadingProfile(directory), Logging(directory)});
    return all;
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    TempDirectory const directory;
    if (InitLogger(directory.Path().c_str()) != 0 ||
        GetLogger(2, "bench", LOGLEVEL_ERROR, &logger) != 0) {
        std::cerr << "micro: cannot open the log\n";
        return 1;
    }
    std::vector<Comparison> const comparisons = AllComparisons(directory);
    for (Comparison const& comparison : comparisons) {
        Register(comparison, "ours", comparison.ours);
        if (comparison.theirs) {
            Register(comparison, "theirs", comparison.theirs);
        }
    }
    MedianKeeper keeper;
    benchmark::RunSpecifiedBenchmarks(&keeper);
    std::printf(
        "| call | size | time | reference | ratio | rate | growth | the "
        "reference |\n|---|---|---:|---:|---:|---:|---:|---|\n");
    for (Comparison const& comparison : comparisons) {
        PrintRows(comparison, keeper.nanoseconds);
    }
    benchmark::Shutdown();
    return 0;
}
