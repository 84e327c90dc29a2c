// Reads back what launchlist-export writes, as each engine does: the arguments must be
// those of the launcher, and all other lines the same whatever the items are called.
//
// An input is a launch list of lines: the name of an item, its program and its arguments,
// and an empty line after each item.

#include "tools/launchlist_export/formats.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "common/config/log.h"
#include "fuzz/fuzzing.h"

ILog* logger = nullptr;

namespace {

using launchlist_export::ExportedItem;
using launchlist_export::ExportedList;
using launchlist_export::File;
using launchlist_export::FindFormat;
using Words = std::vector<std::string>;

constexpr std::size_t kMostItems = 4;

bool BeginsWith(std::string const& text, std::string const& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

Words LinesOf(std::string const& text) {
    std::istringstream stream(text);
    Words lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

// Returns what stands between `begin`, which comes once, and the next `end`.
std::string Between(std::string const& text, std::string const& begin,
                    std::string const& end) {
    std::size_t const first = text.find(begin);
    Require(first != std::string::npos, "the key is there");
    Require(text.find(begin, first + 1) == std::string::npos, "the key is there once");
    std::size_t const place = first + begin.size();
    std::size_t const last = text.find(end, place);
    Require(last != std::string::npos, "its value ends");
    return text.substr(place, last - place);
}

std::string Utf8Of(unsigned long character) {
    auto const byte = [](unsigned long value) { return static_cast<char>(value); };
    if (character < 0x80) {
        return {byte(character)};
    }
    if (character < 0x800) {
        return {byte(0xC0 | character >> 6U), byte(0x80 | (character & 0x3FU))};
    }
    std::string const tail = {byte(0x80 | (character >> 6U & 0x3FU)),
                              byte(0x80 | (character & 0x3FU))};
    if (character < 0x10000) {
        return byte(0xE0 | character >> 12U) + tail;
    }
    return std::string{byte(0xF0 | character >> 18U),
                       byte(0x80 | (character >> 12U & 0x3FU))} +
           tail;
}

// Takes a word between quotation marks off `text`. A backslash escapes itself, a
// quotation mark, or, after the letter `kind`, a number of `digits` digits.
std::string TakeQuoted(std::string& text, char kind, std::size_t digits) {
    Require(text[0] == '"', "a word begins with a quotation mark");
    std::string word;
    std::size_t i = 1;
    for (; i < text.size() && text[i] != '"'; ++i) {
        Require(text[i] >= ' ' && text[i] <= '~', "all else is escaped");
        if (text[i] != '\\') {
            word += text[i];
        } else if (text[i + 1] == kind) {
            unsigned long const value =
                std::stoul(text.substr(i + 2, digits), nullptr, 16);
            word +=
                kind == 'x' ? std::string(1, static_cast<char>(value)) : Utf8Of(value);
            i += 1 + digits;
        } else {
            Require(text[i + 1] == '\\' || text[i + 1] == '"', "the escape is known");
            word += text[++i];
        }
    }
    Require(i < text.size(), "a word ends with a quotation mark");
    text.erase(0, i + 1);
    return word;
}

// Makes one of two `sign`, which never stands alone.
std::string Halved(std::string const& text, char sign) {
    std::string halved;
    for (std::size_t i = 0; i < text.size(); ++i) {
        halved += text[i];
        if (text[i] == sign) {
            Require(text[++i] == sign, "the sign is doubled");
        }
    }
    return halved;
}

Words ReadSystemd(std::string const& unit) {
    std::string line = Between(unit, "\nExecStart=:", "\n");
    Words words;
    while (!line.empty()) {
        words.push_back(Halved(TakeQuoted(line, 'x', 2), '%'));
        Require(line.empty() || line[0] == ' ', "a blank divides two words");
        line.erase(0, 1);
    }
    return words;
}

// Does what a cluster does with the $ of a text, in which it must find no variable.
std::string Expanded(std::string const& text) {
    std::string expanded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        expanded += text[i];
        if (text[i] == '$' && i + 1 < text.size()) {
            Require(text[i + 1] != '(', "there is no variable");
            Require(static_cast<unsigned char>(text[i + 1]) < 0x80,
                    "what a $ would damage does not follow it");
            if (text[++i] != '$') {
                expanded += text[i];
            }
        }
    }
    return expanded;
}

// Reads the arguments of all containers, each with an empty line before it.
Words ReadKube(std::string const& manifest) {
    std::string const item = "        - ";
    Words words;
    for (std::string const& line : LinesOf(manifest)) {
        if (BeginsWith(line, "    - name: ")) {
            words.emplace_back();
        } else if (BeginsWith(line, item)) {
            std::string rest = line.substr(item.size());
            words.push_back("." + Expanded(TakeQuoted(rest, 'U', 8)));
            Require(rest.empty(), "a word takes the whole line");
        }
    }
    return words;
}

// Reads a value as the parser of the file does: without comments, and without the blanks
// at both ends of each line.
std::string ValueOf(std::string const& text) {
    std::string value;
    for (std::string line : LinesOf(text)) {
        for (std::size_t i = 0; i < line.size(); ++i) {
            bool const begins = i == 0 || (line[i - 1] > 0 && line[i - 1] <= ' ');
            if (begins && (line[i] == ';' || line[i] == '#')) {
                line.erase(i);
            }
        }
        while (!line.empty() && line.back() > 0 && line.back() <= ' ') {
            line.pop_back();
        }
        while (!line.empty() && line.front() > 0 && line.front() <= ' ') {
            line.erase(0, 1);
        }
        Require(line.find('\r') == std::string::npos, "no other character ends a line");
        value += (value.empty() ? "" : "\n") + line;
    }
    return value;
}

// Splits a command as a shell does. Quotation marks of both kinds may stand in it.
Words ShellWords(std::string const& command) {
    Words words;
    char quote = 0;
    bool is_open = false;
    for (char const letter : command) {
        if (quote == 0 && (letter == ' ' || letter == '\n')) {
            is_open = false;
            continue;
        }
        if (!is_open) {
            words.emplace_back();
            is_open = true;
        }
        if (letter == quote) {
            quote = 0;
        } else if (quote == 0) {
            Require(letter == '\'' || letter == '"', "all is between quotation marks");
            quote = letter;
        } else {
            words.back() += letter;
        }
    }
    Require(quote == 0, "the last quotation mark is there");
    return words;
}

Words ReadSupervisord(std::string const& file, std::string const& identifier) {
    std::string const begin = "\n[program:" + identifier + "]\ncommand=";
    return ShellWords(Halved(ValueOf(Between(file, begin, "\nautorestart=true\n")), '%'));
}

std::string Unescaped(std::string text) {
    std::string plain;
    while (!text.empty()) {
        std::size_t taken = 1;
        char letter = text[0];
        if (letter == '&') {
            taken = text.find(';') + 1;
            std::string const name = text.substr(0, taken);
            letter = name == "&amp;" ? '&' : name == "&lt;" ? '<' : '>';
            letter = name == "&#13;" ? '\r' : letter;
            Require(letter != '>' || name == "&gt;", "the name of a character is known");
        }
        Require(text[0] != '<' && text[0] != '\r', "markup is escaped");
        plain += letter;
        text.erase(0, taken);
    }
    return plain;
}

Words ReadLaunchd(std::string const& file) {
    std::string array =
        Between(file, "<key>ProgramArguments</key>\n\t<array>\n", "\t</array>");
    std::string const begin = "\t\t<string>";
    std::string const end = "</string>\n";
    Words words;
    while (!array.empty()) {
        Require(BeginsWith(array, begin), "an array has texts");
        std::size_t const last = array.find(end);
        Require(last != std::string::npos, "a text ends");
        words.push_back(Unescaped(array.substr(begin.size(), last - begin.size())));
        array.erase(0, last + end.size());
    }
    return words;
}

bool IsOfXml(wchar_t character) {
    return character == 0x9 || character == 0xA || character == 0xD ||
           (character >= 0x20 && character <= 0xFFFD) || character >= 0x10000;
}

// Says whether the format must refuse the argument. Of systemd this is said of the
// program.
bool MustRefuse(std::string const& format, std::string const& argument, bool is_program) {
    auto const text = DecodeUtf8Strictly(argument);
    if (format == "systemd") {
        return is_program && std::any_of(argument.begin(), argument.end(), [](char it) {
                   return (it >= 0 && it < ' ') || it == 0x7F || it == '"' ||
                          it == '\'' || it == '\\';
               });
    }
    return !text ||
           (format == "supervisord" && argument.find('\r') != std::string::npos) ||
           (format == "launchd" && !std::all_of(text->begin(), text->end(), IsOfXml));
}

bool MustRefuse(std::string const& format, ExportedItem const& item) {
    std::string const& program = item.arguments.front();
    return std::any_of(item.arguments.begin(), item.arguments.end(),
                       [&](std::string const& argument) {
                           return MustRefuse(format, argument, &argument == &program);
                       });
}

// The two texts may differ in comments alone, each on a line of its own.
void CompareLines(std::string const& text, std::string const& other) {
    Words const lines = LinesOf(text);
    Words const others = LinesOf(other);
    Require(lines.size() == others.size(), "a name never begins another line");
    for (std::size_t i = 0; i < lines.size(); ++i) {
        std::string const& line = lines[i];
        if (line == others[i]) {
            continue;
        }
        auto const decoded = DecodeUtf8Strictly(line);
        Require(decoded && std::all_of(decoded->begin(), decoded->end(), IsOfXml) &&
                    line.find('\r') == std::string::npos,
                "a comment is text for every engine");
        std::string const comment =
            line.substr(std::min(line.find_first_not_of(' '), line.size()));
        bool const is_xml = BeginsWith(comment, "<!-- ");
        Require(is_xml || comment[0] == '#' || comment[0] == ';',
                "a name changes comments alone");
        Require(!is_xml || comment.find("--", 4) == comment.size() - 3,
                "a name does not end a comment");
    }
}

ExportedList WithoutNames(ExportedList list) {
    for (ExportedItem& item : list.items) {
        item.name = "a";
    }
    for (std::string& it : list.not_started) {
        it = "b";
    }
    return list;
}

void CheckFormat(std::string const& name, ExportedList const& all) {
    launchlist_export::Format const& format = *FindFormat(name);
    ExportedList list = all;
    list.items.clear();
    for (ExportedItem const& item : all.items) {
        bool const must_refuse = MustRefuse(name, item);
        Require(format.find_problem(item).empty() == !must_refuse,
                "what the engine cannot hold is refused, and nothing else");
        if (!must_refuse) {
            list.items.push_back(item);
        }
    }
    if (list.items.empty()) {
        return;
    }
    std::vector<File> const files = format.write(list, {});
    std::vector<File> const others = format.write(WithoutNames(list), {});
    bool const has_one = name == "kube" || name == "supervisord";
    Require(files.size() == (has_one ? 1 : list.items.size()), "all items have a file");
    for (std::size_t i = 0; i < files.size(); ++i) {
        CompareLines(files[i].text, others[i].text);
    }
    Words of_kube;
    for (std::size_t i = 0; i < list.items.size(); ++i) {
        ExportedItem const& item = list.items[i];
        std::string const& text = files[has_one ? 0 : i].text;
        of_kube.emplace_back();
        for (std::string const& argument : item.arguments) {
            of_kube.push_back("." + argument);
        }
        Require(name == "kube" ||
                    item.arguments == (name == "systemd" ? ReadSystemd(text)
                                       : name == "supervisord"
                                           ? ReadSupervisord(text, item.identifier)
                                           : ReadLaunchd(text)),
                "the program gets the arguments of the launcher");
    }
    Require(name != "kube" || ReadKube(files[0].text) == of_kube,
            "each container gets the arguments of the launcher");
}

void CheckIdentifiers(ExportedList const& list) {
    std::set<std::string> found;
    for (ExportedItem const& item : list.items) {
        std::string const& name = item.identifier;
        Require(!name.empty() && name.size() < 64 && name.front() != '-' &&
                    name.back() != '-' &&
                    name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-") ==
                        std::string::npos,
                "an identifier has the characters of one");
        Require(found.insert(name).second, "no identifier is there twice");
    }
}

running::LaunchItems ReadInput(std::string input) {
    running::LaunchItems list;
    while (!input.empty() && list.items.size() < kMostItems) {
        running::LaunchItem item;
        item.name = TakeLine(input);
        while (!input.empty() && input[0] != '\n') {
            // The escape stands for a line feed, which ends an argument here.
            std::string argument = TakeLine(input).c_str();
            std::replace(argument.begin(), argument.end(), '\x1A', '\n');
            item.arguments.push_back(argument);
        }
        TakeLine(input);
        item.program = item.arguments.empty() ? "" : item.arguments[0];
        list.items.push_back(item);
    }
    return list;
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    ExportedList list =
        launchlist_export::MakeExportedList(ReadInput(std::string(data, data + size)));
    CheckIdentifiers(list);
    std::vector<ExportedItem>& items = list.items;
    items.erase(std::remove_if(items.begin(), items.end(),
                               [](ExportedItem const& item) {
                                   return !FindCommonProblem(item).empty();
                               }),
                items.end());
    for (char const* const format : {"systemd", "kube", "supervisord", "launchd"}) {
        CheckFormat(format, list);
    }
    return 0;
}
