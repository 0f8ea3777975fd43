#include "logging/LogMessageSinkFormatter.h"

#include "logging/LogSvcError.h"

#include <optional>
#include <string>
#include <utility>

namespace zuLogging {

namespace {

/// What a container carries for one column; nothing when it does not.
std::optional<std::u16string> columnText(const LogMessageContainer& container,
                                         std::uint16_t itemType)
{
    switch (itemType) {
    case static_cast<std::uint16_t>(ItemType::LogMessage):
        return container.text(ItemType::LogMessage, TextMode::Text);
    case static_cast<std::uint16_t>(ItemType::Module):
    case static_cast<std::uint16_t>(ItemType::GroupName):
    case static_cast<std::uint16_t>(ItemType::LogPos):
        return container.text(static_cast<ItemType>(itemType), TextMode::Plain);
    case static_cast<std::uint16_t>(ItemType::Timestamp):
    case static_cast<std::uint16_t>(ItemType::LogLevel):
    case static_cast<std::uint16_t>(ItemType::ProcessID):
    case static_cast<std::uint16_t>(ItemType::ThreadID): {
        const std::optional<std::uint64_t> number =
            container.number(static_cast<ItemType>(itemType));
        if (!number)
            return std::nullopt;
        const std::string digits = std::to_string(*number);
        return std::u16string(digits.begin(), digits.end());
    }
    default:
        throw LogSvcError("Invalid pattern used when formatting the log message");
    }
}

} // namespace

const LogMessageSinkFormatter::Pattern& LogMessageSinkFormatter::defaultPattern()
{
    static const Pattern pattern = {
        {static_cast<std::uint16_t>(ItemType::Module), 20},
        {static_cast<std::uint16_t>(ItemType::Timestamp), 20},
        {static_cast<std::uint16_t>(ItemType::ThreadID), 20},
        {static_cast<std::uint16_t>(ItemType::LogLevel), 8},
        {static_cast<std::uint16_t>(ItemType::LogMessage), 1},
    };
    return pattern;
}

LogMessageSinkFormatter::LogMessageSinkFormatter(std::uint32_t containerOperatingMode)
    : LogMessageSinkFormatter(defaultPattern(), containerOperatingMode)
{
}

LogMessageSinkFormatter::LogMessageSinkFormatter(Pattern pattern,
                                                 std::uint32_t containerOperatingMode)
    : LogMessageSink(containerOperatingMode)
    , pattern_(std::move(pattern))
{
}

void LogMessageSinkFormatter::consume(const LogMessageContainerView& container)
{
    const LogMessageContainer items(container.data, container.length);
    std::u16string line;
    for (const PatternElement& element : pattern_) {
        const std::u16string text = columnText(items, element.itemType).value_or(std::u16string());
        if (text.size() < element.width)
            line.append(static_cast<std::size_t>(element.width - text.size()), u' ');
        line += text;
    }
    line += u'\n';
    write(line);
}

} // namespace zuLogging
