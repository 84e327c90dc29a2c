// What other engines take to keep the programs of a launch list running.
//
//   Format const* const format = FindFormat("systemd");
//   format->find_problem(item)     -> "", the engine can pass all of it on
//   format->write(list, options)   -> {{"launchlist-agent.service", "# ..."}}
//
// Each file says in comments what will differ from the launcher.

#ifndef TOOLS_LAUNCHLIST_EXPORT_FORMATS_H
#define TOOLS_LAUNCHLIST_EXPORT_FORMATS_H

#include <string>
#include <vector>

#include "tools/launchlist_export/exported_list.h"

namespace launchlist_export {

// A file that an engine reads.
struct File {
    // Its name, without a directory.
    std::string name;
    // All of its content.
    std::string text;
};

// What the user may choose.
struct FormatOptions {
    // With kube, the image of all containers, which has the programs.
    std::string image = "localhost/programs";
};

// What one engine takes.
struct Format {
    // Its name on the command line, a literal.
    char const* name;
    // Returns what of the item the format cannot hold, in words; an empty string if it
    // can hold all. An item for `write` must be without such a problem, and without one
    // of FindCommonProblem.
    std::string (*find_problem)(ExportedItem const& item);
    // Returns the files, at least one if the list has an item.
    std::vector<File> (*write)(ExportedList const& list, FormatOptions const& options);
};

// Returns the format with this name, or null if no format has it. It lives for ever.
Format const* FindFormat(std::string const& name);

// Returns the text as one word of ExecStart=, between quotation marks. It may hold any
// bytes.
//
//   QuoteForSystemd("a \"b\" 5%\n")   -> "\"a \\\"b\\\" 5%%\\x0A\""
std::string QuoteForSystemd(std::string const& text);

// Returns the text, which is UTF-8, as a string of a manifest, between quotation marks.
// Leaves $ as it is.
//
//   QuoteForKube("a $1\n")   -> "\"a $1\\U0000000A\""
std::string QuoteForKube(std::string const& text);

// Returns the text, which is UTF-8 without carriage returns, as one word of command=. A
// text with line feeds takes several lines.
//
//   QuoteForSupervisord("it's 5% ;")   -> "'it'\"'\"'s 5%% '';'"
std::string QuoteForSupervisord(std::string const& text);

// Returns the text, which XML can hold, as the content of an element.
//
//   QuoteForLaunchd("a<b\r")   -> "a&lt;b&#13;"
std::string QuoteForLaunchd(std::string const& text);

// Each of these is a find_problem of Format.
std::string FindProblemForSystemd(ExportedItem const& item);
std::string FindProblemForKube(ExportedItem const& item);
std::string FindProblemForSupervisord(ExportedItem const& item);
std::string FindProblemForLaunchd(ExportedItem const& item);

// Each of these is a `write` of Format.
std::vector<File> WriteForSystemd(ExportedList const& list, FormatOptions const& options);
std::vector<File> WriteForKube(ExportedList const& list, FormatOptions const& options);
std::vector<File> WriteForSupervisord(ExportedList const& list,
                                      FormatOptions const& options);
std::vector<File> WriteForLaunchd(ExportedList const& list, FormatOptions const& options);

// Returns a line for each thing that the launcher would not start, each between `before`
// and `after`, which begin and end a comment.
std::string CommentOnNotStarted(ExportedList const& list, std::string const& before,
                                std::string const& after);

}  // namespace launchlist_export

#endif
