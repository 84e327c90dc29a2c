#include "tools/running/launch_items.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "common/json/json_object.h"
#include "launcher/argument_vector.h"
#include "launcher/list_rules.h"
#include "tools/launchlist_check/list_file.h"

namespace running {

namespace {

// Interpreters of scripts may be scripts, five deep on Linux, each with one argument.
constexpr std::size_t kMostWordsOfInterpreters = 10;

// Without any argument, systems pass an empty one.
std::vector<std::string> const kNoArguments = {""};

std::vector<std::string> ArgumentsOf(std::string& program, JsonObject& item) {
    std::vector<std::string> arguments;
    if (program.empty()) {
        return arguments;
    }
    try {
        ArgumentVector const vector(program, item);
        for (char* const* argument = vector.Data(); *argument != nullptr; ++argument) {
            arguments.emplace_back(*argument);
        }
    } catch (std::exception const&) {
        return {};
    }
    return arguments.empty() ? kNoArguments : arguments;
}

void AddItem(std::string const& key, JsonObject item, LaunchItems& list) {
    if (!launch_list::HasName(item)) {
        list.skipped.push_back("item " + key + " has no name");
        return;
    }
    LaunchItem added;
    added.name = launch_list::Name(item);
    added.program = launch_list::Program(item);
    added.arguments = ArgumentsOf(added.program, item);
    auto const earlier =
        std::find_if(list.items.begin(), list.items.end(),
                     [&added](LaunchItem const& it) { return it.name == added.name; });
    if (earlier != list.items.end()) {
        list.items.erase(earlier);
        list.skipped.push_back("an item has the same name as item " + key +
                               ", which replaces it");
    }
    list.items.push_back(added);
}

bool IsScript(std::string const& path) {
    char begin[2] = {};
    std::ifstream(path, std::ios::binary).read(begin, sizeof begin);
    return begin[0] == '#' && begin[1] == '!';
}

std::string Join(std::vector<std::string> const& words) {
    std::string text;
    for (std::string const& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

// Returns true if `text` has the command, alone or before a word of its own.
bool HasCommand(std::string const& text, std::string const& command) {
    std::string const ends = " \t\n;&|<>)";
    for (std::size_t at = 0; (at = text.find(command, at)) != std::string::npos; ++at) {
        std::size_t const end = at + command.size();
        if (end == text.size() || ends.find(text[end]) != std::string::npos) {
            return true;
        }
    }
    return false;
}

}  // namespace

LaunchItems ReadLaunchItems(std::string const& path) {
    LaunchItems list;
    std::error_code error;
    // What is read from a pipe would be missing in the launcher.
    if (std::filesystem::exists(path, error) &&
        !std::filesystem::is_regular_file(path, error)) {
        list.problem = "the list is not a regular file";
        return list;
    }
    std::string text;
    launchlist_check::CheckResult result = {launchlist_check::Findings(1)};
    if (!launchlist_check::ReadListFile(path, text, result)) {
        list.problem = "the list cannot be read";
        return list;
    }
    text.resize(std::min(text.find('\0'), text.size()));
    try {
        JsonObject document(text.data(), static_cast<unsigned int>(text.size()));
        for (int i = 0; launch_list::HasItem(document, i); ++i) {
            std::string const key = std::to_string(i);
            AddItem(key, document[key.c_str()], list);
        }
    } catch (AERROR) {
        list.problem = "the list is not JSON";
    } catch (std::exception const&) {
        list.problem = "the list has values of wrong types";
    }
    return list;
}

bool ExecutesItem(ProcessInfo const& process, LaunchItem const& item) {
    std::vector<std::string> const& actual = process.arguments;
    std::vector<std::string> const& expected = item.arguments;
    if (expected.empty() || !process.has_executed || actual.size() < expected.size()) {
        return false;
    }
    if (expected == kNoArguments) {
        std::error_code error;
        return actual == expected &&
               std::filesystem::equivalent(process.program, item.program, error);
    }
    std::size_t const before = actual.size() - expected.size();
    return before <= kMostWordsOfInterpreters &&
           std::equal(expected.begin(), expected.end(),
                      actual.begin() + static_cast<std::ptrdiff_t>(before)) &&
           (before == 0 || IsScript(item.program));
}

bool ReplacesItselfBy(LaunchItem const& item, ProcessInfo const& process) {
    std::string const command = "exec " + Join(process.arguments);
    return process.has_executed && !process.arguments.empty() &&
           std::any_of(item.arguments.begin(), item.arguments.end(),
                       [&command](std::string const& argument) {
                           return HasCommand(argument, command);
                       });
}

}  // namespace running
