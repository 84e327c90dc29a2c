// Launch lists made at random: right ones, and wrong ones of all kinds.

#ifndef TESTS_PREDICTIONS_RANDOM_LIST_H
#define TESTS_PREDICTIONS_RANDOM_LIST_H

#include <cstddef>
#include <filesystem>
#include <string>

#include "tests/predictions/program_files.h"
#include "tests/predictions/random.h"
#include "tests/predictions/random_items.h"
#include "tests/predictions/written_list.h"

// Makes the list and the files that it names.
class RandomListMaker {
  public:
    // Makes files in `place`. `test_program` holds the bytes of
    // tests/support/test_program.
    RandomListMaker(Random& choices, std::filesystem::path place,
                    std::string test_program);

    RandomList Make();

  private:
    void AddItems();
    void AddItemsForFewProcesses();
    void RepeatName(std::size_t count, RandomItems::Members& members);
    void SpoilKeys(RandomItems::Members& members);
    void ReplaceText();
    void SpoilText();
    void Scramble();
    void MakeFile();

    Random& random;
    std::filesystem::path const directory;
    ProgramFiles programs;
    RandomList list;
    RandomItems items;
};

#endif
