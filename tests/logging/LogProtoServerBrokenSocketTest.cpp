// What the receiving thread does when the system refuses its calls. The server's own descriptor is
// replaced under its feet, always on the receiving thread itself, which nothing else can do.

#include "logging/LogProtoServer.h"

#include "platform/Trace.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/UdpPeer.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <string_view>

namespace zuLogging::test {
namespace {

constexpr char prefix[] = "Error while processing log protocol requests (";

int descriptorBoundTo(const SocketAddress& address)
{
    for (int descriptor = 3; descriptor < 1024; ++descriptor) {
        sockaddr_in bound{};
        socklen_t length = sizeof bound;
        if (::getsockname(descriptor, reinterpret_cast<sockaddr*>(&bound), &length) == 0 &&
            bound.sin_family == AF_INET && ntohs(bound.sin_port) == address.port)
            return descriptor;
    }
    return -1;
}

/// Command 1 puts a file where the socket was, command 2 nothing at all; both keep the socket
/// aside. It comes back with the sixth failure that is traced.
class Server final : public LogProtoServer<LogMsgProtocol>
{
public:
    Server()
        : descriptor_(descriptorBoundTo(boundAddress()))
        , previous_(platform::setTraceHandler([this](std::string_view text) { traced(text); }))
    {
        start();
    }
    ~Server() override
    {
        stop();
        platform::setTraceHandler(previous_);
    }

    std::atomic<int> sendFailures{0};
    std::atomic<int> receiveFailures{0};
    std::atomic<int> waitFailures{0};
    std::atomic<long long> brokenForMs{-1};

protected:
    void process(const Packet& request, std::size_t, Packet& acknowledge) override
    {
        acknowledge.setHeader(acknowledgeOf(request.header(), PacketStatus::Success));
        if (request.header().command == 273)
            return;
        kept_ = ::dup(descriptor_);
        if (request.header().command == 1) {
            const int file = ::open("/dev/null", O_RDWR);
            ::dup2(file, descriptor_);
            ::close(file);
        } else {
            ::close(descriptor_);
        }
        failures_ = 0;
        brokenSince_ = std::chrono::steady_clock::now();
    }
    void idle() override {}

private:
    void traced(std::string_view text)
    {
        if (text == "\n")
            return;
        const auto startsWith = [&](const std::string& start) {
            return text.substr(0, start.size()) == start && text.size() > start.size();
        };
        if (startsWith(std::string(prefix) + "send): "))
            ++sendFailures;
        else if (startsWith(std::string(prefix) + "recv): "))
            ++receiveFailures;
        else if (startsWith(std::string(prefix) + "select): "))
            ++waitFailures;
        if (kept_ >= 0 && ++failures_ == 6) {
            ::dup2(kept_, descriptor_);
            ::close(kept_);
            kept_ = -1;
            brokenForMs.store(std::chrono::duration_cast<std::chrono::milliseconds>(
                                  std::chrono::steady_clock::now() - brokenSince_)
                                  .count());
        }
    }

    int descriptor_;
    int kept_ = -1;
    int failures_ = 0;
    std::chrono::steady_clock::time_point brokenSince_;
    platform::TraceHandler previous_;
};

class LogProtoServerBrokenSocketTest : public ::testing::Test
{
protected:
    void breakIt(std::uint16_t command)
    {
        peer.send(datagram({magicLogMessage, 0, command, 0, 1, 0}, 12), to);
        ASSERT_TRUE(waitFor([&] { return server.brokenForMs.load() >= 0; }));
    }

    Server server;
    UdpPeer peer;
    const SocketAddress to = server.boundAddress();
};

TEST_F(LogProtoServerBrokenSocketTest, SendAndReceiveErrorsAreTracedAndDoNotEndTheThread)
{
    breakIt(1);
    EXPECT_TRUE(peer.nextAnswerIsToPing(to));
    EXPECT_EQ(server.sendFailures.load(), 1);
    EXPECT_EQ(server.receiveFailures.load(), 5);
}

TEST_F(LogProtoServerBrokenSocketTest, WaitErrorsAreTracedAndDoNotEndTheThread)
{
    breakIt(2);
    EXPECT_TRUE(peer.nextAnswerIsToPing(to));
    EXPECT_EQ(server.sendFailures.load(), 1);
    EXPECT_EQ(server.waitFailures.load(), 5);
}

TEST_F(LogProtoServerBrokenSocketTest, ASocketThatOnlyFailsDoesNotSpinTheThread)
{
    breakIt(1);
    // Four failures at once, then a pause before each further one.
    EXPECT_GE(server.brokenForMs.load(), 90);
}

} // namespace
} // namespace zuLogging::test
