// The check of a launch list: what the launcher will do with it, before it does.
//
//   CheckLaunchList(R"({"0": {"name": "a", "program": "/bin/sh"}})")
//       -> no findings, one program, Outcome::Runs
//   CheckLaunchList(R"({"0": {"name": "a", "program": "sh"}})")
//       -> one finding, of the kind "relative-program"
//
// Values are read as the launcher reads them: by the same parser, and by the functions of
// launcher/list_rules.h. Nothing is started.

#ifndef TOOLS_LAUNCHLIST_CHECK_LIST_CHECK_H
#define TOOLS_LAUNCHLIST_CHECK_LIST_CHECK_H

#include <string>
#include <string_view>

#include "tools/launchlist_check/check_result.h"

namespace launchlist_check {

// Checks the bytes of a launch list. They may be anything.
CheckResult CheckLaunchList(std::string_view bytes, CheckOptions const& options = {});

// Does the same with the file at `path`, or with the standard input for "-".
CheckResult CheckLaunchListFile(std::string const& path,
                                CheckOptions const& options = {});

}  // namespace launchlist_check

#endif
