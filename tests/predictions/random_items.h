// Items of launch lists made at random: right ones, and wrong ones of all kinds.

#ifndef TESTS_PREDICTIONS_RANDOM_ITEMS_H
#define TESTS_PREDICTIONS_RANDOM_ITEMS_H

#include <string>
#include <utility>
#include <vector>

#include "tests/predictions/program_files.h"
#include "tests/predictions/random.h"
#include "tests/predictions/written_list.h"

// Returns a string without characters that JSON escapes.
WrittenValue Plain(std::string const& text);

// Makes items, and the JSON of what is in a list.
class RandomItems {
  public:
    // The keys and the JSON of an object's members.
    using Members = std::vector<std::pair<std::string, std::string>>;

    // Refers to all three, which must live as long. `made_list` is the list that the
    // items are for. An item may repeat the program of an earlier one there, and may
    // change the conditions under which the list is launched.
    RandomItems(Random& choices, ProgramFiles& program_files, RandomList& made_list);

    WrittenItem MakeItem(std::size_t number);

    WrittenValue AnyName(std::size_t number);

    // Returns JSON of a value that is not a string.
    std::string NotText();

    std::string ToJson(WrittenItem const& item);
    std::string ToJson(Members const& members);

  private:
    WrittenItem MakeRightItem(std::size_t number);
    void MakeArguments(WrittenItem& item, int count);
    void MakeLargeArguments(WrittenItem& item);
    void SpoilItem(WrittenItem& item);
    void SpoilProgram(WrittenItem& item);
    void SpoilArguments(WrittenItem& item);

    WrittenValue AnyText();
    std::string Blank();
    std::string Escaped(std::string const& key);

    Random& random;
    ProgramFiles& programs;
    RandomList& list;
};

#endif
