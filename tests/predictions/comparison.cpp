#include "tests/predictions/comparison.h"

#include <json/reader.h>
#include <json/value.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <optional>
#include <set>
#include <sstream>

namespace {

using Arguments = std::vector<std::string>;
using Sentences = std::vector<std::string>;

// The kinds of findings of which this comparison knows what to expect, each in blanks.
char const kKnownKinds[] =
    " unreadable directory named-pipe device too-large empty zero-byte not-json too-deep "
    "text-behind repeated-key not-an-object no-items unreached key-number unknown-key "
    "item-type no-name name-type empty-name name-characters name-encoding "
    "duplicate-name no-program program-type relative-program program-file program-load "
    "argc-type argc-value argc-negative argc-too-large args-type missing-arguments "
    "ignored-arguments argument-key argument-type arguments-size zero-character "
    "unknown-member process-limit static-check ";

// What must be seen, and what may be seen.
template <typename Thing>
struct Expected {
    std::set<Thing> certain = {};
    std::set<Thing> possible = {};

    void Add(Thing const& thing, bool is_certain) {
        (is_certain ? certain : possible).insert(thing);
    }
};

// Returns the text as the log writes it.
std::string AsLogged(std::string const& text) {
    char const* const digits = "0123456789ABCDEF";
    std::string logged;
    for (unsigned char const byte : text) {
        if (byte < 0x20 || byte == 0x7F) {
            logged += {'\\', 'x', digits[byte / 16], digits[byte % 16]};
        } else {
            logged += static_cast<char>(byte);
        }
    }
    return logged;
}

std::string InWords(std::string const& text) {
    return text.size() < 200 ? "\"" + AsLogged(text) + "\""
                             : "(" + std::to_string(text.size()) + " bytes)";
}

std::string InWords(Arguments const& arguments) {
    std::string words;
    for (std::size_t i = 0; i < arguments.size() && i < 20; ++i) {
        words += (i == 0 ? "" : " ") + InWords(arguments[i]);
    }
    return words + (arguments.size() > 20 ? " ..." : "");
}

template <typename Thing>
void CompareSets(std::string const& what, Expected<Thing> const& expected,
                 std::set<Thing> const& seen, Sentences& differences) {
    for (Thing const& thing : expected.certain) {
        if (seen.count(thing) == 0) {
            differences.push_back(what + ": not seen: " + InWords(thing));
        }
    }
    for (Thing const& thing : seen) {
        if (expected.certain.count(thing) + expected.possible.count(thing) == 0) {
            differences.push_back(what + ": not predicted: " + InWords(thing));
        }
    }
}

std::string WithoutQuotes(std::string const& text) {
    return text.front() == '"' ? text.substr(1, text.size() - 2) : text;
}

// The findings about one item.
class ItemFindings {
  public:
    void Add(Json::Value const& finding) { findings.push_back(finding); }

    bool Has(std::string const& kind, std::string const& severity = "") const {
        return Find(kind, severity, "") != nullptr;
    }

    // Returns true if there is such a finding that says `text`.
    bool Says(std::string const& kind, std::string const& text) const {
        return Find(kind, "", text) != nullptr;
    }

    // Returns how a finding says that the launcher reads the item's `part`, which is
    // written as in messages; std::nullopt if no finding says so.
    std::optional<std::string> ReadAs(std::string const& part) const {
        for (Json::Value const& finding : findings) {
            std::string const message = finding["message"].asString();
            if (message.rfind(part + " ", 0) != 0) {
                continue;
            }
            for (std::string const phrase :
                 {"takes it as ", "at its zero character to ", "reads it as "}) {
                std::size_t const at = message.find(phrase);
                if (at != std::string::npos) {
                    return WithoutQuotes(message.substr(at + phrase.size()));
                }
            }
        }
        return std::nullopt;
    }

  private:
    Json::Value const* Find(std::string const& kind, std::string const& severity,
                            std::string const& text) const {
        auto const found =
            std::find_if(findings.begin(), findings.end(), [&](Json::Value const& one) {
                return one["kind"] == kind &&
                       (severity.empty() || one["severity"] == severity) &&
                       one["message"].asString().find(text) != std::string::npos;
            });
        return found == findings.end() ? nullptr : &*found;
    }

    std::vector<Json::Value> findings;
};

class Comparer {
  public:
    Comparer(RandomList const& compared, Json::Value const& printed,
             Observation const& observed)
        : list(compared), seen(observed), outcome(printed["outcome"].asString()) {
        for (Json::Value const& finding : printed["findings"]) {
            kinds.insert(finding["kind"].asString());
            if (finding.isMember("item")) {
                findings[finding["item"].asString()].Add(finding);
            } else {
                of_the_list.Add(finding);
            }
        }
        programs = printed["programs"].asInt();
    }

    Comparison Compare() {
        if (kinds.count("static-check") != 0) {
            Differ("the system did not let the check try the programs");
        }
        for (std::string const& kind : kinds) {
            if (std::strstr(kKnownKinds, (" " + kind + " ").c_str()) == nullptr) {
                Differ("this comparison does not know what a finding means: " + kind);
            }
        }
        CompareOutcome();
        bool const runs = seen.launcher == "runs";
        if (runs && outcome == "runs" && seen.given_up > 0) {
            Differ("items are given up because a fork fails");
        }
        if (runs && outcome == "runs" && seen.supervisors != programs) {
            Differ("it says that there are " + std::to_string(programs) +
                   " programs, and the launcher supervises " +
                   std::to_string(seen.supervisors));
        }
        if (runs && !seen.end_by_sigterm.empty() && seen.end_by_sigterm != "exit 1") {
            Differ("after SIGTERM the launcher is: " + seen.end_by_sigterm);
        }
        if (!list.is_scrambled) {
            CompareItems();
        } else if (runs && outcome == "runs") {
            CompareChains();
        }
        return {differences, kinds};
    }

  private:
    void Differ(std::string const& sentence) { differences.push_back(sentence); }

    // Returns true if the launcher goes no further in the list than to this item.
    bool EndsWalk(ItemFindings const& item) const {
        return (item.Has("item-type") && !item.Says("item-type", "skips")) ||
               item.Has("name-type", "error");
    }

    bool SomeItem(bool (Comparer::*is_so)(ItemFindings const&) const) const {
        return std::any_of(findings.begin(), findings.end(), [&](auto const& entry) {
            return (this->*is_so)(entry.second);
        });
    }

    bool Aborts(ItemFindings const& item) const {
        return item.Has("program-type", "error");
    }

    void CompareOutcome() {
        std::set<std::string> allowed;
        bool const ends = SomeItem(&Comparer::EndsWalk);
        bool const aborts = SomeItem(&Comparer::Aborts);
        if (outcome == "runs") {
            allowed = {"runs"};
        } else if (outcome == "exits") {
            allowed = {"exit 0"};
        } else if (outcome == "aborts") {
            allowed = {"signal 6"};
        } else if (outcome == "hangs") {
            allowed = {"reads for ever", "waits for a writer"};
        } else if (outcome == "kills-group") {
            allowed = {"signal 9"};
            bool const lacks_processes = kinds.count("process-limit") != 0;
            if (ends || lacks_processes) {
                allowed.insert("exit 0");
            }
            if (lacks_processes && seen.given_up > 0) {
                allowed.insert("runs");
            }
            if (aborts) {
                allowed.insert("signal 6");
            }
            if (!ends && !aborts && kinds.count("duplicate-name") != 0) {
                allowed.insert("runs");
            }
        }
        if (allowed.count(seen.launcher) == 0) {
            Differ("the outcome is to be \"" + outcome +
                   "\", and the launcher is: " + seen.launcher);
        }
    }

    // If bytes of a list were changed, nobody knows its items. The findings still say how
    // many chains grow.
    void CompareChains() {
        int certain = 0;
        int possible = 0;
        for (auto const& [key, item] : findings) {
            if (item.Has("unreached") || item.Has("key-number")) {
                continue;
            }
            bool const is_certain =
                item.Has("program-file") || item.Has("arguments-size");
            certain += is_certain ? 1 : 0;
            possible += is_certain || item.Has("relative-program") ? 1 : 0;
        }
        if (seen.chains < certain || seen.chains > possible) {
            Differ("chains: " + std::to_string(certain) + " to " +
                   std::to_string(possible) + " predicted, " +
                   std::to_string(seen.chains) + " seen");
        }
    }

    void CompareItems() {
        for (auto const& [key, item] : list.items) {
            if (!IsIgnored(key)) {
                reached.push_back(key);
            }
        }
        std::sort(reached.begin(), reached.end(),
                  [](std::string const& a, std::string const& b) {
                      return a.size() != b.size() ? a.size() < b.size() : a < b;
                  });
        auto const end = std::find_if(
            reached.begin(), reached.end(),
            [this](std::string const& key) { return EndsWalk(findings[key]); });
        if (end != reached.end() && std::next(end) != reached.end()) {
            Differ("item " + *std::next(end) + " is said to be reached");
        }
        reached.erase(end, reached.end());
        // If the launcher does not stay, chance decides what it has started before.
        bool const stays = seen.launcher == "runs" && kinds.count("process-limit") == 0;
        for (std::string const& key : reached) {
            if (outcome == "runs" || outcome == "aborts" || outcome == "kills-group") {
                Expect(key, stays && !IsReplaced(key));
            }
        }
        CompareSets("started", started, seen.started, differences);
        CompareSets("chain", chains, seen.chain_names, differences);
        CompareSets("aborted child", aborted, seen.aborted_names, differences);
        CompareSets("killed child", killed, seen.killed_names, differences);
        CompareSets("forked for nothing", empty, seen.empty_names, differences);
        if (stays && seen.nameless != nameless) {
            Differ(std::to_string(nameless) + " items were to be skipped, and " +
                   std::to_string(seen.nameless) + " were");
        }
    }

    bool IsIgnored(std::string const& key) {
        ItemFindings const& item = findings[key];
        return item.Has("unreached") || item.Has("key-number") || key == "$schema" ||
               of_the_list.Says("unknown-key", "the key \"" + key + "\" ") ||
               item.Has("unknown-key");
    }

    // Returns true if a later item has the same name.
    bool IsReplaced(std::string const& key) const {
        return std::any_of(findings.begin(), findings.end(), [&](auto const& entry) {
            return entry.second.Says("duplicate-name", "item \"" + key + "\" ");
        });
    }

    // Adds what is to be seen of the item: for certain, or maybe.
    void Expect(std::string const& key, bool is_certain) {
        ItemFindings const& item = findings[key];
        if (item.Has("item-type") || item.Has("no-name")) {
            nameless += is_certain ? 1 : 0;
            return;
        }
        if (Aborts(item)) {
            return;
        }
        WrittenItem const& written = list.items.at(key);
        std::string const name = AsLogged(NameOf(written, item));
        bool const aborts = item.Has("argc-type") || item.Has("argc-too-large") ||
                            item.Has("args-type", "error") ||
                            item.Has("argument-type", "error");
        bool const grows = item.Has("program-file") || item.Has("arguments-size");
        if (!is_certain) {
            // The launcher may stop it.
            killed.Add(name, false);
        }
        if (item.Has("no-program")) {
            empty.Add(name, is_certain);
        } else if (aborts && grows) {
            Differ("item \"" + key + "\" is to abort, and to grow a chain");
        } else if (aborts) {
            aborted.Add(name, is_certain);
        } else if (grows) {
            chains.Add(name, is_certain);
        } else if (item.Has("program-load")) {
            killed.Add(name, is_certain);
        } else if (item.Has("relative-program")) {
            // The finding says only what happens if there is no such file.
            chains.Add(name, false);
            killed.Add(name, false);
            ExpectStart(written, item, false);
        } else {
            // The program may end by a signal later.
            killed.Add(name, false);
            ExpectStart(written, item, is_certain);
        }
    }

    void ExpectStart(WrittenItem const& written, ItemFindings const& item,
                     bool is_certain) {
        Executed const executed = written.program.executed;
        if (executed == Executed::kNoTestProgram) {
            return;
        }
        started.Add(ArgumentsOf(written, item),
                    is_certain && executed == Executed::kTestProgram);
    }

    // Returns how the launcher is said to read the value. Without a finding, it is said
    // to read it as it is written.
    static std::string TextOf(WrittenValue const& value, ItemFindings const& item,
                              std::string const& part) {
        std::optional<std::string> const read_as = item.ReadAs(part);
        if (read_as) {
            return *read_as;
        }
        return value.text.value_or("(not told: " + value.json + ")");
    }

    static std::string NameOf(WrittenItem const& written, ItemFindings const& item) {
        return written.name ? TextOf(*written.name, item, "\"name\"") : "(no name)";
    }

    static Arguments ArgumentsOf(WrittenItem const& written, ItemFindings const& item) {
        Arguments arguments = written.program.first_arguments;
        if (item.Has("argc-negative")) {
            // The system puts an empty argument in the place of a missing path.
            if (arguments.size() == 1) {
                arguments[0] = "";
            }
            return arguments;
        }
        std::string const count =
            item.ReadAs("\"argc\"").value_or(written.argc.value_or("0"));
        for (int i = 0; i < std::atoi(count.c_str()); ++i) {
            std::string const key = std::to_string(i);
            auto const argument = written.arguments.find(key);
            if (argument != written.arguments.end()) {
                arguments.push_back(
                    TextOf(argument->second, item, "argument \"" + key + "\""));
            } else {
                arguments.emplace_back(item.Has("missing-arguments") ? "" : "(not told)");
            }
        }
        return arguments;
    }

    RandomList const& list;
    Observation const& seen;
    std::string const outcome;
    int programs = 0;
    // By the items' keys.
    std::map<std::string, ItemFindings> findings;
    ItemFindings of_the_list;
    std::set<std::string> kinds;
    std::vector<std::string> reached;
    Expected<Arguments> started;
    Expected<std::string> chains;
    Expected<std::string> aborted;
    Expected<std::string> killed;
    Expected<std::string> empty;
    int nameless = 0;
    Sentences differences;
};

// Compares what launcher-status said. An item that ends again and again is running at one
// moment, and waits at another.
void CompareStatus(RandomList const& list, Observation const& seen,
                   Sentences& differences) {
    Json::Value document;
    std::istringstream text(seen.status);
    std::string errors;
    if (!Json::parseFromStream(Json::CharReaderBuilder(), text, &document, &errors) ||
        document["launchers"].size() != 1) {
        differences.push_back("launcher-status does not show the launcher");
        return;
    }
    Json::Value const& launcher = document["launchers"][0];
    std::map<std::string, int> items;
    for (Json::Value const& item : launcher["items"]) {
        ++items[item["state"].asString()];
    }
    int const unknown = items["unknown"];
    auto const compare = [&](char const* state, int least, int most) {
        if (items[state] > most || items[state] + unknown < least) {
            differences.push_back("launcher-status: " + std::to_string(items[state]) +
                                  " are " + state + ", seen " + std::to_string(least) +
                                  " to " + std::to_string(most));
        }
    };
    if (launcher["problem"].isNull()) {
        int const others = seen.supervisors - seen.chains;
        compare("chain", seen.chains, seen.chains);
        compare("given_up", seen.given_up, seen.given_up);
        compare("running", list.is_steady ? seen.staying : 0, others);
        compare("waiting", 0, list.is_steady ? others - seen.staying : others);
    }
}

void CompareStop(Observation const& seen, Sentences& differences) {
    if (seen.stop_end != "exit 0" || seen.left_by_stop != 0) {
        differences.push_back("launcher-stop: " + seen.stop_end + ", and " +
                              std::to_string(seen.left_by_stop) + " processes are left");
    }
}

}  // namespace

Comparison Compare(RandomList const& list, Prediction const& prediction,
                   Observation const& seen) {
    Json::Value document;
    std::istringstream text(prediction.output);
    std::string errors;
    if (!Json::parseFromStream(Json::CharReaderBuilder(), text, &document, &errors) ||
        document["files"].size() != 1) {
        return {{"launchlist-check printed no prediction, and ended: " + prediction.end}};
    }
    Json::Value const& file = document["files"][0];
    Comparison comparison = Comparer(list, file, seen).Compare();
    std::string const end = file["errors"].asInt() > 0 ? "exit 1" : "exit 0";
    if (prediction.end != end) {
        comparison.differences.push_back("launchlist-check ended: " + prediction.end);
    }
    if (!seen.status.empty()) {
        CompareStatus(list, seen, comparison.differences);
    }
    if (!seen.stop_end.empty()) {
        CompareStop(seen, comparison.differences);
    }
    return comparison;
}
