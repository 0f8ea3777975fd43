#include "client/ServiceLink.h"

#include "logging/ConnectionInfo.h"
#include "platform/SharedMemory.h"
#include "tests/support/FakeLogServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>

namespace zuLogging::client {
namespace {

using namespace std::chrono_literals;
using test::FakeLogServer;
using Outcome = ServiceLink::Outcome;

constexpr int message = 257;
constexpr int noOperation = 273;

class Link : public ::testing::Test
{
protected:
    Link()
        : name_(connectionInfoName())
        , link_(socket_, wake_, stop_, name_)
    {
        EXPECT_TRUE(socket_.open() && socket_.setNonBlocking());
    }

    void publish(const SocketAddress& address)
    {
        publisher_.withdraw();
        ASSERT_EQ(publisher_.publish(name_, encodeConnectionInfo(address)),
                  platform::SharedMemoryPublisher::Result::Published);
    }

    static std::vector<Packet> packets(std::size_t count)
    {
        std::vector<Packet> made;
        for (std::size_t i = 0; i < count; ++i)
            made.push_back(makeRequest(magicLogMessage, message, &i, sizeof i, flagNoAcknowledge));
        return made;
    }

    static bool isQuestion(const FakeLogServer::Request& request)
    {
        return request.header().command == noOperation && request.header().flags == 0;
    }

    std::string name_;
    platform::UdpSocket socket_;
    platform::WakeSignal wake_;
    StopRequest stop_;
    platform::SharedMemoryPublisher publisher_;
    ServiceLink link_;
};

TEST_F(Link, WithoutARecordThereIsNoService)
{
    EXPECT_FALSE(link_.connect());
    EXPECT_FALSE(link_.service());
}

TEST_F(Link, ARecordThatAKilledServiceLeftBehindIsNoService)
{
    SocketAddress gone;
    {
        FakeLogServer server;
        gone = server.address();
    }
    publish(gone);
    EXPECT_FALSE(link_.connect());
}

TEST_F(Link, OneQuestionBehindTheMessagesIsAnsweredForAllOfThem)
{
    FakeLogServer server([](FakeLogServer& self, const FakeLogServer::Request& request) {
        if (isQuestion(request))
            self.acknowledge(request);
    });
    publish(server.address());
    ASSERT_TRUE(link_.connect());
    EXPECT_EQ(link_.deliver(packets(ServiceLink::windowSize)), Outcome::Taken);
    std::vector<int> expected{noOperation}; // somebody is there
    expected.insert(expected.end(), ServiceLink::windowSize, message);
    expected.push_back(noOperation);
    EXPECT_EQ(server.commands(), expected);
}

TEST_F(Link, AServiceThatDoesNotKnowTheQuestionAnswersItToo)
{
    FakeLogServer server([](FakeLogServer& self, const FakeLogServer::Request& request) {
        if (isQuestion(request))
            self.acknowledge(request, {}, PacketStatus::BadPacket);
    });
    publish(server.address());
    ASSERT_TRUE(link_.connect());
    EXPECT_EQ(link_.deliver(packets(1)), Outcome::Taken);
}

TEST_F(Link, ASlowServiceIsAskedAgainAndGetsNoMessageTwice)
{
    // It answers the first question only when the second one has come.
    std::vector<FakeLogServer::Request> questions;
    FakeLogServer server([&](FakeLogServer& self, const FakeLogServer::Request& request) {
        if (!isQuestion(request))
            return;
        questions.push_back(request);
        if (questions.size() == 2)
            self.acknowledge(questions[0]);
    });
    publish(server.address());
    ASSERT_TRUE(link_.connect());
    EXPECT_EQ(link_.deliver(packets(3)), Outcome::Taken);
    const std::vector<int> commands = server.commands();
    EXPECT_EQ(std::count(commands.begin(), commands.end(), message), 3);
}

TEST_F(Link, WhenOnlyALaterQuestionIsAnsweredTheMessagesWereLost)
{
    std::atomic<int> questions{0};
    FakeLogServer server([&](FakeLogServer& self, const FakeLogServer::Request& request) {
        if (isQuestion(request) && ++questions == 2)
            self.acknowledge(request);
    });
    publish(server.address());
    ASSERT_TRUE(link_.connect());
    EXPECT_EQ(link_.deliver(packets(3)), Outcome::Lost);
    EXPECT_TRUE(link_.service()) << "it is there";
}

TEST_F(Link, AnswersOfStrangersAndOldAnswersCountForNothing)
{
    FakeLogServer stranger;
    std::atomic<int> questions{0};
    FakeLogServer server([&](FakeLogServer& self, const FakeLogServer::Request& request) {
        if (!isQuestion(request))
            return;
        if (++questions == 1) {
            PacketHeader old = acknowledgeOf(request.header(), PacketStatus::Success);
            old.sequence = static_cast<std::uint16_t>(old.sequence - 1);
            self.send(FakeLogServer::packet(old), request.sender);
            PacketHeader other = acknowledgeOf(request.header(), PacketStatus::Success);
            other.magic = magicLogClient;
            self.send(FakeLogServer::packet(other), request.sender);
            self.send({1, 2, 3}, request.sender);
            stranger.acknowledge(request);
        } else {
            self.acknowledge(request);
        }
    });
    publish(server.address());
    ASSERT_TRUE(link_.connect());
    EXPECT_EQ(link_.deliver(packets(1)), Outcome::Lost)
        << "the only answer that counts is the one to the second question";
}

TEST_F(Link, AServiceThatEndedIsGone)
{
    auto server = std::make_unique<FakeLogServer>();
    publish(server->address());
    ASSERT_TRUE(link_.connect());
    server.reset();
    EXPECT_EQ(link_.deliver(packets(2)), Outcome::Gone);
    EXPECT_FALSE(link_.service());
}

TEST_F(Link, AServiceThatCameBackElsewhereIsAnotherOne)
{
    FakeLogServer silent;
    publish(silent.address());
    ASSERT_TRUE(link_.connect());
    EXPECT_FALSE(link_.hasMoved());
    FakeLogServer second;
    publish(second.address());
    EXPECT_TRUE(link_.hasMoved());
    EXPECT_EQ(link_.deliver(packets(1)), Outcome::Gone);
    ASSERT_TRUE(link_.connect());
    EXPECT_EQ(link_.service(), second.address());
}

TEST_F(Link, ADeadlineEndsTheWaitForASilentService)
{
    FakeLogServer silent;
    publish(silent.address());
    ASSERT_TRUE(link_.connect());
    auto outcome = std::async(std::launch::async, [&] { return link_.deliver(packets(1)); });
    ASSERT_TRUE(silent.waitForRequests(3));
    const auto begin = StopRequest::Clock::now();
    stop_.make(begin + 50ms);
    wake_.raise();
    EXPECT_EQ(outcome.get(), Outcome::Abandoned);
    EXPECT_GE(StopRequest::Clock::now() - begin, 50ms);
    EXPECT_LT(StopRequest::Clock::now() - begin, 5s);
}

} // namespace
} // namespace zuLogging::client
