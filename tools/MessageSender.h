#pragma once

#include "logging/LogClient.h"
#include "logging/LogMessageContainerBuilder.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace zuLogging {

/// Sends messages to the log service as fast as it takes them.
///
/// The service handles what it receives in order, so an acknowledge tells that its socket's buffer
/// is empty up to there. Unless every message is to be acknowledged, each `acknowledgeInterval`-th
/// asks for it, and so does the last one before a `flush`; to know it, one message is held back
/// until the next one, or the flush, comes.
///
/// One thread.
class MessageSender
{
public:
    /// The buffer of a service holds about 100 messages of the largest size; three senders at a
    /// time do not fill it.
    static constexpr std::uint64_t acknowledgeInterval = 32;

    enum class Acknowledge
    {
        Some,
        Every
    };

    /// Throws LogSvcError when there is no service.
    explicit MessageSender(Acknowledge acknowledge);

    /// Sends a message, or holds it back; its text is cut where it does not fit into one packet,
    /// and `isCut` says that it was before. False: the other fields alone do not fit, and nothing
    /// is sent. Throws LogSvcError when the service did not take this message or the one held back.
    bool send(LogMessageContainerBuilder& message, bool isCut = false);

    /// Sends what is held back and waits for its acknowledge. Throws LogSvcError when the service
    /// did not take it.
    void flush();

    /// Messages sent so far, what is held back not counted. With Acknowledge::Every, and after a
    /// flush, the service has taken the last of them.
    std::uint64_t sent() const { return sent_; }
    /// Those of them whose text was cut.
    std::uint64_t cut() const { return cut_; }

private:
    struct Outgoing
    {
        std::vector<std::uint8_t> container;
        bool isCut = false;
    };

    void transmit(const Outgoing& message, bool wantsAcknowledge);

    Acknowledge acknowledge_;
    LogClient client_;
    std::optional<Outgoing> heldBack_;
    std::uint64_t sinceAcknowledge_ = 0;
    std::uint64_t sent_ = 0;
    std::uint64_t cut_ = 0;
};

} // namespace zuLogging
