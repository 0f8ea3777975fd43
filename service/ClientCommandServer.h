#pragma once

#include "logging/Packet.h"

#include <cstddef>

namespace zuLogging {

/// The service's side of the log client protocol (magic 0xACCA): checks each packet as the log
/// message protocol's server checks its own, and carries out its command. The service offers no
/// configuration and no module list yet, so every command is answered as unknown.
///
/// Lives on the receiving thread of the socket that both protocols share; no lock.
class ClientCommandServer
{
public:
    /// Handles one datagram of `length` bytes (a header at least) that carries the protocol's
    /// magic, and fills `acknowledge` with the answer. Throws LogSvcError "Received malformed input
    /// packet" for one that deserves no answer. Whether the answer is wanted is the caller's
    /// business.
    void answer(const Packet& request, std::size_t length, Packet& acknowledge);

private:
    /// Carries out a checked request. What it throws is answered with status 3.
    void process(const Packet& request, Packet& acknowledge);
};

} // namespace zuLogging
