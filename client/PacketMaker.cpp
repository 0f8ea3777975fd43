#include "client/PacketMaker.h"

#include "client/Utf8.h"
#include "logging/TimestampText.h"

namespace zuLogging::client {

namespace {

constexpr std::string_view mark = "...";

std::string& textOf(std::optional<std::string>& item)
{
    return item ? *item : item.emplace();
}

/// An empty text takes no room.
void assign(std::optional<std::string>& item, std::string_view text)
{
    if (text.empty())
        item.reset();
    else
        textOf(item).assign(text);
}

} // namespace

PacketMaker::PacketMaker(std::uint64_t processId)
{
    builder_.processId = processId;
}

Packet PacketMaker::message(const QueuedMessage& message)
{
    module_.assign(message.module);
    group_.assign(message.group);
    builder_.timestamp = unixEpochTimestamp + message.time;
    builder_.threadId = message.thread;
    builder_.logLevel = static_cast<std::uint64_t>(message.level);
    textOf(builder_.module).assign(message.module);
    assign(builder_.groupName, message.group);
    assign(builder_.logPos, message.file);
    if (builder_.logPos)
        builder_.logPos->append(":").append(std::to_string(message.line));
    setText(message.text);
    ++sourceNumber_;
    return build();
}

Packet PacketMaker::noteOfLoss(std::uint64_t lost, std::uint64_t time, std::uint64_t thread)
{
    builder_.timestamp = unixEpochTimestamp + time;
    builder_.threadId = thread;
    builder_.logLevel = ZULOG_LEVEL_ERR;
    textOf(builder_.module).assign(module_);
    assign(builder_.groupName, group_);
    builder_.logPos.reset();
    setText(lost == 1 ? "1 message was dropped: the queue was full"
                      : std::to_string(lost) + " messages were dropped: the queue was full");
    sourceNumber_ += lost + 1;
    return build();
}

void PacketMaker::setText(std::string_view text)
{
    std::string& item = textOf(builder_.logMessage);
    item.clear();
    const std::size_t room = maximumContainer - builder_.size();
    if (text.size() <= room)
        item.assign(text);
    else
        item.assign(utf8Start(text, room - mark.size())).append(mark);
}

Packet PacketMaker::build()
{
    builder_.sourceMsgId = sourceNumber_;
    builder_.senderMsgId = ++senderNumber_;
    const std::vector<std::uint8_t> container = builder_.build();
    return makeRequest(magicLogMessage, static_cast<std::uint16_t>(LogMessageCommand::Message),
                       container.data(), container.size(), flagNoAcknowledge);
}

} // namespace zuLogging::client
