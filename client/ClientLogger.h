#pragma once

#include <zulog/zulog.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

namespace zuLogging::client {

/// What a zulog_logger is behind its one public member, the threshold: twice the level, and one
/// more if the program has set it. A message is let through if twice its own level is not above it.
class ClientLogger : public zulog_logger
{
public:
    static constexpr std::size_t maximumName = 255;

    /// Throws std::bad_alloc.
    ClientLogger(std::string_view module, std::string_view group, zulog_level level);

    static const ClientLogger& of(const zulog_logger* logger)
    {
        return *static_cast<const ClientLogger*>(logger);
    }

    const std::string& module() const noexcept { return module_; }
    const std::string& group() const noexcept { return group_; }

    zulog_level level() const noexcept;
    /// The program's own level, which `follow` leaves alone.
    void fix(zulog_level level) noexcept;
    void unfix() noexcept;
    bool isFixed() const noexcept;
    /// The level that the configuration gives.
    void follow(zulog_level level) noexcept;

private:
    friend class LoggerRegistry;

    std::string module_;
    std::string group_;

    // Under the registry's lock.
    ClientLogger* next_ = nullptr;
    ClientLogger* previous_ = nullptr;
    int holders_ = 1;              ///< the program, and whoever looks at it without the lock
    std::uint64_t generation_ = 0; ///< of the rules that it has its level from; 0: of none
};

} // namespace zuLogging::client
