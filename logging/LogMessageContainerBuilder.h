#pragma once

#include "logging/LogMessageContainer.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zuLogging {

/// Builds the container of one message, items in the order in which log clients write them:
/// time stamp, module, level, thread, process, group, code page, message, position (counter sets,
/// where there are any, before all of them). Texts are UTF-8. Can be used again after `clear`.
class LogMessageContainerBuilder
{
public:
    std::uint64_t sourceMsgId = 0;
    std::uint64_t senderMsgId = 0;
    std::uint64_t serviceMsgId = 0;
    bool secondary = false;

    std::optional<std::uint64_t> timestamp;
    std::optional<std::uint64_t> logLevel;
    std::optional<std::uint64_t> processId;
    std::optional<std::uint64_t> threadId;
    std::optional<std::uint64_t> codePage;
    std::optional<std::string> module;
    std::optional<std::string> groupName;
    std::optional<std::string> logPos;
    std::optional<std::string> logMessage;
    std::vector<CounterSet> counterSets;

    void clear() { *this = LogMessageContainerBuilder(); }

    /// Bytes that `build` would give.
    std::size_t size() const;

    /// The container. Throws LogSvcError "The command packet data are out of range" when it would
    /// not fit into one packet (1,388 bytes).
    std::vector<std::uint8_t> build() const;

    /// Cuts the message text, between two characters, so that the container fits into one packet.
    /// Returns how many bytes were cut; nothing is cut when the other fields alone are too long.
    std::size_t cutMessageToFit();
};

} // namespace zuLogging
