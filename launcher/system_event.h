// Events for the system log: what the launcher reports while it has no log of its own.

#ifndef LAUNCHER_SYSTEM_EVENT_H
#define LAUNCHER_SYSTEM_EVENT_H

#include <string>

// Sends "source : message" to syslog with the priority `type` (3 is LOG_ERR). syslog
// takes the text as its format: callers pass no percent signs.
void WriteEvent(std::string const& source, unsigned short type,
                std::string const& message);

#endif
