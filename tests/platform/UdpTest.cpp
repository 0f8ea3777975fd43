#include "platform/Udp.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <netinet/in.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using namespace zuLogging::platform;
using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;
using Clock = std::chrono::steady_clock;

static_assert(!std::is_copy_constructible_v<UdpSocket> && !std::is_copy_assignable_v<UdpSocket>);

class Udp : public ::testing::Test
{
protected:
    UdpSocket sender_;
    UdpSocket receiver_;
    SocketAddress from_;
    SocketAddress to_;

    void SetUp() override
    {
        for (auto* end : {&sender_, &receiver_}) {
            ASSERT_TRUE(end->open());
            ASSERT_TRUE(end->bind({loopbackAddress, 0}));
        }
        ASSERT_TRUE(receiver_.setReceiveBufferSize(0x100000));
        from_ = sender_.boundAddress().value();
        to_ = receiver_.boundAddress().value();
    }

    void send(std::size_t length, std::uint8_t fill = 7)
    {
        const Bytes bytes(length, fill);
        ASSERT_TRUE(sender_.send(bytes.data(), bytes.size(), to_));
    }
};

TEST_F(Udp, ASocketBoundToPort0GetsAPortOfTheSystems)
{
    EXPECT_EQ(to_.address, loopbackAddress);
    EXPECT_NE(to_.port, 0);
    EXPECT_NE(to_, from_);
}

TEST_F(Udp, APortCanBeBoundOnce)
{
    UdpSocket other;
    ASSERT_TRUE(other.open());
    EXPECT_FALSE(other.bind(to_));
    EXPECT_EQ(lastSocketErrorText(), "Address already in use");
}

TEST_F(Udp, ADescriptorIsNotInheritedByPrograms)
{
    EXPECT_NE(::fcntl(receiver_.handle(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(Udp, ADatagramArrivesWithItsSender)
{
    send(5, 9);
    ASSERT_EQ(receiver_.waitReadable(10s), WaitResult::Readable);
    Bytes buffer(100);
    const ReceivedDatagram datagram = receiver_.receive(buffer.data(), buffer.size());
    EXPECT_EQ(datagram.result, ReceiveResult::Datagram);
    EXPECT_EQ(datagram.length, 5U);
    EXPECT_EQ(datagram.sender, from_);
    EXPECT_EQ(Bytes(buffer.begin(), buffer.begin() + 6), (Bytes{9, 9, 9, 9, 9, 0}));
}

TEST_F(Udp, AnEmptyDatagramIsADatagram)
{
    send(0);
    Bytes buffer(100);
    const ReceivedDatagram datagram = receiver_.receive(buffer.data(), buffer.size());
    EXPECT_EQ(datagram.result, ReceiveResult::Datagram);
    EXPECT_EQ(datagram.length, 0U);
}

TEST_F(Udp, ADatagramLongerThanTheBufferTellsItsLengthOnTheWire)
{
    Bytes buffer(1401, 0xEE);
    for (const std::size_t length : {1400U, 1401U, 9000U, 65507U}) {
        send(length);
        const ReceivedDatagram datagram = receiver_.receive(buffer.data(), 1400);
        EXPECT_EQ(datagram.result, ReceiveResult::Datagram);
        EXPECT_EQ(datagram.length, length);
        EXPECT_EQ(buffer[1400], 0xEE);
    }
}

TEST_F(Udp, ABatchTellsTheLengthOnTheWireOfADatagramLongerThanItsRoom)
{
    for (const std::size_t length : {1400U, 1401U, 9000U, 65507U, 12U})
        send(length, static_cast<std::uint8_t>(length));
    DatagramBatch batch(8, 1400);
    ASSERT_EQ(receiver_.waitReadable(10s), WaitResult::Readable);
    ASSERT_EQ(receiver_.receive(batch), ReceiveResult::Datagram);
    ASSERT_EQ(batch.size(), 5U);
    EXPECT_EQ(batch.length(0), 1400U);
    EXPECT_EQ(batch.length(1), 1401U);
    EXPECT_EQ(batch.length(2), 9000U);
    EXPECT_EQ(batch.length(3), 65507U);
    EXPECT_EQ(batch.length(4), 12U);
    for (std::size_t i = 0; i < batch.size(); ++i) {
        EXPECT_EQ(batch.sender(i), from_);
        EXPECT_EQ(batch.data(i)[0], static_cast<std::uint8_t>(batch.length(i)));
        EXPECT_EQ(batch.data(i)[11], static_cast<std::uint8_t>(batch.length(i)));
    }
}

TEST_F(Udp, ABatchTakesWhatFitsInTheOrderOfArrivalAndLeavesTheRest)
{
    for (std::uint8_t i = 0; i < 10; ++i)
        send(i, i);
    DatagramBatch batch(4, 100);
    std::uint8_t next = 0;
    for (const std::size_t expected : {4U, 4U, 2U}) {
        ASSERT_EQ(receiver_.receive(batch), ReceiveResult::Datagram);
        ASSERT_EQ(batch.size(), expected);
        for (std::size_t i = 0; i < batch.size(); ++i, ++next) {
            ASSERT_EQ(batch.length(i), next);
            EXPECT_EQ(Bytes(batch.data(i), batch.data(i) + next), Bytes(next, next));
            EXPECT_EQ(batch.sender(i), from_);
        }
    }
    EXPECT_EQ(receiver_.receive(batch), ReceiveResult::WouldBlock);
    EXPECT_EQ(batch.size(), 0U);
}

TEST_F(Udp, WhatIsSentTogetherArrivesInItsOrder)
{
    OutgoingBatch batch(10, 100);
    EXPECT_EQ(sender_.send(batch), 0U); // nothing to do
    for (int round = 0; round < 3; ++round) {
        for (std::uint8_t i = 0; i < 10; ++i) {
            EXPECT_FALSE(batch.isFull());
            ASSERT_TRUE(batch.add(Bytes(i, i).data(), i, to_));
        }
        EXPECT_TRUE(batch.isFull());
        EXPECT_FALSE(batch.add("x", 1, to_));
        EXPECT_EQ(sender_.send(batch), 0U);
        EXPECT_EQ(batch.size(), 0U);
        Bytes buffer(100);
        for (std::uint8_t i = 0; i < 10; ++i) {
            const ReceivedDatagram received = receiver_.receive(buffer.data(), buffer.size());
            ASSERT_EQ(received.length, i);
            EXPECT_EQ(Bytes(buffer.data(), buffer.data() + i), Bytes(i, i));
            EXPECT_EQ(received.sender, from_);
        }
    }
}

TEST_F(Udp, ADatagramThatCannotBeSentDoesNotKeepThoseBehindIt)
{
    const SocketAddress nowhere{loopbackAddress, 0};
    OutgoingBatch batch(8, 100);
    for (const char* text : {"a", "b"})
        ASSERT_TRUE(batch.add(text, 1, to_));
    ASSERT_TRUE(batch.add("x", 1, nowhere));
    ASSERT_TRUE(batch.add("y", 1, nowhere));
    ASSERT_TRUE(batch.add("c", 1, to_));
    EXPECT_EQ(sender_.send(batch), 2U);
    EXPECT_EQ(errno, EINVAL);
    Bytes buffer(100);
    for (const char expected : {'a', 'b', 'c'}) {
        ASSERT_EQ(receiver_.receive(buffer.data(), buffer.size()).length, 1U);
        EXPECT_EQ(buffer[0], expected);
    }
}

TEST_F(Udp, ADatagramThatIsTooLongForItsPlaceIsNotTakenIn)
{
    OutgoingBatch batch(2, 100);
    EXPECT_FALSE(batch.add(Bytes(101, 0).data(), 101, to_));
    EXPECT_EQ(batch.size(), 0U);
    EXPECT_TRUE(batch.add(Bytes(100, 0).data(), 100, to_));
}

TEST_F(Udp, WithoutASocketNothingOfABatchIsSent)
{
    UdpSocket closed;
    OutgoingBatch batch(2, 100);
    ASSERT_TRUE(batch.add("a", 1, to_));
    ASSERT_TRUE(batch.add("b", 1, to_));
    EXPECT_EQ(closed.send(batch), 2U);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(batch.size(), 0U);
}

TEST_F(Udp, WhereNothingHasArrivedANonBlockingReceiveSaysSo)
{
    ASSERT_TRUE(receiver_.setNonBlocking());
    Bytes buffer(10);
    EXPECT_EQ(receiver_.receive(buffer.data(), buffer.size()).result, ReceiveResult::WouldBlock);
}

TEST_F(Udp, AReceiveWithoutASocketFails)
{
    UdpSocket none;
    Bytes buffer(10);
    DatagramBatch batch(2, 10);
    EXPECT_EQ(none.receive(buffer.data(), buffer.size()).result, ReceiveResult::Failed);
    EXPECT_EQ(none.receive(batch), ReceiveResult::Failed);
    EXPECT_EQ(none.waitReadable(10s), WaitResult::Failed);
    EXPECT_FALSE(none.send("x", 1, to_));
    EXPECT_FALSE(none.bind({loopbackAddress, 0}));
    EXPECT_FALSE(none.boundAddress());
    EXPECT_FALSE(none.setNonBlocking());
    EXPECT_EQ(lastSocketErrorText(), "Bad file descriptor");
}

TEST_F(Udp, AWaitEndsWhenItsTimeIsOverAndNotBefore)
{
    const auto before = Clock::now();
    EXPECT_EQ(receiver_.waitReadable(30ms), WaitResult::TimedOut);
    EXPECT_GE(Clock::now() - before, 30ms);
    EXPECT_EQ(receiver_.waitReadable(0ms), WaitResult::TimedOut);
    EXPECT_EQ(receiver_.waitReadable(-5ms), WaitResult::TimedOut);
    send(1);
    EXPECT_EQ(receiver_.waitReadable(0ms), WaitResult::Readable);
    EXPECT_EQ(receiver_.waitReadable(std::chrono::milliseconds::max()), WaitResult::Readable);
}

TEST_F(Udp, ARaisedSignalEndsAWaitAtOnceAndCountsFirst)
{
    WakeSignal wake;
    std::thread other([&] { wake.raise(); });
    EXPECT_EQ(receiver_.waitReadable(10min, &wake), WaitResult::Woken);
    other.join();
    send(1);
    EXPECT_EQ(receiver_.waitReadable(0ms, &wake), WaitResult::Woken);
    wake.raise();
    EXPECT_EQ(receiver_.waitReadable(10min, &wake), WaitResult::Woken);
    EXPECT_EQ(receiver_.waitReadable(0ms), WaitResult::Readable);
}

TEST_F(Udp, AnInterruptedWaitKeepsItsDeadline)
{
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = [](int) {};
    ASSERT_EQ(::sigaction(SIGUSR1, &action, &before), 0);
    const pthread_t waiter = ::pthread_self();
    std::atomic<bool> over{false};
    std::atomic<int> sent{0};
    std::thread disturber([&] {
        // Waits on a socket of its own between the signals, which nobody sends to.
        UdpSocket quiet;
        quiet.open();
        quiet.bind({loopbackAddress, 0});
        while (!over) {
            ::pthread_kill(waiter, SIGUSR1);
            ++sent;
            quiet.waitReadable(1ms);
        }
    });
    const auto start = Clock::now();
    const WaitResult result = receiver_.waitReadable(100ms);
    const auto lasted = Clock::now() - start;
    over = true;
    disturber.join();
    ::sigaction(SIGUSR1, &before, nullptr);
    EXPECT_EQ(result, WaitResult::TimedOut);
    EXPECT_GT(sent, 1);
    EXPECT_GE(lasted, 100ms);
    EXPECT_LT(lasted, 10s);
}

TEST_F(Udp, AnErrorAboutAnEarlierDatagramIsNoData)
{
    // With this option the system reports every refused datagram to an unconnected socket too.
    const int on = 1;
    ASSERT_EQ(::setsockopt(receiver_.handle(), IPPROTO_IP, IP_RECVERR, &on, sizeof on), 0);
    ASSERT_TRUE(receiver_.setNonBlocking());
    const auto refuse = [&] {
        UdpSocket gone;
        ASSERT_TRUE(gone.open());
        ASSERT_TRUE(gone.bind({loopbackAddress, 0}));
        const SocketAddress nowhere = gone.boundAddress().value();
        gone.close();
        ASSERT_TRUE(receiver_.send("x", 1, nowhere));
    };
    Bytes buffer(10);
    DatagramBatch batch(2, 10);

    refuse();
    EXPECT_EQ(receiver_.receive(buffer.data(), buffer.size()).result, ReceiveResult::WouldBlock);
    refuse();
    EXPECT_EQ(receiver_.receive(batch), ReceiveResult::WouldBlock);
    refuse();
    EXPECT_TRUE(receiver_.send("x", 1, from_));

    refuse();
    send(3);
    const ReceivedDatagram datagram = receiver_.receive(buffer.data(), buffer.size());
    EXPECT_EQ(datagram.result, ReceiveResult::Datagram);
    EXPECT_EQ(datagram.length, 3U);
}

TEST_F(Udp, APendingErrorOfAConnectedSocketEndsNoWait)
{
    UdpSocket gone;
    ASSERT_TRUE(gone.open());
    ASSERT_TRUE(gone.bind({loopbackAddress, 0}));
    const SocketAddress nowhere = gone.boundAddress().value();
    gone.close();
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(nowhere.port);
    peer.sin_addr.s_addr = htonl(nowhere.address);
    ASSERT_EQ(::connect(receiver_.handle(), reinterpret_cast<const sockaddr*>(&peer), sizeof peer),
              0);
    ASSERT_EQ(::send(receiver_.handle(), "x", 1, 0), 1);
    const auto before = Clock::now();
    EXPECT_EQ(receiver_.waitReadable(50ms), WaitResult::TimedOut);
    EXPECT_GE(Clock::now() - before, 50ms);
}

TEST_F(Udp, AMovedSocketLeavesNothingBehind)
{
    const int handle = receiver_.handle();
    UdpSocket moved(std::move(receiver_));
    EXPECT_EQ(moved.handle(), handle);
    EXPECT_FALSE(receiver_.isOpen());
    UdpSocket assigned;
    ASSERT_TRUE(assigned.open());
    const int closed = assigned.handle();
    assigned = std::move(moved);
    EXPECT_EQ(assigned.handle(), handle);
    EXPECT_EQ(::fcntl(closed, F_GETFD), -1);
    assigned.close();
    EXPECT_FALSE(assigned.isOpen());
    EXPECT_EQ(::fcntl(handle, F_GETFD), -1);
}

TEST_F(Udp, OpeningAgainClosesTheFirst)
{
    EXPECT_TRUE(receiver_.open());
    UdpSocket other;
    ASSERT_TRUE(other.open());
    EXPECT_TRUE(other.bind(to_)) << "the port is free again";
}

TEST_F(Udp, ADatagramLargerThanAnyIsNotSent)
{
    const Bytes bytes(70000);
    EXPECT_FALSE(sender_.send(bytes.data(), bytes.size(), to_));
    EXPECT_EQ(lastSocketErrorText(), "Message too long");
}

TEST(SocketErrorText, WithoutAnErrorThereIsNoText)
{
    errno = 0;
    EXPECT_EQ(lastSocketErrorText(), "Unknown error");
}

TEST(Ipv4Text, AddressesAreInHostOrder)
{
    EXPECT_EQ(ipv4Text(loopbackAddress), "127.0.0.1");
    EXPECT_EQ(ipv4Text(0x01020304U), "1.2.3.4");
    EXPECT_EQ(parseIpv4("1.2.3.4"), 0x01020304U);
    EXPECT_EQ(parseIpv4("255.255.255.255"), 0xFFFFFFFFU);
    EXPECT_EQ(parseIpv4(std::string_view("1.2.3.4:5", 7)), 0x01020304U);
    for (const char* text : {"", "1.2.3", "1.2.3.4.5", "1.2.3.256", "1.2.3.4 ", "a.b.c.d", "1..2.3",
                             "01.2.3.4.", "1.2.3.-4"})
        EXPECT_EQ(parseIpv4(text), std::nullopt) << text;
    EXPECT_EQ(parseIpv4(std::string_view("1.2.3.4\0x", 9)), std::nullopt);
}

TEST(UdpSocket, TellsHowManyDatagramsItsFullBufferCost)
{
    UdpSocket receiver;
    ASSERT_TRUE(receiver.open());
    EXPECT_EQ(receiver.droppedCount(), 0U);
    ASSERT_TRUE(receiver.setReceiveBufferSize(0x2000));
    ASSERT_TRUE(receiver.setNonBlocking());
    ASSERT_TRUE(receiver.bind({loopbackAddress, 0}));
    UdpSocket sender;
    ASSERT_TRUE(sender.open());
    constexpr std::uint32_t sent = 500;
    const char text[] = "a datagram";
    for (std::uint32_t i = 0; i < sent; ++i)
        ASSERT_TRUE(sender.send(text, sizeof text, receiver.boundAddress().value()));
    std::uint32_t received = 0;
    std::array<char, 100> buffer{};
    while (receiver.receive(buffer.data(), buffer.size()).result == ReceiveResult::Datagram)
        ++received;
    EXPECT_GT(received, 0U);
    EXPECT_LT(received, sent);
    EXPECT_EQ(receiver.droppedCount(), sent - received);
    EXPECT_EQ(receiver.droppedCount(), sent - received) << "asking changes nothing";
}

TEST(UdpSocket, OneThatIsClosedTellsNothingOfItsLosses)
{
    UdpSocket socket;
    EXPECT_EQ(socket.droppedCount(), std::nullopt);
    ASSERT_TRUE(socket.open());
    socket.close();
    EXPECT_EQ(socket.droppedCount(), std::nullopt);
}

} // namespace
