// Locations of the bundle and of the user.
//
//   In /Applications/Tamlin.app/Contents/MacOS/launcher, run by the user alice:
//   GetResourcePath()         -> "/Applications/Tamlin.app/Contents/Resources/"
//   GetCurrentPath()          -> "/Applications/Tamlin.app/Contents/MacOS"
//   GetSDKName()              -> "Tamlin"
//   GetHomePath()             -> "/Users/alice"
//   GetAppDataPath("")        -> "/Users/alice/Library/Application Support"
//   GetOSXMountPath("Data")   -> "/Volumes/Data_alice"
//
// On failure a function returns an empty string, and IsFinderSync returns false. Nothing
// is cached. The passwd entry comes from getpwuid, which has one result for all threads,
// so call these functions from one thread.

#ifndef COMMON_CONFIG_APP_LOCATIONS_H
#define COMMON_CONFIG_APP_LOCATIONS_H

#include <string>

// Returns the bundle's resource directory as an absolute path with "/" at the end and
// with links resolved. If the directory does not exist, the path is not resolved. If the
// executable's path is longer than 1023 bytes, the result is empty.
std::string GetResourcePath();

// Returns true if the path of this executable ends in "FinderSync". That extension is
// deeper in the bundle, and has a home directory of its own in its container.
bool IsFinderSync();

// Returns the home directory in the user's passwd entry, or the environment variable HOME
// if the user has no entry.
std::string GetHomePath();

// Returns the directory of the user's application data. `name` is ignored: callers add a
// directory of their own. For the FinderSync extension in its container, the path leads
// out of the container again.
std::string GetAppDataPath(std::string name);

// Returns the product name: the key "NAME" in the section "SDK" of the file "vopapi.ini"
// in the resource directory.
std::string GetSDKName();

// Returns the path where the user's volume `name` would be mounted. The path is only
// composed: nothing is looked up.
std::string GetOSXMountPath(std::string name);

// Returns the directory of this executable as it was started; links are not resolved.
std::string GetCurrentPath();

// Returns the login name in the user's passwd entry.
std::string GetUserName();

#endif
