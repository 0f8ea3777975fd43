#pragma once

// Messages to this machine's log service:
//
//     zulog::Logger log("module", "group");
//     log.info("started");
//
// What zulog.h says about threads, fork, waiting and texts holds here too. Nothing here throws, and
// the library needs no run-time library of a certain C++ compiler on its interface: this header
// calls the C functions.

#include <zulog/zulog.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace zulog {

enum class Level : unsigned
{
    None = ZULOG_LEVEL_NONE, ///< as a logger's level: nothing passes
    Fatal = ZULOG_LEVEL_FATAL,
    Err = ZULOG_LEVEL_ERR,
    Warn = ZULOG_LEVEL_WARN,
    Info = ZULOG_LEVEL_INFO,
    Trace = ZULOG_LEVEL_TRACE,
    Debug = ZULOG_LEVEL_DEBUG ///< the most verbose one
};

/// A logger of one module and group. Make one for each part of a program and keep it: a static
/// object will do. Any thread may log, also several at a time.
///
/// A call takes note of where it stands in the source by itself; leave `file` and `line` alone.
class Logger
{
public:
    explicit Logger(const std::string& module, const std::string& group = {}) noexcept
        : logger_(zulog_logger_create(module.c_str(), group.c_str()))
    {
    }
    explicit Logger(const char* module, const char* group = "") noexcept
        : logger_(zulog_logger_create(module, group))
    {
    }
    /// What it has taken is still sent.
    ~Logger() { zulog_logger_destroy(logger_); }
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    /// Costs one load from memory. Ask before a text is put together at some expense.
    bool isEnabled(Level level) const noexcept { return zulog_enabled(logger_, raw(level)) != 0; }

    void log(Level level, std::string_view text, const char* file = __builtin_FILE(),
             int line = __builtin_LINE()) const noexcept
    {
        if (isEnabled(level))
            zulog_logger_log(logger_, raw(level), file, line, text.data(), text.size());
    }
    void fatal(std::string_view text, const char* file = __builtin_FILE(),
               int line = __builtin_LINE()) const noexcept
    {
        log(Level::Fatal, text, file, line);
    }
    void err(std::string_view text, const char* file = __builtin_FILE(),
             int line = __builtin_LINE()) const noexcept
    {
        log(Level::Err, text, file, line);
    }
    void warn(std::string_view text, const char* file = __builtin_FILE(),
              int line = __builtin_LINE()) const noexcept
    {
        log(Level::Warn, text, file, line);
    }
    void info(std::string_view text, const char* file = __builtin_FILE(),
              int line = __builtin_LINE()) const noexcept
    {
        log(Level::Info, text, file, line);
    }
    void trace(std::string_view text, const char* file = __builtin_FILE(),
               int line = __builtin_LINE()) const noexcept
    {
        log(Level::Trace, text, file, line);
    }
    void debug(std::string_view text, const char* file = __builtin_FILE(),
               int line = __builtin_LINE()) const noexcept
    {
        log(Level::Debug, text, file, line);
    }

    /// From now on this level counts and not the configuration's.
    void setLevel(Level level) noexcept { zulog_logger_set_level(logger_, raw(level)); }
    /// The configuration's level counts again.
    void followService() noexcept { zulog_logger_follow_service(logger_); }
    /// The level in force.
    Level level() const noexcept { return static_cast<Level>(zulog_logger_level(logger_)); }

    /// For functions of zulog.h; stays this object's. nullptr if there was no memory.
    const zulog_logger* handle() const noexcept { return logger_; }

private:
    static zulog_level raw(Level level) noexcept { return static_cast<zulog_level>(level); }

    zulog_logger* logger_;
};

/// Messages of this process that were thrown away because there was no room for them.
inline std::uint64_t droppedMessages() noexcept
{
    return zulog_dropped_messages();
}

/// Waits until the service has taken everything that this thread logged before, at most `limit`.
/// False if it has not.
inline bool flush(std::chrono::milliseconds limit) noexcept
{
    const auto count = limit.count();
    return zulog_flush(count <= 0 ? 0U
                                  : static_cast<unsigned>(count < 3600000 ? count : 3600000)) ==
           ZULOG_RESULT_OK;
}

} // namespace zulog
