// Runs a fuzzer on every file of a folder, without libFuzzer:
//
//   fuzz_wildcard fuzz/corpus/wildcard
//
// Exit code: 0 if the fuzzer finds no defect in any of them, 1 if the folder has no file.
// Prints the name of each file. A defect ends the process abnormally, so the last name is
// that of the file that shows it.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/fuzzing.h"

namespace {

std::vector<std::filesystem::path> FilesIn(std::filesystem::path const& folder) {
    std::vector<std::filesystem::path> files;
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

// Nothing stands after the fuzzer's bytes, so that a sanitizer sees a read past their
// end.
void Replay(std::filesystem::path const& file) {
    std::ifstream in(file, std::ios::binary);
    std::string const content{std::istreambuf_iterator<char>(in), {}};
    std::vector<std::uint8_t> const bytes(content.begin(), content.end());
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]);
        return 1;
    }
    std::vector<std::filesystem::path> const files = FilesIn(argv[1]);
    if (files.empty()) {
        std::fprintf(stderr, "there is no file in %s\n", argv[1]);
        return 1;
    }
    for (std::filesystem::path const& file : files) {
        std::printf("%s\n", file.c_str());
        std::fflush(stdout);
        Replay(file);
    }
    return 0;
}
