// The launcher's entry: the start-up, the walk over the launch list, and the stop.

#ifndef LAUNCHER_MAIN_H
#define LAUNCHER_MAIN_H

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "launcher/child_proc.h"

// All supervisors, by the names of their items. The table is their only owner. main
// writes to it during the walk over the launch list, and sigterm_handler at any time,
// without a lock.
extern std::unordered_map<std::string, std::shared_ptr<ChildProc>> g_child_map;

// Held by main around its wait; nobody else locks it.
extern std::mutex g_process_mutex;

// main waits on it once, and sigterm_handler notifies it.
extern std::condition_variable g_process_condition;

// Stops all programs: destroys the supervisors, one after the other, and then wakes main.
// Does nothing for a signal other than SIGTERM. Runs on whichever thread the system gives
// the signal to, and joins the supervisors' threads there.
void sigterm_handler(int signal_number);

// Closes descriptors 0, 1 and 2, in this order, and then installs sigterm_handler for
// SIGTERM. Results are ignored.
void InitDaemon();

// Reads the file at `path` into `text`, up to the first NUL byte, and returns true.
// Returns false, and leaves `text` alone, if the file cannot be opened or is empty. Only
// the end of the file ends the reading: at a directory, where every read fails, it never
// returns.
bool ReadData(std::string path, std::string& text);

// Opens the launcher's log and sets `logger`. If the log cannot be opened, `logger` stays
// null and a system event says so, with the launcher's name. Call it before there are
// other threads.
void InitLog(std::string launcher_name);

// Starts a supervisor for each of the items "0", "1", ... of the launch list in `text`,
// up to the first missing number, and puts it into g_child_map. An item without a name is
// logged and skipped. If two items have the same name, the later one replaces the
// earlier.
//
// Throws what JsonObject and ChildProc throw. The supervisors that were started before
// that stay in g_child_map.
void StartItems(std::string const& launcher_name, std::string text);

#endif
