// The parts of `zulog tail` in the test's own process, with pipes for its streams.

#include "tools/TailCommand.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogClient.h"
#include "logging/LogMessageContainerBuilder.h"
#include "logging/LogMessageSinkRecorder.h"
#include "logging/LogSvcError.h"
#include "platform/Process.h"
#include "tests/service/RawPeer.h"
#include "tests/service/RunningService.h"
#include "tests/support/FakeLogServer.h"
#include "tests/support/TestContainer.h"
#include "tests/support/TestEnvironment.h"
#include "tests/tools/ToolRun.h"
#include "tools/LogTail.h"
#include "tools/TailJsonSink.h"
#include "tools/TailTextSink.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

namespace zuLogging {
namespace {

using namespace std::chrono_literals;
using test::FakeLogServer;
using test::TestContainer;
using test::waitFor;

// --- One line of text

std::string lineOf(const TestContainer& container)
{
    std::string out;
    TailTextSink sink(out);
    sink.consume(container.view());
    return out;
}

std::string blanks(std::size_t count)
{
    return std::string(count, ' ');
}

TEST(TailTextSink, TheDefaultPatternHasFiveColumns)
{
    EXPECT_EQ(lineOf(TestContainer()
                         .number(2, 13247902147000000)
                         .text(3, "Module")
                         .number(4, 32)
                         .number(9, 4711)
                         .number(8, 99)
                         .text(5, "group")
                         .text(1, "the message")
                         .text(6, "file.cpp:1")),
              "              Module"
              "   13247902147000000"
              "                4711"
              "      32"
              "the message\n");
}

TEST(TailTextSink, AContainerWithoutAModuleItemStartsItsLineWith20Blanks)
{
    EXPECT_EQ(lineOf(TestContainer().number(2, 12345678901234567890U).text(1, "x")),
              blanks(20) + "12345678901234567890" + blanks(28) + "x\n");
}

TEST(TailTextSink, ALevelOf8IsWrittenAsSevenBlanksAnd8)
{
    EXPECT_EQ(lineOf(TestContainer().number(4, 8)), blanks(60) + "       8" + " \n");
}

TEST(TailTextSink, AModuleNameLongerThan20CharactersIsWrittenWhole)
{
    EXPECT_EQ(lineOf(TestContainer().text(3, "AModuleWithAVeryLongName").number(4, 1)),
              "AModuleWithAVeryLongName" + blanks(40) + "       1" + " \n");
}

TEST(TailTextSink, AContainerWithoutItemsIsALineOfBlanks)
{
    EXPECT_EQ(lineOf(TestContainer()), blanks(69) + "\n");
}

TEST(TailTextSink, ColumnsCountCharactersNotBytes)
{
    EXPECT_EQ(lineOf(TestContainer().text(3, "Gr\xC3\xB6\xC3\x9F"
                                             "e")),
              blanks(15) +
                  "Gr\xC3\xB6\xC3\x9F"
                  "e" +
                  blanks(49) + "\n");
}

/// The text's part of the line for it.
std::string shown(std::string_view text, std::uint8_t flags = 0)
{
    TestContainer container;
    container.number(2, 1).text(1, text, flags);
    const std::string line = lineOf(container);
    return line.substr(68, line.size() - 69);
}

TEST(TailTextSink, NoTextCanEndItsLineOrSteerATerminal)
{
    EXPECT_EQ(shown("one\ntwo\r\nthree"), "one\\ntwo\\r\\nthree");
    EXPECT_EQ(shown("\x1B[31mred"), "\\x1b[31mred");
    EXPECT_EQ(shown(std::string_view("\0\a\b\v\f\x7F", 6)), "\\x00\\x07\\x08\\x0b\\x0c\\x7f");
    EXPECT_EQ(shown("\xC2\x9B"
                    "31m\xC2\x85"),
              "\\x9b31m\\x85");
    EXPECT_EQ(shown("a\xE2\x80\xA8\xE2\x80\xA9\xE2\x80\xAE\xE2\x81\xA6z"),
              "a\\u2028\\u2029\\u202e\\u2066z");
    EXPECT_EQ(lineOf(TestContainer().text(3, "M\n").text(1, "x")),
              blanks(18) + "M\\n" + blanks(48) + "x\n");
}

TEST(TailTextSink, TabsAndEveryOtherCharacterStay)
{
    const std::string text = "a\tb\\n \xC2\xA0\xC3\xBF \xE6\xB8\xAC \xF0\x9F\x9A\x80 \xEF\xBF\xBF";
    EXPECT_EQ(shown(text), text);
}

TEST(TailTextSink, HalfASurrogatePairIsAReplacement)
{
    const auto wide = [](std::string_view bytes) { return shown(bytes, textFlagUtf16); };
    EXPECT_EQ(wide(std::string_view("\x3D\xD8", 2)), "\xEF\xBF\xBD");
    EXPECT_EQ(wide(std::string_view("\x00\xDE\x3D\xD8", 4)), "\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(wide(std::string_view("\x3D\xD8\x00\xDE", 4)), "\xF0\x9F\x98\x80");
}

TEST(TailTextSink, WhatCannotBeReadIsRaisedAndNothingIsWritten)
{
    std::string out = "before";
    TailTextSink sink(out);
    EXPECT_THROW(sink.consume(TestContainer().text(4, "1234").view()), LogSvcError);
    EXPECT_EQ(out, "before");
}

// --- One line of JSON

TEST(TailJsonSink, HasExactlyTheMembersOfTheJsonLog)
{
    std::string out;
    TailJsonSink sink(out);
    sink.consume(TestContainer()
                     .ids(1, 2, 3)
                     .number(2, 4)
                     .number(4, 4)
                     .number(8, 5)
                     .number(9, 6)
                     .text(3, "m")
                     .text(5, "g")
                     .text(6, "p")
                     .text(1, "a\n\x1B\"\xE6\xB8\xAC")
                     .view());
    EXPECT_THROW(sink.consume(TestContainer().text(4, "1234").view()), LogSvcError);
    sink.consume(TestContainer().view());
    const QList<QByteArray> lines = QByteArray::fromStdString(out).split('\n');
    ASSERT_EQ(lines.size(), 3);
    EXPECT_EQ(lines[2], QByteArray());
    const QJsonObject object = QJsonDocument::fromJson(lines[0]).object();
    const QJsonObject expected{
        {"ServiceMsgID", "3"}, {"SourceMsgID", "1"},
        {"SenderMsgID", "2"},  {"Timestamp", "4"},
        {"LogLevel", "warn"},  {"LogLevel [Hex]", "0x04"},
        {"ProcessID", "5"},    {"ThreadID", "6"},
        {"Module", "m"},       {"GroupName", "g"},
        {"LogPos", "p"},       {"LogMessage", QString::fromUtf8("a\n\x1B\"\xE6\xB8\xAC")}};
    EXPECT_EQ(object, expected);
    EXPECT_EQ(QJsonDocument::fromJson(lines[1]).object().keys(), expected.keys());
}

// --- The queue

TEST(TailQueue, GivesBackWhatItWasGivenInOrderAcrossItsPieces)
{
    int firsts = 0;
    TailQueue queue(TailQueue::pieceSize * 4, [&] { ++firsts; });
    TailQueue::Batch batch;
    EXPECT_FALSE(queue.take(batch));
    for (int round = 1; round <= 3; ++round) {
        std::vector<std::vector<std::uint8_t>> given;
        for (std::uint64_t i = 0; i < 700; ++i) {
            given.push_back(test::sampleContainer(i, std::string(i * 13 % 1200, 'x')));
            LogMessageContainerView view;
            view.data = given.back().data();
            view.length = given.back().size();
            queue.push(view);
        }
        EXPECT_EQ(firsts, round);
        ASSERT_TRUE(queue.take(batch));
        LogMessageContainerView view;
        for (const auto& bytes : given) {
            ASSERT_TRUE(batch.next(view));
            ASSERT_EQ(std::vector<std::uint8_t>(view.data, view.data + view.length), bytes);
        }
        EXPECT_FALSE(batch.next(view));
    }
    EXPECT_EQ(queue.received(), 2100U);
    EXPECT_EQ(queue.dropped(), 0U);
}

TEST(TailQueue, WhatIsBeyondItsBoundIsDroppedAndCounted)
{
    const std::vector<std::uint8_t> bytes = test::sampleContainer(1, std::string(98, 'x'));
    LogMessageContainerView view;
    view.data = bytes.data();
    view.length = bytes.size();
    TailQueue queue(10 * (bytes.size() + 2) + 1, [] {});
    for (int i = 0; i < 25; ++i)
        queue.push(view);
    EXPECT_EQ(queue.dropped(), 15U);
    TailQueue::Batch batch;
    ASSERT_TRUE(queue.take(batch));
    EXPECT_EQ(batch.left(), 10U);
    queue.push(view);
    EXPECT_EQ(queue.dropped(), 15U);
    EXPECT_EQ(queue.received(), 26U);
}

// --- A service that is none

/// Answers every request, and keeps where it was asked to forward to.
class StandIn
{
public:
    explicit StandIn(PacketStatus status = PacketStatus::Success)
        : status_(status)
        , server_([this](FakeLogServer& server, const FakeLogServer::Request& request) {
            if ((request.header().flags & flagNoAcknowledge) == 0 && isAnswering_)
                server.acknowledge(request, {}, status_);
        })
    {
        publish();
    }

    void publish()
    {
        publisher_.emplace();
        EXPECT_EQ(
            publisher_->publish(connectionInfoName(), encodeConnectionInfo(server_.address())),
            platform::SharedMemoryPublisher::Result::Published);
    }
    void withdraw() { publisher_.reset(); }
    void setAnswering(bool answering) { isAnswering_ = answering; }
    void setStatus(PacketStatus status) { status_ = status; }

    const platform::SocketAddress& address() const { return server_.address(); }
    std::string addressText() const { return socketAddressText(address()); }
    int requests(int command) const
    {
        const std::vector<int> all = server_.commands();
        return static_cast<int>(std::count(all.begin(), all.end(), command));
    }
    /// The payload of the first request with this command.
    std::string payload(int command) const
    {
        for (const FakeLogServer::Request& request : server_.requests())
            if (request.header().command == command)
                return {request.bytes.begin() + packetHeaderSize, request.bytes.end()};
        return {};
    }
    /// Where it was asked to forward to.
    platform::SocketAddress viewer() const
    {
        EXPECT_TRUE(waitFor([&] { return requests(289) + requests(292) > 0; }));
        return requests(289) > 0 ? parseSocketAddress(payload(289).substr(4))
                                 : parseSocketAddress(payload(292));
    }
    /// Sends a message, which is queued when this returns.
    static std::optional<PacketHeader> give(const platform::SocketAddress& viewer,
                                            const std::vector<std::uint8_t>& container,
                                            LogMessageCommand command = LogMessageCommand::Message)
    {
        return peer().ask(viewer, magicLogMessage, static_cast<std::uint16_t>(command),
                          {reinterpret_cast<const char*>(container.data()), container.size()});
    }

private:
    static test::RawPeer& peer()
    {
        static test::RawPeer one;
        return one;
    }

    std::atomic<PacketStatus> status_;
    std::atomic<bool> isAnswering_{true};
    std::optional<platform::SharedMemoryPublisher> publisher_;
    FakeLogServer server_;
};

// --- The subscription

const platform::SocketAddress someViewer{platform::loopbackAddress, 9};

TEST(TailSubscription, AsksForForwardingOrForReplayAndForwardingAndAtTheEndForNothingAnyMore)
{
    const StandIn service;
    TailSubscription plain(someViewer, false);
    EXPECT_EQ(service.payload(289), test::sinkPayload(4, "127.0.0.1:9"));
    TailSubscription replay(someViewer, true);
    EXPECT_EQ(service.payload(292), "127.0.0.1:9");
    EXPECT_EQ(service.requests(289), 1);
    EXPECT_EQ(service.requests(290), 0);
    plain.end();
    EXPECT_EQ(service.requests(290), 1);
    EXPECT_EQ(service.payload(290), test::sinkPayload(4, "127.0.0.1:9"));
}

TEST(TailSubscription, ARefusalIsAnErrorAndLeavesNothingBehind)
{
    const StandIn service(PacketStatus::Failed);
    EXPECT_THROW(TailSubscription(someViewer, false), LogSvcError);
    EXPECT_TRUE(waitFor([&] { return service.requests(290) == 1; }));
}

/// Calls `keep` until it tells something, at most `calls` times.
std::string toldWithin(TailSubscription& subscription, unsigned calls, bool heard = false)
{
    std::string told;
    for (unsigned i = 0; i < calls && told.empty(); ++i)
        told = subscription.keep(heard);
    return told;
}

/// Calls `keep` until it tells something, waiting for the service's answers.
std::string toldInTime(TailSubscription& subscription)
{
    std::string told;
    waitFor([&] {
        told = subscription.keep(false);
        return !told.empty();
    });
    return told;
}

TEST(TailSubscription, AServiceThatAnswersIsNeverSaidToBeGone)
{
    const StandIn service;
    TailSubscription subscription(someViewer, false);
    for (int i = 1; i <= 200; ++i) {
        EXPECT_EQ(subscription.keep(false), "");
        ASSERT_TRUE(waitFor([&] { return service.requests(289) == i + 1; }));
    }
    EXPECT_EQ(subscription.period(), TailSubscription::calmPeriod);
}

TEST(TailSubscription, AServiceThatIsBusySendingIsNeverSaidToBeGone)
{
    StandIn service;
    TailSubscription subscription(someViewer, false);
    service.setAnswering(false);
    EXPECT_EQ(toldWithin(subscription, 100, true), "");
}

TEST(TailSubscription, AServiceThatDoesNotAnswerIsSaidToBeSilentAfterAWhileAndBackWhenItDoes)
{
    StandIn service;
    TailSubscription subscription(someViewer, false);
    service.setAnswering(false);
    EXPECT_EQ(toldWithin(subscription, TailSubscription::patience), "");
    EXPECT_EQ(toldWithin(subscription, 1), "the log service at " + service.addressText() +
                                               " does not answer any more; waiting for it to come "
                                               "back");
    EXPECT_EQ(subscription.period(), TailSubscription::waitingPeriod);
    EXPECT_EQ(toldWithin(subscription, 20), ""); // once is enough
    service.setAnswering(true);
    EXPECT_EQ(toldInTime(subscription), "the log service is back at " + service.addressText() +
                                            "; showing its messages again");
    // It was never asked to stop, so nothing is lost and nothing comes twice.
    EXPECT_EQ(service.requests(290), 0);
    EXPECT_EQ(service.requests(292), 0);
}

TEST(TailSubscription, AServiceWhoseSocketIsClosedIsGoneAtOnceAndItsEndIsNotWaitedFor)
{
    std::optional<StandIn> service(std::in_place);
    const std::string address = service->addressText();
    TailSubscription subscription(someViewer, false);
    service.reset();
    EXPECT_EQ(subscription.keep(true),
              "the log service at " + address + " has gone; waiting for it to come back");
    EXPECT_EQ(toldWithin(subscription, 20), "");
    const auto begin = std::chrono::steady_clock::now();
    subscription.end();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 400ms);
}

TEST(TailSubscription, AServiceThatComesBackElsewhereIsSubscribedAtWithoutReplay)
{
    std::optional<StandIn> first(std::in_place);
    TailSubscription subscription(someViewer, true);
    first.reset();
    ASSERT_NE(subscription.keep(false), "");
    const StandIn second;
    EXPECT_EQ(toldInTime(subscription), "the log service was started anew at " +
                                            second.addressText() + "; showing its messages again");
    EXPECT_EQ(second.payload(289), test::sinkPayload(4, "127.0.0.1:9"));
    EXPECT_EQ(second.requests(292), 0);
    EXPECT_EQ(subscription.service(), second.address());
    subscription.end();
    EXPECT_EQ(second.requests(290), 1);
}

TEST(TailSubscription, AServiceThatAnotherOneReplacesIsAskedToStop)
{
    StandIn first;
    TailSubscription subscription(someViewer, false);
    first.withdraw();
    const StandIn second;
    EXPECT_NE(toldInTime(subscription), "");
    EXPECT_TRUE(waitFor([&] { return first.requests(290) == 1; }));
    EXPECT_EQ(second.requests(290), 0);
}

TEST(TailSubscription, ARefusalLaterOnIsToldOnceAndAskedAgain)
{
    StandIn service;
    TailSubscription subscription(someViewer, false);
    service.setStatus(PacketStatus::Failed);
    EXPECT_EQ(toldInTime(subscription), "the log service at " + service.addressText() +
                                            " refuses to send its messages; asking again");
    EXPECT_EQ(toldWithin(subscription, 20), "");
    service.setStatus(PacketStatus::Success);
    EXPECT_EQ(toldInTime(subscription), "the log service is back at " + service.addressText() +
                                            "; showing its messages again");
}

// --- All of it together

/// What is written at one end is read at the other, without waiting.
class Stream
{
public:
    Stream()
    {
        std::array<int, 2> ends{-1, -1};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        reader_ = ends[0];
        writer_ = ends[1];
        ::fcntl(reader_, F_SETFL, O_NONBLOCK);
    }
    ~Stream()
    {
        closeReader();
        ::close(writer_);
    }
    void closeReader()
    {
        if (reader_ >= 0)
            ::close(reader_);
        reader_ = -1;
    }
    int writer() const { return writer_; }

    /// All that has come so far.
    const std::string& text()
    {
        std::array<char, 65536> buffer;
        for (;;) {
            const ssize_t got = ::read(reader_, buffer.data(), buffer.size());
            if (got <= 0)
                return text_;
            text_.append(buffer.data(), static_cast<std::size_t>(got));
        }
    }
    std::size_t lineCount()
    {
        const std::string& all = text();
        return static_cast<std::size_t>(std::count(all.begin(), all.end(), '\n'));
    }
    /// The message texts of the lines.
    QStringList messages()
    {
        QStringList result;
        for (const QString& line : QString::fromStdString(text()).split('\n'))
            result.append(line.mid(68));
        result.removeLast();
        return result;
    }

private:
    int reader_ = -1;
    int writer_ = -1;
    std::string text_;
};

/// A LogTail on a thread of its own.
class RunningTail
{
public:
    explicit RunningTail(const LogTail::Options& options = {})
        : outChannel_((platform::ignoreBrokenPipes(), out.writer()))
        , errChannel_(err.writer())
        , tail_(options, outChannel_, errChannel_)
        , thread_([this] { run(); })
    {
    }
    ~RunningTail()
    {
        tail_.stop();
        tail_.abandon();
        if (thread_.joinable())
            thread_.join();
    }

    LogTail& tail() { return tail_; }
    /// What it threw; empty when it ended well.
    std::string end()
    {
        tail_.stop();
        return waitForEnd();
    }
    std::string waitForEnd()
    {
        EXPECT_TRUE(waitFor([this] { return hasEnded(); }, 30000));
        tail_.stop();
        tail_.abandon();
        thread_.join();
        return error_;
    }
    bool hasEnded() const { return hasEnded_; }

    Stream out;
    Stream err;

private:
    void run()
    {
        try {
            tail_.follow();
            tail_.finish();
        } catch (const std::exception& error) {
            error_ = error.what();
        }
        hasEnded_ = true;
    }

    platform::OutputChannel outChannel_;
    platform::OutputChannel errChannel_;
    LogTail tail_;
    std::atomic<bool> hasEnded_{false};
    std::string error_;
    std::thread thread_;
};

LogTail::Options optionsWith(std::uint64_t count)
{
    LogTail::Options options;
    options.count = count;
    return options;
}

QString number(std::uint64_t value)
{
    return QString::number(value);
}

/// Sends messages with acknowledges; their texts are the numbers.
void deliver(LogClient& client, std::uint64_t from, std::uint64_t to)
{
    for (std::uint64_t i = from; i <= to; ++i) {
        const auto bytes = test::sampleContainer(i, std::to_string(i));
        LogMessageContainerView view;
        view.data = bytes.data();
        view.length = bytes.size();
        client.deliver(view);
    }
}

QStringList numbers(std::uint64_t from, std::uint64_t to)
{
    QStringList result;
    for (std::uint64_t i = from; i <= to; ++i)
        result.append(number(i));
    return result;
}

/// Sends single messages until one is shown: then the subscription is known to stand.
void waitUntilShown(RunningTail& tail, const platform::SocketAddress& service)
{
    LogClient client(service);
    const std::size_t before = tail.out.lineCount();
    EXPECT_TRUE(waitFor([&] {
        deliver(client, 0, 0);
        return tail.out.lineCount() > before;
    }));
}

TEST(LogTail, FiveThousandMessagesArriveWholeAndInOrder)
{
    const test::RunningService service;
    RunningTail tail(optionsWith(0));
    waitUntilShown(tail, service.address());
    LogClient client(service.address());
    deliver(client, 1, 5000);
    EXPECT_TRUE(waitFor([&] { return tail.out.messages().endsWith(number(5000)); }));
    EXPECT_EQ(tail.end(), "");
    QStringList shownTexts = tail.out.messages();
    shownTexts.removeAll(number(0));
    EXPECT_EQ(shownTexts, numbers(1, 5000));
    EXPECT_EQ(tail.err.text(), "");
}

TEST(LogTail, WhatWasRecordedComesFirstAndThenWhatIsNewWithoutAGap)
{
    const test::RunningService service({std::make_shared<LogMessageSinkRecorder>()});
    LogClient client(service.address());
    deliver(client, 1, 1500);
    LogTail::Options options;
    options.replay = true;
    RunningTail tail(options);
    ASSERT_TRUE(waitFor([&] { return tail.out.lineCount() >= 1; }));
    deliver(client, 1501, 2500);
    EXPECT_TRUE(waitFor([&] { return tail.out.lineCount() >= 2000; }));
    EXPECT_EQ(tail.end(), "");
    // Live ones may come before the end of the replay, but each comes once.
    QStringList shownTexts = tail.out.messages();
    EXPECT_EQ(shownTexts.first(), number(501));
    std::sort(shownTexts.begin(), shownTexts.end(),
              [](const QString& a, const QString& b) { return a.toInt() < b.toInt(); });
    EXPECT_EQ(shownTexts, numbers(501, 2500));
}

TEST(LogTail, EachMessageIsShownAtOnce)
{
    const StandIn service;
    RunningTail tail;
    const platform::SocketAddress viewer = service.viewer();
    for (std::size_t i = 1; i <= 20; ++i) {
        StandIn::give(viewer, test::sampleContainer(i, std::to_string(i)));
        ASSERT_TRUE(waitFor([&] { return tail.out.lineCount() == i; }, 900));
    }
}

TEST(LogTail, AfterTheCountItUnsubscribesAndEnds)
{
    const StandIn service;
    RunningTail tail(optionsWith(3));
    const platform::SocketAddress viewer = service.viewer();
    for (std::uint64_t i = 1; i <= 3; ++i)
        StandIn::give(viewer, test::sampleContainer(i, std::to_string(i)));
    EXPECT_EQ(tail.waitForEnd(), "");
    EXPECT_EQ(tail.out.messages(), numbers(1, 3));
    EXPECT_EQ(service.requests(290), 1);
    EXPECT_EQ(service.payload(290), test::sinkPayload(4, socketAddressText(viewer)));
    EXPECT_EQ(tail.err.text(), "");
}

TEST(LogTail, NotMoreThanTheCountIsShownWhateverWaits)
{
    const StandIn service;
    LogTail::Options options = optionsWith(5000);
    RunningTail tail(options);
    const platform::SocketAddress viewer = service.viewer();
    for (std::uint64_t i = 1; i <= 3000; ++i)
        StandIn::give(viewer, test::sampleContainer(i, std::string(40, 'x')));
    // The pipe is full; what follows waits with more than the count.
    for (std::uint64_t i = 3001; i <= 6000; ++i)
        StandIn::give(viewer, test::sampleContainer(i, std::string(40, 'x')));
    EXPECT_TRUE(waitFor([&] { return tail.out.lineCount() == 5000; }));
    EXPECT_EQ(tail.waitForEnd(), "");
    EXPECT_EQ(tail.out.lineCount(), 5000U);
    EXPECT_EQ(tail.err.text(), "");
}

TEST(LogTail, MessagesThatHadArrivedBeforeTheStopAreStillWritten)
{
    const StandIn service;
    RunningTail tail;
    const platform::SocketAddress viewer = service.viewer();
    for (std::uint64_t i = 1; i <= 3000; ++i)
        StandIn::give(viewer, test::sampleContainer(i, std::string(100, 'x')));
    tail.tail().stop(); // most of it does not fit into the pipe
    EXPECT_TRUE(waitFor([&] { return tail.out.lineCount() == 3000; }));
    EXPECT_EQ(tail.waitForEnd(), "");
    EXPECT_EQ(service.requests(290), 1);
    EXPECT_EQ(tail.err.text(), "");
}

TEST(LogTail, AReaderThatTakesNothingIsNotWaitedForAfterTheStop)
{
    const StandIn service;
    LogTail::Options options;
    options.lastPatience = 100ms;
    RunningTail tail(options);
    const platform::SocketAddress viewer = service.viewer();
    for (std::uint64_t i = 1; i <= 3000; ++i)
        StandIn::give(viewer, test::sampleContainer(i, std::string(100, 'x')));
    EXPECT_EQ(tail.end(), "");
    EXPECT_EQ(service.requests(290), 1);
    const std::size_t lines = tail.out.lineCount();
    EXPECT_LT(lines, 3000U);
    EXPECT_EQ(tail.err.text(), "zulog: " + std::to_string(3000 - lines) +
                                   " messages that had arrived could not be written any more\n");
}

TEST(LogTail, ASecondRequestDoesNotWaitForTheReaderAtAll)
{
    const StandIn service;
    LogTail::Options options;
    options.lastPatience = 10min;
    RunningTail tail(options);
    const platform::SocketAddress viewer = service.viewer();
    for (std::uint64_t i = 1; i <= 3000; ++i)
        StandIn::give(viewer, test::sampleContainer(i, std::string(100, 'x')));
    tail.tail().stop();
    EXPECT_TRUE(waitFor([&] { return service.requests(290) == 1; }));
    EXPECT_FALSE(tail.hasEnded());
    tail.tail().abandon();
    EXPECT_EQ(tail.waitForEnd(), "");
}

TEST(LogTail, ASlowReaderLosesNothingThatFitsIntoTheBound)
{
    const StandIn service;
    RunningTail tail;
    const platform::SocketAddress viewer = service.viewer();
    for (std::uint64_t i = 1; i <= 2000; ++i)
        StandIn::give(viewer, test::sampleContainer(i, std::to_string(i) + std::string(1000, '.')));
    EXPECT_TRUE(waitFor([&] { return tail.out.lineCount() == 2000; }));
    EXPECT_EQ(tail.end(), "");
    const QStringList texts = tail.out.messages();
    for (int i = 0; i < texts.size(); ++i)
        ASSERT_EQ(texts[i], number(static_cast<std::uint64_t>(i) + 1) + QString(1000, '.'));
    EXPECT_EQ(tail.err.text(), "");
}

TEST(LogTail, WhatDoesNotFitIsDroppedToldWhileItHappensAndAtTheEnd)
{
    const StandIn service;
    LogTail::Options options;
    options.queueLimit = 20000;
    RunningTail tail(options);
    const platform::SocketAddress viewer = service.viewer();
    for (std::uint64_t i = 1; i <= 1000; ++i)
        StandIn::give(viewer, test::sampleContainer(i, std::string(1000, 'x')));
    const QString soFar = QStringLiteral("dropped so far\n");
    EXPECT_TRUE(waitFor([&] { return QString::fromStdString(tail.err.text()).endsWith(soFar); }));
    // Each look asks the service again; the number is not told again while it stays.
    const int asked = service.requests(289);
    EXPECT_TRUE(waitFor([&] { return service.requests(289) >= asked + 2; }));
    EXPECT_EQ(tail.err.lineCount(), 1U);
    EXPECT_TRUE(waitFor([&] {
        tail.out.text();
        return StandIn::give(viewer, test::sampleContainer(0, "last")) &&
               tail.out.messages().endsWith(QStringLiteral("last"));
    }));
    EXPECT_EQ(tail.end(), "");
    QStringList texts = tail.out.messages();
    texts.removeAll(QStringLiteral("last"));
    const std::string lost = std::to_string(1000 - texts.size());
    const QStringList notes = QString::fromStdString(tail.err.text()).split('\n');
    EXPECT_GT(texts.size(), 20);
    EXPECT_LT(texts.size(), 500);
    EXPECT_TRUE(notes[0].startsWith(QStringLiteral("zulog: standard output is too slow; ")));
    ASSERT_GE(notes.size(), 3);
    EXPECT_TRUE(
        notes[notes.size() - 2].endsWith(QStringLiteral("because standard output was too slow")));
}

/// A service that numbers its messages as it likes, from one socket.
class NumberingSender
{
public:
    explicit NumberingSender(const platform::SocketAddress& viewer)
        : viewer_(viewer)
    {
    }
    /// True once it is answered.
    bool give(std::uint64_t senderNumber)
    {
        auto bytes = test::sampleContainer(senderNumber, std::to_string(senderNumber));
        storeU64(bytes.data() + containerSenderMsgIdOffset, senderNumber);
        return peer_
            .ask(viewer_, magicLogMessage, 257,
                 {reinterpret_cast<const char*>(bytes.data()), bytes.size()})
            .has_value();
    }

private:
    test::RawPeer peer_;
    const platform::SocketAddress viewer_;
};

TEST(LogTail, MessagesThatNeverCameAreToldWhileItHappensAndAtTheEnd)
{
    const StandIn service;
    RunningTail tail;
    NumberingSender sender(service.viewer());
    EXPECT_TRUE(sender.give(1));
    EXPECT_TRUE(sender.give(2));
    EXPECT_TRUE(sender.give(5));
    const std::string first =
        "zulog: 2 messages lost: 2 missing in the numbers of those that came\n";
    EXPECT_TRUE(waitFor([&] { return tail.err.text() == first; })) << tail.err.text();
    // Not told again while it stays; a sender that begins anew has lost nothing.
    EXPECT_TRUE(sender.give(6));
    EXPECT_TRUE(sender.give(6));
    EXPECT_TRUE(sender.give(1));
    const int asked = service.requests(289);
    EXPECT_TRUE(waitFor([&] { return service.requests(289) >= asked + 2; }));
    EXPECT_EQ(tail.err.text(), first);
    EXPECT_EQ(tail.end(), "");
    EXPECT_EQ(tail.err.text(), first + "zulog: 2 messages were lost on the way: 2 missing in the "
                                       "numbers of those that came\n");
    EXPECT_EQ(tail.out.messages(), (QStringList{"1", "2", "5", "6", "6", "1"}));
}

TEST(LogTail, LossesAreToldAtMostOnceASecondAlsoWhileTheServiceIsLookedForMoreOften)
{
    std::optional<StandIn> service(std::in_place);
    RunningTail tail;
    NumberingSender sender(service->viewer());
    service.reset();
    const auto told = [&](const char* text) {
        return QString::fromStdString(tail.err.text()).count(QString::fromLatin1(text));
    };
    EXPECT_TRUE(waitFor([&] { return told("waiting for it to come back") == 1; }));
    QElapsedTimer timer;
    timer.start();
    std::uint64_t number = 1;
    while (told(" lost: ") < 3) {
        ASSERT_LT(timer.elapsed(), 30000);
        ASSERT_TRUE(sender.give(number));
        number += 2;
    }
    EXPECT_GE(timer.elapsed(), 2000);
    EXPECT_EQ(tail.end(), "");
    const QString notes = QString::fromStdString(tail.err.text());
    EXPECT_TRUE(notes.endsWith(
        QStringLiteral("zulog: %1 messages were lost on the way: %1 missing in the numbers of "
                       "those that came\n")
            .arg(number / 2 - 1)))
        << tail.err.text();
}

TEST(LogTail, OneLostMessageIsOneMessage)
{
    const StandIn service;
    RunningTail tail;
    NumberingSender sender(service.viewer());
    EXPECT_TRUE(sender.give(1));
    EXPECT_TRUE(sender.give(3));
    EXPECT_EQ(tail.end(), "");
    EXPECT_NE(tail.err.text().find("zulog: 1 message was lost on the way: 1 missing in the "
                                   "numbers of those that came\n"),
              std::string::npos);
}

TEST(LogTail, AClosedPipeEndsItQuietlyWithoutTraffic)
{
    const StandIn service;
    RunningTail tail;
    service.viewer();
    tail.out.closeReader();
    EXPECT_EQ(tail.waitForEnd(), "");
    EXPECT_EQ(service.requests(290), 1);
    EXPECT_EQ(tail.err.text(), "");
}

TEST(LogTail, AClosedPipeEndsItQuietlyWithTraffic)
{
    const StandIn service;
    RunningTail tail;
    const platform::SocketAddress viewer = service.viewer();
    for (std::uint64_t i = 1; i <= 2000; ++i)
        StandIn::give(viewer, test::sampleContainer(i, std::string(100, 'x')));
    tail.out.closeReader();
    EXPECT_EQ(tail.waitForEnd(), "");
    EXPECT_EQ(service.requests(290), 1);
    EXPECT_EQ(tail.err.text(), "");
}

TEST(LogTail, AnErrorStreamThatNobodyReadsHoldsNothingUp)
{
    const StandIn service;
    LogTail::Options options;
    options.queueLimit = 0; // everything is dropped
    RunningTail tail(options);
    const std::string filling(1000000, 'x');
    ::fcntl(tail.err.writer(), F_SETFL, O_NONBLOCK);
    while (::write(tail.err.writer(), filling.data(), 4096) > 0) {
    }
    StandIn::give(service.viewer(), test::sampleContainer(1));
    EXPECT_EQ(tail.end(), "");
    EXPECT_EQ(service.requests(290), 1);
}

TEST(LogTail, BrokenContainersAreSkippedAndCounted)
{
    const StandIn service;
    RunningTail tail;
    const platform::SocketAddress viewer = service.viewer();
    StandIn::give(viewer, TestContainer().text(4, "1234").bytes());
    StandIn::give(viewer, TestContainer().text(1, "x").padTo(60).setSizeField(60).bytes());
    StandIn::give(viewer, test::sampleContainer(1, "good"));
    const auto refused = StandIn::give(viewer, TestContainer().padTo(40).setSizeField(36).bytes());
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->status, 3U);
    EXPECT_TRUE(waitFor([&] { return tail.out.messages().contains("good"); }));
    EXPECT_EQ(tail.end(), "");
    EXPECT_EQ(tail.err.text(), "zulog: 3 messages could not be read\n");
}

TEST(LogTail, ManyBrokenContainersBetweenGoodOnesHoldNothingUp)
{
    const StandIn service;
    RunningTail tail;
    const platform::SocketAddress viewer = service.viewer();
    std::uint64_t sent = 0;
    for (std::uint64_t i = 1; i <= 4000; ++i) {
        const bool isGood = i % 7 == 0 || (i > 1000 && i < 1500);
        StandIn::give(viewer, isGood ? test::sampleContainer(i, std::to_string(++sent))
                                     : TestContainer().text(4, "1234").bytes());
    }
    EXPECT_TRUE(waitFor([&] { return tail.out.lineCount() == sent; }));
    EXPECT_EQ(tail.end(), "");
    EXPECT_EQ(tail.out.messages(), numbers(1, sent));
    EXPECT_EQ(tail.err.text(),
              "zulog: " + std::to_string(4000 - sent) + " messages could not be read\n");
}

TEST(LogTail, MessagesOfTheSecondKindAreNotShown)
{
    const StandIn service;
    RunningTail tail(optionsWith(1));
    const platform::SocketAddress viewer = service.viewer();
    const auto answer = StandIn::give(viewer, test::sampleContainer(1, "second", true),
                                      LogMessageCommand::SecondaryMessage);
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->status, 0U);
    StandIn::give(viewer, test::sampleContainer(2, "first"));
    EXPECT_EQ(tail.waitForEnd(), "");
    EXPECT_EQ(tail.out.messages(), QStringList{"first"});
}

TEST(LogTail, NobodyCanHaveItWriteOrSendElsewhere)
{
    const StandIn service;
    RunningTail tail;
    const platform::SocketAddress viewer = service.viewer();
    test::RawPeer peer;
    for (const std::uint16_t command :
         {std::uint16_t{289}, std::uint16_t{290}, std::uint16_t{291}, std::uint16_t{292}}) {
        const auto answer =
            peer.ask(viewer, magicLogMessage, command, test::sinkPayload(1, peer.addressText()));
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->status, 1U) << command;
    }
}

TEST(LogTail, AServiceThatIsStartedAnewIsShownAgain)
{
    std::optional<test::RunningService> service(std::in_place);
    RunningTail tail;
    waitUntilShown(tail, service->address());
    service.reset();
    EXPECT_TRUE(waitFor([&] { return tail.err.text().find(" has gone; ") != std::string::npos; }));
    service.emplace();
    EXPECT_TRUE(waitFor(
        [&] { return tail.err.text().find("showing its messages again\n") != std::string::npos; }));
    LogClient client(service->address());
    deliver(client, 1, 100);
    EXPECT_TRUE(waitFor([&] { return tail.out.messages().endsWith(number(100)); }));
    EXPECT_EQ(tail.end(), "");
    QStringList texts = tail.out.messages();
    texts.removeAll(number(0));
    EXPECT_EQ(texts, numbers(1, 100));
    EXPECT_EQ(tail.err.lineCount(), 2U);
}

TEST(LogTail, APersonAtATerminalIsToldThatItHasBegun)
{
    const StandIn service;
    const int reader = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(::grantpt(reader), 0);
    ASSERT_EQ(::unlockpt(reader), 0);
    std::array<char, 64> name{};
    ASSERT_EQ(::ptsname_r(reader, name.data(), name.size()), 0);
    const int writer = ::open(name.data(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    Stream out;
    {
        platform::OutputChannel outChannel(out.writer());
        platform::OutputChannel errChannel(writer);
        LogTail tail({}, outChannel, errChannel);
        tail.stop();
        tail.follow();
        tail.finish();
    }
    std::array<char, 500> text{};
    const ssize_t length = ::read(reader, text.data(), text.size());
    EXPECT_EQ(std::string(text.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))),
              "zulog: showing the messages of the log service at " + service.addressText() +
                  "; Ctrl+C ends\r\n");
    ::close(writer);
    ::close(reader);
}

// --- The command line

TEST(TailCommand, HelpTellsTheOptions)
{
    const test::ToolRun run = test::runTool({"tail", "--help"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out.rfind("Usage: zulog tail [OPTION...]\n", 0), 0U);
    for (const char* option : {"--replay", "--json", "--count N"})
        EXPECT_NE(run.out.find(option), std::string::npos) << option;
    EXPECT_EQ(run.err, "");
}

TEST(TailCommand, WhatIsNotUnderstoodIsStatus2)
{
    for (const std::vector<std::string>& words : {std::vector<std::string>{"tail", "--what"},
                                                  {"tail", "word"},
                                                  {"tail", "--count", "0"},
                                                  {"tail", "--count", "three"},
                                                  {"tail", "--count"},
                                                  {"tail", "--rep"}}) {
        const test::ToolRun run = test::runTool(words);
        EXPECT_EQ(run.status, 2) << words.back();
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(test::isOneLine(run.err)) << run.err;
    }
}

TEST(TailCommand, WithoutAServiceItIsStatus1)
{
    const test::ToolRun run = test::runTool({"tail"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "zulog: Failed to connect to the shared memory with connection info: Shared "
                       "memory error\n");
}

TEST(TailCommand, ARefusedSubscriptionIsStatus1)
{
    const StandIn service(PacketStatus::Failed);
    const test::ToolRun run = test::runTool({"tail"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.err, "zulog: The command was not successful (negative acknowledge received)\n");
}

} // namespace
} // namespace zuLogging
