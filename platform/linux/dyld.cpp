#include <mach-o/dyld.h>
#include <sys/auxv.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <system_error>

namespace {

// Returns the absolute path by which the program was started, or the resolved one if the
// kernel does not tell that.
std::string FindExecutablePath() {
    std::error_code error;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel passes an address.
    auto const* const started_by = reinterpret_cast<char const*>(getauxval(AT_EXECFN));
    if (started_by != nullptr && *started_by != '\0') {
        std::filesystem::path const path = std::filesystem::absolute(started_by, error);
        if (!error) {
            return path.string();
        }
    }
    return std::filesystem::read_symlink("/proc/self/exe", error).string();
}

std::string const& ExecutablePath() {
    static std::string const path = FindExecutablePath();
    return path;
}

// Finds the path before main, when nothing can have changed the working directory yet.
[[maybe_unused]] std::string const& asked_at_start = ExecutablePath();

}  // namespace

int _NSGetExecutablePath(char* buffer, std::uint32_t* size) {
    std::string const& path = ExecutablePath();
    auto const needed = static_cast<std::uint32_t>(path.size() + 1);
    if (*size < needed) {
        *size = needed;
        return -1;
    }
    std::memcpy(buffer, path.c_str(), needed);
    return 0;
}
