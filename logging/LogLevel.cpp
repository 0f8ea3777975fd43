#include "logging/LogLevel.h"

namespace zuLogging {

std::u16string_view logLevelName(std::uint64_t level) noexcept
{
    switch (static_cast<LogLevel>(level)) {
    case LogLevel::None:
        return u"none";
    case LogLevel::Fatal:
        return u"fatal";
    case LogLevel::Err:
        return u"err";
    case LogLevel::Warn:
        return u"warn";
    case LogLevel::Info:
        return u"info";
    case LogLevel::Trace:
        return u"trace";
    case LogLevel::Debug:
        return u"debug";
    }
    return {};
}

QString logLevelNameText(std::uint64_t level)
{
    switch (static_cast<LogLevel>(level)) {
    case LogLevel::None:
        return QStringLiteral("none");
    case LogLevel::Fatal:
        return QStringLiteral("fatal");
    case LogLevel::Err:
        return QStringLiteral("err");
    case LogLevel::Warn:
        return QStringLiteral("warn");
    case LogLevel::Info:
        return QStringLiteral("info");
    case LogLevel::Trace:
        return QStringLiteral("trace");
    case LogLevel::Debug:
        return QStringLiteral("debug");
    }
    return {};
}

QString logLevelCodeText(std::uint64_t level)
{
    return QStringLiteral("0x%1").arg(level, 2, 16, QLatin1Char('0'));
}

} // namespace zuLogging
