#pragma once

#include "logging/LogMessage.h"
#include "store/LogField.h"

#include <cstdint>
#include <string_view>

namespace zuLogging {

// The fields of a message by identity. Most are numbers or texts, and all of a kind are shown,
// looked through and sorted alike; what is left is the time stamp and the two fields of the level.

inline bool isNumberField(int field)
{
    return field == FieldServiceMsgID || field == FieldSourceMsgID || field == FieldSenderMsgID ||
           field == FieldProcessID || field == FieldThreadID;
}

/// Of a number field.
inline std::uint64_t numberOf(const LogMessage& message, int field)
{
    switch (field) {
    case FieldServiceMsgID:
        return message.serviceMsgId();
    case FieldSourceMsgID:
        return message.sourceMsgId();
    case FieldSenderMsgID:
        return message.senderMsgId();
    case FieldProcessID:
        return message.processId();
    default:
        return message.threadId();
    }
}

inline bool isTextField(int field)
{
    return field == FieldLogPos || field == FieldModule || field == FieldGroupName ||
           field == FieldLogMessage;
}

/// Of a text field. Valid as long as the message is there.
inline std::u16string_view textOf(const LogMessage& message, int field)
{
    switch (field) {
    case FieldLogPos:
        return message.logPos();
    case FieldModule:
        return message.module();
    case FieldGroupName:
        return message.groupName();
    default:
        return message.logMessage();
    }
}

} // namespace zuLogging
