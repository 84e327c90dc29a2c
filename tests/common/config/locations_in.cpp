#include "tests/common/config/locations_in.h"

#include <unistd.h>

#include <stdexcept>

#include "harness/files.h"
#include "tests/support/run_program.h"

void InstallPrintLocations(std::filesystem::path const& path) {
    std::filesystem::create_directories(path.parent_path());
    std::filesystem::copy_file(PRINT_LOCATIONS, path);
}

std::map<std::string, std::string> LocationsIn(std::string const& path,
                                               std::vector<std::string> environment) {
    std::vector<char*> variables;
    for (std::string& variable : environment) {
        variables.push_back(variable.data());
    }
    variables.push_back(nullptr);
    ProgramRun const run = RunProgram({path}, "", [&] {
        execle(path.c_str(), path.c_str(), nullptr, variables.data());
    });
    if (run.end != "exit 0") {
        throw std::runtime_error(path + ": " + run.end);
    }
    std::map<std::string, std::string> locations;
    for (std::string const& line : Lines(run.output)) {
        std::size_t const divider = line.find('=');
        locations[line.substr(0, divider)] = line.substr(divider + 1);
    }
    return locations;
}
