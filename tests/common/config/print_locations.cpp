// Prints what every location function returns in this program, a line each. Tests copy it
// to the path that they ask about; see locations_in.h.

#include <unistd.h>

#include <iostream>

#include "common/config/app_locations.h"
#include "common/config/log.h"
#include "common/config/log_location.h"

namespace {

class PrintingLog final : public ILog {
  public:
    void Reserved0() override {}
    void Reserved1() override {}
    void LogV(LOGLEVEL /*level*/, char const* format, va_list /*arguments*/) override {
        std::cout << "logged=" << format << '\n';
    }
};

PrintingLog printing_log;

}  // namespace

ILog* logger = &printing_log;

// The effective user is somebody else here, without a passwd entry: the real
// user counts. The header of the system decides whether it is noexcept.
extern "C" uid_t geteuid() noexcept(noexcept(geteuid())) {
    return getuid() + 4711;
}

int main() {
    std::cout << "resources=" << GetResourcePath() << '\n'
              << "current=" << GetCurrentPath() << '\n'
              << "finder_sync=" << IsFinderSync() << '\n'
              << "home=" << GetHomePath() << '\n'
              << "user=" << GetUserName() << '\n'
              << "app_data=" << GetAppDataPath("name") << '\n'
              << "product=" << GetSDKName() << '\n'
              << "volume=" << GetOSXMountPath("Data") << '\n'
              << "log_path=" << GetLogPath() << '\n'
              << "log_level=" << GetLogLevel() << '\n';
}
