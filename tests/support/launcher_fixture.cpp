#include "tests/support/launcher_fixture.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <utility>

#include "tests/support/system_call.h"
#include "tests/support/wait_for.h"

namespace {

std::string FromHexadecimal(std::string const& digits) {
    std::string text;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        text += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return text;
}

Report ParseReport(std::filesystem::path const& file) {
    Report report;
    report.pid = std::stoi(file.stem());
    for (std::string const& line : Lines(ReadFile(file))) {
        std::size_t const blank = std::min(line.find(' '), line.size());
        std::string const key = line.substr(0, blank);
        std::string const value = line.substr(std::min(blank + 1, line.size()));
        if (key == "start") {
            report.start = std::stoll(value);
        } else if (key == "end") {
            report.end = std::stoll(value);
        } else if (key == "parent") {
            report.parent = std::stoi(value);
        } else if (key == "descriptors") {
            report.descriptors = value;
        } else if (key == "marker") {
            report.marker = value;
        } else if (key == "argument") {
            report.arguments.push_back(FromHexadecimal(value));
        }
    }
    return report;
}

std::string Quoted(std::string const& text) {
    return "\"" + text + "\"";
}

}  // namespace

std::vector<Report> ReportsIn(std::filesystem::path const& directory) {
    std::vector<Report> reports;
    for (auto const& entry : std::filesystem::directory_iterator(directory)) {
        if (entry.path().extension() == ".report") {
            reports.push_back(ParseReport(entry.path()));
        }
    }
    std::sort(reports.begin(), reports.end(),
              [](Report const& a, Report const& b) { return a.start < b.start; });
    return reports;
}

LauncherTest::LauncherTest()
    : home(directory.Path() / "home"),
      log_file(home / "Library/Logs/Tamlin/voplog/launcher.log"),
      list_file(directory.Path() / "list.json"),
      reports(directory.Path() / "reports"),
      launcher_program(std::filesystem::path(BUNDLE) / "MacOS/launcher"),
      user(home) {
    for (std::filesystem::path const& path : {home, reports}) {
        std::filesystem::create_directories(path);
        std::filesystem::permissions(path, std::filesystem::perms(0777));
    }
    setenv("PROBE_DIR", reports.c_str(), 1);
    SetLogLevel("DEBUG");
}

std::string LauncherTest::Item(std::string const& name,
                               std::vector<std::string> const& arguments) {
    std::string args;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        args += (i == 0 ? "" : ", ") + Quoted(std::to_string(i)) + ": " +
                Quoted(arguments[i]);
    }
    return R"({"name": )" + Quoted(name) + R"(, "program": )" + Quoted(PROBE) +
           R"(, "argc": )" + std::to_string(arguments.size()) + R"(, "args": {)" + args +
           "}}";
}

std::string LauncherTest::RestlessItem(std::string const& name) const {
    return Item(name, {"--unless=" + (directory.Path() / "rest").string(), name});
}

void LauncherTest::LetRest() const {
    WriteFile(directory.Path() / "rest", "");
    EXPECT_TRUE(WaitFor([this] {
        std::filesystem::directory_iterator const files(reports);
        return std::any_of(begin(files), end(files), [](auto const& file) {
            return file.path().extension() == ".rests";
        });
    }));
    EXPECT_TRUE(WaitUntilProgramsAreKnown());
}

std::string LauncherTest::List(std::vector<std::string> const& items) {
    std::string list = "{";
    for (std::size_t i = 0; i < items.size(); ++i) {
        list += (i == 0 ? "\n" : ",\n") + Quoted(std::to_string(i)) + ": " + items[i];
    }
    return list + "\n}\n";
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

bool LauncherTest::WaitUntilMainWaits() const {
    return WaitFor([this] {
        return WaitsForCondition(SystemCallOf(launcher->Pid(), launcher->Pid()));
    });
}

bool LauncherTest::WaitUntilProgramsAreKnown() const {
    return WaitFor([this] {
        std::vector<pid_t> const programs = AllProcesses();
        std::vector<pid_t> const threads = ThreadsOf(launcher->Pid());
        return std::all_of(programs.begin(), programs.end(), [&](pid_t program) {
            return ParentOf(program) != launcher->Pid() ||
                   std::any_of(threads.begin(), threads.end(), [&](pid_t thread) {
                       return WaitsForProcess(SystemCallOf(launcher->Pid(), thread),
                                              program);
                   });
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
    for (std::string const& line : Log()) {
        if (line.compare(0, level.size() + 1, level + " ") == 0) {
            messages.push_back(line.substr(line.find('[')));
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

std::vector<Report> LauncherTest::Reports(std::optional<std::string> const& tag) const {
    std::vector<Report> found = ReportsIn(reports);
    found.erase(std::remove_if(found.begin(), found.end(),
                               [&tag](Report const& report) {
                                   return tag && (report.arguments.size() < 3 ||
                                                  report.arguments[2] != *tag);
                               }),
                found.end());
    return found;
}

std::vector<Report> LauncherTest::WaitForReports(
    std::size_t count, std::optional<std::string> const& tag) const {
    EXPECT_TRUE(WaitFor([&] { return Reports(tag).size() >= count; }))
        << "only " << Reports(tag).size() << " of " << count << " starts of "
        << tag.value_or("the probe");
    EXPECT_TRUE(WaitUntilProgramsAreKnown());
    return Reports(tag);
}

std::vector<pid_t> LauncherTest::RunningProbes() {
    std::vector<pid_t> probes = AllProcesses();
    probes.erase(std::remove_if(probes.begin(), probes.end(),
                                [](pid_t pid) {
                                    std::error_code error;
                                    auto const program = std::filesystem::read_symlink(
                                        "/proc/" + std::to_string(pid) + "/exe", error);
                                    return IsGone(pid) || program != PROBE;
                                }),
                 probes.end());
    return probes;
}
