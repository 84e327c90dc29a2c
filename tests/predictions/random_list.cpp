#include "tests/predictions/random_list.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "tests/support/files.h"

namespace {

WrittenValue Plain(std::string const& text) {
    return {"\"" + text + "\"", text};
}

std::string Repeat(std::string const& text, std::size_t count) {
    std::string repeated;
    for (std::size_t i = 0; i < count; ++i) {
        repeated += text;
    }
    return repeated;
}

// Returns a value that is nested in that many arrays and objects.
std::string Nested(std::size_t levels, bool in_objects) {
    return in_objects ? Repeat(R"({"a":)", levels) + "0" + std::string(levels, '}')
                      : std::string(levels, '[') + std::string(levels, ']');
}

}  // namespace

RandomListMaker::RandomListMaker(Random& choices, std::filesystem::path place,
                                 std::string probe)
    : random(choices),
      directory(std::move(place)),
      programs(choices, directory, std::move(probe)) {}

RandomList RandomListMaker::Make() {
    list.path = directory / "list.json";
    list.as_root = random.OneIn(2);
    if (random.OneIn(4)) {
        list.padding = random.Below(100'000);
    }
    list.has_comments = random.OneIn(4);
    if (random.OneIn(20)) {
        AddItemsForFewProcesses();
        MakeFile();
        return list;
    }
    AddItems();
    if (random.OneIn(5)) {
        SpoilText();
    } else if (random.OneIn(12)) {
        Scramble();
    }
    MakeFile();
    return list;
}

std::string RandomListMaker::Blank() {
    char const* const blanks[] = {"", "", " ", "\n", "\t", "\r\n"};
    char const* const comments[] = {" // comment\n", " /* \"0\": { */ "};
    return list.has_comments && random.OneIn(4) ? random.Pick(comments)
                                                : random.Pick(blanks);
}

// Returns the key as it is written in a list: sometimes with a digit as an escape.
std::string RandomListMaker::Escaped(std::string const& key) {
    bool const is_digit = key.size() == 1 && key[0] >= '0' && key[0] <= '9';
    return is_digit && random.OneIn(30) ? "\\u003" + key : key;
}

// A text with what JSON allows in one, and some that it does not but the parser takes.
WrittenValue RandomListMaker::AnyText() {
    static WrittenValue const values[] = {
        Plain("x"),
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
        {R"("\u0000")"},
    };
    return random.OneIn(2) ? Plain("v" + std::to_string(random.Below(1000)))
                           : random.Pick(values);
}

std::string RandomListMaker::NotText() {
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

WrittenValue RandomListMaker::AnyName(std::size_t number) {
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

WrittenItem RandomListMaker::MakeRightItem(std::size_t number) {
    WrittenItem item;
    item.name = AnyName(number);
    item.program = programs.MakeProbe();
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

void RandomListMaker::MakeArguments(WrittenItem& item, int count) {
    item.argc = std::to_string(count);
    for (int i = 0; i < count; ++i) {
        item.arguments[std::to_string(i)] =
            random.OneIn(2) ? Plain("v" + std::to_string(i)) : AnyText();
    }
}

// Makes arguments that the system takes just so, or just not.
void RandomListMaker::MakeLargeArguments(WrittenItem& item) {
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
    // What an argument takes beside its letters: a zero byte and a pointer.
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

WrittenItem RandomListMaker::MakeItem(std::size_t number) {
    WrittenItem item = MakeRightItem(number);
    if (number > 0 && random.OneIn(8)) {
        auto const earlier = list.items.find(std::to_string(random.Below(number)));
        if (earlier != list.items.end() && !earlier->second.program.path.empty()) {
            item.program = earlier->second.program;
        }
    } else if (random.OneIn(3)) {
        item.program = programs.MakeAny();
        list.is_steady = list.is_steady && item.program.executed != Executed::kMaybeProbe;
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

void RandomListMaker::SpoilArguments(WrittenItem& item) {
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

void RandomListMaker::SpoilProgram(WrittenItem& item) {
    std::string const path = item.program.path;
    switch (random.Below(4)) {
        case 0:
            item.program_json = NotText();
            item.program = {"a program that is no text"};
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

void RandomListMaker::SpoilItem(WrittenItem& item) {
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

std::string RandomListMaker::ToJson(Members const& members) {
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

std::string RandomListMaker::ToJson(WrittenItem const& item) {
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

void RandomListMaker::AddItems() {
    std::size_t const many[] = {12, 12, 12, 40};
    std::size_t const count = random.OneIn(20) ? random.Pick(many) : random.Below(6);
    Members members;
    for (std::size_t i = 0; i < count; ++i) {
        members.emplace_back(std::to_string(i), "");
        WrittenItem item = MakeItem(i);
        members.back().second = item.json;
        list.items[members.back().first] = item;
    }
    if (count > 1 && random.OneIn(8)) {
        RepeatName(count, members);
    }
    if (random.OneIn(8)) {
        SpoilKeys(members);
    }
    list.text = ToJson(members) + (random.OneIn(2) ? "\n" : "");
}

// Makes a right list, and lets its user have about as many processes as it needs.
void RandomListMaker::AddItemsForFewProcesses() {
    std::size_t const count = 1 + random.Below(5);
    Members members;
    for (std::size_t i = 0; i < count; ++i) {
        WrittenItem item;
        item.name = AnyName(i);
        item.program = programs.MakeProbe();
        item.json = ToJson(item);
        members.emplace_back(std::to_string(i), item.json);
        list.items[std::to_string(i)] = item;
    }
    list.text = ToJson(members);
    list.as_root = false;
    list.processes = 2 + random.Below(2 * count + 2);
}

// Gives two items one name, written in the same way or in two.
void RandomListMaker::RepeatName(std::size_t count, Members& members) {
    std::size_t const later = 1 + random.Below(count - 1);
    std::size_t const earlier = random.Below(later);
    WrittenValue const same[][2] = {
        {Plain("twin"), Plain("twin")},
        {Plain("twin"), {R"("tw\u0069n")", "twin"}},
        {Plain("twin"), {R"("twin\u0000 brother")"}},
        {{"7"}, Plain("7")},
        {Plain("true"), {"true"}},
        {{"null"}, Plain("")},
    };
    auto const& names = random.Pick(same);
    for (std::size_t const i : {earlier, later}) {
        WrittenItem& item = list.items[std::to_string(i)];
        item.name = names[i == earlier ? 0 : 1];
        item.json = ToJson(item);
        members[i].second = item.json;
    }
}

// Moves an item to another key, repeats one, or leaves one out.
void RandomListMaker::SpoilKeys(Members& members) {
    char const* const keys[] = {"01", "1.0", "+1",      " 1", "one", "-1",
                                "",   "99",  "$schema", "00", "0x1", "4294967296"};
    std::size_t const at = random.Below(members.size() + 1);
    switch (random.Below(3)) {
        case 0: {
            if (at == members.size()) {
                return;
            }
            std::string const key = random.Pick(keys);
            list.items[key] = list.items[members[at].first];
            list.items.erase(members[at].first);
            members[at].first = key;
            break;
        }
        case 1:
            if (at < members.size()) {
                list.items.erase(members[at].first);
                members.erase(members.begin() + static_cast<std::ptrdiff_t>(at));
            }
            break;
        default:
            if (at < members.size()) {
                members.insert(members.begin(),
                               {members[at].first,
                                random.OneIn(2) ? NotText() : MakeItem(at + 50).json});
            }
    }
}

// Puts something else in the place of the text.
void RandomListMaker::ReplaceText() {
    char const* const others[] = {"[]",
                                  "null",
                                  "7",
                                  R"("0")",
                                  "true",
                                  R"([{"name": "a"}])",
                                  "1e400",
                                  "",
                                  " ",
                                  "\n// comment\n",
                                  "nul",
                                  "{}",
                                  "{},",
                                  "{'0': {}}",
                                  "{0: {}}",
                                  R"({"0"})",
                                  R"({"0": null,})",
                                  "# comment\n{}",
                                  "/* unfinished {}"};
    char const* const no_values[] = {
        "NaN", "Infinity", "01",      "+1",          ".5",           "1.",   "0x10",
        "-",   "'x'",      R"("\x")", R"("\ud800")", "\"unfinished", "1e400"};
    list.is_scrambled = true;
    switch (random.Below(3)) {
        case 0:
            list.text = random.Pick(others);
            break;
        case 1:
            list.text = std::string(R"({"0": )") + random.Pick(no_values) + "}";
            break;
        default: {
            std::size_t const levels = random.OneIn(2) ? 5000 : 999 + random.Below(4);
            list.text = Nested(levels, random.OneIn(2));
        }
    }
}

// Adds what does not belong into a text, or cuts it off.
void RandomListMaker::SpoilText() {
    std::string& text = list.text;
    std::size_t const at = random.Below(text.size() + 1);
    char const* const rest[] = {"x", "{}", "}", ",", "/* c */", "// c", "\"", "]", "/*"};
    switch (random.Below(9)) {
        case 0:
        case 1:
            ReplaceText();
            break;
        case 2:
            text.insert(0, "\xEF\xBB\xBF");
            break;
        case 3:
            text += random.Pick(rest);
            break;
        case 4:
            text += '\0';
            text += random.OneIn(2) ? text : "";
            break;
        case 5:
            text.insert(at, 1, '\0');
            list.is_scrambled = true;
            break;
        case 6:
            text.resize(at);
            list.is_scrambled = true;
            break;
        case 7: {
            std::string const comma = list.items.empty() ? "" : ",";
            std::size_t const levels = 990 + random.Below(20);
            text.insert(text.rfind('}'),
                        comma + R"("deep": )" + Nested(levels, random.OneIn(2)));
            break;
        }
        default:
            // One too many: between two items, or after the last.
            text.insert(random.OneIn(2) ? text.rfind('}') : std::min(text.find(','), at),
                        ",");
            list.is_scrambled = true;
    }
}

// Changes, removes or doubles a few bytes.
void RandomListMaker::Scramble() {
    std::string& text = list.text;
    list.is_scrambled = true;
    char const signs[] = "{}[],:\"0123456789 \n\\/-.x";
    for (int i = random.From(1, 3); i > 0 && !text.empty(); --i) {
        std::size_t const at = random.Below(text.size());
        switch (random.Below(3)) {
            case 0:
                text[at] = random.OneIn(2) ? signs[random.Below(sizeof signs - 1)]
                                           : static_cast<char>(random.Below(256));
                break;
            case 1:
                text.erase(at, 1 + random.Below(3));
                break;
            default:
                text.insert(at, text.substr(at, 1 + random.Below(12)));
        }
    }
}

// Writes the file, or what stands in its place.
void RandomListMaker::MakeFile() {
    std::string const& path = list.path;
    if (!random.OneIn(30)) {
        WriteFile(path, list.text);
        return;
    }
    switch (random.Below(9)) {
        case 0:
            list.wrong_file = "missing";
            break;
        case 1:
            list.wrong_file = "a directory";
            std::filesystem::create_directory(path);
            break;
        case 2:
            list.wrong_file = "for root alone";
            WriteFile(path, list.text);
            chmod(path.c_str(), 0600);
            break;
        case 3:
            list.wrong_file = "a FIFO without a writer";
            mkfifo(path.c_str(), 0666);
            break;
        case 4:
            list.wrong_file = "a device without content";
            std::filesystem::create_symlink("/dev/null", path);
            break;
        case 8:
            list.wrong_file = "a device without an end";
            std::filesystem::create_symlink("/dev/zero", path);
            break;
        case 5:
            list.wrong_file = "unreadable memory";
            std::filesystem::create_symlink("/proc/self/mem", path);
            break;
        case 6:
            list.wrong_file = "a symbolic link to itself";
            std::filesystem::create_symlink(path, path);
            break;
        default:
            list.wrong_file = "empty";
            WriteFile(path, "");
    }
}
