#include "common/config/log_location.h"

#include "common/config/app_locations.h"
#include "common/config/profile_reader.h"

std::string GetLogPath() {
    // Contract: the home directory is not corrected for FinderSync, as it is for log.ini.
    std::string const product = GetSDKName();
    return GetHomePath() + "/Library/Logs/" + product + "/voplog";
}

LOGLEVEL GetLogLevel() {
    std::string const product = GetSDKName();
    std::string const path = GetAppDataPath(product) + "/" + product + "/log.ini";
    char level[1024] = {};
    // Contract: this test stays, although the default always fits.
    if (GetPrivateProfileString("LOG", "LEVEL", "ERROR", level, sizeof level, path) ==
        0) {
        __LOG__A(logger, LOGLEVEL_ERROR, "[SERVICE   ] Failed to get log level");
    }
    return StringToLogLevel(level);
}
