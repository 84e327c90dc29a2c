#include "harness/files.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>

TempDirectory::TempDirectory() {
    std::string name = std::filesystem::temp_directory_path() / "launcher-test-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary directory");
    }
    path = std::filesystem::canonical(name);
    std::filesystem::permissions(path, std::filesystem::perms(0777));
}

TempDirectory::~TempDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::string TempDirectory::Write(std::string const& name,
                                 std::string const& content) const {
    WriteFile(path / name, content);
    return path / name;
}

void WriteFile(std::filesystem::path const& file, std::string const& content) {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << content;
    if (!out.flush()) {
        throw std::runtime_error("cannot write " + file.string());
    }
}

std::string ReadFile(std::filesystem::path const& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream out;
    // Unlike the stream's iterators this does not throw if the file is one of /proc and
    // its process ends meanwhile.
    out << in.rdbuf();
    return out.str();
}

std::vector<std::string> Lines(std::string const& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}
