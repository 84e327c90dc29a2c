// Events in the system log, which the launcher writes while its own log is not open.

#ifndef LAUNCHER_SYSTEM_EVENT_H
#define LAUNCHER_SYSTEM_EVENT_H

#include <string>

// Writes "source : message" to the system log, with the priority `type`; 3 is LOG_ERR.
// The text is the format of syslog, so callers pass no percent signs.
void WriteEvent(std::string const& source, unsigned short type,
                std::string const& message);

#endif
