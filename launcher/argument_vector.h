// The arguments that a launch item gives its program.

#ifndef LAUNCHER_ARGUMENT_VECTOR_H
#define LAUNCHER_ARGUMENT_VECTOR_H

#include <string>
#include <vector>

#include "common/json/json_object.h"

// The argument vector for execv: the program's path, the item's arguments, and null.
//
// "argc" says how many arguments follow the path; "args" holds them under "0", "1", ...,
// and those that are missing are empty. Without "argc" there are none; if it is below 0
// not even the path is there.
class ArgumentVector {
  public:
    // Borrows `program`; copies the arguments. Throws std::length_error if there are to
    // be more than a million, and what JsonObject throws if "argc" is no number, "args"
    // no object or an argument no text.
    ArgumentVector(std::string& program, JsonObject& item);
    ~ArgumentVector();

    ArgumentVector(ArgumentVector const&) = delete;
    ArgumentVector& operator=(ArgumentVector const&) = delete;

    char* const* Data() const noexcept { return pointers.data(); }

  private:
    ArgumentVector() = default;

    std::vector<char*> pointers;
};

#endif
