#include "harness/launch_list.h"

namespace {

std::string Quoted(std::string const& text) {
    return "\"" + text + "\"";
}

}  // namespace

std::string ItemText(std::string const& name, std::string const& program,
                     std::vector<std::string> const& arguments) {
    std::string item =
        R"({"name": )" + Quoted(name) + R"(, "program": )" + Quoted(program);
    if (!arguments.empty()) {
        item += R"(, "argc": )" + std::to_string(arguments.size()) + R"(, "args": {)";
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            item += (i == 0 ? "" : ", ") + Quoted(std::to_string(i)) + ": " +
                    Quoted(arguments[i]);
        }
        item += "}";
    }
    return item + "}";
}

std::string ListText(std::vector<std::string> const& items) {
    std::string list = "{";
    for (std::size_t i = 0; i < items.size(); ++i) {
        list += (i == 0 ? "\n" : ",\n") + Quoted(std::to_string(i)) + ": " + items[i];
    }
    return list + "\n}\n";
}
