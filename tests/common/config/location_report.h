// What the location functions return in a program that lies at a path of the test's
// choice.
//
//   InstallReporter(bundle / "MacOS/launcher");
//   ReportOf(bundle / "MacOS/launcher")["resources"]  -> bundle + "/Resources/"
//
// location_reporter.cpp has the names.

#ifndef TESTS_COMMON_CONFIG_LOCATION_REPORT_H
#define TESTS_COMMON_CONFIG_LOCATION_REPORT_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

// Copies the reporting program to `path`, with the directories that it lies in. Throws
// std::filesystem::filesystem_error.
void InstallReporter(std::filesystem::path const& path);

// Starts the reporting program by this very path, which may have more than one slash or
// be a symbolic link, with this environment and no other, and returns its report. Throws
// std::system_error if it cannot be started, std::runtime_error if it fails.
std::map<std::string, std::string> ReportOf(std::string const& path,
                                            std::vector<std::string> environment = {});

#endif
