#pragma once

#include "logging/LogMessageContainer.h"

#include <cstdint>
#include <string>

namespace zuLogging {

/// All fields of a container, taken out in one pass over its items. A field that the container
/// lacks is 0 or empty. The object can be used again for the next container and then allocates
/// nothing for texts no longer than the ones before.
struct DecodedMessage
{
    std::uint64_t serviceMsgId = 0;
    std::uint64_t sourceMsgId = 0;
    std::uint64_t senderMsgId = 0;
    std::uint64_t timestamp = 0;
    std::uint64_t logLevel = 0;
    std::uint64_t processId = 0;
    std::uint64_t threadId = 0;
    std::u16string logPos;
    std::u16string module;
    std::u16string groupName;
    std::u16string logMessage;

    /// Replaces the fields by those of `container`. Gives and refuses exactly what one
    /// LogMessageContainer look-up per field would; on a LogSvcError the fields are undefined.
    void assign(const LogMessageContainerView& container);
};

} // namespace zuLogging
