#include "launcher/argument_vector.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "launcher/list_rules.h"

// Delegates to another constructor: once that is done, an exception runs the destructor,
// which frees the arguments copied so far.
ArgumentVector::ArgumentVector(std::string& program, JsonObject& item)
    : ArgumentVector() {
    int const count = launch_list::ArgumentCount(item);
    if (count > launch_list::kMostArguments) {
        throw std::length_error("too many arguments");
    }
    // Contract: with an "argc" of -1 not even the program's path is passed.
    if (count >= 0) {
        // The path, the arguments and null.
        pointers.reserve(static_cast<std::size_t>(count) + 2);
        pointers.push_back(program.data());
    }
    for (int i = 0; i < count; ++i) {
        pointers.push_back(strdup(launch_list::Argument(item, i).c_str()));
    }
    pointers.push_back(nullptr);
}

ArgumentVector::~ArgumentVector() {
    for (std::size_t i = 1; i < pointers.size(); ++i) {
        std::free(pointers[i]);
    }
}
