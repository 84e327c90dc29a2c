// A unit for each item.

#include <algorithm>
#include <cstdio>

#include "tools/common/printable.h"
#include "tools/launchlist_export/formats.h"

namespace launchlist_export {

namespace {

// The longest line that systemd reads, with its line feed.
constexpr std::size_t kLongestLine = 1024UL * 1024;

// The colon switches off $NAME, also in the path. The path comes without it.
std::string ExecStart(ExportedItem const& item) {
    std::string line = "ExecStart=:";
    for (std::string const& argument : item.arguments) {
        line += QuoteForSystemd(argument) + " ";
    }
    line.back() = '\n';
    return line;
}

// systemd takes a path only if it has none of these, quoted or not.
bool HasRefusedByte(std::string const& path) {
    for (char const letter : path) {
        bool const is_control =
            static_cast<unsigned char>(letter) < ' ' || letter == '\x7F';
        if (is_control || letter == '"' || letter == '\'' || letter == '\\') {
            return true;
        }
    }
    return false;
}

std::string CommentOnBytes(ExportedItem const& item) {
    bool const is_utf8 =
        std::all_of(item.arguments.begin(), item.arguments.end(), tools::IsUtf8);
    return is_utf8
               ? ""
               : "# An argument is not UTF-8. The program gets it, but systemctl status "
                 "fails.\n";
}

std::string Unit(ExportedItem const& item, std::string const& comments) {
    return "# launchlist-" + item.identifier + ".service: item " + InComment(item.name) +
           " of a launch list\n" + comments +
           R"(# The environment, the working directory, the limits and the file mode mask are those of
# systemd, and not of the launcher.
[Unit]
Description=)" +
           item.identifier + R"(, from a launch list
# The launcher never gives up. By default systemd does, after 5 starts in 10 seconds.
StartLimitIntervalSec=0

[Service]
# After the colon, $ stands for itself. It takes systemd 244.
)" + CommentOnBytes(item) +
           ExecStart(item) +
           R"(Restart=always
# The launcher starts it again 50 ms after its end. systemd took 100 to 315 ms in a trial.
RestartSec=50ms
# The launcher sends SIGKILL at once, to the program alone. systemd sends SIGTERM to all
# processes of the unit, and SIGKILL after these seconds. After the end of the program, it
# ends what that has left in the same way.
TimeoutStopSec=)" +
           std::to_string(item.stop_seconds) +
           (item.has_launch_with ? "\n# launch-with works as before. RestartSec= and "
                                   "TimeoutStopSec= could do "
                                   "the work of its\n# options for pace and grace."
                                 : "") +
           R"(
# The launcher gives no standard streams. With StandardOutput=journal, systemd keeps the
# output.
StandardInput=null
StandardOutput=null
StandardError=null
# By default systemd ignores SIGPIPE for its programs.
IgnoreSIGPIPE=no

[Install]
WantedBy=default.target
)";
}

}  // namespace

std::string QuoteForSystemd(std::string const& text) {
    std::string quoted = "\"";
    for (char const letter : text) {
        if (letter == '"' || letter == '\\') {
            quoted += {'\\', letter};
        } else if (letter == '%') {
            quoted += "%%";
        } else if (letter >= ' ' && letter <= '~') {
            quoted += letter;
        } else {
            char escaped[5];
            std::snprintf(escaped, sizeof escaped, "\\x%02X",
                          static_cast<unsigned>(static_cast<unsigned char>(letter)));
            quoted += escaped;
        }
    }
    return quoted + '"';
}

std::string FindProblemForSystemd(ExportedItem const& item) {
    if (HasRefusedByte(item.arguments.front())) {
        return "its program has a quotation mark, a backslash or a control character in "
               "its path, which systemd refuses";
    }
    return ExecStart(item).size() > kLongestLine
               ? "its arguments take a line of more than 1 MiB, which systemd does not "
                 "read"
               : "";
}

std::vector<File> WriteForSystemd(ExportedList const& list,
                                  FormatOptions const& /*options*/) {
    std::vector<File> files;
    std::string comments = CommentOnNotStarted(list, "# ", "");
    for (ExportedItem const& item : list.items) {
        files.push_back(
            {"launchlist-" + item.identifier + ".service", Unit(item, comments)});
        comments.clear();
    }
    return files;
}

}  // namespace launchlist_export
