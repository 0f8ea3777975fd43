#pragma once

#include "logging/Packet.h"
#include "logging/SocketAddressText.h"
#include "logging/SocketLibraryGuard.h"
#include "platform/Udp.h"

#include <chrono>
#include <cstdint>
#include <string>

namespace zuLogging {

/// Has the machine's log service forward its messages to an address, from construction to `end`,
/// also when the service comes back after it was gone. One thread at a time.
///
/// While it lasts, the service is asked again and again for the same forwarding, which changes
/// nothing for one that has it (so no message comes twice however late the answers), and gives it
/// to one that was started anew. The address stays the same for the same reason.
class TailSubscription
{
public:
    /// How often `keep` is to be called.
    static constexpr std::chrono::milliseconds calmPeriod{1000};
    static constexpr std::chrono::milliseconds waitingPeriod{250};
    /// Calls of `keep` without a sign of life until a service is said not to answer. One that only
    /// has much to do answers within that.
    static constexpr unsigned patience = 5;

    /// Subscribes `address` at the service that the connection info names; with `replay`, the
    /// service first sends what it has recorded. Throws LogSvcError when the service cannot be
    /// found or does not acknowledge. Blocks for at most 1 second.
    TailSubscription(const SocketAddress& address, bool replay);

    const SocketAddress& service() const { return service_; }

    /// Looks after the subscription; never waits. `heard`: messages have come since the last call.
    /// Returns what there is to be told: the service went, or came back; else nothing.
    std::string keep(bool heard);

    /// When `keep` is to be called again.
    std::chrono::milliseconds period() const
    {
        return state_ == State::Subscribed ? calmPeriod : waitingPeriod;
    }

    /// Unsubscribes. A service that is gone is no error; one that does not answer takes 1 second.
    void end();

private:
    enum class State
    {
        Subscribed,
        Moved,  ///< found at another place; not acknowledged yet
        Waiting ///< the user was told that there is none
    };
    enum class Answer
    {
        None,
        Yes,
        No
    };

    bool isNobodyThere() const;
    bool findService();
    Answer readAnswers();
    void ask();

    SocketLibraryGuard guard_;
    const std::string addressText_;
    SocketAddress service_;
    platform::UdpSocket socket_;
    State state_ = State::Subscribed;
    std::uint16_t firstSequence_ = 0;
    std::uint16_t nextSequence_ = 0;
    unsigned unanswered_ = 0;
    bool isRefusalTold_ = false;
};

} // namespace zuLogging
