// Where the bundle's and the user's things are.
//
//   In /Applications/Tamlin.app/Contents/MacOS/launcher, for the user alice:
//   GetResourcePath()         -> "/Applications/Tamlin.app/Contents/Resources/"
//   GetCurrentPath()          -> "/Applications/Tamlin.app/Contents/MacOS"
//   GetSDKName()              -> "Tamlin"
//   GetHomePath()             -> "/Users/alice"
//   GetAppDataPath("")        -> "/Users/alice/Library/Application Support"
//   GetOSXMountPath("Data")   -> "/Volumes/Data_alice"
//
// No function reports an error; what is not to be had is an empty string. Nothing is
// cached. The user's record comes from getpwuid, whose result is shared by all threads:
// call these functions from one thread.

#ifndef COMMON_CONFIG_APP_LOCATIONS_H
#define COMMON_CONFIG_APP_LOCATIONS_H

#include <string>

// Returns the bundle's resource directory, absolute, with links resolved and "/" at the
// end. If it does not exist the path is returned unresolved; if the executable's path
// is longer than 1023 bytes, nothing.
std::string GetResourcePath();

// Says whether the path of this executable ends in "FinderSync". That extension lies
// deeper in the bundle and has a home directory of its own, inside its container.
bool IsFinderSync();

// Returns the user's home directory as the user's record gives it. Only if there is no
// record, the environment variable HOME is returned.
std::string GetHomePath();

// Returns the directory of the user's application data. The name plays no part: callers
// add a directory of their own. For the FinderSync extension in its container the path
// leads out of the container again.
std::string GetAppDataPath(std::string name);

// Returns the product name: section "SDK", key "NAME" of "vopapi.ini" in the resources.
std::string GetSDKName();

// Returns where the user's volume `name` is mounted, if it is; nothing is looked up.
std::string GetOSXMountPath(std::string name);

// Returns the directory of this executable as it was started, links unresolved.
std::string GetCurrentPath();

// Returns the user's login name as the user's record gives it.
std::string GetUserName();

#endif
