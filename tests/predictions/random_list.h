// Launch lists made at random: right ones, and wrong ones of all kinds.

#ifndef TESTS_PREDICTIONS_RANDOM_LIST_H
#define TESTS_PREDICTIONS_RANDOM_LIST_H

#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/predictions/program_files.h"
#include "tests/predictions/random.h"

// A value as it stands in a list.
struct WrittenValue {
    std::string json;
    // The bytes that it stands for, if it is a string without a zero character.
    std::optional<std::string> text = {};
};

// What stands in an item. Of members that are there twice this is the later one.
struct WrittenItem {
    std::string json;
    std::optional<WrittenValue> name = {};
    ProgramFile program = {};
    // What stands as "program", if it is not the program's path.
    std::string program_json = {};
    // The text of "argc", if it is there.
    std::optional<std::string> argc = {};
    // The members of "args", by their keys.
    std::map<std::string, WrittenValue> arguments = {};
    // What stands as "args", if it is no object of these.
    std::string args_json = {};
};

// A list and the conditions under which it is checked and launched.
struct RandomList {
    std::string path;
    std::string text;
    // In words, if the list cannot be read as a file.
    std::string wrong_file = {};
    // Nobody knows what stands in the items: single bytes were changed.
    bool is_scrambled = false;
    bool has_comments = false;
    // By their keys.
    std::map<std::string, WrittenItem> items = {};
    // Its programs stay, if they are started.
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

// Makes the list and the files that it names.
class RandomListMaker {
  public:
    // Makes files in `place`. `probe` holds the bytes of tests/support/probe.
    RandomListMaker(Random& choices, std::filesystem::path place, std::string probe);

    RandomList Make();

  private:
    using Members = std::vector<std::pair<std::string, std::string>>;

    WrittenItem MakeItem(std::size_t number);
    WrittenItem MakeRightItem(std::size_t number);
    void MakeArguments(WrittenItem& item, int count);
    void MakeLargeArguments(WrittenItem& item);
    void SpoilItem(WrittenItem& item);
    void SpoilProgram(WrittenItem& item);
    void SpoilArguments(WrittenItem& item);
    std::string ToJson(WrittenItem const& item);
    std::string ToJson(Members const& members);
    void AddItems();
    void AddItemsForFewProcesses();
    void RepeatName(std::size_t count, Members& members);
    void SpoilKeys(Members& members);
    void ReplaceText();
    void SpoilText();
    void Scramble();
    void MakeFile();

    WrittenValue AnyText();
    WrittenValue AnyName(std::size_t number);
    std::string NotText();
    std::string Blank();
    std::string Escaped(std::string const& key);

    Random& random;
    std::filesystem::path const directory;
    ProgramFiles programs;
    RandomList list;
};

#endif
