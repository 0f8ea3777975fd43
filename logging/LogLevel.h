#pragma once

#include <QString>

#include <array>
#include <cstdint>
#include <string_view>

namespace zuLogging {

/// Log levels are single bits, so that a set of them is a bit mask.
enum class LogLevel : std::uint64_t
{
    None = 0,
    Fatal = 1,
    Err = 2,
    Warn = 4,
    Info = 8,
    Trace = 16,
    Debug = 32
};

inline constexpr std::array<LogLevel, 7> allLogLevels{
    LogLevel::None, LogLevel::Fatal, LogLevel::Err,  LogLevel::Warn,
    LogLevel::Info, LogLevel::Trace, LogLevel::Debug};

/// "none", "fatal", "err", "warn", "info", "trace", "debug"; empty for any other value.
std::u16string_view logLevelName(std::uint64_t level) noexcept;

/// The same as a QString that shares its text with every other call (no allocation).
QString logLevelNameText(std::uint64_t level);

/// "0x" and the value in lower-case hexadecimal, at least two digits.
QString logLevelCodeText(std::uint64_t level);

} // namespace zuLogging
