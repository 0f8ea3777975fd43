#pragma once

#include "client/QueuedMessage.h"
#include "logging/LogMessageContainerBuilder.h"
#include "logging/Packet.h"

#include <cstdint>
#include <string>

namespace zuLogging::client {

/// Makes the packets of one process's messages and numbers them. One thread.
class PacketMaker
{
public:
    explicit PacketMaker(std::uint64_t processId);

    /// A text that does not fit into its packet is cut between two characters and ends in "...".
    Packet message(const QueuedMessage& message);

    /// A message of the module that sent last, which says that so many are missing after it. Their
    /// numbers are left out, so that who counts sees the gap.
    Packet noteOfLoss(std::uint64_t lost, std::uint64_t time, std::uint64_t thread);

private:
    Packet build();
    void setText(std::string_view text);

    LogMessageContainerBuilder builder_;
    std::string module_; ///< of the last message
    std::string group_;
    std::uint64_t sourceNumber_ = 0; ///< of the process's messages, those that were dropped too
    std::uint64_t senderNumber_ = 0; ///< of what was sent
};

} // namespace zuLogging::client
