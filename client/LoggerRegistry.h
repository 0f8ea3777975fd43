#pragma once

#include "client/ClientLogger.h"
#include "client/LevelRules.h"

#include <mutex>
#include <type_traits>

namespace zuLogging::client {

/// All loggers of the process, so that a change of the configuration reaches them. Any thread.
///
/// There is one, which is never destroyed: loggers may be made before main and go after it.
class LoggerRegistry
{
public:
    constexpr LoggerRegistry() = default;
    LoggerRegistry(const LoggerRegistry&) = delete;
    LoggerRegistry& operator=(const LoggerRegistry&) = delete;

    /// Nothing if there is no memory. The new logger has the level `initialLevel()` until
    /// `update` comes to it.
    ClientLogger* create(std::string_view module, std::string_view group) noexcept;
    void destroy(ClientLogger* logger) noexcept;

    /// Before anything is known about the configuration everything is let through.
    zulog_level initialLevel() const noexcept { return initialLevel_.load(); }

    /// The configuration's level counts for it from the next `update` on.
    void unfix(ClientLogger* logger) noexcept;

    /// Grows when there is something for `update` to do besides new rules.
    std::uint64_t changes() const noexcept { return changes_.load(); }

    /// Gives the loggers that have their level not from these rules one from them. `generation`
    /// tells rules from others and is not 0. The lock is not held while the rules are asked.
    void update(const LevelRules& rules, std::uint64_t generation, std::string_view process);
    /// There is no configuration: everybody gets this level, those made later too.
    void setAll(zulog_level level) noexcept;

    /// Around a fork, so that the child finds the list whole. `resetLocked` is for the child:
    /// nothing is known to it any more, and its next message, of any level, has it look again.
    void lock() noexcept { mutex_.lock(); }
    void unlock() noexcept { mutex_.unlock(); }
    void resetLocked() noexcept;

private:
    ClientLogger* holdNext(std::uint64_t generation) noexcept;
    void release(ClientLogger* logger) noexcept;

    std::mutex mutex_;
    ClientLogger* first_ = nullptr;
    std::atomic<zulog_level> initialLevel_{ZULOG_LEVEL_DEBUG};
    std::atomic<std::uint64_t> changes_{0};
};
static_assert(std::is_trivially_destructible_v<LoggerRegistry>);

} // namespace zuLogging::client
