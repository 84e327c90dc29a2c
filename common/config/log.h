// The log: levels, the logging library's interface, and the one call that writes a line.
//
//   __LOG__A(logger, LOGLEVEL_ERROR, "[LAUNCHER  ] Failed to open file %s",
//   path.c_str());
//
// A message begins with a component tag: "[", the component's name padded with blanks
// to 10 characters, "]", one blank. Nothing adds the tag; it is part of the format.

#ifndef COMMON_CONFIG_LOG_H
#define COMMON_CONFIG_LOG_H

#include <cstdarg>
#include <cstdint>
#include <string>

// How much a message matters. VERBOSE is not a single bit and is above CRITICAL: as the
// level of a logger it means that every message is recorded.
enum LOGLEVEL : std::int32_t {
    LOGLEVEL_DEBUG = 1,
    LOGLEVEL_MESSAGE = 2,
    LOGLEVEL_WARNING = 4,
    LOGLEVEL_ERROR = 8,
    LOGLEVEL_CRITICAL = 16,
    LOGLEVEL_VERBOSE = 17,  // Contract: not a power of two.
};

// A log, as the logging library hands it out. The library owns every ILog and never
// takes one back, so a pointer to it stays valid until the process ends. The order of
// the operations is the library's binary interface.
class ILog {
  public:
    // Contract: LogV comes third.
    virtual void Reserved0() = 0;
    virtual void Reserved1() = 0;

    // Formats the message in the manner of printf and records it at `level`. Filtering,
    // time stamps and files are the library's. Any thread may call it at any time.
    virtual void LogV(LOGLEVEL level, char const* format, va_list arguments) = 0;

  protected:
    ~ILog() = default;
};

// The log of this process: null, and every log call a no-op, until the executable that
// defines it has obtained one from the library. It is set once, before a second thread
// exists, and never again, so it is read without a lock.
extern ILog* logger;

// Opens the logging library on `directory`, which it creates if need be. Returns 0, or
// another number if log files cannot be written there. Call it on the main thread,
// before other threads log.
extern "C" int InitLogger(char const* directory);

// Sets `*result` to the log called `name` (the file is `name`.log in the directory given
// to InitLogger) that records messages of `level` and above, and returns 0; on failure
// returns another number and leaves `*result` alone. `kind` is 2 in every program of the
// bundle. The library keeps ownership of the log.
extern "C" int GetLogger(int kind, char const* name, LOGLEVEL level, ILog** result);

// Returns the level that the keyword names in "log.ini": "DEBUG" 1, "MESSAGE" 2,
// "WARNING" 4, "ERROR" 8, "CRITICAL" 16, "VERBOSE" 17. The whole text is compared, case
// and blanks included; anything else gives 8.
LOGLEVEL StringToLogLevel(std::string keyword);

// Logs a printf-style message at `level`. Does nothing, and looks at no argument, if
// `log` is null. Takes no lock and allocates nothing of its own, so it may be called in
// a forked child.
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
