#pragma once

#include "logging/Packet.h"
#include "platform/Udp.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

namespace zuLogging::test {

/// A scripted peer on a socket of its own on the loopback: records what arrives, and calls the
/// script, on its own thread, for each datagram.
class FakeLogServer
{
public:
    struct Request
    {
        std::vector<std::uint8_t> bytes; ///< the whole datagram
        platform::SocketAddress sender;

        PacketHeader header() const
        {
            return bytes.size() < packetHeaderSize ? PacketHeader()
                                                   : readPacketHeader(bytes.data());
        }
        const std::uint8_t* payload() const { return bytes.data() + packetHeaderSize; }
    };
    using Script = std::function<void(FakeLogServer&, const Request&)>;

    explicit FakeLogServer(Script script = {})
        : script_(std::move(script))
    {
        if (!socket_.open() || !socket_.bind({platform::loopbackAddress, 0}))
            throw std::runtime_error("no socket for the scripted peer");
        socket_.setReceiveBufferSize(0x100000);
        address_ = socket_.boundAddress().value();
        thread_ = std::thread([this] { run(); });
    }
    ~FakeLogServer() { stop(); }
    FakeLogServer(const FakeLogServer&) = delete;
    FakeLogServer& operator=(const FakeLogServer&) = delete;

    /// Ends the peer's thread; what the script wrote can be read then.
    void stop()
    {
        wake_.raise();
        if (thread_.joinable())
            thread_.join();
    }

    const platform::SocketAddress& address() const { return address_; }

    std::vector<Request> requests() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return requests_;
    }

    /// Waits until `count` datagrams have been recorded.
    bool waitForRequests(std::size_t count) const
    {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(10),
                                 [&] { return requests_.size() >= count; });
    }

    /// The commands of the recorded datagrams, in their order.
    std::vector<int> commands() const
    {
        std::vector<int> codes;
        for (const Request& request : requests())
            codes.push_back(request.header().command);
        return codes;
    }

    /// Any thread.
    void send(const std::vector<std::uint8_t>& bytes, const platform::SocketAddress& to)
    {
        if (!socket_.send(bytes.data(), bytes.size(), to))
            throw std::runtime_error("the scripted peer cannot send");
    }

    static std::vector<std::uint8_t> packet(PacketHeader header,
                                            const std::vector<std::uint8_t>& payload = {})
    {
        header.payloadLength = static_cast<std::uint16_t>(payload.size());
        std::vector<std::uint8_t> bytes(packetHeaderSize + payload.size());
        writePacketHeader(bytes.data(), header);
        if (!payload.empty())
            std::memcpy(bytes.data() + packetHeaderSize, payload.data(), payload.size());
        return bytes;
    }

    void acknowledge(const Request& request, const std::vector<std::uint8_t>& payload = {},
                     PacketStatus status = PacketStatus::Success)
    {
        send(packet(acknowledgeOf(request.header(), status), payload), request.sender);
    }

private:
    void run()
    {
        std::vector<std::uint8_t> buffer(65536);
        while (socket_.waitReadable(std::chrono::minutes(10), &wake_) ==
               platform::WaitResult::Readable) {
            const platform::ReceivedDatagram datagram =
                socket_.receive(buffer.data(), buffer.size());
            if (datagram.result != platform::ReceiveResult::Datagram || !datagram.sender)
                continue;
            Request request;
            request.bytes.assign(buffer.begin(),
                                 buffer.begin() + static_cast<std::ptrdiff_t>(datagram.length));
            request.sender = *datagram.sender;
            // Recorded before it is answered: who has the answer can count on finding it.
            {
                const std::lock_guard<std::mutex> lock(mutex_);
                requests_.push_back(request);
            }
            changed_.notify_all();
            if (script_)
                script_(*this, request);
        }
    }

    Script script_;
    platform::UdpSocket socket_;
    platform::SocketAddress address_;
    platform::WakeSignal wake_;
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    std::vector<Request> requests_;
    std::thread thread_;
};

} // namespace zuLogging::test
