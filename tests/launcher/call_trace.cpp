#include "tests/launcher/call_trace.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

std::string Describe(TracedCall const& call) {
    char const* const words[] = {"",
                                 "installs the handler",
                                 "has installed the handler",
                                 "enters the handler",
                                 "leaves the handler",
                                 "starts a thread",
                                 "has started a thread",
                                 "forks",
                                 "has forked",
                                 "kills",
                                 "joins",
                                 "has joined",
                                 "aborts"};
    return std::to_string(call.thread) + " " + words[static_cast<int>(call.kind)] + " " +
           std::to_string(call.value) + (call.inside_fork ? " inside fork" : "") +
           (call.inside_malloc ? " inside malloc" : "");
}

CallTrace::CallTrace(std::filesystem::path const& file) : path(file) {
    int const descriptor =
        open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    void* map = MAP_FAILED;
    if (ftruncate(descriptor, sizeof(TraceSlots)) == 0) {
        map = mmap(nullptr, sizeof(TraceSlots), PROT_READ, MAP_SHARED, descriptor, 0);
    }
    int const error = errno;
    close(descriptor);
    if (map == MAP_FAILED) {
        throw std::system_error(error, std::generic_category(), path);
    }
    slots = static_cast<TraceSlots*>(map);
}

CallTrace::~CallTrace() {
    munmap(slots, sizeof *slots);
    std::filesystem::remove(path);
}

std::vector<TracedCall> CallTrace::Calls() const {
    std::vector<TracedCall> calls;
    unsigned const used = std::min(slots->used.load(), TraceSlots::kCount);
    for (unsigned i = 0; i < used; ++i) {
        TraceSlots::Slot const& slot = slots->slots[i];
        CallKind const kind = slot.kind.load(std::memory_order_acquire);
        if (kind != CallKind::kNone) {
            calls.push_back(
                {kind, slot.thread, slot.value, slot.inside_fork, slot.inside_malloc});
        }
    }
    return calls;
}
