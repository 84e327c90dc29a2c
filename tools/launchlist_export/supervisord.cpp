// A section for each item.

#include "tools/common/printable.h"
#include "tools/launchlist_export/formats.h"

namespace launchlist_export {

namespace {

std::string Section(ExportedItem const& item) {
    std::string command;
    for (std::string const& argument : item.arguments) {
        command += (command.empty() ? "" : " ") + QuoteForSupervisord(argument);
    }
    return "\n; item " + InComment(item.name) + "\n" +
           (item.has_launch_with ? "; launch-with works as before.\n" : "") +
           "[program:" + item.identifier + "]\ncommand=" + command +
           "\nautorestart=true\nstartsecs=0\nstartretries=1000000\nstopwaitsecs=" +
           std::to_string(item.stop_seconds) +
           "\nstdout_logfile=NONE\nstderr_logfile=NONE\n";
}

}  // namespace

std::string QuoteForSupervisord(std::string const& text) {
    std::string quoted = "'";
    for (char const letter : text) {
        switch (letter) {
            case '\'':
                quoted += R"('"'"')";
                break;
            case '%':
                quoted += "%%";
                break;
            case ';':
            case '#':
                // After a blank they would begin a comment, also between quotes.
                quoted += std::string("''") + letter;
                break;
            case '\n':
                // Blanks at both ends of a line are cut off, so quotes stand there.
                quoted += "''\n ''";
                break;
            default:
                quoted += letter;
        }
    }
    return quoted + "'";
}

std::string FindProblemForSupervisord(ExportedItem const& item) {
    return FindProblemInArguments(item, [](std::string const& argument) -> std::string {
        if (!tools::IsUtf8(argument)) {
            return "is not UTF-8, which supervisord's file must be";
        }
        return argument.find('\r') == std::string::npos
                   ? ""
                   : "has a carriage return, which supervisord takes for a line feed";
    });
}

std::vector<File> WriteForSupervisord(ExportedList const& list,
                                      FormatOptions const& /*options*/) {
    std::string text =
        "; launchlist.conf: the programs of a launch list\n" +
        CommentOnNotStarted(list, "; ", "") +
        R"(; The launcher starts a program again 50 ms after each end. supervisord took 1 to 2 seconds in
; a trial. It tries a program that cannot be executed after 1 second, 2 seconds and so on, and
; gives up after startretries. With startsecs=0 an early end is no failure.
; The launcher sends SIGKILL at once. supervisord sends SIGTERM, and SIGKILL after
; stopwaitsecs, to the program alone.
; The environment, the working directory, the limits and the file mode mask are those of
; supervisord. The launcher gives no standard streams; supervisord reads the output, and
; drops it.
)";
    for (ExportedItem const& item : list.items) {
        text += Section(item);
    }
    return {{"launchlist.conf", text}};
}

}  // namespace launchlist_export
