// A property list for each item.

#include "common/json/text_encoding.h"
#include "tools/common/printable.h"
#include "tools/launchlist_export/formats.h"

namespace launchlist_export {

namespace {

// Returns true if XML 1.0 has the character.
bool IsOfXml(wchar_t character) {
    return character == L'\t' || character == L'\n' || character == L'\r' ||
           (character >= L' ' && character != 0xFFFE && character != 0xFFFF);
}

bool CanXmlHold(std::string const& text) {
    for (wchar_t const character : s2ws(text)) {
        if (!IsOfXml(character)) {
            return false;
        }
    }
    return true;
}

std::string Label(ExportedItem const& item) {
    return "launchlist." + item.identifier;
}

std::string Arguments(ExportedItem const& item) {
    std::string elements;
    for (std::string const& argument : item.arguments) {
        elements += "\t\t<string>" + QuoteForLaunchd(argument) + "</string>\n";
    }
    return elements;
}

std::string PropertyList(ExportedItem const& item, std::string const& comments) {
    return R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<!-- )" + Label(item) +
           ".plist: item " + InComment(item.name) + " of a launch list -->\n" + comments +
           R"(<!-- The environment, the working directory, the limits and the file mode mask are those of
     launchd, and not of the launcher. The launcher gives no standard streams; launchd gives
     /dev/null. -->
<plist version="1.0">
<dict>
	<key>Label</key>
	<string>)" +
           Label(item) + R"(</string>
	<key>ProgramArguments</key>
	<array>
)" + Arguments(item) +
           R"(	</array>
	<key>KeepAlive</key>
	<true/>
	<!-- The launcher starts it again 50 ms after its end. launchd waits until 10 seconds have
	     passed since its last start. This key asks for less, which not every version grants. -->
	<key>ThrottleInterval</key>
	<integer>1</integer>
	<!-- The launcher sends SIGKILL at once, to the program alone. launchd sends SIGTERM, and
	     SIGKILL after these seconds. After the end of the program it ends what is left of
	     its process group. -->
	<key>ExitTimeOut</key>
	<integer>)" +
           std::to_string(item.stop_seconds) + R"(</integer>
)" +
           (item.has_launch_with
                ? "\t<!-- launch-with works as before. ThrottleInterval and ExitTimeOut "
                  "could do "
                  "the work of\n\t     its options for pace and grace. -->\n"
                : "") +
           R"(</dict>
</plist>
)";
}

}  // namespace

std::string QuoteForLaunchd(std::string const& text) {
    std::string quoted;
    for (char const letter : text) {
        switch (letter) {
            case '&':
                quoted += "&amp;";
                break;
            case '<':
                quoted += "&lt;";
                break;
            case '>':
                quoted += "&gt;";
                break;
            case '\r':
                // As it is, it would be read as a line feed.
                quoted += "&#13;";
                break;
            default:
                quoted += letter;
        }
    }
    return quoted;
}

std::string FindProblemForLaunchd(ExportedItem const& item) {
    return FindProblemInArguments(item, [](std::string const& argument) -> std::string {
        if (!tools::IsUtf8(argument)) {
            return "is not UTF-8, which a property list must be";
        }
        return CanXmlHold(argument) ? "" : "has a character that XML does not have";
    });
}

std::vector<File> WriteForLaunchd(ExportedList const& list,
                                  FormatOptions const& /*options*/) {
    std::vector<File> files;
    std::string comments = CommentOnNotStarted(list, "<!-- ", " -->");
    for (ExportedItem const& item : list.items) {
        files.push_back({Label(item) + ".plist", PropertyList(item, comments)});
        comments.clear();
    }
    return files;
}

}  // namespace launchlist_export
