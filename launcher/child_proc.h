// The supervisor of one program.
//
//   JsonObject item(R"({"name": "agent", "program": "/opt/bin/agent",
//                       "argc": 2, "args": {"0": "--port", "1": "7000"}})");
//   ChildProc agent("main", item);   // keeps /opt/bin/agent --port 7000 running

#ifndef LAUNCHER_CHILD_PROC_H
#define LAUNCHER_CHILD_PROC_H

#include <sys/types.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "common/json/json_object.h"

// Keeps the program of one launch item running. A thread of its own forks, executes the
// program, waits for its end, logs the end, pauses 50 ms and starts the program again,
// however it ended.
//
// A program that cannot be executed makes a chain: the forked child pauses and then
// supervises in its turn, so the chain grows by one process every 50 ms. A failed fork
// ends the supervision for good.
class ChildProc {
  public:
    // Copies `launch_item` and starts the thread, which may run before this returns. The
    // name is read once; "program", "argc" and "args" are read again for every start.
    // Throws std::system_error "thread constructor failed" if the system cannot create
    // the thread, and what JsonObject throws if "name" cannot be read as text.
    ChildProc(std::string launcher_name, JsonObject launch_item);

    // Kills the program with SIGKILL and waits until the thread has logged the end,
    // paused and ended.
    //
    // The signal goes to the id that the latest fork returned, whatever it is. Before the
    // first fork that is 0, the whole process group of this process. After a failed fork
    // it is -1, every process that this one is allowed to signal.
    ~ChildProc();

    ChildProc(ChildProc const&) = delete;
    ChildProc& operator=(ChildProc const&) = delete;

    // Kills the program as the destructor does, and ends the supervision, without waiting
    // for either. Any thread may call it.
    void Stop();

  private:
    void Supervise();
    void WaitForEnd(pid_t child);
    void Execute(std::string& program);

    // Accessed by the supervising thread and by others. No other memory depends on their
    // order, so all access is relaxed.
    std::atomic<pid_t> pid;
    std::atomic<bool> running;
    std::string launcherName;  // Contract: kept, and never read.
    std::string name;
    JsonObject item;
    std::shared_ptr<std::thread> thread;
};

#endif
