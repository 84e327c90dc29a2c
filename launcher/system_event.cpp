#include "launcher/system_event.h"

#include <syslog.h>

void WriteEvent(std::string const& source, unsigned short type,
                std::string const& message) {
    // Contract: syslog takes the text as its format.
    syslog(type, (source + " : " + message).c_str());
}
