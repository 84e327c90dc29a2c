// Prints the path that _NSGetExecutablePath returns. First changes to the directory
// argv[1], if there is one.

#include <mach-o/dyld.h>
#include <unistd.h>

#include <cstdio>
#include <string>

int main(int argc, char** argv) {
    if (argc > 1 && chdir(argv[1]) != 0) {
        return 2;
    }
    std::uint32_t size = 0;
    if (_NSGetExecutablePath(nullptr, &size) != -1) {
        return 3;
    }
    std::string path(size, '\0');
    if (_NSGetExecutablePath(path.data(), &size) != 0) {
        return 4;
    }
    std::printf("%s", path.c_str());
    return 0;
}
