#include "tests/tools/launchlog_report/report_fixture.h"

#include <fcntl.h>
#include <json/reader.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <sstream>

namespace launchlog_report {

std::string const kEmptyJson =
    "{\"cut_lines\":0,\"items\":[],\"launchers\":[],\"lines_without_time\":0,"
    "\"since\":null,\"until\":null}\n";

std::string Message(std::string const& process, int milliseconds,
                    std::string const& message) {
    char time[16];
    std::snprintf(time, sizeof time, "%02d.%03d", milliseconds / 1000,
                  milliseconds % 1000);
    return "2026-11-21T11:59:" + std::string(time) + "Z ERROR " + process +
           " [LAUNCHER  ] " + message + "\n";
}

std::string Line(std::string const& name, int status, int second,
                 std::string const& launcher) {
    return Message(
        launcher, 1000 * second,
        name + " 187 is killed. ret = 187, status = " + std::to_string(status));
}

ProgramRun LaunchlogReport::Run(std::vector<std::string> arguments,
                                std::string const& input) {
    arguments.insert(arguments.begin(), LAUNCHLOG_REPORT);
    return RunProgram(arguments, input);
}

Json::Value LaunchlogReport::Items(std::vector<std::string> arguments,
                                   std::string const& input) {
    arguments.insert(arguments.begin(), {"--json", "--now", "2026-11-21T12:00:00Z"});
    return Parse(Run(arguments, input).output)["items"];
}

Json::Value LaunchlogReport::Parse(std::string const& text) {
    Json::Value value;
    std::istringstream(text) >> value;
    return value;
}

void LaunchlogReport::Append(std::string const& name, std::string const& text) const {
    std::string const path = directory.Path() / name;
    int const file = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0644);
    EXPECT_EQ(write(file, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    close(file);
}

void LaunchlogReport::Rename(std::string const& from, std::string const& to) const {
    std::filesystem::rename(directory.Path() / from, directory.Path() / to);
}

void LaunchlogReport::Gzip(std::string const& path) {
    Process gzip({"/usr/bin/env", "gzip", path});
    ASSERT_EQ(gzip.WaitForEnd(), "exit 0");
}

void LaunchlogReport::MakeSocket(std::string const& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path.copy(address.sun_path, sizeof address.sun_path - 1), 100U);
    int const file = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(bind(file, reinterpret_cast<sockaddr const*>(&address), sizeof address), 0);
    close(file);
}

}  // namespace launchlog_report
