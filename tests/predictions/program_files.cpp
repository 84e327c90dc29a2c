#include "tests/predictions/program_files.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "harness/files.h"

namespace {

void Require(bool done, std::string const& what) {
    if (!done) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

void Chmod(std::string const& path, unsigned mode) {
    Require(chmod(path.c_str(), mode) == 0, path);
}

Elf64_Ehdr HeaderOf(std::string const& elf) {
    Elf64_Ehdr header;
    std::memcpy(&header, elf.data(), sizeof header);
    return header;
}

void SetHeader(std::string& elf, Elf64_Ehdr const& header) {
    std::memcpy(elf.data(), &header, sizeof header);
}

// Replaces the path of the loader, by one that is no longer.
void SetLoader(std::string& elf, std::string const& loader) {
    Elf64_Ehdr const header = HeaderOf(elf);
    for (std::size_t i = 0; i < header.e_phnum; ++i) {
        std::size_t const offset = header.e_phoff + i * sizeof(Elf64_Phdr);
        Elf64_Phdr segment;
        std::memcpy(&segment, elf.data() + offset, sizeof segment);
        if (segment.p_type == PT_INTERP && loader.size() < segment.p_filesz) {
            std::string padded = loader;
            padded.resize(segment.p_filesz);
            elf.replace(segment.p_offset, padded.size(), padded);
        }
    }
}

}  // namespace

ProgramFiles::ProgramFiles(Random& choices, std::filesystem::path place,
                           std::string test_program)
    : random(choices),
      directory(std::move(place)),
      test_program_bytes(std::move(test_program)) {}

ProgramFiles::~ProgramFiles() {
    for (int const descriptor : descriptors) {
        close(descriptor);
    }
}

std::string ProgramFiles::NewPath() {
    return directory / ("p" + std::to_string(made++));
}

std::string ProgramFiles::WriteProgram(std::string const& content, unsigned mode) {
    std::string path = NewPath();
    WriteFile(path, content);
    Chmod(path, mode);
    return path;
}

ProgramFile ProgramFiles::MakeTestProgram() {
    std::string const path = WriteProgram(test_program_bytes);
    return {"the test program", path, Executed::kTestProgram, {path}};
}

ProgramFile ProgramFiles::Garbage(std::string const& what, std::string const& content) {
    return {what, WriteProgram(content)};
}

ProgramFile ProgramFiles::MaybeTestProgram(std::string const& what,
                                           std::string const& content) {
    std::string const path = WriteProgram(content);
    return {what, path, Executed::kMaybeTestProgram, {path}};
}

ProgramFile ProgramFiles::MakeAny() {
    ProgramFile (ProgramFiles::*const makers[])() = {
        &ProgramFiles::MakeTestProgram, &ProgramFiles::MakeLinked,
        &ProgramFiles::MakeScripts,     &ProgramFiles::MakeOddScript,
        &ProgramFiles::MakeOddMode,     &ProgramFiles::MakePatched,
        &ProgramFiles::MakeTruncated,   &ProgramFiles::MakeForeign,
        &ProgramFiles::MakeText,        &ProgramFiles::MakeSpecial,
        &ProgramFiles::MakeWrongPath,   &ProgramFiles::MakeOpenForWriting,
        &ProgramFiles::MakeOnMount,     &ProgramFiles::MakeInDirectory};
    return (this->*random.Pick(makers))();
}

ProgramFile ProgramFiles::MakeLinked() {
    std::string const target = WriteProgram(test_program_bytes);
    std::string const link = NewPath();
    int const links = random.From(1, 3);
    Require(symlink(target.c_str(), link.c_str()) == 0, link);
    std::string path = link;
    for (int i = 1; i < links; ++i) {
        std::string const next = NewPath();
        Require(symlink(path.c_str(), next.c_str()) == 0, next);
        path = next;
    }
    if (random.OneIn(3)) {
        path = directory / "." / ".." / directory.filename() /
               std::filesystem::path(path).filename();
    }
    return {"a symbolic link to the test program", path, Executed::kTestProgram, {path}};
}

// A script whose interpreter is a script, and so on. The system follows some levels.
ProgramFile ProgramFiles::MakeScripts() {
    ProgramFile program = MakeTestProgram();
    int const levels = random.From(1, 8);
    for (int i = 0; i < levels; ++i) {
        bool const has_argument = random.OneIn(3);
        std::string const argument = has_argument ? "-x" + std::to_string(i) : "";
        std::string line = random.OneIn(3) ? "#! \t" : "#!";
        line += program.path + (has_argument ? " " + argument : "");
        line += random.OneIn(4) ? "" : "\n";
        std::string const path = WriteProgram(line);
        if (has_argument) {
            program.first_arguments.push_back(argument);
        }
        program.first_arguments.push_back(path);
        program.path = path;
    }
    program.what = "scripts, " + std::to_string(levels) + " levels";
    return program;
}

ProgramFile ProgramFiles::MakeOddScript() {
    std::string const missing = directory / "missing";
    switch (random.Below(9)) {
        case 0:
            return Garbage("a script without its interpreter", "#!" + missing + "\n");
        case 1:
            return Garbage("a script whose interpreter is a directory",
                           "#!" + directory.string() + "\n");
        case 2:
            return Garbage("a script that names no interpreter",
                           random.OneIn(2) ? "#!\nexit\n" : "#!   \n");
        case 3: {
            std::string const path = NewPath();
            WriteFile(path, "#!" + path + "\n");
            Chmod(path, 0755);
            return {"a script that names itself", path};
        }
        case 4: {
            std::string const first = NewPath();
            std::string const second = WriteProgram("#!" + first + "\n");
            WriteFile(first, "#!" + second + "\n");
            Chmod(first, 0755);
            return {"two scripts that name each other", first};
        }
        case 5:
            return Garbage("a script with a carriage return",
                           "#!" + MakeTestProgram().path + "\r\n");
        case 6: {
            std::string const middle = WriteProgram("#!" + missing + "\n");
            return Garbage("a script whose interpreter is a script without one",
                           "#!" + middle + "\n");
        }
        case 7: {
            std::string const plain = WriteProgram("echo\n", 0644);
            return Garbage("a script whose interpreter may not be executed",
                           "#!" + plain + "\n");
        }
        default: {
            std::string const interpreter =
                std::string(random.Below(300), '/') + MakeTestProgram().path;
            std::string const path = WriteProgram("#!" + interpreter + "\n");
            return {"a script with a long first line",
                    path,
                    Executed::kTestProgram,
                    {interpreter, path}};
        }
    }
}

ProgramFile ProgramFiles::MakeOddMode() {
    unsigned const modes[] = {0,    0644, 0600, 0700,  0111,  0100,  0010,
                              0001, 0711, 0555, 04755, 02755, 06711, 01755};
    unsigned const mode = random.Pick(modes);
    std::string const path = WriteProgram(test_program_bytes, mode);
    char digits[8];
    std::snprintf(digits, sizeof digits, "%04o", mode);
    return {std::string("the test program with mode ") + digits,
            path,
            Executed::kTestProgram,
            {path}};
}

ProgramFile ProgramFiles::MakePatched() {
    std::string elf = test_program_bytes;
    Elf64_Ehdr header = HeaderOf(elf);
    std::string const loaders[] = {"/nonexistent/ld.so", "/tmp", "/etc/passwd", ""};
    switch (random.Below(4)) {
        case 0: {
            unsigned const machines[] = {EM_AARCH64, EM_ARM, EM_PPC64, EM_S390,
                                         EM_RISCV,   EM_386, 0};
            header.e_machine = static_cast<Elf64_Half>(random.Pick(machines));
            SetHeader(elf, header);
            return Garbage("a program for machine " + std::to_string(header.e_machine),
                           elf);
        }
        case 1:
            header.e_type = ET_REL;
            SetHeader(elf, header);
            return Garbage("an object file", elf);
        case 2:
            // The system does not look at it; the loader of the libraries may.
            header.e_ident[EI_CLASS] = ELFCLASS32;
            SetHeader(elf, header);
            return MaybeTestProgram("the test program, said to be of 32 bits", elf);
        default: {
            std::string const loader = random.Pick(loaders);
            SetLoader(elf, loader);
            return Garbage("a program with the loader \"" + loader + "\"", elf);
        }
    }
}

ProgramFile ProgramFiles::MakeTruncated() {
    // The headers are short: half of the lengths are about them. The choices do not
    // depend on the size, which is that of the build.
    std::size_t const share = random.Below(10'000);
    std::size_t const length =
        random.OneIn(2) ? share % 1'200 : test_program_bytes.size() * share / 10'000;
    return MaybeTestProgram(
        "the first " + std::to_string(length) + " bytes of the test program",
        test_program_bytes.substr(0, length));
}

ProgramFile ProgramFiles::MakeForeign() {
    std::string const heads[] = {"\xCF\xFA\xED\xFE", "\xFE\xED\xFA\xCF",
                                 "\xCA\xFE\xBA\xBE", "!<arch>\n",
                                 "\x1F\x8B",         "PK\x03\x04"};
    std::string content = random.Pick(heads);
    content += random.Bytes(random.Below(600));
    return Garbage("bytes with another system's beginning", content);
}

ProgramFile ProgramFiles::MakeText() {
    switch (random.Below(4)) {
        case 0:
            return Garbage("an empty file", "");
        case 1:
            return Garbage("text", "echo hello\n");
        case 2:
            return Garbage("text whose second line is #!", "\n#!/bin/sh\n");
        default: {
            std::string bytes = random.Bytes(random.Below(400) + 1);
            // That would be a script.
            bytes[0] = bytes[0] == '#' ? '!' : bytes[0];
            return Garbage("random bytes", bytes);
        }
    }
}

ProgramFile ProgramFiles::MakeSpecial() {
    std::string const path = NewPath();
    char const* const own[] = {"/proc/self/exe", "/dev/stdin", "/proc/self/fd/1",
                               "/proc/self/mem", "/dev/fd/2"};
    switch (random.Below(6)) {
        case 4:
            return {"a path that depends on the process", random.Pick(own)};
        case 0:
            Require(mkfifo(path.c_str(), 0777) == 0, path);
            return {"a FIFO", path};
        case 1: {
            int const descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
            sockaddr_un address = {};
            address.sun_family = AF_UNIX;
            path.copy(address.sun_path, sizeof address.sun_path - 1);
            Require(bind(descriptor, reinterpret_cast<sockaddr const*>(&address),
                         sizeof address) == 0,
                    path);
            descriptors.push_back(descriptor);
            return {"a socket", path};
        }
        case 2:
            return {"a device", random.OneIn(2) ? "/dev/null" : "/dev/zero"};
        case 3:
            std::filesystem::create_directory(path);
            return {"a directory", random.OneIn(2) ? path : path + "/"};
        default:
            Require(symlink((path + "-target").c_str(), path.c_str()) == 0, path);
            return {"a symbolic link that leads nowhere", path};
    }
}

ProgramFile ProgramFiles::MakeWrongPath() {
    std::string const path = NewPath();
    switch (random.Below(9)) {
        case 0:
            return {"a missing file", path};
        case 6:
            // From the root directory, in which the launcher is started.
            return {"a missing file, by a relative path", path.substr(1)};
        case 7: {
            std::string const relative = MakeTestProgram().path.substr(1);
            return {"the test program, by a relative path",
                    relative,
                    Executed::kTestProgram,
                    {relative}};
        }
        case 1:
            return {"a name that is too long", path + std::string(256, 'n')};
        case 2: {
            std::string longer = directory;
            while (longer.size() < 4096 + random.Below(20)) {
                longer += "/.";
            }
            return {"a path that is too long",
                    longer + path.substr(directory.string().size())};
        }
        case 3:
            return {"a path through a file", MakeTestProgram().path + "/program"};
        case 4:
            return {"a program with a slash after it", MakeTestProgram().path + "/"};
        case 5:
            Require(symlink(path.c_str(), path.c_str()) == 0, path);
            return {"a symbolic link to itself", path};
        default: {
            std::string longer = directory;
            while (longer.size() < 3900) {
                longer += "/.";
            }
            ProgramFile program = MakeTestProgram();
            program.path =
                longer + "/" + std::filesystem::path(program.path).filename().string();
            program.first_arguments = {program.path};
            program.what = "the test program, by a long path";
            return program;
        }
    }
}

ProgramFile ProgramFiles::MakeOpenForWriting() {
    ProgramFile program = random.OneIn(3) ? MakeScripts() : MakeTestProgram();
    int const descriptor = open(program.path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    Require(descriptor >= 0, program.path);
    descriptors.push_back(descriptor);
    program.what += ", open for writing";
    return program;
}

ProgramFile ProgramFiles::MakeOnMount() {
    std::string const place = NewPath();
    std::filesystem::create_directory(place);
    bool const may_execute = random.OneIn(3);
    Require(mount("none", place.c_str(), "tmpfs", may_execute ? MS_NOSUID : MS_NOEXEC,
                  "mode=0755") == 0,
            place);
    std::string const path = place + "/program";
    WriteFile(path, test_program_bytes);
    Chmod(path, 04755);
    return {may_execute ? "the test program on a disk without set-uid"
                        : "the test program on a disk without execution",
            path,
            Executed::kTestProgram,
            {path}};
}

ProgramFile ProgramFiles::MakeInDirectory() {
    std::string const place = NewPath();
    unsigned const modes[] = {0700, 0711, 0755, 0600, 0};
    unsigned const mode = random.Pick(modes);
    std::filesystem::create_directory(place);
    std::string const path = place + "/program";
    WriteFile(path, test_program_bytes);
    Chmod(path, 0755);
    Chmod(place, mode);
    char digits[8];
    std::snprintf(digits, sizeof digits, "%04o", mode);
    return {std::string("the test program in a directory of mode ") + digits,
            path,
            Executed::kTestProgram,
            {path}};
}
