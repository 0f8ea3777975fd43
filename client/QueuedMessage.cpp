#include "client/QueuedMessage.h"

#include "client/ClientLogger.h"
#include "client/Utf8.h"
#include "logging/LogMessageContainer.h"

#include <cstring>

namespace zuLogging::client {

namespace {

/// In front of the texts, which follow one another.
struct Fixed
{
    std::uint64_t time;
    std::uint64_t thread;
    std::int32_t line;
    std::uint16_t module; ///< lengths
    std::uint16_t group;
    std::uint16_t file;
    std::uint16_t text;
    std::uint32_t level;
};

std::uint16_t lengthOf(std::string_view text)
{
    return static_cast<std::uint16_t>(text.size());
}

std::uint8_t* append(std::uint8_t* place, std::string_view text)
{
    if (!text.empty())
        std::memcpy(place, text.data(), text.size());
    return place + text.size();
}

std::string_view take(const std::uint8_t*& place, std::size_t length)
{
    const auto* start = reinterpret_cast<const char*>(place);
    place += length;
    return {start, length};
}

} // namespace

void QueuedMessage::cut() noexcept
{
    group = utf8Start(group, ClientLogger::maximumName);
    // Where the program was built says nothing to who reads the log.
    const std::size_t slash = file.rfind('/');
    if (slash != std::string_view::npos)
        file.remove_prefix(slash + 1);
    file = utf8End(file, ClientLogger::maximumName);
    // So long that it is seen to be too long once the other fields are there.
    text = text.substr(0, maximumContainer);
}

std::size_t QueuedMessage::size() const noexcept
{
    return sizeof(Fixed) + module.size() + group.size() + file.size() + text.size();
}

void QueuedMessage::write(std::uint8_t* place) const noexcept
{
    const Fixed fixed{time,
                      thread,
                      line,
                      lengthOf(module),
                      lengthOf(group),
                      lengthOf(file),
                      lengthOf(text),
                      static_cast<std::uint32_t>(level)};
    std::memcpy(place, &fixed, sizeof fixed);
    place = append(place + sizeof fixed, module);
    place = append(place, group);
    place = append(place, file);
    append(place, text);
}

QueuedMessage QueuedMessage::read(const std::uint8_t* place) noexcept
{
    Fixed fixed;
    std::memcpy(&fixed, place, sizeof fixed);
    place += sizeof fixed;
    QueuedMessage message;
    message.time = fixed.time;
    message.thread = fixed.thread;
    message.level = static_cast<zulog_level>(fixed.level);
    message.line = fixed.line;
    message.module = take(place, fixed.module);
    message.group = take(place, fixed.group);
    message.file = take(place, fixed.file);
    message.text = take(place, fixed.text);
    return message;
}

} // namespace zuLogging::client
