#pragma once

#include "client/StopRequest.h"
#include "logging/Packet.h"
#include "logging/SocketAddressText.h"
#include "platform/Udp.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace zuLogging::client {

/// The way of packets to the service: finds it, and knows what it has taken. One thread.
///
/// The service handles what it receives in the order of arrival, so a request without any effect,
/// sent behind some messages, is answered when those are done with, and the socket's buffer at the
/// service is never asked to hold more than these. Messages themselves ask for no answer: one that
/// was answered too late would be sent again.
class ServiceLink
{
public:
    /// The buffer of a service holds about 100 messages of the largest size; three senders at a
    /// time do not fill it.
    static constexpr std::size_t windowSize = 32;

    enum class Outcome
    {
        Taken,    ///< the service has handled them
        Lost,     ///< they, or some of them, did not get through; it is there and takes more
        Gone,     ///< nobody is there, or another service is
        Abandoned ///< the deadline for the end came first
    };

    /// `connectionInfo`: name of the record in which the service says where it is. All of these
    /// must outlive the link.
    ServiceLink(platform::UdpSocket& socket, platform::WakeSignal& wake, const StopRequest& stop,
                const std::string& connectionInfo);

    /// Reads afresh where the service is. False if it is nowhere.
    bool connect();
    void disconnect() { service_.reset(); }
    /// Where it was found.
    const std::optional<SocketAddress>& service() const { return service_; }
    /// Asks the system whether it is still there; if not, disconnects.
    bool isStillThere();
    /// True if the service has come back at another place meanwhile.
    bool hasMoved() const;

    /// Sends at most windowSize packets and waits until it is known what became of them.
    Outcome deliver(const std::vector<Packet>& packets);

private:
    std::optional<SocketAddress> publishedAddress() const;
    Packet ping();
    std::optional<std::uint16_t> nextAnswer(StopRequest::Clock::time_point limit);
    bool isAnyoneThere() const;

    platform::UdpSocket& socket_;
    platform::WakeSignal& wake_;
    const StopRequest& stop_;
    const std::string& connectionInfo_;
    platform::OutgoingBatch batch_;
    std::optional<SocketAddress> service_;
    std::uint16_t sequence_ = 0;
};

} // namespace zuLogging::client
