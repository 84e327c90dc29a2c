#include "launcher/main.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <utility>
#include <vector>

#include "common/config/log.h"
#include "common/config/log_location.h"
#include "launcher/list_rules.h"
#include "launcher/system_event.h"

ILog* logger = nullptr;

// Contract: the exit destroys the table last, which stops the programs that still run.
std::unordered_map<std::string, std::shared_ptr<ChildProc>> g_child_map;
std::mutex g_process_mutex;
std::condition_variable g_process_condition;

namespace {

unsigned short const kErrorEvent = 3;

void StartItem(std::string const& launcher_name, JsonObject item) {
    // Contract: an item without a name is skipped; the message keeps its grammar.
    if (!launch_list::HasName(item)) {
        __LOG__A(logger, LOGLEVEL_ERROR, "[LAUNCHER  ] There is an item has no name.");
        return;
    }
    std::string const name = launch_list::Name(item);
    // Contract: of two items with one name the earlier is started, then stopped here.
    g_child_map[name] = std::shared_ptr<ChildProc>(new ChildProc(launcher_name, item));
}

void WaitForStop() {
    std::unique_lock<std::mutex> lock(g_process_mutex);
    // Contract: the notification of a SIGTERM that came before this wait is lost.
    // Contract: a single wait without a predicate; whatever wakes main ends the launcher.
    g_process_condition.wait(lock);  // NOLINT(bugprone-spuriously-wake-up-functions)
}

}  // namespace

// Contract: every error ends with exit status 0, the normal end with 1.
int main(int argc, char** argv) {
    InitDaemon();
    if (argc < 3) {
        WriteEvent("Tamlin Launcher", kErrorEvent, "wrong parameters.");
        return 0;
    }
    std::string const launcher_name = argv[1];
    std::string const list_path = argv[2];

    // Contract: nobody sees these lines, because the log opens after the list is read.
    __LOG__A(logger, LOGLEVEL_ERROR, "[LAUNCHER  ] Read data from %s", list_path.c_str());
    std::string text;
    if (!ReadData(list_path, text)) {
        __LOG__A(logger, LOGLEVEL_ERROR, "[LAUNCHER  ] Failed to read data from %s",
                 list_path.c_str());
        return 0;
    }
    // Contract: the launcher runs on without a log that cannot be opened.
    InitLog(launcher_name);
    try {
        StartItems(launcher_name, std::move(text));
    } catch (...) {
        // Contract: every failure has this text, even that of starting a thread.
        __LOG__A(logger, LOGLEVEL_ERROR,
                 "[LAUNCHER  ] Error while parsing saved json string.");
        return 0;
    }
    WaitForStop();
    return 1;
}

// Contract: the handler frees memory, kills and joins, and takes no lock.
// Contract: every SIGTERM notifies, even if no program is left.
void sigterm_handler(int signal_number) {
    if (signal_number != SIGTERM) {
        return;
    }
    if (!g_child_map.empty()) {
        g_child_map.clear();
    }
    g_process_condition.notify_all();
}

void InitDaemon() {
    close(0);
    close(1);
    close(2);
    std::signal(SIGTERM, sigterm_handler);
}

bool ReadData(std::string path, std::string& text) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"),
                                                         std::fclose);
    if (!file) {
        __LOG__A(logger, LOGLEVEL_ERROR, "[LAUNCHER  ] Failed to open file %s",
                 path.c_str());
        return false;
    }
    std::string bytes;
    // Contract: only the end of the file ends this; an error of reading repeats for ever.
    while (std::feof(file.get()) == 0) {
        char chunk[128] = {};
        bytes.append(chunk, std::fread(chunk, 1, sizeof chunk, file.get()));
    }
    file.reset();
    if (bytes.empty()) {
        __LOG__A(logger, LOGLEVEL_ERROR, "[LAUNCHER  ] Size of read %s is 0",
                 path.c_str());
        return false;
    }
    // Contract: the text ends at its first NUL.
    text = bytes.c_str();
    return true;
}

void InitLog(std::string launcher_name) {
    LOGLEVEL const level = GetLogLevel();
    std::string const directory = GetLogPath();
    if (InitLogger(directory.c_str()) != 0) {
        WriteEvent("Tamlin Launcher for " + launcher_name, kErrorEvent,
                   "Failed to initialize logger");
        return;
    }
    // Contract: the log is called "launcher", whatever the launcher is called.
    ILog* log = nullptr;
    GetLogger(2, "launcher", level, &log);
    logger = log;
}

void StartItems(std::string const& launcher_name, std::string text) {
    JsonObject list(text.data(), static_cast<unsigned int>(text.size()));
    text = std::string();  // frees its memory, which nothing needs any more
    // Contract: the first missing number ends the list.
    for (int i = 0; launch_list::HasItem(list, i); ++i) {
        std::string const number = std::to_string(i);
        StartItem(launcher_name, list[number.c_str()]);
        // The supervisor has a copy of the item. The next copy can use this memory.
        list.Remove(number.c_str());
    }
}
