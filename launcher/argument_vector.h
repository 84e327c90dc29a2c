// The arguments that a launch item gives its program.

#ifndef LAUNCHER_ARGUMENT_VECTOR_H
#define LAUNCHER_ARGUMENT_VECTOR_H

#include <string>
#include <vector>

#include "common/json/json_object.h"

// The argument vector for execv: the program's path, the item's arguments, and null.
//
//   {"argc": 2, "args": {"0": "-p", "1": "80"}}  -> {program, "-p", "80", nullptr}
//   {"argc": 2, "args": {"0": "-p"}}             -> {program, "-p", "", nullptr}
//   {"args": {"0": "-p"}}                        -> {program, nullptr}
//   {"argc": -1}                                 -> {nullptr}
class ArgumentVector {
  public:
    // Makes the vector for `program`, which the caller keeps alive, with copies of the
    // arguments of `item`. Throws std::length_error if "argc" is 1,048,576 or more, and
    // what JsonObject throws if "argc" is not a number, "args" is not an object, or an
    // argument cannot be read as text.
    ArgumentVector(std::string& program, JsonObject& item);
    ~ArgumentVector();

    ArgumentVector(ArgumentVector const&) = delete;
    ArgumentVector& operator=(ArgumentVector const&) = delete;

    // Returns the vector, which lives as long as the object.
    char* const* Data() const noexcept { return pointers.data(); }

  private:
    ArgumentVector() = default;

    std::vector<char*> pointers;
};

#endif
