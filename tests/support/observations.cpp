#include "tests/support/observations.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

std::string Describe(Act const& act) {
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
    return std::to_string(act.thread) + " " + words[static_cast<int>(act.kind)] + " " +
           std::to_string(act.value) + (act.inside_fork ? " inside fork" : "");
}

Observations::Observations(std::filesystem::path const& file) : path(file) {
    int const descriptor =
        open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    void* map = MAP_FAILED;
    if (ftruncate(descriptor, sizeof(ObservationSlots)) == 0) {
        map =
            mmap(nullptr, sizeof(ObservationSlots), PROT_READ, MAP_SHARED, descriptor, 0);
    }
    int const error = errno;
    close(descriptor);
    if (map == MAP_FAILED) {
        throw std::system_error(error, std::generic_category(), path);
    }
    slots = static_cast<ObservationSlots*>(map);
}

Observations::~Observations() {
    munmap(slots, sizeof *slots);
    std::filesystem::remove(path);
}

std::vector<Act> Observations::Acts() const {
    std::vector<Act> acts;
    unsigned const used = std::min(slots->used.load(), ObservationSlots::kCount);
    for (unsigned i = 0; i < used; ++i) {
        ObservationSlots::Slot const& slot = slots->slots[i];
        ActKind const kind = slot.kind.load(std::memory_order_acquire);
        if (kind != ActKind::kNone) {
            acts.push_back({kind, slot.thread, slot.value, slot.inside_fork});
        }
    }
    return acts;
}
