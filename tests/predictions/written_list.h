// What stands in a launch list, as it was made.

#ifndef TESTS_PREDICTIONS_WRITTEN_LIST_H
#define TESTS_PREDICTIONS_WRITTEN_LIST_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>

#include "tests/predictions/program_files.h"

// A value as it stands in a list.
struct WrittenValue {
    std::string json;
    // The bytes that it stands for, if it is a string without a zero character.
    std::optional<std::string> text = {};
};

// What stands in an item. If a member is there twice, this is the later one.
struct WrittenItem {
    std::string json;
    std::optional<WrittenValue> name = {};
    ProgramFile program = {};
    // The JSON of "program", if it is not the program's path.
    std::string program_json = {};
    // The text of "argc", if it is there.
    std::optional<std::string> argc = {};
    // The members of "args", by their keys.
    std::map<std::string, WrittenValue> arguments = {};
    // The JSON of "args", if it is not an object of these.
    std::string args_json = {};
};

// A list and the conditions under which it is checked and launched.
struct RandomList {
    std::string path;
    std::string text;
    // What is at the path instead of the list, in words; empty if the list is there.
    std::string wrong_file = {};
    // Bytes were changed, so nobody knows what is in the items.
    bool is_scrambled = false;
    bool has_comments = false;
    // By their keys.
    std::map<std::string, WrittenItem> items = {};
    // Once they are started, its programs run until they are killed.
    bool is_steady = true;
    bool as_root = true;
    // The most processes and threads that the user may have; 0 if there is no limit.
    std::size_t processes = 0;
    // The size of the environment variable PADDING.
    std::size_t padding = 0;
    // The limit of a stack in bytes, a quarter of which arguments and environment may
    // take.
    std::size_t stack = 8UL * 1024 * 1024;
};

#endif
