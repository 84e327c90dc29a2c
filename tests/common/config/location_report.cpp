#include "tests/common/config/location_report.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <sstream>
#include <stdexcept>
#include <system_error>

namespace {

// Reads until every holder of the pipe's other end has closed it.
std::string ReadAll(int descriptor) {
    std::string text;
    std::array<char, 4096> part = {};
    ssize_t length = 0;
    while ((length = read(descriptor, part.data(), part.size())) > 0) {
        text.append(part.data(), static_cast<std::size_t>(length));
    }
    return text;
}

std::string OutputOf(std::string const& path, std::vector<std::string>& environment) {
    std::array<int, 2> ends = {};
    if (pipe(ends.data()) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);

    std::string program = path;
    std::array<char*, 2> const arguments = {program.data(), nullptr};
    std::vector<char*> variables;
    variables.reserve(environment.size() + 1);
    for (std::string& variable : environment) {
        variables.push_back(variable.data());
    }
    variables.push_back(nullptr);

    pid_t pid = 0;
    int const error = posix_spawn(&pid, path.c_str(), &actions, nullptr, arguments.data(),
                                  variables.data());
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    std::string output = ReadAll(ends[0]);
    close(ends[0]);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), path);
    }
    int status = 0;
    if (waitpid(pid, &status, 0) != pid || status != 0) {
        throw std::runtime_error(path + " failed");
    }
    return output;
}

}  // namespace

void InstallReporter(std::filesystem::path const& path) {
    std::filesystem::create_directories(path.parent_path());
    std::filesystem::copy_file(LOCATION_REPORTER, path);
}

std::map<std::string, std::string> ReportOf(std::string const& path,
                                            std::vector<std::string> environment) {
    std::map<std::string, std::string> report;
    std::istringstream output(OutputOf(path, environment));
    std::string line;
    while (std::getline(output, line)) {
        std::size_t const divider = line.find('=');
        report[line.substr(0, divider)] = line.substr(divider + 1);
    }
    return report;
}
