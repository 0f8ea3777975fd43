#pragma once

#include <cstddef>
#include <limits>

namespace zuLogging {

/// What a listener's owner allows those who send it requests. Whoever can send a datagram must not
/// be able to grow the program without bound; without limits a listener does what it is asked.
struct ListenerLimits
{
    static constexpr std::size_t unlimited = std::numeric_limits<std::size_t>::max();

    /// Sinks in the list, those made at start included. For one more, forwarders to ports that
    /// nobody has any more are removed; when there are none the request fails.
    std::size_t sinks = unlimited;
    /// Requests for a replay that are under way at once, counted for each recorder that carries
    /// them out (with two threads, one for either kind of message); one more request fails.
    std::size_t replays = unlimited;
    /// Whether a request may lead to the listener's own address, which sends messages round for
    /// ever.
    bool allowsOwnAddress = true;

    /// What the programs of this project allow.
    static constexpr ListenerLimits careful() { return {64, 8, false}; }
};

} // namespace zuLogging
