// The launcher's entry: start-up, the launch list, the stop.

#ifndef LAUNCHER_MAIN_H
#define LAUNCHER_MAIN_H

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "launcher/child_proc.h"

// Every supervisor, by its item's name, and their only owner. Written by main while it
// walks the launch list and by sigterm_handler, without a lock.
extern std::unordered_map<std::string, std::shared_ptr<ChildProc>> g_child_map;

// Held by main around its wait; nobody else locks it.
extern std::mutex g_process_mutex;

// What main waits on, once; sigterm_handler notifies it.
extern std::condition_variable g_process_condition;

// Stops every program: destroys the supervisors, one after the other, and wakes main.
// Does nothing for a signal other than SIGTERM. Runs on whichever thread the system
// gives the signal to, and joins threads there: a stop has nothing else to wait for.
void sigterm_handler(int signal_number);

// Closes descriptors 0, 1 and 2, in this order, and then installs sigterm_handler for
// SIGTERM. Results are ignored.
void InitDaemon();

// Reads the file at `path` into `text`, up to its first zero byte, and returns true.
// Returns false, with `text` as it was, if the file cannot be opened or is empty. Reads
// until the end of the file is seen: a directory, whose reading always fails, keeps it
// reading for ever.
bool ReadData(std::string path, std::string& text);

// Opens the launcher's log and sets `logger`. If that fails it is left null, and a
// system event names the launcher. Call it before other threads exist.
void InitLog(std::string launcher_name);

// Starts a supervisor for each of the items "0", "1", ... of the launch list in `text`,
// up to the first number that is missing, and puts them into g_child_map. An item without
// a name is logged and skipped; of two with the same name the later one replaces the
// earlier. Throws what JsonObject and ChildProc throw; the supervisors that are started
// then stay.
void StartItems(std::string const& launcher_name, std::string text);

#endif
