#pragma once

#include "logging/LogMessageContainer.h"
#include "logging/Packet.h"
#include "logging/SocketAddressText.h"
#include "logging/SocketLibraryGuard.h"
#include "platform/Udp.h"

#include <cstdint>
#include <string>

namespace zuLogging {

/// Sends commands of either protocol to one server and waits for their acknowledges.
///
/// One thread at a time; no lock. Every failure is a LogSvcError and leaves the client usable for
/// the next command. A command blocks for at most 2 x 500 ms.
class LogClient
{
public:
    /// Opens the socket (buffers of 0x20000 bytes, non-blocking). Throws LogSvcError "Failed to
    /// create the log client socket".
    explicit LogClient(const SocketAddress& server);

    const SocketAddress& server() const { return server_; }

    /// Sends `request` and, unless its flags say that no acknowledge is wanted, waits for one
    /// datagram from the server and copies it to `reply`. Two attempts of 500 ms each. Returns the
    /// reply's length on the wire (above maximumPacket when it was longer than any packet may be);
    /// 0 when none was wanted. Throws "Failed to read out invalid previous data from the log
    /// client socket" or "Log client command execution failure when communicating with the
    /// server.".
    std::size_t execute(const Packet& request, Packet& reply);

    /// The same with `wireLength` bytes of the packet's buffer on the wire whatever its header
    /// says.
    std::size_t execute(const Packet& request, std::size_t wireLength, Packet& reply);

    /// Checks that `reply`, of `length` bytes, is the successful acknowledge of `request`. Throws
    /// "Received malformed acknowledge packet", "The received acknowledge does not match the actual
    /// request", "The received acknowledge contains unsupported flags" or "The command was not
    /// successful (negative acknowledge received)".
    static void checkAcknowledge(const Packet& request, const Packet& reply, std::size_t length);

    /// execute and checkAcknowledge in one; returns the reply.
    Packet command(const Packet& request);

    /// Fetches a transfer buffer's contents: command GetConfiguration, GetModules or
    /// GetServiceStatus. Throws "Failed to allocate buffer for the data to be downloaded" also for
    /// a size above 256 MiB, and "Received malformed acknowledge packet" for a piece of another
    /// length than was asked for.
    std::string download(LogClientCommand command);

    /// Replaces the service's configuration by `size` bytes at `data`. Throws "The data buffer to
    /// be uploaded is invalid." for a null pointer. After a failure the service frees the buffer
    /// itself.
    void upload(const char* data, std::size_t size);

    /// Sends a container on as a log message packet without acknowledge, with this client's own
    /// SenderMsgID (one running number for messages, another for messages of the second kind, each
    /// from 1) and, when the view carries one, with its service number. Two attempts, then the
    /// error of `execute`.
    void forward(const LogMessageContainerView& container);

    /// Sends a container as `forward` does, but waits for the acknowledge.
    void deliver(const LogMessageContainerView& container);

private:
    Packet messagePacket(const LogMessageContainerView& container, std::uint16_t flags);

    SocketLibraryGuard guard_;
    platform::UdpSocket socket_;
    SocketAddress server_;
    std::uint64_t sentMessages_ = 0;          ///< SenderMsgID of the last one sent as 257
    std::uint64_t sentSecondaryMessages_ = 0; ///< the same for 258
};

} // namespace zuLogging
