#include "logging/LogClient.h"

#include "logging/LogMessageContainer.h"
#include "logging/LogSvcError.h"
#include "tests/support/FakeLogServer.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace {

using namespace zuLogging;
using test::FakeLogServer;
using Request = FakeLogServer::Request;
using Bytes = std::vector<std::uint8_t>;

const std::string noError = "no error";
const std::string executionFailure =
    "Log client command execution failure when communicating with the server.";
const std::string malformed = "Received malformed acknowledge packet";
const std::string mismatch = "The received acknowledge does not match the actual request";
const std::string outOfRange = "The command packet data are out of range";

std::string failureOf(const std::function<void()>& action)
{
    try {
        action();
        return noError;
    } catch (const LogSvcError& error) {
        return error.what();
    }
}

Bytes u32(std::uint32_t value)
{
    Bytes bytes(4);
    storeU32(bytes.data(), value);
    return bytes;
}

Bytes u64(std::uint64_t value)
{
    Bytes bytes(8);
    storeU64(bytes.data(), value);
    return bytes;
}

Packet noOperation()
{
    return makeRequest(magicLogMessage, 273, nullptr, 0);
}

// The service's side of the transfer buffers. What a test wants otherwise, it puts in front.
class TransferService
{
public:
    std::string configuration;
    std::string modules;
    std::map<std::uint64_t, Bytes> buffers;
    Bytes taken; ///< by SetConfiguration
    std::uint64_t lastHandle = 0x1122334455667700ULL;

    void operator()(FakeLogServer& server, const Request& request)
    {
        const std::uint8_t* payload = request.payload();
        switch (static_cast<LogClientCommand>(request.header().command)) {
        case LogClientCommand::GetConfiguration:
            return server.acknowledge(request, u64(create(configuration)));
        case LogClientCommand::GetModules:
            return server.acknowledge(request, u64(create(modules)));
        case LogClientCommand::CreateBuffer:
            return server.acknowledge(request, u64(create(std::string(loadU32(payload), '\0'))));
        case LogClientCommand::QueryBufferSize:
            return server.acknowledge(
                request, u32(static_cast<std::uint32_t>(buffers.at(loadU64(payload)).size())));
        case LogClientCommand::ReadPiece: {
            const auto start = buffers.at(loadU64(payload)).begin() + loadU32(payload + 8);
            return server.acknowledge(request, Bytes(start, start + loadU32(payload + 12)));
        }
        case LogClientCommand::WritePiece: {
            const auto start = buffers.at(loadU64(payload)).begin() + loadU32(payload + 8);
            std::copy_n(payload + 16, loadU32(payload + 12), start);
            return server.acknowledge(request);
        }
        case LogClientCommand::SetConfiguration:
            taken = buffers.at(loadU64(payload));
            return server.acknowledge(request);
        case LogClientCommand::ReleaseBuffer:
            buffers.erase(loadU64(payload));
            return server.acknowledge(request);
        case LogClientCommand::GetServiceStatus:
        case LogClientCommand::ReportCounterSetKeys:
            return;
        }
    }

private:
    std::uint64_t create(const std::string& contents)
    {
        buffers[++lastHandle] = Bytes(contents.begin(), contents.end());
        return lastHandle;
    }
};

std::string textOf(std::size_t length)
{
    std::string text(length, ' ');
    for (std::size_t i = 0; i < length; ++i)
        text[i] = static_cast<char>(i * 7 + i / 256);
    return text;
}

// Answers to a single command.

TEST(LogClient, ACommandIsSentWholeAndItsAcknowledgeReturned)
{
    FakeLogServer server([](FakeLogServer& s, const Request& r) { s.acknowledge(r, {9, 8, 7}); });
    LogClient client(server.address());
    const Bytes payload{1, 2, 3, 4};
    const Packet request = makeRequest(magicLogMessage, 289, payload.data(), payload.size());
    const Packet reply = client.command(request);
    EXPECT_EQ(reply.header().command, 0x8000 | 289);
    EXPECT_EQ(Bytes(reply.payload(), reply.payload() + reply.header().payloadLength),
              (Bytes{9, 8, 7}));
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(server.requests()[0].bytes, Bytes(request.bytes(), request.bytes() + 16));
    EXPECT_EQ(client.server(), server.address());
}

TEST(LogClient,
     AnAcknowledgeWithStatus3RaisesTheNegativeAcknowledgeErrorEvenWhenItsPayloadIsWellFormed)
{
    FakeLogServer server([](FakeLogServer& s, const Request& r) {
        s.acknowledge(r, u64(4711), PacketStatus::Failed);
    });
    LogClient client(server.address());
    EXPECT_EQ(failureOf([&] { client.download(LogClientCommand::GetConfiguration); }),
              "The command was not successful (negative acknowledge received)");
    EXPECT_EQ(server.commands(), (std::vector<int>{33}));
}

TEST(LogClient, AnAcknowledgeFromAnotherPortOfTheSameHostIsIgnoredAndCostsTheAttempt)
{
    FakeLogServer stranger;
    std::atomic<int> count{0};
    FakeLogServer server([&](FakeLogServer& s, const Request& r) {
        // The first attempt is answered by the stranger only.
        FakeLogServer& from = ++count == 1 ? stranger : s;
        from.acknowledge(r);
    });
    LogClient client(server.address());
    EXPECT_EQ(failureOf([&] { client.command(noOperation()); }), noError);
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[0].bytes, requests[1].bytes);
}

TEST(LogClient, TwoAcknowledgesFromAnotherPortFailTheCommand)
{
    FakeLogServer stranger;
    FakeLogServer server([&](FakeLogServer&, const Request& r) { stranger.acknowledge(r); });
    LogClient client(server.address());
    EXPECT_EQ(failureOf([&] { client.command(noOperation()); }), executionFailure);
    EXPECT_EQ(server.requests().size(), 2U);
}

TEST(LogClient, ASilentServerIsAskedTwiceAndThenTheCommandFails)
{
    FakeLogServer server;
    LogClient client(server.address());
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(failureOf([&] { client.command(noOperation()); }), executionFailure);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(1000));
    ASSERT_TRUE(server.waitForRequests(2));
    EXPECT_EQ(server.requests().size(), 2U);
}

TEST(LogClient, AnAnswerToTheSecondAttemptIsAsGoodAsOneToTheFirst)
{
    std::atomic<int> count{0};
    FakeLogServer server([&](FakeLogServer& s, const Request& r) {
        if (++count == 2)
            s.acknowledge(r);
    });
    LogClient client(server.address());
    EXPECT_EQ(failureOf([&] { client.command(noOperation()); }), noError);
    EXPECT_EQ(count, 2);
}

TEST(LogClient, AServerThatIsGoneFailsTheCommandAndLeavesTheClientUsable)
{
    // The system may report the closed port; that must not pass for an answer.
    platform::SocketAddress address;
    {
        FakeLogServer gone;
        address = gone.address();
    }
    LogClient client(address);
    EXPECT_EQ(failureOf([&] { client.command(noOperation()); }), executionFailure);

    platform::UdpSocket back;
    ASSERT_TRUE(back.open());
    ASSERT_TRUE(back.bind(address));
    EXPECT_EQ(failureOf([&] { client.forward({}); }), outOfRange);
    const Bytes container(containerHeaderSize);
    EXPECT_EQ(failureOf([&] {
                  client.forward({container.data(), maximumContainer, container.size(), {}});
              }),
              noError);
    EXPECT_EQ(back.waitReadable(std::chrono::seconds(10)), platform::WaitResult::Readable);
}

TEST(LogClient, AFailedSendUsesUpTheAttempt)
{
    // The system refuses to send to everybody: both attempts fail at once, without a wait.
    LogClient client({0xFFFFFFFFU, 9});
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(failureOf([&] { client.command(noOperation()); }), executionFailure);
    const Bytes container(containerHeaderSize);
    EXPECT_EQ(failureOf([&] {
                  client.forward({container.data(), maximumContainer, container.size(), {}});
              }),
              executionFailure);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(1000));
}

TEST(LogClient, StaleDatagramsAreDrainedBeforeACommand)
{
    FakeLogServer server([](FakeLogServer& s, const Request& r) {
        s.acknowledge(r, r.header().command == 273 ? Bytes{1} : Bytes{2});
    });
    LogClient client(server.address());
    client.command(noOperation());
    // On the loopback a datagram is in the receiver's queue when the sending call returns.
    const Request first = server.requests().at(0);
    for (int i = 0; i < 50; ++i)
        server.acknowledge(first);
    server.send(Bytes(9000, 0xFF), first.sender);
    server.send({}, first.sender);
    FakeLogServer stranger;
    stranger.send(Bytes(10, 1), first.sender);

    const Packet reply = client.command(makeRequest(magicLogMessage, 290, nullptr, 0));
    EXPECT_EQ(reply.payload()[0], 2);
    EXPECT_EQ(server.requests().size(), 2U);
}

TEST(LogClient, AReceiveErrorWhileDrainingIsReported)
{
    // The next descriptor is the lowest free one: the client's socket. A pipe with a byte in it is
    // put in its place, from which nothing can be received as from a socket.
    const int next = ::dup(STDIN_FILENO);
    ASSERT_GE(next, 0);
    ::close(next);
    LogClient client({platform::loopbackAddress, 9});
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    ASSERT_EQ(::write(pipe[1], "x", 1), 1);
    ASSERT_EQ(::dup2(pipe[0], next), next);
    EXPECT_EQ(failureOf([&] { client.command(noOperation()); }),
              "Failed to read out invalid previous data from the log client socket");
    ::close(pipe[0]);
    ::close(pipe[1]);
}

TEST(LogClient, ACommandWithoutAcknowledgeReturnsAtOnceWithLength0)
{
    FakeLogServer server;
    LogClient client(server.address());
    const Packet request = makeRequest(magicLogClient, 53, nullptr, 0, flagNoAcknowledge);
    Packet reply;
    EXPECT_EQ(client.execute(request, maximumPacket, reply), 0U);
    ASSERT_TRUE(server.waitForRequests(1));
    EXPECT_EQ(server.requests()[0].bytes.size(), maximumPacket);
}

TEST(LogClient, APacketThatClaimsMoreThanItsRoomIsNotSent)
{
    FakeLogServer server;
    LogClient client(server.address());
    Packet request = noOperation();
    PacketHeader header = request.header();
    header.payloadLength = maximumPayload + 1;
    request.setHeader(header);
    Packet reply;
    EXPECT_EQ(failureOf([&] { client.execute(request, reply); }), outOfRange);
    EXPECT_EQ(failureOf([&] { client.execute(noOperation(), maximumPacket + 1, reply); }),
              outOfRange);
    EXPECT_TRUE(server.requests().empty());
}

// Acknowledges that are not one.

std::string failureWith(const std::function<Bytes(const Request&)>& answer)
{
    FakeLogServer server([&](FakeLogServer& s, const Request& r) { s.send(answer(r), r.sender); });
    LogClient client(server.address());
    const std::string failure = failureOf([&] { client.command(noOperation()); });
    EXPECT_EQ(server.requests().size(), 1U) << "an answer of the server ends the command";
    return failure;
}

std::string failureWith(const std::function<void(PacketHeader&)>& change)
{
    return failureWith(std::function<Bytes(const Request&)>([&](const Request& r) {
        PacketHeader header = acknowledgeOf(r.header(), PacketStatus::Success);
        change(header);
        Bytes bytes(packetHeaderSize);
        writePacketHeader(bytes.data(), header);
        return bytes;
    }));
}

using Change = std::function<void(PacketHeader&)>;
using Answer = std::function<Bytes(const Request&)>;

Bytes goodAcknowledge(const Request& request, std::size_t payloadLength)
{
    return FakeLogServer::packet(acknowledgeOf(request.header(), PacketStatus::Success),
                                 Bytes(payloadLength, 5));
}

TEST(LogClient, AnAcknowledgeOfAnotherProtocolIsMalformed)
{
    EXPECT_EQ(failureWith(Change([](PacketHeader& h) { h.magic = magicLogClient; })), malformed);
}

TEST(LogClient, AnAcknowledgeWhoseLengthIsNotItsPayloadsPlus12IsMalformed)
{
    EXPECT_EQ(failureWith(Change([](PacketHeader& h) { h.payloadLength = 1; })), malformed);
    EXPECT_EQ(failureWith(Change([](PacketHeader& h) { h.payloadLength = 0xFFFF; })), malformed);
    EXPECT_EQ(failureWith(Answer([](const Request& r) {
                  Bytes bytes = goodAcknowledge(r, 4);
                  bytes.pop_back();
                  return bytes;
              })),
              malformed);
}

TEST(LogClient, AnAcknowledgeShorterThanAHeaderIsMalformed)
{
    for (const std::size_t length : {0U, 1U, 11U})
        EXPECT_EQ(failureWith(Answer([&](const Request& r) {
                      Bytes bytes = goodAcknowledge(r, 0);
                      bytes.resize(length);
                      return bytes;
                  })),
                  malformed);
}

TEST(LogClient, AnAcknowledgeLongerThan1400BytesIsMalformedAlsoWhereItsStartIsAWholeOne)
{
    EXPECT_EQ(failureWith(Answer([](const Request& r) { return goodAcknowledge(r, 1388); })),
              noError);
    for (const std::size_t length : {1401U, 9000U, 60000U}) {
        EXPECT_EQ(failureWith(Answer([&](const Request& r) {
                      Bytes bytes = goodAcknowledge(r, 1388);
                      bytes.resize(length);
                      return bytes;
                  })),
                  malformed);
        EXPECT_EQ(
            failureWith(Answer([&](const Request& r) { return goodAcknowledge(r, length - 12); })),
            malformed);
    }
}

TEST(LogClient, AnAcknowledgeOfAnotherCommandOrSequenceDoesNotMatch)
{
    EXPECT_EQ(failureWith(Change([](PacketHeader& h) { ++h.sequence; })), mismatch);
    EXPECT_EQ(failureWith(Change([](PacketHeader& h) { ++h.command; })), mismatch);
    EXPECT_EQ(failureWith(Change([](PacketHeader& h) { h.command &= 0x7FFF; })), mismatch);
}

TEST(LogClient, AnAcknowledgeWithFlagsIsRefused)
{
    for (const int flag : {0x0001, 0x8000})
        EXPECT_EQ(failureWith(
                      Change([&](PacketHeader& h) { h.flags = static_cast<std::uint16_t>(flag); })),
                  "The received acknowledge contains unsupported flags");
}

TEST(LogClient, AnyStatusButSuccessIsANegativeAcknowledge)
{
    for (const int status : {1, 2, 3, 9, 0xFFFF})
        EXPECT_EQ(failureWith(Change(
                      [&](PacketHeader& h) { h.status = static_cast<std::uint16_t>(status); })),
                  "The command was not successful (negative acknowledge received)");
}

TEST(LogClient, TheChecksOfAnAcknowledgeHaveAnOrder)
{
    EXPECT_EQ(failureWith(Change([](PacketHeader& h) {
                  h.magic = 0;
                  h.sequence = 0;
                  h.flags = 1;
                  h.status = 3;
              })),
              malformed);
    EXPECT_EQ(failureWith(Change([](PacketHeader& h) {
                  ++h.sequence;
                  h.flags = 1;
                  h.status = 3;
              })),
              mismatch);
    EXPECT_EQ(failureWith(Change([](PacketHeader& h) {
                  h.flags = 1;
                  h.status = 3;
              })),
              "The received acknowledge contains unsupported flags");
}

TEST(LogClient, AfterEachFailureTheClientTakesTheNextCommand)
{
    std::atomic<int> count{0};
    FakeLogServer server([&](FakeLogServer& s, const Request& r) {
        switch (++count) {
        case 1:
            return s.send(Bytes(5000, 0xFF), r.sender);
        case 2:
            return s.acknowledge(r, {}, PacketStatus::Failed);
        default:
            return s.acknowledge(r);
        }
    });
    LogClient client(server.address());
    EXPECT_EQ(failureOf([&] { client.command(noOperation()); }), malformed);
    EXPECT_NE(failureOf([&] { client.command(noOperation()); }), noError);
    EXPECT_EQ(failureOf([&] { client.command(noOperation()); }), noError);
}

TEST(LogClient, WithoutADescriptorThereIsNoSocket)
{
    rlimit files{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &files), 0);
    rlimit none = files;
    none.rlim_cur = 0;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    const std::string failure = failureOf([&files] {
        try {
            LogClient client({platform::loopbackAddress, 4711});
        } catch (...) {
            // Before anybody looks at the error: a sanitizer needs descriptors to look at memory.
            ::setrlimit(RLIMIT_NOFILE, &files);
            throw;
        }
    });
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &files), 0);
    EXPECT_EQ(failure, "Failed to create the log client socket");
}

// Transfers.

TEST(LogClient, ADownloadOfAnEmptyConfigurationSends33And21And20ButNo17)
{
    TransferService service;
    FakeLogServer server(std::ref(service));
    LogClient client(server.address());
    EXPECT_EQ(client.download(LogClientCommand::GetConfiguration), "");
    EXPECT_EQ(server.commands(), (std::vector<int>{33, 21, 20}));
}

TEST(LogClient, ADownloadAsksForPiecesOfAtMost1388Bytes)
{
    TransferService service;
    service.configuration = textOf(2 * 1388 + 1);
    service.modules = textOf(1388);
    FakeLogServer server(std::ref(service));
    LogClient client(server.address());
    EXPECT_EQ(client.download(LogClientCommand::GetConfiguration), service.configuration);
    EXPECT_EQ(server.commands(), (std::vector<int>{33, 21, 17, 17, 17, 20}));
    const auto requests = server.requests();
    const std::array<std::pair<std::uint32_t, std::uint32_t>, 3> pieces{
        {{0, 1388}, {1388, 1388}, {2776, 1}}};
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        ASSERT_EQ(requests[2 + i].bytes.size(), 28U);
        EXPECT_EQ(loadU32(requests[2 + i].payload() + 8), pieces[i].first);
        EXPECT_EQ(loadU32(requests[2 + i].payload() + 12), pieces[i].second);
    }
    EXPECT_EQ(client.download(LogClientCommand::GetModules), service.modules);
    server.stop();
    EXPECT_TRUE(service.buffers.empty());
}

// Answers `command` with `payload`, everything else as a service does.
std::string downloadFailure(LogClientCommand command, const Bytes& payload)
{
    TransferService service;
    service.configuration = textOf(1000);
    FakeLogServer server([&](FakeLogServer& s, const Request& r) {
        if (r.header().command == static_cast<std::uint16_t>(command))
            s.acknowledge(r, payload);
        else
            service(s, r);
    });
    LogClient client(server.address());
    return failureOf([&] { client.download(LogClientCommand::GetConfiguration); });
}

TEST(LogClient, AnAcknowledgeTooShortForItsHandleIsMalformed)
{
    EXPECT_EQ(downloadFailure(LogClientCommand::GetConfiguration, {}), malformed);
    EXPECT_EQ(downloadFailure(LogClientCommand::GetConfiguration, Bytes(7)), malformed);
    FakeLogServer server([](FakeLogServer& s, const Request& r) { s.acknowledge(r, Bytes(7)); });
    LogClient client(server.address());
    EXPECT_EQ(failureOf([&] { client.upload("x", 1); }), malformed);
}

TEST(LogClient, AnAcknowledgeTooShortForItsSizeIsMalformed)
{
    EXPECT_EQ(downloadFailure(LogClientCommand::QueryBufferSize, {}), malformed);
    EXPECT_EQ(downloadFailure(LogClientCommand::QueryBufferSize, Bytes(3)), malformed);
}

TEST(LogClient, APieceShorterOrLongerThanAskedIsMalformed)
{
    EXPECT_EQ(downloadFailure(LogClientCommand::ReadPiece, {}), malformed);
    EXPECT_EQ(downloadFailure(LogClientCommand::ReadPiece, Bytes(999)), malformed);
    EXPECT_EQ(downloadFailure(LogClientCommand::ReadPiece, Bytes(1001)), malformed);
    EXPECT_EQ(downloadFailure(LogClientCommand::ReadPiece, Bytes(1388)), malformed);
    EXPECT_EQ(downloadFailure(LogClientCommand::ReadPiece, Bytes(1000)), noError);
}

TEST(LogClient, AHandleOrSizeMayBeFollowedByMore)
{
    Bytes size = u32(0);
    size.resize(100);
    EXPECT_EQ(downloadFailure(LogClientCommand::QueryBufferSize, size), noError);
}

TEST(LogClient, ASizeThatNoConfigurationHasIsRefusedBeforeAPieceIsAskedFor)
{
    for (const std::uint32_t size : {0xFFFFFFFFU, (256U << 20) + 1}) {
        FakeLogServer server([&](FakeLogServer& s, const Request& r) {
            s.acknowledge(r, r.header().command == 21 ? u32(size) : u64(1));
        });
        LogClient client(server.address());
        EXPECT_EQ(failureOf([&] { client.download(LogClientCommand::GetConfiguration); }),
                  "Failed to allocate buffer for the data to be downloaded");
        EXPECT_EQ(server.commands(), (std::vector<int>{33, 21}));
    }
}

// The sanitizers' allocators mark what they give out, and end the program where others throw.
#if !defined(LOGDESK_ADDRESS_SANITIZER) && !defined(LOGDESK_THREAD_SANITIZER)
TEST(LogClient, AWrongSizeCostsNoMemoryBeforeThePiecesCome)
{
    // Nearly all that is ever fetched is announced, and the first piece is refused.
    rusage before{};
    ::getrusage(RUSAGE_SELF, &before);
    FakeLogServer server([&](FakeLogServer& s, const Request& r) {
        switch (r.header().command) {
        case 33:
            return s.acknowledge(r, u64(1));
        case 21:
            return s.acknowledge(r, u32(250U << 20));
        default:
            return s.acknowledge(r, {}, PacketStatus::Failed);
        }
    });
    LogClient client(server.address());
    EXPECT_NE(failureOf([&] { client.download(LogClientCommand::GetConfiguration); }), noError);
    rusage after{};
    ::getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 64 * 1024) << "kilobytes";
}

int exitStatusOfADownloadWithoutMemory()
{
    FakeLogServer server([](FakeLogServer& s, const Request& r) {
        s.acknowledge(r, r.header().command == 21 ? u32(250U << 20) : u64(1));
    });
    LogClient client(server.address());
    // Room for everything but the buffer.
    long pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    rlimit room{};
    ::getrlimit(RLIMIT_AS, &room);
    room.rlim_cur =
        static_cast<rlim_t>(pages) * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) + (100U << 20);
    if (pages == 0 || ::setrlimit(RLIMIT_AS, &room) != 0)
        return 2;
    return failureOf([&] { client.download(LogClientCommand::GetConfiguration); }) ==
                   "Failed to allocate buffer for the data to be downloaded"
               ? 0
               : 1;
}

TEST(LogClient, ASizeThatMemoryCannotHoldIsReported)
{
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(exitStatusOfADownloadWithoutMemory()), ::testing::ExitedWithCode(0), "");
}
#endif

TEST(LogClient, AnErrorOfTheReleaseIsIgnored)
{
    EXPECT_EQ(downloadFailure(LogClientCommand::ReleaseBuffer, Bytes(5)), noError);
    TransferService service;
    service.configuration = "text";
    FakeLogServer server([&](FakeLogServer& s, const Request& r) {
        if (r.header().command == 20)
            s.acknowledge(r, {}, PacketStatus::Failed);
        else
            service(s, r);
    });
    LogClient client(server.address());
    EXPECT_EQ(client.download(LogClientCommand::GetConfiguration), "text");
    EXPECT_EQ(failureOf([&] { client.upload("more", 4); }), noError);
}

TEST(LogClient, AnUploadOf1373BytesSendsTwo18PacketsOf1372And1BytesBoth1400BytesLong)
{
    TransferService service;
    FakeLogServer server(std::ref(service));
    LogClient client(server.address());
    const std::string text = textOf(1373);
    client.upload(text.data(), text.size());

    EXPECT_EQ(server.commands(), (std::vector<int>{19, 18, 18, 34, 20}));
    const auto requests = server.requests();
    EXPECT_EQ(loadU32(requests[0].payload()), 1373U);
    for (const std::size_t i : {1U, 2U}) {
        ASSERT_EQ(requests[i].bytes.size(), 1400U);
        EXPECT_EQ(requests[i].header().payloadLength, 1388);
    }
    EXPECT_EQ(loadU32(requests[1].payload() + 8), 0U);
    EXPECT_EQ(loadU32(requests[1].payload() + 12), 1372U);
    EXPECT_EQ(loadU32(requests[2].payload() + 8), 1372U);
    EXPECT_EQ(loadU32(requests[2].payload() + 12), 1U);
    server.stop();
    EXPECT_EQ(std::string(service.taken.begin(), service.taken.end()), text);
    EXPECT_TRUE(service.buffers.empty());
}

TEST(LogClient, AnUploadOfNothingSendsNo18)
{
    TransferService service;
    service.taken = {1};
    FakeLogServer server(std::ref(service));
    LogClient client(server.address());
    client.upload("", 0);
    EXPECT_EQ(server.commands(), (std::vector<int>{19, 34, 20}));
    server.stop();
    EXPECT_TRUE(service.taken.empty());
}

TEST(LogClient, AMissingDataPointerIsRefusedBeforeAnythingIsSent)
{
    FakeLogServer server;
    LogClient client(server.address());
    EXPECT_EQ(failureOf([&] { client.upload(nullptr, 5); }),
              "The data buffer to be uploaded is invalid.");
    EXPECT_EQ(failureOf([&] { client.upload(nullptr, 0); }),
              "The data buffer to be uploaded is invalid.");
    EXPECT_EQ(failureOf([&] { client.upload("", 0x100000000ULL); }), outOfRange);
    EXPECT_TRUE(server.requests().empty());
}

TEST(LogClient, AnUploadThatTheServiceRefusesIsAbandoned)
{
    TransferService service;
    FakeLogServer server([&](FakeLogServer& s, const Request& r) {
        if (r.header().command == 18)
            s.acknowledge(r, {}, PacketStatus::BadPacket);
        else
            service(s, r);
    });
    LogClient client(server.address());
    EXPECT_EQ(failureOf([&] { client.upload("text", 4); }),
              "The command was not successful (negative acknowledge received)");
    EXPECT_EQ(server.commands(), (std::vector<int>{19, 18}));
}

// Containers.

Bytes containerOf(bool secondary, std::size_t length = 40)
{
    Bytes bytes(length, 0x5A);
    storeU16(bytes.data(), static_cast<std::uint16_t>(length));
    bytes[containerFlagsOffset] = secondary ? containerFlagSecondary : 0;
    return bytes;
}

LogMessageContainerView viewOf(const Bytes& bytes)
{
    return {bytes.data(), bytes.size(), bytes.size(), std::nullopt};
}

TEST(LogClient, AForwardedContainerCarriesOnlyNewNumbers)
{
    FakeLogServer server;
    LogClient client(server.address());
    const Bytes container = containerOf(false);
    LogMessageContainerView view = viewOf(container);
    client.forward(view);
    view.serviceNumber = 0x0102030405060708ULL;
    client.forward(view);
    ASSERT_TRUE(server.waitForRequests(2));

    Bytes expected = container;
    storeU64(expected.data() + 12, 1);
    const auto requests = server.requests();
    EXPECT_EQ(Bytes(requests[0].bytes.begin() + 12, requests[0].bytes.end()), expected);
    EXPECT_EQ(requests[0].header().magic, magicLogMessage);
    EXPECT_EQ(requests[0].header().flags, flagNoAcknowledge);
    EXPECT_EQ(requests[0].header().status, 0);
    storeU64(expected.data() + 12, 2);
    storeU64(expected.data() + 20, 0x0102030405060708ULL);
    EXPECT_EQ(Bytes(requests[1].bytes.begin() + 12, requests[1].bytes.end()), expected);
    EXPECT_EQ(container, containerOf(false)) << "the sink after this one gets what arrived";
}

TEST(LogClient, MessagesOfTheSecondKindHaveNumbersOfTheirOwn)
{
    FakeLogServer server;
    LogClient client(server.address());
    const Bytes first = containerOf(false);
    const Bytes second = containerOf(true);
    client.forward(viewOf(first));
    client.forward(viewOf(second));
    client.forward(viewOf(first));
    ASSERT_TRUE(server.waitForRequests(3));
    const auto requests = server.requests();
    EXPECT_EQ(server.commands(), (std::vector<int>{257, 258, 257}));
    EXPECT_EQ(loadU64(requests[0].payload() + 12), 1U);
    EXPECT_EQ(loadU64(requests[1].payload() + 12), 1U);
    EXPECT_EQ(loadU64(requests[2].payload() + 12), 2U);
}

TEST(LogClient, AContainerOf1388BytesIsTheLongestThatIsForwarded)
{
    FakeLogServer server;
    LogClient client(server.address());
    const Bytes longest = containerOf(false, 1388);
    const Bytes tooLong = containerOf(false, 1389);
    const Bytes tooShort = containerOf(false, 27);
    client.forward(viewOf(longest));
    EXPECT_EQ(failureOf([&] { client.forward(viewOf(tooLong)); }), outOfRange);
    EXPECT_EQ(failureOf([&] { client.forward(viewOf(tooShort)); }), outOfRange);
    client.forward(viewOf(longest));
    ASSERT_TRUE(server.waitForRequests(2));
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[0].bytes.size(), 1400U);
    EXPECT_EQ(loadU64(requests[1].payload() + 12), 3U) << "the one too long left a gap";
}

TEST(LogClient, ADeliveredContainerIsAcknowledged)
{
    FakeLogServer server([](FakeLogServer& s, const Request& r) { s.acknowledge(r); });
    LogClient client(server.address());
    const Bytes container = containerOf(false);
    EXPECT_EQ(failureOf([&] { client.deliver(viewOf(container)); }), noError);
    ASSERT_EQ(server.requests().size(), 1U);
    EXPECT_EQ(server.requests()[0].header().flags, 0);
}

TEST(LogClient, ADeliveredContainerThatIsRefusedIsAnError)
{
    FakeLogServer server(
        [](FakeLogServer& s, const Request& r) { s.acknowledge(r, {}, PacketStatus::Failed); });
    LogClient client(server.address());
    const Bytes container = containerOf(true);
    EXPECT_EQ(failureOf([&] { client.deliver(viewOf(container)); }),
              "The command was not successful (negative acknowledge received)");
}

} // namespace
