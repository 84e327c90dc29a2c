#include "tools/launchlog_report/output_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace launchlog_report {
namespace {

std::string Problem() {
    return std::strerror(errno);
}

std::string WriteFile(std::string const& path, std::string const& text) {
    std::FILE* const file = std::fopen(path.c_str(), "we");
    if (file == nullptr) {
        return Problem();
    }
    bool const is_written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
    std::string const problem = is_written ? "" : Problem();
    bool const is_closed = std::fclose(file) == 0;
    return is_written && !is_closed ? Problem() : problem;
}

}  // namespace

std::string ReplaceFile(std::string const& path, std::string const& text) {
    struct stat old = {};
    bool const is_there = stat(path.c_str(), &old) == 0;
    if (is_there && !S_ISREG(old.st_mode)) {
        return WriteFile(path, text);
    }
    std::error_code error;
    std::string const target =
        is_there ? std::filesystem::canonical(path, error).string() : path;
    std::string const part = target + "." + std::to_string(getpid()) + ".part";
    std::string problem = error ? error.message() : WriteFile(part, text);
    if (problem.empty() && is_there && chmod(part.c_str(), old.st_mode & 07777) != 0) {
        problem = Problem();
    }
    if (problem.empty() && std::rename(part.c_str(), target.c_str()) != 0) {
        problem = Problem();
    }
    if (!problem.empty()) {
        std::remove(part.c_str());
    }
    return problem;
}

}  // namespace launchlog_report
