#include "tests/predictions/random_items.h"

#include <algorithm>

WrittenValue Plain(std::string const& text) {
    return {"\"" + text + "\"", text};
}

RandomItems::RandomItems(Random& choices, ProgramFiles& program_files,
                         RandomList& made_list)
    : random(choices), programs(program_files), list(made_list) {}

std::string RandomItems::Blank() {
    char const* const blanks[] = {"", "", " ", "\n", "\t", "\r\n"};
    char const* const comments[] = {" // comment\n", " /* \"0\": { */ "};
    return list.has_comments && random.OneIn(4) ? random.Pick(comments)
                                                : random.Pick(blanks);
}

// Returns the key as it is written in a list: sometimes with a digit as an escape.
std::string RandomItems::Escaped(std::string const& key) {
    bool const is_digit = key.size() == 1 && key[0] >= '0' && key[0] <= '9';
    return is_digit && random.OneIn(30) ? "\\u003" + key : key;
}

// Returns a string: with all that JSON allows in one, or with what the parser takes all
// the same.
WrittenValue RandomItems::AnyText() {
    static WrittenValue const values[] = {Plain("x"),
                                          Plain(""),
                                          Plain("--port"),
                                          Plain("a b"),
                                          Plain("--exit"),
                                          {R"("a\nb")", "a\nb"},
                                          {R"("\"\\\/\t\b\f\r")", "\"\\/\t\b\f\r"},
                                          {R"("caf\u00e9")", "caf\xC3\xA9"},
                                          {"\"caf\xC3\xA9\"", "caf\xC3\xA9"},
                                          {R"("\ud83d\ude00")", "\xF0\x9F\x98\x80"},
                                          {"\"\xFF\xFE\"", "\xFF\xFE"},
                                          {"\"a\nb\"", "a\nb"},
                                          {R"("cut\u0000off")"},
                                          {R"("\u0000")"}};
    return random.OneIn(2) ? Plain("v" + std::to_string(random.Below(1000)))
                           : random.Pick(values);
}

std::string RandomItems::NotText() {
    char const* const values[] = {"7",
                                  "-1",
                                  "0",
                                  "true",
                                  "false",
                                  "null",
                                  "[]",
                                  "{}",
                                  "[\"x\"]",
                                  "1.5",
                                  "-0.0",
                                  "1e3",
                                  "1e300",
                                  "123456789012",
                                  "18446744073709551615",
                                  "-9223372036854775808",
                                  R"({"0": "x"})"};
    return random.Pick(values);
}

WrittenValue RandomItems::AnyName(std::size_t number) {
    std::string const unique = "agent" + std::to_string(number);
    switch (random.Below(12)) {
        case 0:
            return {"\"caf\\u00e9 " + unique + "\"", "caf\xC3\xA9 " + unique};
        case 1:
            return {"\"" + unique + R"(\n\t\u007f")", unique + "\n\t\x7F"};
        case 2:
            return Plain(unique + " %s %d %n");
        case 3:
            return Plain(unique + std::string(random.Below(700), 'n'));
        case 4:
            return {"\"" + unique + "\xFF\xC3\"", unique + "\xFF\xC3"};
        case 5:
            return Plain(unique + " 12 is killed. ret = 1, status = 2");
        default:
            return Plain(unique);
    }
}

WrittenItem RandomItems::MakeRightItem(std::size_t number) {
    WrittenItem item;
    item.name = AnyName(number);
    item.program = programs.MakeTestProgram();
    if (random.OneIn(2)) {
        MakeArguments(item, random.From(0, 4));
    }
    if (random.OneIn(6)) {
        char const* const orders[] = {"--exit=0", "--exit=3", "--raise=9", "--raise=11"};
        item.argc = std::to_string(std::max<std::size_t>(item.arguments.size(), 1));
        item.arguments["0"] = Plain(random.Pick(orders));
        list.is_steady = false;
    }
    return item;
}

void RandomItems::MakeArguments(WrittenItem& item, int count) {
    item.argc = std::to_string(count);
    for (int i = 0; i < count; ++i) {
        item.arguments[std::to_string(i)] =
            random.OneIn(2) ? Plain("v" + std::to_string(i)) : AnyText();
    }
}

// Makes arguments whose size is close to what the system takes.
void RandomItems::MakeLargeArguments(WrittenItem& item) {
    item.arguments.clear();
    if (random.OneIn(2)) {
        std::size_t const longest = 131'071;
        std::size_t const size = longest - 3 + random.Below(7);
        item.argc = "1";
        item.arguments["0"] = Plain(std::string(size, 'l'));
        return;
    }
    list.stack = 1024UL * 1024;
    std::size_t const room = list.stack / 4;
    std::size_t const wanted =
        room - std::min(room, list.padding) + random.Below(8'000) - 4'000;
    std::size_t const each = 1'000 + random.Below(30'000);
    // An argument also takes a zero byte and a pointer.
    std::size_t const extra = 1 + sizeof(char*);
    std::size_t left = wanted;
    int count = 0;
    for (; left > extra; ++count) {
        std::size_t const size = std::min(each, left - extra);
        item.arguments[std::to_string(count)] = Plain(std::string(size, 'a'));
        left -= size + extra;
    }
    item.argc = std::to_string(count);
}

WrittenItem RandomItems::MakeItem(std::size_t number) {
    WrittenItem item = MakeRightItem(number);
    if (number > 0 && random.OneIn(8)) {
        auto const earlier = list.items.find(std::to_string(random.Below(number)));
        if (earlier != list.items.end() && !earlier->second.program.path.empty()) {
            item.program = earlier->second.program;
        }
    } else if (random.OneIn(3)) {
        item.program = programs.MakeAny();
        list.is_steady =
            list.is_steady && item.program.executed != Executed::kMaybeTestProgram;
    }
    if (random.OneIn(12)) {
        MakeLargeArguments(item);
    }
    if (random.OneIn(6)) {
        SpoilItem(item);
    }
    item.json = item.json.empty() ? ToJson(item) : item.json;
    return item;
}

void RandomItems::SpoilArguments(WrittenItem& item) {
    char const* const counts[] = {
        "-1",      "-2",   "-2147483648", "2147483647", "1048575.0",
        "1048576", "1e30", "1.5",         "0.9",        "-0.5",
        "\"2\"",   "\"\"", "true",        "false",      "null",
        "[]",      "{}",   "[1]",         "4294967297", "9223372036854775808",
        "1e400",   "3.0",  "5",           "2"};
    switch (random.Below(7)) {
        case 0:
        case 1:
            item.argc = random.Pick(counts);
            break;
        case 2:
            item.argc.reset();
            break;
        case 3:
            if (!item.arguments.empty()) {
                item.arguments.erase(item.arguments.begin());
            }
            break;
        case 4:
            MakeArguments(item, 3);
            item.args_json.clear();
            item.arguments[std::to_string(random.Below(3))] = {NotText()};
            break;
        case 5:
            item.arguments[std::to_string(random.From(3, 6))] = AnyText();
            break;
        default: {
            char const* const keys[] = {"01", "-1", "", "x", " 0", "0 ", "1.0", "+1"};
            item.arguments[random.Pick(keys)] = AnyText();
        }
    }
}

void RandomItems::SpoilProgram(WrittenItem& item) {
    std::string const path = item.program.path;
    switch (random.Below(4)) {
        case 0:
            item.program_json = NotText();
            item.program = {"a \"program\" that is not a string"};
            break;
        case 1:
            item.program_json = "\"" + path + "\\u0000cut off\"";
            break;
        case 2:
            item.program_json = R"("\u0000")" + path + "\"";
            item.program = {"a path that begins with a zero character"};
            break;
        default:
            item.program = {"no program"};
    }
}

void RandomItems::SpoilItem(WrittenItem& item) {
    char const* const no_items[] = {
        "null", "7", R"("x")", "[]", "true", "1.5", R"([{"name": "x"}])"};
    char const* const no_args[] = {"[]", "[\"x\"]", "\"x\"", "7", "null", "true"};
    switch (random.Below(10)) {
        case 0:
            item.name.reset();
            break;
        case 1:
            item.name = WrittenValue{NotText()};
            break;
        case 2:
            item.name = AnyText();
            break;
        case 3:
        case 4:
            SpoilProgram(item);
            break;
        case 5:
        case 6:
            SpoilArguments(item);
            break;
        case 7:
            item.json = random.Pick(no_items);
            break;
        case 8:
            item.arguments.clear();
            item.args_json = random.Pick(no_args);
            break;
        default:
            SpoilProgram(item);
            SpoilArguments(item);
    }
}

std::string RandomItems::ToJson(Members const& members) {
    std::string json = "{";
    for (auto const& [key, value] : members) {
        json += json.size() == 1 ? "" : ",";
        json += Blank();
        // The parser takes no comment before the colon.
        json += "\"" + Escaped(key) + (random.OneIn(8) ? "\" :" : "\":");
        json += Blank();
        json += value;
        json += Blank();
    }
    return json + "}";
}

std::string RandomItems::ToJson(WrittenItem const& item) {
    Members members;
    if (item.name) {
        members.emplace_back("name", item.name->json);
    }
    if (!item.program_json.empty()) {
        members.emplace_back("program", item.program_json);
    } else if (!item.program.path.empty() || random.OneIn(2)) {
        members.emplace_back("program", Plain(item.program.path).json);
    }
    if (item.argc) {
        members.emplace_back("argc", *item.argc);
    }
    Members arguments;
    for (auto const& [key, value] : item.arguments) {
        arguments.emplace_back(key, value.json);
    }
    if (!arguments.empty() && random.OneIn(10)) {
        arguments.insert(arguments.begin(), {arguments.back().first, "\"ignored\""});
    }
    if (!item.args_json.empty()) {
        members.emplace_back("args", item.args_json);
    } else if (!arguments.empty() || random.OneIn(4)) {
        members.emplace_back("args", ToJson(arguments));
    }
    for (std::size_t i = members.size(); i > 1; --i) {
        std::swap(members[i - 1], members[random.Below(i)]);
    }
    if (!members.empty() && random.OneIn(15)) {
        members.insert(members.begin(), {random.Pick(members).first, NotText()});
    }
    if (random.OneIn(10)) {
        char const* const others[] = {"Name", "path", "arg", "x", "\\u0000", "name/"};
        members.push_back({random.Pick(others), NotText()});
    }
    return ToJson(members);
}
