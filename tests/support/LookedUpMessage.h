#pragma once

#include "logging/DecodedMessage.h"

namespace zuLogging::test {

/// What DecodedMessage::assign takes from a container in one pass, by a look-up for each field. Its
/// texts point into the container. Throws LogSvcError as they do.
inline DecodedMessage lookedUp(const LogMessageContainer& container)
{
    DecodedMessage message;
    message.serviceMsgId = container.serviceMsgId();
    message.sourceMsgId = container.sourceMsgId();
    message.senderMsgId = container.senderMsgId();
    message.timestamp = container.number(ItemType::Timestamp).value_or(0);
    message.logLevel = container.number(ItemType::LogLevel).value_or(0);
    message.processId = container.number(ItemType::ProcessID).value_or(0);
    message.threadId = container.number(ItemType::ThreadID).value_or(0);
    message.logPos = container.text(ItemType::LogPos, TextMode::Plain).value_or(u"");
    message.module = container.text(ItemType::Module, TextMode::Plain).value_or(u"");
    message.groupName = container.text(ItemType::GroupName, TextMode::Plain).value_or(u"");
    message.logMessage = container.text(ItemType::LogMessage, TextMode::Text).value_or(u"");
    return message;
}

} // namespace zuLogging::test
