// The supervisor of one program.
//
//   JsonObject item(R"({"name": "agent", "program": "/opt/bin/agent",
//                       "argc": 2, "args": {"0": "--port", "1": "7000"}})");
//   ChildProc agent("main", item);   // /opt/bin/agent --port 7000 runs, for ever

#ifndef LAUNCHER_CHILD_PROC_H
#define LAUNCHER_CHILD_PROC_H

#include <sys/types.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "common/json/json_object.h"

// Keeps the program of one launch item running: a thread of its own forks, executes it,
// waits for its end, logs the end, pauses 50 ms and starts it again, however it ended.
//
// A program that cannot be executed makes a chain: the forked child pauses, and then
// supervises in its turn, so that every 50 ms another process joins the chain. A failed
// fork ends the supervision for good.
class ChildProc {
  public:
    // Starts the thread, which may run before this returns. Keeps a copy of
    // `launch_item`, whose members "name", "program", "argc" and "args" it reads, all but
    // the name anew for every start. Throws std::system_error "thread constructor failed"
    // if the system has no thread to give, and what JsonObject throws if "name" cannot be
    // read as text.
    ChildProc(std::string launcher_name, JsonObject launch_item);

    // Kills the program and waits until the thread has logged its end, paused and ended.
    //
    // The signal goes to the id that the latest fork returned, whatever it is: before
    // the first fork that is 0, the whole process group of this process; after a failed
    // fork it is -1, every process that this one is allowed to signal.
    ~ChildProc();

    ChildProc(ChildProc const&) = delete;
    ChildProc& operator=(ChildProc const&) = delete;

    // Kills the program, as the destructor does, and lets the supervision end with it.
    // Does not wait. Any thread may call it.
    void Stop();

  private:
    void Supervise();
    void WaitForEnd(pid_t child);
    void Execute(std::string& program);

    // Polled by the supervising thread and set by others; no order with anything else
    // is needed, so all access is relaxed.
    std::atomic<pid_t> pid;
    std::atomic<bool> running;
    std::string launcherName;  // Contract: kept, and never read.
    std::string name;
    JsonObject item;
    std::shared_ptr<std::thread> thread;
};

#endif
