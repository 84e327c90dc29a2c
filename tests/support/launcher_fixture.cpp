#include "tests/support/launcher_fixture.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <utility>

#include "harness/launch_list.h"
#include "harness/log_line.h"
#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/support/system_call.h"

namespace {

std::string FromHexadecimal(std::string const& digits) {
    std::string text;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        text += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return text;
}

ProgramStart ReadStart(std::filesystem::path const& file) {
    ProgramStart start;
    start.pid = std::stoi(file.stem());
    for (std::string const& line : Lines(ReadFile(file))) {
        std::size_t const blank = std::min(line.find(' '), line.size());
        std::string const key = line.substr(0, blank);
        std::string const value = line.substr(std::min(blank + 1, line.size()));
        if (key == "start") {
            start.start_time = std::stoll(value);
        } else if (key == "end") {
            start.end_time = std::stoll(value);
        } else if (key == "parent") {
            start.parent = std::stoi(value);
        } else if (key == "descriptors") {
            start.descriptors = value;
        } else if (key == "marker") {
            start.marker = value;
        } else if (key == "argument") {
            start.arguments.push_back(FromHexadecimal(value));
        }
    }
    return start;
}

}  // namespace

std::string Killed(std::string const& name, pid_t pid, int status) {
    std::string const id = std::to_string(pid);
    return "[LAUNCHER  ] " + name + " " + id + " is killed. ret = " + id +
           ", status = " + std::to_string(status);
}

std::vector<ProgramStart> StartsIn(std::filesystem::path const& directory) {
    std::vector<ProgramStart> starts;
    for (auto const& entry : std::filesystem::directory_iterator(directory)) {
        if (entry.path().extension() == ".start") {
            starts.push_back(ReadStart(entry.path()));
        }
    }
    std::sort(starts.begin(), starts.end(),
              [](ProgramStart const& a, ProgramStart const& b) {
                  return a.start_time < b.start_time;
              });
    return starts;
}

bool IsWaitedFor(pid_t supervisor, pid_t program) {
    std::vector<pid_t> const threads = ThreadsOf(supervisor);
    return std::any_of(threads.begin(), threads.end(), [&](pid_t thread) {
        return WaitsForProcess(SystemCallOf(supervisor, thread), program);
    });
}

LauncherTest::LauncherTest()
    : home(directory.Path() / "home"),
      log_file(home / "Library/Logs/Tamlin/voplog/launcher.log"),
      list_file(directory.Path() / "list.json"),
      starts_directory(directory.Path() / "starts"),
      launcher_program(std::filesystem::path(BUNDLE) / "MacOS/launcher"),
      user(home) {
    for (std::filesystem::path const& path : {home, starts_directory}) {
        std::filesystem::create_directories(path);
        std::filesystem::permissions(path, std::filesystem::perms(0777));
    }
    setenv("TEST_PROGRAM_DIR", starts_directory.c_str(), 1);
    SetLogLevel("DEBUG");
}

std::string LauncherTest::Item(std::string const& name,
                               std::vector<std::string> const& arguments) {
    return ItemText(name, TEST_PROGRAM, arguments);
}

std::string LauncherTest::RestlessItem(std::string const& name) const {
    return Item(name, {"--unless=" + (directory.Path() / "rest").string(), name});
}

void LauncherTest::LetRest() const {
    WriteFile(directory.Path() / "rest", "");
    EXPECT_TRUE(WaitFor([this] {
        std::filesystem::directory_iterator const files(starts_directory);
        return std::any_of(begin(files), end(files), [](auto const& file) {
            return file.path().extension() == ".rests";
        });
    }));
    EXPECT_TRUE(WaitUntilProgramsAreKnown());
}

void LauncherTest::SetLogLevel(std::string const& level) const {
    WriteFile(home / "Library/Application Support/Tamlin/log.ini",
              "[LOG]\nLEVEL=" + level + "\n");
}

void LauncherTest::Start(std::string const& list, std::function<void()> prepare) {
    WriteFile(list_file, list);
    StartWith({"test", list_file}, std::move(prepare));
}

void LauncherTest::StartWith(std::vector<std::string> arguments,
                             std::function<void()> prepare) {
    arguments.insert(arguments.begin(), launcher_program);
    launcher = std::make_unique<Process>(arguments, std::move(prepare));
}

void LauncherTest::PutIntoTheBundle(std::filesystem::path const& program) {
    std::filesystem::path const app = directory.Path() / "Tamlin.app";
    std::filesystem::copy(std::filesystem::path(BUNDLE).parent_path(), app,
                          std::filesystem::copy_options::recursive);
    launcher_program = app / "Contents/MacOS/launcher";
    std::filesystem::copy_file(program, launcher_program,
                               std::filesystem::copy_options::overwrite_existing);
}

bool LauncherTest::WaitUntilMainWaits() const {
    return WaitFor([this] {
        return WaitsForCondition(SystemCallOf(launcher->Pid(), launcher->Pid()));
    });
}

bool LauncherTest::WaitUntilProgramsAreKnown() const {
    return WaitFor([this] {
        std::vector<pid_t> const programs = AllProcesses();
        return std::all_of(programs.begin(), programs.end(), [this](pid_t program) {
            return ParentOf(program) != launcher->Pid() ||
                   IsWaitedFor(launcher->Pid(), program);
        });
    });
}

std::string LauncherTest::Stop() {
    if (!WaitUntilMainWaits()) {
        return "main does not wait";
    }
    launcher->Signal(SIGTERM);
    return launcher->WaitForEnd();
}

std::vector<std::string> LauncherTest::Log() const {
    std::vector<std::string> lines = Lines(ReadFile(log_file));
    for (std::string& line : lines) {
        line.erase(0, std::min(line.find(' '), line.size() - 1) + 1);
    }
    return lines;
}

std::vector<std::string> LauncherTest::Messages(std::string const& level) const {
    std::vector<std::string> messages;
    for (LogLine& line : ReadLogLines(log_file)) {
        if (line.level == level) {
            messages.push_back(std::move(line.message));
        }
    }
    return messages;
}

std::size_t LauncherTest::CountInLog(std::string const& text) const {
    std::vector<std::string> const lines = Log();
    return static_cast<std::size_t>(
        std::count_if(lines.begin(), lines.end(), [&text](std::string const& line) {
            return line.find(text) != std::string::npos;
        }));
}

std::vector<ProgramStart> LauncherTest::Starts(
    std::optional<std::string> const& tag) const {
    std::vector<ProgramStart> found = StartsIn(starts_directory);
    found.erase(std::remove_if(found.begin(), found.end(),
                               [&tag](ProgramStart const& start) {
                                   return tag && (start.arguments.size() < 3 ||
                                                  start.arguments[2] != *tag);
                               }),
                found.end());
    return found;
}

std::vector<ProgramStart> LauncherTest::WaitForStarts(
    std::size_t count, std::optional<std::string> const& tag) const {
    EXPECT_TRUE(WaitFor([&] { return Starts(tag).size() >= count; }))
        << "only " << Starts(tag).size() << " of " << count << " starts of "
        << tag.value_or("the test program");
    EXPECT_TRUE(WaitUntilProgramsAreKnown());
    return Starts(tag);
}

std::vector<pid_t> LauncherTest::RunningPrograms() {
    std::vector<pid_t> programs = AllProcesses();
    programs.erase(
        std::remove_if(
            programs.begin(), programs.end(),
            [](pid_t pid) { return IsGone(pid) || ProgramOf(pid) != TEST_PROGRAM; }),
        programs.end());
    return programs;
}
