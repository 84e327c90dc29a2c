// What the location functions return in a program whose path the test chooses.
//
//   InstallPrintLocations(bundle / "MacOS/launcher");
//   LocationsIn(bundle / "MacOS/launcher")["resources"]  -> bundle + "/Resources/"
//
// The names are in print_locations.cpp.

#ifndef TESTS_COMMON_CONFIG_LOCATIONS_IN_H
#define TESTS_COMMON_CONFIG_LOCATIONS_IN_H

#include <filesystem>
#include <map>
#include <string>
#include <vector>

// Copies the program print_locations to `path`, and makes its directory if need be.
// Throws std::filesystem::filesystem_error.
void InstallPrintLocations(std::filesystem::path const& path);

// Starts that program by this very path, which may have more than one slash or be a
// symbolic link, with this environment and no other. Returns what it prints. Throws
// std::runtime_error if it cannot be started or fails.
std::map<std::string, std::string> LocationsIn(std::string const& path,
                                               std::vector<std::string> environment = {});

#endif
