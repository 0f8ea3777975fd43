#include "logging/ConnectionInfo.h"
#include "logging/LogClient.h"
#include "logging/LogMessageContainerBuilder.h"
#include "logging/LogMessageSecondaryListener.h"
#include "logging/LogMessageSinkRecorder.h"
#include "logging/LogSvcError.h"
#include "logging/Packet.h"
#include "logging/ServiceStatus.h"
#include "platform/SharedMemory.h"
#include "tests/docs/ProtocolDocument.h"
#include "tests/service/RawPeer.h"
#include "tests/service/RunningService.h"
#include "tests/support/FakeLogServer.h"
#include "tests/support/SharedObject.h"
#include "tests/support/TraceCapture.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace zuLogging::test {
namespace {

using Bytes = std::vector<std::uint8_t>;

const ProtocolDocument& page()
{
    static const ProtocolDocument document(ProtocolDocument::pageText());
    return document;
}

const ProtocolExample& example(const std::string& name)
{
    return page().example(name);
}

Bytes numberBytes(std::uint64_t value)
{
    Bytes bytes(8);
    storeU64(bytes.data(), value);
    return bytes;
}

Bytes textBytes(const std::string& text)
{
    return {text.begin(), text.end()};
}

/// Bytes as the page shows them, for a failed comparison.
std::string shown(const Bytes& bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes) {
        constexpr char digits[] = "0123456789ABCDEF";
        text += {digits[byte >> 4], digits[byte & 15], ' '};
    }
    return text;
}

/// What was sent, with the page's sequence number in place of the clock's.
Bytes withSequenceOf(const ProtocolExample& expected, Bytes sent)
{
    constexpr std::size_t sequenceOffset = 8;
    if (sent.size() >= packetHeaderSize)
        storeU16(sent.data() + sequenceOffset,
                 static_cast<std::uint16_t>(expected.number("sequence")));
    return sent;
}

QString toText(const std::optional<std::u16string>& text)
{
    return text ? QString::fromStdU16String(*text) : QStringLiteral("(none)");
}

LogMessageContainer containerOf(const ProtocolExample& of)
{
    const std::size_t begin = of.field("container size").offset;
    return {of.bytes.data() + begin, of.bytes.size() - begin};
}

struct NamedItem
{
    const char* name;
    ItemType type;
    bool isText;
    TextMode mode;
};

constexpr NamedItem namedItems[] = {
    {"LogMessage", ItemType::LogMessage, true, TextMode::Text},
    {"Timestamp", ItemType::Timestamp, false, TextMode::Plain},
    {"Module", ItemType::Module, true, TextMode::Plain},
    {"LogLevel", ItemType::LogLevel, false, TextMode::Plain},
    {"GroupName", ItemType::GroupName, true, TextMode::Plain},
    {"LogPos", ItemType::LogPos, true, TextMode::Plain},
    {"ProcessID", ItemType::ProcessID, false, TextMode::Plain},
    {"ThreadID", ItemType::ThreadID, false, TextMode::Plain},
    {"CodePage", ItemType::CodePage, false, TextMode::Plain},
};

void expectContainerIsRead(const ProtocolExample& of)
{
    SCOPED_TRACE(of.name);
    const LogMessageContainer container = containerOf(of);
    EXPECT_EQ(container.size(), of.number("container size"));
    EXPECT_EQ(container.flags(), of.number("container flags"));
    EXPECT_EQ(container.sourceMsgId(), of.number("SourceMsgID"));
    EXPECT_EQ(container.senderMsgId(), of.number("SenderMsgID"));
    EXPECT_EQ(container.serviceMsgId(), of.number("ServiceMsgID"));
    for (const NamedItem& item : namedItems) {
        SCOPED_TRACE(item.name);
        if (of.has(item.name)) {
            EXPECT_EQ(of.number(std::string(item.name) + " type"),
                      static_cast<std::uint64_t>(item.type));
        }
        if (item.isText) {
            EXPECT_EQ(toText(container.text(item.type, item.mode)),
                      of.has(item.name) ? QString::fromStdString(of.text(item.name))
                                        : QStringLiteral("(none)"));
        } else {
            const std::optional<std::uint64_t> value = container.number(item.type);
            ASSERT_EQ(value.has_value(), of.has(item.name));
            if (value) {
                EXPECT_EQ(*value, of.number(item.name));
            }
        }
    }
}

/// The container of the example, put together by the builder from what the page says.
Bytes built(const ProtocolExample& of)
{
    LogMessageContainerBuilder builder;
    builder.sourceMsgId = of.number("SourceMsgID");
    builder.senderMsgId = of.number("SenderMsgID");
    builder.serviceMsgId = of.number("ServiceMsgID");
    builder.secondary = of.number("container flags") == containerFlagSecondary;
    const auto number = [&](const char* name) {
        return of.has(name) ? std::make_optional(of.number(name)) : std::nullopt;
    };
    const auto text = [&](const char* name) {
        return of.has(name) ? std::make_optional(of.text(name)) : std::nullopt;
    };
    builder.timestamp = number("Timestamp");
    builder.logLevel = number("LogLevel");
    builder.processId = number("ProcessID");
    builder.threadId = number("ThreadID");
    builder.codePage = number("CodePage");
    builder.module = text("Module");
    builder.groupName = text("GroupName");
    builder.logPos = text("LogPos");
    builder.logMessage = text("LogMessage");
    if (of.has("key")) {
        builder.counterSets.emplace_back();
        storeU64(builder.counterSets.back().data(), of.number("key"));
    }
    return builder.build();
}

LogMessageContainerView viewOf(const Bytes& container)
{
    LogMessageContainerView view;
    view.data = container.data();
    view.length = container.size();
    return view;
}

/// Answers as the page does, and compares what it is sent with the page: the requests of `steps`
/// ("NAME-request", "NAME-acknowledge"), in their order.
class ServiceOfThePage
{
public:
    explicit ServiceOfThePage(std::vector<std::string> steps)
        : steps_(std::move(steps))
        , server_([this](FakeLogServer& server, const FakeLogServer::Request& request) {
            answer(server, request);
        })
    {
    }

    FakeLogServer& server() { return server_; }

    void expectAllWereAsked(const std::string& placeholder = {}, const std::string& text = {})
    {
        server_.stop();
        const std::vector<FakeLogServer::Request> requests = server_.requests();
        ASSERT_EQ(requests.size(), steps_.size());
        for (std::size_t i = 0; i < steps_.size(); ++i) {
            const ProtocolExample& expected = example(steps_[i] + "-request");
            const Bytes bytes =
                placeholder.empty() ? expected.bytes : expected.with(placeholder, textBytes(text));
            EXPECT_EQ(shown(withSequenceOf(expected, requests[i].bytes)), shown(bytes))
                << steps_[i];
        }
    }

private:
    void answer(FakeLogServer& server, const FakeLogServer::Request& request)
    {
        if (next_ >= steps_.size())
            return;
        Bytes answer = example(steps_[next_++] + "-acknowledge").bytes;
        storeU16(answer.data() + 8, request.header().sequence);
        server.send(answer, request.sender);
    }

    const std::vector<std::string> steps_;
    std::size_t next_ = 0; ///< the server's thread only
    FakeLogServer server_;
};

/// Sends the page's requests to a real service and compares its answers with the page's.
class Conversation
{
public:
    explicit Conversation(SinkList sinks = {})
        : service_(std::move(sinks))
    {
    }

    void ask(const std::string& step, const Bytes& request)
    {
        SCOPED_TRACE(step);
        peer_.send(request, service_.address());
        const std::optional<Bytes> answer = peer_.receive();
        ASSERT_TRUE(answer.has_value());
        const ProtocolExample& expected = example(step);
        Bytes bytes = expected.bytes;
        if (expected.has("handle") && answer->size() == expected.bytes.size()) {
            handle_ = loadU64(answer->data() + expected.field("handle").offset);
            bytes = expected.with("handle", numberBytes(handle_));
        }
        EXPECT_EQ(shown(*answer), shown(bytes));
    }
    /// NAME-request and NAME-acknowledge; a handle in the request becomes the service's.
    void exchange(const std::string& name)
    {
        const ProtocolExample& request = example(name + "-request");
        ask(name + "-acknowledge",
            request.has("handle") ? request.with("handle", numberBytes(handle_)) : request.bytes);
    }
    /// The same with the address of this peer in place of the page's.
    void exchangeWithOwnAddress(const std::string& name)
    {
        ask(name + "-acknowledge",
            example(name + "-request").with("address", textBytes(peer_.addressText())));
    }

    RawPeer& peer() { return peer_; }
    SocketAddress service() const { return service_.address(); }

private:
    RunningService service_;
    RawPeer peer_;
    std::uint64_t handle_ = 0;
};

class Published
{
public:
    explicit Published(const SocketAddress& address)
    {
        EXPECT_EQ(publisher_.publish(connectionInfoName(), encodeConnectionInfo(address)),
                  platform::SharedMemoryPublisher::Result::Published);
    }

private:
    platform::SharedMemoryPublisher publisher_;
};

TEST(ProtocolPage, EveryFieldIsItsBytes)
{
    EXPECT_GT(page().examples().size(), 50U);
    for (const std::string& mistake : page().mistakes())
        ADD_FAILURE() << mistake;
}

TEST(ProtocolPage, AChangedByteIsAMistakeWhereverItIs)
{
    const std::string text = ProtocolDocument::pageText();
    std::istringstream lines(text);
    bool isExample = false;
    std::size_t position = 0;
    int changed = 0;
    for (std::string line; std::getline(lines, line); position += line.size() + 1) {
        if (line.compare(0, 3, "```") == 0) {
            isExample = line.compare(0, 7, "```hex ") == 0;
            continue;
        }
        if (!isExample)
            continue;
        // Four columns of the offset and two blanks stand before the first byte.
        std::string other = text;
        char& digit = other[position + 7];
        digit = digit == '0' ? '1' : '0';
        EXPECT_FALSE(ProtocolDocument(other).mistakes().empty()) << line;
        ++changed;
    }
    EXPECT_GT(changed, 400);
}

TEST(ProtocolPage, AWrongValueOffsetOrEndIsAMistake)
{
    const auto isRight = [](const char* lines) {
        return ProtocolDocument(std::string("```hex x\n") + lines).mistakes().empty();
    };
    EXPECT_TRUE(isRight("   0  05  u8  a = 5\n```\n"));
    EXPECT_FALSE(isRight("   0  05  u8  a = 6\n```\n"));
    EXPECT_FALSE(isRight("   0  05  u8  a = x\n```\n"));
    EXPECT_FALSE(isRight("   0  05  u16  a = 5\n```\n"));
    EXPECT_FALSE(isRight("   1  05  u8  a = 5\n```\n"));
    EXPECT_FALSE(isRight("   0  05  u8  a = 5\n   1  06  u8  a = 6\n```\n"));
    EXPECT_FALSE(isRight("   0  05  u8  a = 5\n"));
}

TEST(ProtocolPage, EveryExampleIsComparedHere)
{
    std::ifstream file(LOGDESK_SOURCE_DIR "/tests/docs/ProtocolExamplesTest.cpp");
    std::ostringstream text;
    text << file.rdbuf();
    const std::string source = text.str();
    for (const ProtocolExample& one : page().examples()) {
        std::string name = one.name;
        for (const std::string ending : {"-request", "-acknowledge", "-answer"})
            if (name.size() > ending.size() &&
                name.compare(name.size() - ending.size(), ending.size(), ending) == 0)
                name.resize(name.size() - ending.size());
        EXPECT_TRUE(source.find('"' + name + '"') != std::string::npos ||
                    source.find('"' + one.name + '"') != std::string::npos)
            << one.name;
    }
}

TEST(ProtocolPage, EveryCommandIsShownWithItsAcknowledge)
{
    std::set<std::pair<std::uint64_t, std::uint64_t>> is;
    for (const ProtocolExample& one : page().examples())
        if (one.has("command"))
            is.insert({one.number("magic"), one.number("command")});
    for (const auto command :
         {LogClientCommand::ReadPiece, LogClientCommand::WritePiece, LogClientCommand::CreateBuffer,
          LogClientCommand::ReleaseBuffer, LogClientCommand::QueryBufferSize,
          LogClientCommand::GetConfiguration, LogClientCommand::SetConfiguration,
          LogClientCommand::GetModules, LogClientCommand::GetServiceStatus}) {
        const auto code = static_cast<std::uint64_t>(command);
        EXPECT_TRUE(is.count({magicLogClient, code})) << code;
        EXPECT_TRUE(is.count({magicLogClient, code | commandAcknowledgeBit})) << code;
    }
    EXPECT_TRUE(is.count(
        {magicLogClient, static_cast<std::uint64_t>(LogClientCommand::ReportCounterSetKeys)}));
    for (const auto command : {LogMessageCommand::Message, LogMessageCommand::SecondaryMessage,
                               LogMessageCommand::NoOperation, LogMessageCommand::StartForwarding,
                               LogMessageCommand::StopForwarding, LogMessageCommand::Replay,
                               LogMessageCommand::ReplayAndForward}) {
        const auto code = static_cast<std::uint64_t>(command);
        EXPECT_TRUE(is.count({magicLogMessage, code})) << code;
        EXPECT_TRUE(is.count({magicLogMessage, code | commandAcknowledgeBit})) << code;
    }
}

TEST(ProtocolPage, HeadersAreReadAsItSays)
{
    for (const ProtocolExample& one : page().examples()) {
        if (!one.has("sequence"))
            continue;
        SCOPED_TRACE(one.name);
        ASSERT_GE(one.bytes.size(), packetHeaderSize);
        ASSERT_LE(one.bytes.size(), maximumPacket);
        const PacketHeader header = readPacketHeader(one.bytes.data());
        EXPECT_EQ(header.magic, one.number("magic"));
        EXPECT_EQ(header.flags, one.number("flags"));
        EXPECT_EQ(header.command, one.number("command"));
        EXPECT_EQ(header.status, one.number("status"));
        EXPECT_EQ(header.sequence, one.number("sequence"));
        EXPECT_EQ(header.payloadLength, one.number("payload length"));
        Bytes written(packetHeaderSize);
        writePacketHeader(written.data(), header);
        EXPECT_EQ(written, Bytes(one.bytes.begin(), one.bytes.begin() + packetHeaderSize));
        if (one.name != "refused-length-request") {
            EXPECT_EQ(packetHeaderSize + header.payloadLength, one.bytes.size());
        }
    }
}

TEST(ProtocolPage, TheRecordIsWhatTheServicePublishesAndClientsRead)
{
    const ProtocolExample& record = example("record");
    const SocketAddress address{static_cast<std::uint32_t>(record.number("address")),
                                static_cast<std::uint16_t>(record.number("port"))};
    EXPECT_EQ(shown(encodeConnectionInfo(address)), shown(record.bytes));
    EXPECT_EQ(connectionInfoMagic, record.number("magic"));
    const SharedObject object(connectionInfoName(), record.bytes);
    EXPECT_EQ(readConnectionInfo(), address);
}

TEST(ProtocolPage, ContainersAreReadAsItSays)
{
    for (const char* name : {"container-empty", "container-all-fields", "container-utf16",
                             "container-utf32", "container-code-page", "container-counter-sets",
                             "message-request", "forwarded-message", "secondary-message-request"})
        expectContainerIsRead(example(name));

    const auto sets = containerOf(example("container-counter-sets")).counterSets();
    ASSERT_TRUE(sets && sets->size() == 1);
    EXPECT_EQ(loadU64(sets->front().data()), example("container-counter-sets").number("key"));
}

TEST(ProtocolPage, ContainersAreWhatTheBuilderMakes)
{
    for (const char* name : {"container-empty", "container-all-fields", "container-counter-sets",
                             "message-request", "forwarded-message", "secondary-message-request"}) {
        const ProtocolExample& one = example(name);
        EXPECT_EQ(shown(built(one)), shown(one.from("container size"))) << name;
    }
}

TEST(ProtocolPage, TheBrokenContainerGivesItsLevelAndNoText)
{
    const ProtocolExample& broken = example("container-broken");
    const LogMessageContainer container = containerOf(broken);
    EXPECT_EQ(container.number(ItemType::LogLevel), broken.number("LogLevel"));
    EXPECT_THROW(container.text(ItemType::LogMessage, TextMode::Text), LogSvcError);
    EXPECT_THROW(container.number(ItemType::ProcessID), LogSvcError);

    Conversation service;
    PacketHeader header{magicLogMessage, 0, 257, 0, 1, 0};
    service.peer().send(FakeLogServer::packet(header, broken.bytes), service.service());
    const std::optional<Bytes> answer = service.peer().receive();
    ASSERT_TRUE(answer && answer->size() == packetHeaderSize);
    EXPECT_EQ(readPacketHeader(answer->data()).status, 0);
}

TEST(ProtocolPage, MessagesAreSentAsItSays)
{
    ServiceOfThePage service({"message", "secondary-message"});
    LogClient client(service.server().address());
    for (const char* name : {"message-request", "secondary-message-request"}) {
        const Bytes container = built(example(name));
        client.deliver(viewOf(container));
    }
    service.expectAllWereAsked();
}

TEST(ProtocolPage, TheServiceTakesAndForwardsMessagesAsItSays)
{
    Conversation service;
    service.exchange("no-operation");
    service.exchangeWithOwnAddress("start-forwarding");
    RawPeer sender;
    sender.send(example("message-request").bytes, service.service());
    EXPECT_EQ(sender.receive(), example("message-acknowledge").bytes);
    const ProtocolExample& forwarded = example("forwarded-message");
    const std::optional<Bytes> arrived = service.peer().receive();
    ASSERT_TRUE(arrived.has_value());
    EXPECT_EQ(shown(withSequenceOf(forwarded, *arrived)), shown(forwarded.bytes));
    service.exchangeWithOwnAddress("stop-forwarding");
    service.exchange("secondary-message");
    service.exchangeWithOwnAddress("replay");
    service.exchangeWithOwnAddress("replay-and-forward");
}

TEST(ProtocolPage, ListenersSubscribeAsItSays)
{
    ServiceOfThePage service({"start-forwarding", "replay", "stop-forwarding"});
    const Published published(service.server().address());
    std::string address;
    {
        LogMessageSecondaryListener listener(SinkList{}, false);
        address = socketAddressText(listener.boundAddress());
        listener.requestReplay();
    }
    service.expectAllWereAsked("address", address);
}

TEST(ProtocolPage, ListenersSubscribeWithAReplayAsItSays)
{
    ServiceOfThePage service({"replay-and-forward", "stop-forwarding"});
    const Published published(service.server().address());
    std::string address;
    {
        const LogMessageSecondaryListener listener(SinkList{}, true);
        address = socketAddressText(listener.boundAddress());
    }
    service.expectAllWereAsked("address", address);
}

TEST(ProtocolPage, RefusalsAreAsItSays)
{
    const TraceCapture trace;
    Conversation service;
    for (const std::string name : {"refused-length", "refused-flags", "refused-command",
                                   "refused-container", "refused-handle"})
        service.ask(name + "-answer", example(name + "-request").bytes);
    service.peer().send(example("unanswered-magic").bytes, service.service());
    // The next answer is to the next request.
    service.exchange("no-operation");
}

TEST(ProtocolPage, ADownloadIsAsItSays)
{
    const std::vector<std::string> steps = {"download-place", "download-size", "download-read",
                                            "download-release"};
    ServiceOfThePage service(steps);
    EXPECT_EQ(LogClient(service.server().address()).download(LogClientCommand::GetConfiguration),
              example("download-read-acknowledge").text("piece"));
    service.expectAllWereAsked();

    Conversation conversation;
    for (const std::string& step : steps)
        conversation.exchange(step);
}

TEST(ProtocolPage, AnUploadIsAsItSays)
{
    const std::vector<std::string> steps = {"upload-create", "upload-write", "upload-take",
                                            "upload-release"};
    const std::string text = example("upload-write-request").text("piece");
    ServiceOfThePage service(steps);
    LogClient(service.server().address()).upload(text.data(), text.size());
    service.expectAllWereAsked();

    Conversation conversation;
    for (const std::string& step : steps)
        conversation.exchange(step);
    EXPECT_EQ(LogClient(conversation.service()).download(LogClientCommand::GetConfiguration), text);
}

TEST(ProtocolPage, TheListOfModulesIsAsItSays)
{
    Conversation service;
    const ProtocolExample& list = example("modules-list");
    for (const char* name : {"second name", "first name"}) {
        LogMessageContainerBuilder builder;
        builder.module = list.text(name);
        const Bytes container = builder.build();
        LogClient(service.service()).deliver(viewOf(container));
    }
    service.exchange("modules");
    const std::string bytes = LogClient(service.service()).download(LogClientCommand::GetModules);
    EXPECT_EQ(shown(textBytes(bytes)), shown(list.bytes));
}

TEST(ProtocolPage, TheStatusIsAsItSays)
{
    Conversation service;
    service.exchange("status");

    const std::string text = ProtocolDocument::pageText();
    const std::string fence = "```json status\n";
    const std::size_t begin = text.find(fence);
    ASSERT_NE(begin, std::string::npos);
    const std::size_t end = text.find("```\n", begin + fence.size());
    const std::string json = text.substr(begin + fence.size(), end - begin - fence.size());
    const auto parsed = [](const std::string& one) {
        return QJsonDocument::fromJson(QByteArray::fromStdString(one)).toJson().toStdString();
    };
    EXPECT_GT(parsed(json).size(), 500U);
    EXPECT_EQ(parsed(ServiceStatus::fromJson(json).toJson()), parsed(json));
}

TEST(ProtocolPage, KeysOfCounterSetsAreReportedAsItSays)
{
    FakeLogServer server;
    auto published = std::make_unique<Published>(server.address());
    auto now = std::chrono::system_clock::now();
    LogMessageSinkRecorder recorder(1, 3, 0, [&] { return now; });
    const ProtocolExample& keys = example("counter-set-keys");
    const ProtocolExample& first = example("container-counter-sets");
    EXPECT_EQ(first.number("key"), keys.number("first key"));
    for (const char* name : {"second key", "first key", "second key"}) {
        const Bytes container = first.with("key", numberBytes(keys.number(name)));
        recorder.consumeSecondary(viewOf(container));
    }
    now += std::chrono::minutes(9);
    recorder.idle();
    ASSERT_TRUE(server.waitForRequests(1));
    EXPECT_EQ(shown(withSequenceOf(keys, server.requests().front().bytes)), shown(keys.bytes));

    published.reset();
    Conversation service;
    service.peer().send(keys.bytes, service.service());
    service.exchange("no-operation");
    const ServiceStatus status = ServiceStatus::fromJson(
        LogClient(service.service()).download(LogClientCommand::GetServiceStatus));
    EXPECT_EQ(status.counterSetKeys,
              (std::vector<std::uint64_t>{keys.number("first key"), keys.number("second key")}));
}

} // namespace
} // namespace zuLogging::test
