#include "common/config/app_locations.h"

#include <mach-o/dyld.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <memory>

#include "common/config/profile_reader.h"
#include "common/strings/text.h"

namespace {

// Contract: paths have at most 1023 bytes and a NUL.
std::uint32_t const kPathSize = 1024;

// Returns the executable's path, or an empty string if it does not fit into `size` bytes
// with its NUL.
std::string GetExecutablePath(std::uint32_t size) {
    std::string path(size, '\0');
    if (_NSGetExecutablePath(path.data(), &size) != 0) {
        return "";
    }
    return path.c_str();
}

// Returns `path` resolved. If it does not exist, or its resolved form does not fit into
// kPathSize bytes with its NUL, returns it unchanged.
std::string Resolved(std::string const& path) {
    std::unique_ptr<char, void (*)(void*)> const resolved(realpath(path.c_str(), nullptr),
                                                          std::free);
    if (!resolved || std::string(resolved.get()).size() >= kPathSize) {
        return path;
    }
    return resolved.get();
}

bool Contains(std::string const& text, char const* part) {
    return text.find(part) != std::string::npos;
}

}  // namespace

std::string GetResourcePath() {
    std::string const executable = GetExecutablePath(kPathSize);
    if (executable.empty()) {
        return "";
    }
    std::string const directory = executable.substr(0, executable.rfind('/'));
    std::string const resources = Resolved(
        directory + (IsFinderSync() ? "/../../../../Resources" : "/../Resources"));
    return ends_with(resources, "/") ? resources : resources + "/";
}

bool IsFinderSync() {
    // Contract: only the end of the path counts.
    return ends_with(GetExecutablePath(kPathSize), "FinderSync");
}

std::string GetHomePath() {
    // Contract: the passwd entry is asked first, HOME only if there is none.
    if (passwd const* const user = getpwuid(getuid())) {
        return user->pw_dir;
    }
    char const* const home = std::getenv("HOME");
    return home != nullptr ? home : "";
}

// Contract: the name is ignored; callers add a directory of their own.
std::string GetAppDataPath(std::string /*name*/) {
    std::string home = GetHomePath();
    if (IsFinderSync() && Contains(home, "com.tamlin") && Contains(home, "FinderSync")) {
        // Contract: the path is not resolved.
        home += "/../../../..";
    }
    return home + "/Library/Application Support";
}

std::string GetSDKName() {
    // Contract: two slashes stand before the name of the file.
    char name[1024] = {};
    GetPrivateProfileString("SDK", "NAME", "", name, sizeof name,
                            GetResourcePath() + "/vopapi.ini");
    return name;
}

std::string GetOSXMountPath(std::string name) {
    return "/Volumes/" + name + "_" + GetUserName();
}

std::string GetCurrentPath() {
    // Contract: here the path may be one byte longer, and nothing is resolved.
    std::string const executable = GetExecutablePath(kPathSize + 1);
    std::size_t const divider = executable.rfind('/');
    return divider == std::string::npos ? "" : executable.substr(0, divider);
}

std::string GetUserName() {
    passwd const* const user = getpwuid(getuid());
    return user != nullptr ? user->pw_name : "";
}
