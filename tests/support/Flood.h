#pragma once

#include "logging/LogMessageSink.h"
#include "logging/Packet.h"
#include "tests/support/TestContainer.h"
#include "tests/support/UdpPeer.h"

#include <unistd.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <random>

namespace zuLogging::test {

/// Counts what it is given and keeps nothing.
class CountingSink final : public LogMessageSink
{
public:
    void consume(const LogMessageContainerView&) override { ++count_; }
    void consumeSecondary(const LogMessageContainerView&) override { ++count_; }
    std::uint64_t count() const { return count_.load(); }

private:
    std::atomic<std::uint64_t> count_{0};
};

/// What the process holds of the memory.
inline std::size_t residentBytes()
{
    std::size_t all = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

/// What a flood may leave behind: far less than a byte for each of its 250 MB. Sanitizers keep what
/// was freed for a while.
#if defined(LOGDESK_ADDRESS_SANITIZER) || defined(LOGDESK_THREAD_SANITIZER)
inline constexpr std::size_t floodMemoryLimit = std::size_t{400} << 20;
#else
inline constexpr std::size_t floodMemoryLimit = std::size_t{24} << 20;
#endif

struct FloodSent
{
    std::uint64_t all = 0;
    /// Of them, those whose container may be right.
    std::uint64_t mayBeMessages = 0;
};

/// Sends so many datagrams at full speed: random bytes, valid headers of both protocols in front of
/// random payloads, containers of which one byte is changed, and good messages.
inline FloodSent flood(const platform::SocketAddress& to, std::uint64_t count, unsigned seed)
{
    std::mt19937 random(seed);
    UdpPeer peer;
    FloodSent sent;
    const auto randomBytes = [&](std::size_t length) {
        Bytes bytes(length);
        for (std::size_t i = 0; i < length; i += 4) {
            const std::uint32_t four = static_cast<std::uint32_t>(random());
            std::memcpy(bytes.data() + i, &four, std::min<std::size_t>(4, length - i));
        }
        return bytes;
    };
    constexpr std::uint16_t messageCodes[] = {257, 258, 273, 289, 290, 291, 292, 274, 7};
    constexpr std::uint16_t clientCodes[] = {17, 18, 19, 20, 21, 33, 34, 35, 53, 0x5A53, 99};
    std::uint64_t number = 0;
    for (; sent.all < count; ++sent.all) {
        const std::uint16_t flags = random() % 4 == 0 ? 0 : flagNoAcknowledge;
        switch (random() % 5) {
        case 0:
            peer.send(randomBytes(random() % 1600), to);
            continue;
        case 1:
            peer.send(datagram({magicLogMessage, flags, messageCodes[random() % 9], 0, 1, 0},
                               randomBytes(random() % 1389)),
                      to);
            ++sent.mayBeMessages;
            continue;
        case 2:
            peer.send(datagram({magicLogClient, flags, clientCodes[random() % 11], 0, 1, 0},
                               randomBytes(random() % 3 == 0 ? 1388 : random() % 1389)),
                      to);
            continue;
        default:
            break;
        }
        const bool isSecondary = random() % 4 == 0;
        Bytes bytes = datagram(
            {magicLogMessage, flags, static_cast<std::uint16_t>(isSecondary ? 258 : 257), 0, 1, 0},
            TestContainer(isSecondary ? containerFlagSecondary : 0)
                .ids(sent.all, ++number, 0)
                .number(2, sent.all)
                .text(3, "module")
                .number(4, 8)
                .text(1, "text of a message")
                .bytes());
        if (random() % 2 == 0)
            bytes[random() % bytes.size()] = static_cast<std::uint8_t>(random());
        ++sent.mayBeMessages;
        peer.send(bytes, to);
    }
    return sent;
}

} // namespace zuLogging::test
