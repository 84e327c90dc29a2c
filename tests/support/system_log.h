// The system log of a test: it receives what programs send with syslog.

#ifndef TESTS_SUPPORT_SYSTEM_LOG_H
#define TESTS_SUPPORT_SYSTEM_LOG_H

#include <string>
#include <vector>

// Listens on /dev/log, which is the test's own inside tests/support/contained.
class SystemLog {
  public:
    SystemLog();
    ~SystemLog();
    SystemLog(SystemLog const&) = delete;
    SystemLog& operator=(SystemLog const&) = delete;

    // Returns the datagrams that have arrived since the last call, as they were sent:
    // "<PRIORITY>TIME PROGRAM: TEXT".
    std::vector<std::string> Received() const;

  private:
    int socket_descriptor;
};

#endif
