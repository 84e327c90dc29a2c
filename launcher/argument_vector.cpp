#include "launcher/argument_vector.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace {

// More arguments than any system takes; their pointers alone would overflow a stack.
constexpr long long kMaxArguments = 1 << 20;

// Returns the number of entries of a program's argument vector, the program included.
long long CountArguments(JsonObject& item) {
    long long count = 1;
    if (item.HasObject("argc")) {
        count = static_cast<int>(item["argc"]) + 1LL;
    }
    if (count > kMaxArguments) {
        throw std::length_error("too many arguments");
    }
    return count < 0 ? 0 : count;
}

}  // namespace

// Once the constructor that it delegates to is done, whatever is thrown ends in the
// destructor, which frees the arguments that there are.
ArgumentVector::ArgumentVector(std::string& program, JsonObject& item)
    : ArgumentVector() {
    long long const count = CountArguments(item);
    pointers.reserve(static_cast<std::size_t>(count) + 1);
    if (count > 0) {
        pointers.push_back(program.data());
    }
    for (long long i = 1; i < count; ++i) {
        std::string const argument = item["args"][std::to_string(i - 1).c_str()];
        pointers.push_back(strdup(argument.c_str()));
    }
    pointers.push_back(nullptr);
}

ArgumentVector::~ArgumentVector() {
    for (std::size_t i = 1; i < pointers.size(); ++i) {
        std::free(pointers[i]);
    }
}
