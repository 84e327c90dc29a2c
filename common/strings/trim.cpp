#include "common/strings/trim.h"

std::string& trim(std::string& text) {
    char const* const blanks = " \t\n\v\f\r";
    text.erase(text.find_last_not_of(blanks) + 1);
    text.erase(0, text.find_first_not_of(blanks));
    return text;
}
