// What the sockets of server and client are set to, as the system tells.

#include "logging/LogClient.h"
#include "platform/Udp.h"
#include "tests/support/ListenerUnderTest.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <optional>

namespace zuLogging::test {
namespace {

constexpr int wantedBuffer = 0x20000;

/// The descriptor of this process's UDP socket with this port.
std::optional<int> socketWithPort(std::uint16_t port)
{
    constexpr int descriptors = 1024;
    for (int descriptor = 0; descriptor < descriptors; ++descriptor) {
        sockaddr_in address{};
        socklen_t length = sizeof address;
        if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
            address.sin_family == AF_INET && ntohs(address.sin_port) == port)
            return descriptor;
    }
    return std::nullopt;
}

int bufferOf(int descriptor, int which)
{
    int size = 0;
    socklen_t length = sizeof size;
    EXPECT_EQ(::getsockopt(descriptor, SOL_SOCKET, which, &size, &length), 0);
    return size;
}

/// What the system makes of the wish: twice as much, or what it allows.
int bufferOnceWanted(int which)
{
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM, 0);
    EXPECT_GE(descriptor, 0);
    const int before = bufferOf(descriptor, which);
    EXPECT_EQ(::setsockopt(descriptor, SOL_SOCKET, which, &wantedBuffer, sizeof wantedBuffer), 0);
    const int size = bufferOf(descriptor, which);
    EXPECT_NE(size, before); // or nothing could be told from it
    ::close(descriptor);
    return size;
}

void expectSettings(std::uint16_t port)
{
    const std::optional<int> descriptor = socketWithPort(port);
    ASSERT_TRUE(descriptor);
    EXPECT_EQ(bufferOf(*descriptor, SO_RCVBUF), bufferOnceWanted(SO_RCVBUF));
    EXPECT_EQ(bufferOf(*descriptor, SO_SNDBUF), bufferOnceWanted(SO_SNDBUF));
    EXPECT_NE(::fcntl(*descriptor, F_GETFL) & O_NONBLOCK, 0);
}

TEST(SocketSettings, AServersSocketHasLargeBuffersAndNeverBlocks)
{
    const ListenerUnderTest listener(SinkList{});
    expectSettings(listener.boundAddress().port);
}

TEST(SocketSettings, AClientsSocketHasLargeBuffersAndNeverBlocks)
{
    platform::UdpSocket service;
    ASSERT_TRUE(service.open() && service.bind({platform::loopbackAddress, 0}));
    LogClient client(service.boundAddress().value());
    Packet noReply;
    client.execute(makeRequest(magicLogMessage, 273, nullptr, 0, flagNoAcknowledge), noReply);
    ASSERT_EQ(service.waitReadable(std::chrono::seconds(10)), platform::WaitResult::Readable);
    std::uint8_t buffer[maximumPacket];
    const platform::ReceivedDatagram arrived = service.receive(buffer, sizeof buffer);
    ASSERT_TRUE(arrived.sender);
    expectSettings(arrived.sender->port);
}

} // namespace
} // namespace zuLogging::test
