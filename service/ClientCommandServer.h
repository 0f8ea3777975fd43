#pragma once

#include "logging/Packet.h"
#include "service/TransferBuffers.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zuLogging {

/// The service's side of the log client protocol (magic 0xACCA): checks each packet as the log
/// message protocol's server checks its own, and carries out its command.
///
/// A payload shorter than its command needs, and a piece to be written or a list of keys that is
/// longer than what the payload carries, are mistakes of the packet (status 1); a wrong handle, a
/// place outside the buffer and what the service refuses are failures of the command (status 3).
/// What a payload carries beyond its command's need is not looked at.
///
/// Lives on the receiving thread of the socket that both protocols share; no lock.
class ClientCommandServer
{
public:
    /// What the commands are about.
    class Service
    {
    public:
        virtual ~Service();

        /// Throw LogSvcError when there is nothing to be had.
        virtual TransferBuffers::Contents configuration() = 0;
        virtual TransferBuffers::Contents modules() = 0;
        virtual TransferBuffers::Contents status() = 0;

        /// Takes a new configuration in hand; the answer to `request`, which came with that buffer
        /// handle, is the service's to send. Throws LogSvcError when it cannot.
        virtual void replaceConfiguration(TransferBuffers::Contents contents,
                                          const PacketHeader& request, std::uint64_t handle) = 0;

        /// Keys of counter sets that a recorder holds, at most 173 in one call.
        virtual void counterSetKeysReported(const std::vector<std::uint64_t>& keys) = 0;
    };

    explicit ClientCommandServer(Service& service,
                                 TransferBuffers::Clock clock = &std::chrono::steady_clock::now);

    /// Handles one datagram of `length` bytes (a header at least) that carries the protocol's
    /// magic, and fills `acknowledge` with the answer. False: the service answers later. Throws
    /// LogSvcError "Received malformed input packet" for one that deserves no answer. Whether the
    /// answer is wanted is the caller's business.
    bool answer(const Packet& request, std::size_t length, Packet& acknowledge);

    /// Whether there is such a command.
    static bool knows(std::uint16_t command);

    /// Transfer buffers that are held.
    std::size_t transferCount() const { return buffers_.count(); }

    /// Called now and then: releases buffers that nobody uses any more.
    void idle() { buffers_.releaseUnused(); }

private:
    /// Carries out a checked request. What it throws is answered with status 3.
    bool process(const Packet& request, Packet& acknowledge);
    void write(const Packet& request, Packet& acknowledge);
    void takeKeys(const Packet& request, Packet& acknowledge);

    Service& service_;
    TransferBuffers buffers_;
};

} // namespace zuLogging
