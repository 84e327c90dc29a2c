// Writes its argument vector, each argument with the zero after it, to a file beside its
// own, which has the same name and ".arguments". Then it waits for a signal.

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

int main(int argc, char** argv) {
    std::string const file = std::filesystem::read_symlink("/proc/self/exe").string();
    std::string const unfinished = file + ".unfinished";
    std::ofstream output(unfinished, std::ios::binary);
    for (int i = 0; i < argc; ++i) {
        output << argv[i] << '\0';
    }
    output.close();
    std::rename(unfinished.c_str(), (file + ".arguments").c_str());
    pause();
}
