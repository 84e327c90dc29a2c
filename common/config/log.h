// The log: levels, the logging library's interface, and the one call that writes a line.
//
//   __LOG__A(logger, LOGLEVEL_ERROR, "[LAUNCHER  ] Failed to fork %s", name.c_str());
//
// A message begins with a component tag: "[", the component's name padded with blanks to
// 10 characters, "]" and one blank. The tag is part of the format; nothing adds it.

#ifndef COMMON_CONFIG_LOG_H
#define COMMON_CONFIG_LOG_H

#include <cstdarg>
#include <cstdint>
#include <string>

// How important a message is. As the level of a log, VERBOSE means that every message is
// recorded.
enum LOGLEVEL : std::int32_t {
    LOGLEVEL_DEBUG = 1,
    LOGLEVEL_MESSAGE = 2,
    LOGLEVEL_WARNING = 4,
    LOGLEVEL_ERROR = 8,
    LOGLEVEL_CRITICAL = 16,
    LOGLEVEL_VERBOSE = 17,  // Contract: not a power of two.
};

// A log of the logging library. The library owns every ILog and never deletes one, so a
// pointer to it stays valid until the process ends. The order of the functions is part of
// the library's binary interface.
class ILog {
  public:
    // Contract: LogV comes third.
    virtual void Reserved0() = 0;
    virtual void Reserved1() = 0;

    // Formats the message in the manner of printf and records it at `level`. The library
    // filters by level, adds the timestamp and writes the file. Any thread may call it at
    // any time.
    virtual void LogV(LOGLEVEL level, char const* format, va_list arguments) = 0;

  protected:
    ~ILog() = default;
};

// The log of this process, or null while the log is not open. The executable defines this
// variable, and sets it once, before there is a second thread. So it is read without a
// lock.
extern ILog* logger;

// Opens the logging library for log files in `directory`, which it creates if it is
// missing. Returns 0, or another number if log files cannot be written there. Call it on
// the main thread, before other threads log.
extern "C" int InitLogger(char const* directory);

// Sets `*result` to the log called `name`, which records messages of `level` and above,
// and returns 0. The file is `name`.log in the directory given to InitLogger. On failure
// it returns another number and leaves `*result` alone. `kind` is 2 in all programs of
// the bundle. The library owns the log.
extern "C" int GetLogger(int kind, char const* name, LOGLEVEL level, ILog** result);

// Returns the level for a keyword of "log.ini": "DEBUG" 1, "MESSAGE" 2, "WARNING" 4,
// "ERROR" 8, "CRITICAL" 16, "VERBOSE" 17. Any other text gives 8. Case and blanks count.
LOGLEVEL StringToLogLevel(std::string keyword);

// Logs a message, formatted in the manner of printf, at `level`. Does nothing if `log` is
// null, and then does not look at the arguments. Takes no lock and allocates no memory of
// its own, so a forked child may call it.
[[gnu::format(printf, 3, 4)]] static inline void __LOG__A(ILog* log, LOGLEVEL level,
                                                          char const* format, ...) {
    // Contract: a call before the log is open does nothing.
    if (log == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    log->LogV(level, format, arguments);
    va_end(arguments);
}

#endif
