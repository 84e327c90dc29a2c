#include "tests/predictions/random_list.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "harness/files.h"

namespace {

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
                                 std::string test_program)
    : random(choices),
      directory(std::move(place)),
      programs(choices, directory, std::move(test_program)),
      items(choices, programs, list) {}

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

void RandomListMaker::AddItems() {
    std::size_t const many[] = {12, 12, 12, 40};
    std::size_t const count = random.OneIn(20) ? random.Pick(many) : random.Below(6);
    RandomItems::Members members;
    for (std::size_t i = 0; i < count; ++i) {
        members.emplace_back(std::to_string(i), "");
        WrittenItem item = items.MakeItem(i);
        members.back().second = item.json;
        list.items[members.back().first] = item;
    }
    if (count > 1 && random.OneIn(8)) {
        RepeatName(count, members);
    }
    if (random.OneIn(8)) {
        SpoilKeys(members);
    }
    list.text = items.ToJson(members) + (random.OneIn(2) ? "\n" : "");
}

// Makes a right list, and a limit of about as many processes as it needs.
void RandomListMaker::AddItemsForFewProcesses() {
    std::size_t const count = 1 + random.Below(5);
    RandomItems::Members members;
    for (std::size_t i = 0; i < count; ++i) {
        WrittenItem item;
        item.name = items.AnyName(i);
        item.program = programs.MakeTestProgram();
        item.json = items.ToJson(item);
        members.emplace_back(std::to_string(i), item.json);
        list.items[std::to_string(i)] = item;
    }
    list.text = items.ToJson(members);
    list.as_root = false;
    list.processes = 2 + random.Below(2 * count + 2);
}

// Gives two items one name, written in the same way or in two.
void RandomListMaker::RepeatName(std::size_t count, RandomItems::Members& members) {
    std::size_t const later = 1 + random.Below(count - 1);
    std::size_t const earlier = random.Below(later);
    WrittenValue const same[][2] = {{Plain("twin"), Plain("twin")},
                                    {Plain("twin"), {R"("tw\u0069n")", "twin"}},
                                    {Plain("twin"), {R"("twin\u0000 brother")"}},
                                    {{"7"}, Plain("7")},
                                    {Plain("true"), {"true"}},
                                    {{"null"}, Plain("")}};
    auto const& names = random.Pick(same);
    for (std::size_t const i : {earlier, later}) {
        WrittenItem& item = list.items[std::to_string(i)];
        item.name = names[i == earlier ? 0 : 1];
        item.json = items.ToJson(item);
        members[i].second = item.json;
    }
}

// Moves an item to another key, repeats one, or leaves one out.
void RandomListMaker::SpoilKeys(RandomItems::Members& members) {
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
                members.insert(
                    members.begin(),
                    {members[at].first,
                     random.OneIn(2) ? items.NotText() : items.MakeItem(at + 50).json});
            }
    }
}

// Puts another text in the place of the list.
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

// Adds something to the text that does not belong there, or cuts it off.
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

// Writes the file, or puts something else at its path.
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
