// Configuration and modules over real sockets, and what the service then does with messages.

#include "logging/LogClient.h"
#include "logging/LogMessageContainerBuilder.h"
#include "logging/LogSvcError.h"
#include "platform/Process.h"
#include "service/ServiceFiles.h"
#include "tests/service/RawPeer.h"
#include "tests/service/RunningService.h"
#include "tests/service/ServiceProcess.h"
#include "tests/service/Subscriber.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TraceCapture.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <mutex>
#include <random>
#include <thread>

namespace zuLogging {
namespace {

using test::RawPeer;

const char* const defaultConfiguration =
    R"({"parameters":{"level":"debug","destination":"logsvc"}})";
const char* const errForX = R"({"parameters":{"level":"debug"},"specializations":[
    {"attributes":[{"id":"module","value":"X"}],"parameters":{"level":"err"}}]})";

constexpr std::uint64_t fatal = 1;
constexpr std::uint64_t err = 2;
constexpr std::uint64_t info = 8;
constexpr std::uint64_t debug = 32;

std::string numberBytes(std::uint64_t value, std::size_t size)
{
    std::string bytes(8, '\0');
    storeU64(reinterpret_cast<std::uint8_t*>(bytes.data()), value);
    return bytes.substr(0, size);
}

/// A document of about that many bytes, all of which has to be read.
std::string largeDocument(std::size_t size)
{
    std::string text = R"({"parameters":{"level":"debug"},"specializations":[)";
    for (int i = 0; text.size() + 250 < size; ++i)
        text += R"({"#":"Comment on number )" + std::to_string(i) +
                R"(","attributes":[{"id":"module","op":"eq","value":"Some.Module.)" +
                std::to_string(i) + R"("}],"parameters":{"level":"info","destination":"logsvc"}},)";
    return text + R"({"attributes":[{"id":"module","value":"X"}],"parameters":{"level":"err"}}]})";
}

/// A client gives up after a second, which a busy machine with a slow disk may need. Everything
/// here can be asked for again.
template <class Transfer>
auto patiently(const Transfer& transfer)
{
    for (int attempt = 0;; ++attempt) {
        try {
            return transfer();
        } catch (const LogSvcError& error) {
            const std::string text = error.what();
            if (attempt == 30 || text.find("execution failure") == std::string::npos)
                throw;
        }
    }
}

std::string downloadFrom(const platform::SocketAddress& address, LogClientCommand command)
{
    return patiently([&] { return LogClient(address).download(command); });
}

void uploadTo(const platform::SocketAddress& address, const std::string& text)
{
    patiently([&] { LogClient(address).upload(text.data(), text.size()); });
}

/// Sizes of documents for what must happen while one is being checked: the small one is enough on a
/// slow or instrumented program, the large one on a fast one.
constexpr std::array<std::size_t, 5> growingSizes{200000, 500000, 1500000, 4000000, 12000000};

class Transfers : public ::testing::Test
{
protected:
    Transfers()
    {
        sink_ = std::make_shared<test::CollectingSink>();
        QDir(directory_.path()).mkpath(QStringLiteral("log"));
        startService();
    }

    void startService()
    {
        service_.reset();
        service_ = std::make_unique<test::RunningService>(SinkList{sink_}, folder(), [this] {
            const std::lock_guard<std::mutex> lock(clockMutex_);
            return std::chrono::steady_clock::now() + clockOffset_;
        });
    }
    std::string folder() const { return directory_.filePath(QStringLiteral("log")).toStdString(); }
    QString inFolder(const char* name) const
    {
        return directory_.filePath(QStringLiteral("log/") + QString::fromUtf8(name));
    }
    static std::string contents(const QString& path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return "(no file)";
        return file.readAll().toStdString();
    }
    void passTime(std::chrono::seconds time)
    {
        const std::lock_guard<std::mutex> lock(clockMutex_);
        clockOffset_ += time;
    }

    std::string configuration()
    {
        return downloadFrom(service_->address(), LogClientCommand::GetConfiguration);
    }
    std::string modules()
    {
        return downloadFrom(service_->address(), LogClientCommand::GetModules);
    }
    void upload(const std::string& text) { uploadTo(service_->address(), text); }
    bool isRefused(const std::string& text)
    {
        try {
            upload(text);
            return false;
        } catch (const LogSvcError& error) {
            EXPECT_STREQ(error.what(),
                         "The command was not successful (negative acknowledge received)");
            return true;
        }
    }
    /// Status of the answer.
    std::uint16_t ask(std::uint16_t command, const std::string& payload = {})
    {
        const auto header = peer_.ask(service_->address(), magicLogClient, command, payload);
        return header ? header->status : 0xFFFF;
    }
    /// A buffer, made with a raw packet.
    std::uint64_t create(std::uint32_t size)
    {
        peer_.send(request(19, numberBytes(size, 4)), service_->address());
        const auto answer = peer_.receive();
        if (!answer || answer->size() != packetHeaderSize + 8)
            return 0;
        return loadU64(answer->data() + packetHeaderSize);
    }
    /// A buffer that holds `text`.
    std::uint64_t createHolding(const std::string& text)
    {
        const std::uint64_t handle = create(static_cast<std::uint32_t>(text.size()));
        for (std::size_t offset = 0; offset < text.size(); offset += 1372) {
            const std::string piece = text.substr(offset, 1372);
            EXPECT_EQ(ask(18, numberBytes(handle, 8) + numberBytes(offset, 4) +
                                  numberBytes(piece.size(), 4) + piece),
                      0);
        }
        return handle;
    }
    static Packet request(std::uint16_t command, const std::string& payload)
    {
        return makeRequest(magicLogClient, command, payload.data(), payload.size());
    }
    /// Sends a message and waits for its acknowledge. The message's text is its module and level.
    void send(const std::string& module, std::uint64_t level, std::uint64_t processId = 0)
    {
        LogMessageContainerBuilder builder;
        builder.module = module;
        builder.logLevel = level;
        builder.processId = processId;
        builder.logMessage = module + std::to_string(level);
        const std::vector<std::uint8_t> bytes = builder.build();
        // A message that is sent twice would be there twice: no second attempt here.
        const Packet packet = makeRequest(magicLogMessage, 257, bytes.data(), bytes.size());
        peer_.send(packet, service_->address());
        const auto answer = peer_.receive(std::chrono::minutes(1));
        ASSERT_TRUE(answer);
        EXPECT_EQ(readPacketHeader(answer->data()).command, 257 | commandAcknowledgeBit);
        EXPECT_EQ(readPacketHeader(answer->data()).status, 0);
    }
    /// Texts of the messages that reached the sink.
    std::vector<std::string> passed() const
    {
        std::vector<std::string> texts;
        for (const DecodedMessage& message : sink_->messages())
            texts.push_back(QString::fromStdU16String(message.logMessage).toStdString());
        return texts;
    }
    using Texts = std::vector<std::string>;

    test::TraceCapture trace_;
    QTemporaryDir directory_;
    std::mutex clockMutex_;
    std::chrono::seconds clockOffset_{0};
    std::shared_ptr<test::CollectingSink> sink_;
    std::unique_ptr<test::RunningService> service_;
    RawPeer peer_;
};

TEST_F(Transfers, AServiceThatNobodyConfiguredServesADocumentThatLetsEverythingPass)
{
    EXPECT_EQ(configuration(), defaultConfiguration);
    EXPECT_EQ(modules(), "");
}

TEST_F(Transfers, AConfigurationOfAnySizeComesBackAsItWasBrought)
{
    const std::string start = R"({"parameters":{"level":"debug"},"#":")";
    const std::string end = "\"}";
    for (const std::size_t size :
         {50, 1371, 1372, 1373, 1387, 1388, 1389, 2743, 2744, 2745, 100000}) {
        const std::string text = start + std::string(size - start.size() - end.size(), 'c') + end;
        ASSERT_EQ(text.size(), size);
        upload(text);
        EXPECT_EQ(configuration(), text) << size;
        EXPECT_EQ(contents(inFolder(rulesFileName)), text) << size;
    }
    const std::string large = largeDocument(200000);
    upload(large);
    EXPECT_TRUE(configuration() == large);
}

TEST_F(Transfers, WhatIsNoGoodConfigurationIsRefusedAndTheOldOneStays)
{
    upload(errForX);
    for (const std::string& text :
         {std::string(), std::string("x"), std::string("[]"),
          std::string(R"({"parameters":{"level":"loud"}})"),
          std::string(R"({"parameters":{"destination":"disk"}})"),
          std::string(R"({"specializations":[{"attributes":[{"id":"user"}]}]})"),
          std::string(R"({"specializations":[{"attributes":[{"op":"ne"}]}]})"),
          std::string(R"({"parameters":{"file":"/tmp/x"}})"),
          std::string(R"({"parameters":{"file":"../x"}})")}) {
        EXPECT_TRUE(isRefused(text)) << text;
        EXPECT_EQ(configuration(), errForX);
    }
    EXPECT_EQ(contents(inFolder(rulesFileName)), errForX);
    send("X", info);
    EXPECT_EQ(passed(), Texts());
}

TEST_F(Transfers, AnUploadThatWasNotWrittenToItsEndIsRefused)
{
    const std::string text = errForX;
    const std::uint64_t handle = create(static_cast<std::uint32_t>(text.size() + 1));
    ASSERT_EQ(
        ask(18, numberBytes(handle, 8) + numberBytes(0, 4) + numberBytes(text.size(), 4) + text),
        0);
    EXPECT_EQ(ask(34, numberBytes(handle, 8)), 3);
    EXPECT_EQ(configuration(), defaultConfiguration);
}

TEST_F(Transfers, WrongPacketsAreAnsweredAndChangeNothing)
{
    const std::uint64_t handle = create(10);
    ASSERT_NE(handle, 0U);
    const std::string good = numberBytes(handle, 8);
    EXPECT_EQ(ask(20, good.substr(0, 7)), 1);
    EXPECT_EQ(ask(21, numberBytes(handle + 1, 8)), 3);
    EXPECT_EQ(ask(34, numberBytes(~handle, 8)), 3);
    EXPECT_EQ(ask(17, good + numberBytes(9, 4) + numberBytes(2, 4)), 3);
    EXPECT_EQ(ask(18, good + numberBytes(0xFFFFFFFF, 4) + numberBytes(2, 4) + "ab"), 3);
    EXPECT_EQ(ask(18, good + numberBytes(0, 4) + numberBytes(3, 4) + "ab"), 1);
    EXPECT_EQ(ask(19, numberBytes((16U << 20) + 1, 4)), 3);

    std::vector<std::uint8_t> longer = test::bytesOf(request(21, good));
    longer.push_back(0);
    EXPECT_EQ(peer_.ask(service_->address(), longer)->status, 1);
    std::vector<std::uint8_t> flagged = test::bytesOf(request(20, good));
    storeU16(flagged.data() + 2, 2);
    EXPECT_EQ(peer_.ask(service_->address(), flagged)->status, 9);

    EXPECT_EQ(ask(21, good), 0);
    EXPECT_EQ(configuration(), defaultConfiguration);
}

TEST_F(Transfers, AtMost64BuffersAreHeldAtOnceAndForgottenOnesAreReleased)
{
    std::vector<std::uint64_t> handles;
    for (int i = 0; i < 64; ++i)
        handles.push_back(create(100));
    EXPECT_EQ(ask(19, numberBytes(100, 4)), 3);
    EXPECT_EQ(ask(33), 3);
    EXPECT_EQ(ask(35), 3);
    EXPECT_EQ(ask(20, numberBytes(handles[7], 8)), 0);
    EXPECT_EQ(ask(33), 0);
    EXPECT_EQ(ask(33), 3);
    passTime(std::chrono::seconds(40));
    EXPECT_EQ(ask(21, numberBytes(handles[0], 8)), 0);
    passTime(std::chrono::seconds(40));
    EXPECT_EQ(ask(33), 0);
    EXPECT_EQ(ask(21, numberBytes(handles[0], 8)), 0);
    EXPECT_EQ(ask(21, numberBytes(handles[1], 8)), 3);
}

TEST_F(Transfers, ARequestSentTwiceWhileItIsCarriedOutIsAnsweredOnce)
{
    int answers = 0;
    for (const std::size_t size : growingSizes) {
        const std::uint64_t handle = createHolding(largeDocument(size));
        const Packet commit = request(34, numberBytes(handle, 8));
        RawPeer client;
        for (int i = 0; i < 3; ++i)
            client.send(commit, service_->address());
        // They are carried out in their order: behind the answer to this one nothing comes.
        Packet last = request(34, numberBytes(createHolding(errForX), 8));
        PacketHeader header = last.header();
        header.sequence = static_cast<std::uint16_t>(commit.header().sequence + 1);
        last.setHeader(header);
        client.send(last, service_->address());
        for (answers = 0;; ++answers) {
            const auto answer = client.receive(std::chrono::minutes(2));
            ASSERT_TRUE(answer);
            const PacketHeader answered = readPacketHeader(answer->data());
            EXPECT_EQ(answered.command, 34 | commandAcknowledgeBit);
            EXPECT_EQ(answered.status, 0);
            if (answered.sequence == header.sequence)
                break;
            EXPECT_EQ(answered.sequence, commit.header().sequence);
        }
        if (answers == 1)
            break;
    }
    EXPECT_EQ(answers, 1);
}

TEST_F(Transfers, CheckingAConfigurationDoesNotHoldTheMessages)
{
    bool isPongFirst = false;
    for (const std::size_t size : growingSizes) {
        const std::uint64_t handle = createHolding(largeDocument(size));
        peer_.send(request(34, numberBytes(handle, 8)), service_->address());
        peer_.send(makeRequest(magicLogMessage, 273, nullptr, 0), service_->address());
        const auto first = peer_.receive(std::chrono::minutes(2));
        const auto second = peer_.receive(std::chrono::minutes(2));
        ASSERT_TRUE(first && second);
        // Asked later, answered earlier.
        isPongFirst = readPacketHeader(first->data()).magic == magicLogMessage;
        EXPECT_EQ(readPacketHeader((isPongFirst ? second : first)->data()).command,
                  34 | commandAcknowledgeBit);
        EXPECT_EQ(readPacketHeader((isPongFirst ? second : first)->data()).status, 0);
        if (isPongFirst)
            break;
    }
    EXPECT_TRUE(isPongFirst);
}

/// Counts how often the service had nothing to do.
class IdleCounter final : public LogMessageSink
{
public:
    void idle() override { ++count; }
    void consume(const LogMessageContainerView&) override {}

    std::atomic<int> count{0};
};

TEST_F(Transfers, TheReceivingThreadRestsAgainBehindAnUpload)
{
    const auto counter = std::make_shared<IdleCounter>();
    service_.reset();
    service_ = std::make_unique<test::RunningService>(SinkList{counter}, folder());
    upload(errForX);
    EXPECT_TRUE(test::waitFor([&] { return counter->count.load() > 0; }, 20000));
}

TEST_F(Transfers, ABufferReleasedWhileItIsCheckedIsCheckedAllTheSame)
{
    const std::string text = largeDocument(500000);
    const std::uint64_t handle = createHolding(text);
    RawPeer other;
    other.send(request(34, numberBytes(handle, 8)), service_->address());
    EXPECT_EQ(ask(18, numberBytes(handle, 8) + numberBytes(0, 4) + numberBytes(1, 4) + "x"), 3);
    EXPECT_EQ(ask(20, numberBytes(handle, 8)), 0);
    const auto answer = other.receive(std::chrono::minutes(2));
    ASSERT_TRUE(answer);
    EXPECT_EQ(readPacketHeader(answer->data()).status, 0);
    EXPECT_TRUE(configuration() == text);
}

TEST_F(Transfers, OnlySoManyConfigurationsWaitForBeingChecked)
{
    constexpr std::uint16_t requests = 20;
    int taken = 0;
    int refused = 0;
    for (const std::size_t size : growingSizes) {
        const std::uint64_t large = createHolding(largeDocument(size));
        const std::uint64_t small = createHolding(errForX);
        peer_.send(request(34, numberBytes(large, 8)), service_->address());
        for (std::uint16_t i = 0; i < requests; ++i) {
            Packet packet = request(34, numberBytes(small, 8));
            PacketHeader header = packet.header();
            header.sequence = i;
            packet.setHeader(header);
            peer_.send(packet, service_->address());
        }
        taken = 0;
        refused = 0;
        for (int i = 0; i <= requests; ++i) {
            const auto answer = peer_.receive(std::chrono::minutes(2));
            ASSERT_TRUE(answer);
            (readPacketHeader(answer->data()).status == 0 ? taken : refused) += 1;
        }
        if (taken == 8)
            break;
    }
    EXPECT_EQ(taken, 8);
    EXPECT_EQ(refused, 13);
    EXPECT_EQ(configuration(), errForX);
}

TEST_F(Transfers, AServiceThatEndsFinishesWhatItHasTakenInHand)
{
    const std::string text = largeDocument(500000);
    const std::uint64_t handle = createHolding(text);
    RawPeer other;
    other.send(request(34, numberBytes(handle, 8)), service_->address());
    ASSERT_TRUE(peer_.ask(service_->address(), magicLogMessage, 273));
    service_.reset();
    const auto answer = other.receive(std::chrono::minutes(2));
    ASSERT_TRUE(answer);
    EXPECT_EQ(readPacketHeader(answer->data()).command, 34 | commandAcknowledgeBit);
    EXPECT_EQ(readPacketHeader(answer->data()).status, 0);
    EXPECT_TRUE(contents(inFolder(rulesFileName)) == text);
}

TEST_F(Transfers, AnUploadThatWantsNoAnswerGetsNone)
{
    const std::uint64_t handle = createHolding(errForX);
    const std::string payload = numberBytes(handle, 8);
    peer_.send(makeRequest(magicLogClient, 34, payload.data(), payload.size(), flagNoAcknowledge),
               service_->address());
    EXPECT_TRUE(test::waitFor([&] { return configuration() == errForX; }));
    EXPECT_FALSE(peer_.receive(std::chrono::milliseconds(0)));
}

TEST_F(Transfers, GarbageNeitherStopsTheServiceNorChangesTheConfiguration)
{
    std::mt19937 random(4711);
    constexpr std::array<std::uint16_t, 8> commands{17, 18, 19, 20, 21, 33, 34, 35};
    for (int round = 0; round < 3000; ++round) {
        std::string payload(random() % 40, '\0');
        for (char& byte : payload)
            byte = static_cast<char>(random() % 4 == 0 ? random() : 0);
        ASSERT_NE(ask(commands[random() % commands.size()], payload), 0xFFFF);
    }
    passTime(std::chrono::seconds(61));
    EXPECT_EQ(configuration(), defaultConfiguration);
}

TEST_F(Transfers, LevelErrForAModuleStopsItsInfoMessagesAndNoOthers)
{
    send("X", info);
    upload(errForX);
    send("X", info);
    send("x", debug);
    send("X", err);
    send("X", fatal);
    send("Y", info);
    send("Y", debug);
    send("X", 0);
    EXPECT_EQ(passed(), (Texts{"X8", "X2", "X1", "Y8", "Y32", "X0"}));
    upload(defaultConfiguration);
    send("X", info);
    EXPECT_EQ(passed().back(), "X8");
}

TEST_F(Transfers, MessagesThatAreDroppedUseNoNumberUp)
{
    upload(errForX);
    const test::Subscriber subscriber;
    for (const std::uint64_t level : {err, info, info, fatal, debug, err})
        send("X", level);
    const std::vector<DecodedMessage> messages = subscriber.waitForMessages(3);
    ASSERT_EQ(messages.size(), 3U);
    for (std::size_t i = 0; i < messages.size(); ++i)
        EXPECT_EQ(messages[i].serviceMsgId, i + 1);
}

TEST_F(Transfers, LevelNoneAndDestinationNoneDropEverything)
{
    upload(R"({"parameters":{"level":"none"}})");
    for (const std::uint64_t level : {std::uint64_t{0}, fatal, debug, std::uint64_t{64}})
        send("X", level);
    upload(R"({"parameters":{"destination":"none"}})");
    send("X", fatal);
    EXPECT_EQ(passed(), Texts());
}

TEST_F(Transfers, DestinationFileWritesTheMessageBesidesHandingItToTheSinks)
{
    upload(R"({"parameters":{"level":"info"},"specializations":[
        {"attributes":[{"id":"module","value":"X"}],
         "parameters":{"destination":"file","file":"x.log"}}]})");
    send("X", info);
    send("X", debug);
    send("Y", info);
    EXPECT_EQ(passed(), (Texts{"X8", "Y8"}));
    EXPECT_EQ(contents(inFolder("x.log")),
              std::string(19, ' ') + "X" + std::string(40, ' ') + std::string(7, ' ') + "8X8\n");
    // Without a name there is nothing to write to.
    upload(R"({"parameters":{"destination":"file"}})");
    send("X", info);
    EXPECT_EQ(passed().size(), 3U);
    EXPECT_TRUE(trace_.calls().empty());
}

TEST_F(Transfers, AFileThatCannotBeWrittenCostsNoMessage)
{
    upload(R"({"parameters":{"destination":"file","file":"not-there/x.log"}})");
    for (int i = 0; i < 20; ++i)
        send("X", info);
    EXPECT_EQ(passed().size(), 20U);
    EXPECT_GE(trace_.countStartingWith("Failed to write to the log file 'not-there/x.log': "), 1U);
}

TEST_F(Transfers, ARuleForAProcessMeetsTheMessagesOfItsProgram)
{
    const std::string program =
        QFileInfo(QCoreApplication::applicationFilePath()).fileName().toStdString();
    EXPECT_EQ(platform::programName(platform::currentProcessId()), program);
    upload(R"({"specializations":[{"attributes":[{"id":"process","value":")" + program +
           R"("}],"parameters":{"level":"err"}}]})");
    send("X", info, platform::currentProcessId());
    send("Y", info, 0);
    send("Z", info, ~std::uint64_t{0});
    EXPECT_EQ(passed(), (Texts{"Y8", "Z8"}));
}

TEST_F(Transfers, ModulesAreThoseSeenAndThoseThatTheConfigurationNames)
{
    upload(R"({"parameters":{"level":"none"},"specializations":[
        {"attributes":[{"id":"module","op":"in","value":"In2, In1"},{"id":"process","value":"p"}]},
        {"attributes":[{"id":"module","value":"X"}]}]})");
    send("X", info);
    send("Seen", debug);
    send("", debug);
    send("Seen", info);
    EXPECT_EQ(modules(), std::string("In1\0In2\0Seen\0X\0", 15));
    upload(defaultConfiguration);
    EXPECT_EQ(modules(), std::string("Seen\0X\0", 7));
}

TEST_F(Transfers, ARestartKeepsConfigurationAndModules)
{
    upload(errForX);
    send("Seen", info);
    startService();
    EXPECT_EQ(configuration(), errForX);
    EXPECT_EQ(modules(), std::string("Seen\0X\0", 7));
    send("X", info);
    send("Y", info);
    EXPECT_EQ(passed(), (Texts{"Seen8", "Y8"}));
}

TEST_F(Transfers, ModulesAreWrittenSoonAndNotOnlyAtTheEnd)
{
    send("Seen", info);
    EXPECT_TRUE(
        test::waitFor([&] { return contents(inFolder(modulesFileName)) == "Seen\n"; }, 20000));
}

TEST_F(Transfers, AContainerThatCannotBeReadIsTreatedAsOneWithoutModuleAndLevel)
{
    std::vector<std::uint8_t> broken(40, 0xFF);
    storeU16(broken.data(), 40);
    const std::string_view payload(reinterpret_cast<const char*>(broken.data()), broken.size());
    EXPECT_EQ(peer_.ask(service_->address(), magicLogMessage, 257, payload)->status, 0);
    EXPECT_EQ(sink_->unreadable(), 1U);
    upload(R"({"parameters":{"level":"none"}})");
    EXPECT_EQ(peer_.ask(service_->address(), magicLogMessage, 257, payload)->status, 0);
    EXPECT_EQ(sink_->unreadable(), 1U);
}

/// The built program, with a data directory of its own.
class TransfersOfTheProgram : public ::testing::Test
{
protected:
    QStringList environment() const
    {
        return {QStringLiteral("ARZDATA=") + directory_.path() + QStringLiteral("/data/")};
    }
    QString inFolder(const char* name) const
    {
        return directory_.filePath(QStringLiteral("data/log/") + QString::fromUtf8(name));
    }
    static std::string contents(const QString& path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return "(no file)";
        return file.readAll().toStdString();
    }
    static std::string configuration(const platform::SocketAddress& address)
    {
        return downloadFrom(address, LogClientCommand::GetConfiguration);
    }

    QTemporaryDir directory_;
};

TEST_F(TransfersOfTheProgram, FoldersAndTheStartupFileAreMadeWhenTheyAreMissing)
{
    test::ServiceProcess service;
    ASSERT_TRUE(service.start(environment()));
    EXPECT_NE(contents(inFolder(startupFileName)).find("\"media_size\": \"10000\""),
              std::string::npos);
    uploadTo(service.address(), errForX);
    EXPECT_EQ(service.terminate(), 0);
    EXPECT_EQ(service.errorText(), QString());
    EXPECT_EQ(contents(inFolder(rulesFileName)), errForX);

    test::ServiceProcess again;
    ASSERT_TRUE(again.start(environment()));
    EXPECT_EQ(configuration(again.address()), errForX);
    EXPECT_EQ(again.terminate(), 0);
}

TEST_F(TransfersOfTheProgram, BrokenFilesAreReportedAndLeftAsTheyAre)
{
    ASSERT_TRUE(QDir(directory_.path()).mkpath(QStringLiteral("data/log")));
    for (const char* name : {rulesFileName, startupFileName}) {
        QFile file(inFolder(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("{ broken");
    }
    test::ServiceProcess service;
    ASSERT_TRUE(service.start(environment()));
    EXPECT_EQ(configuration(service.address()), defaultConfiguration);
    EXPECT_EQ(service.terminate(), 0);
    const QString said = service.errorText();
    EXPECT_TRUE(said.contains(QStringLiteral("zulogsvc: Failed to read the logging configuration")))
        << said.toStdString();
    EXPECT_TRUE(said.contains(QStringLiteral("zulogsvc: Failed to read the start-up file")))
        << said.toStdString();
    EXPECT_EQ(contents(inFolder(rulesFileName)), "{ broken");
    EXPECT_EQ(contents(inFolder(startupFileName)), "{ broken");
}

TEST_F(TransfersOfTheProgram, WithoutADataDirectoryTheConfigurationIsKeptInMemory)
{
    test::ServiceProcess service;
    ASSERT_TRUE(service.start({QStringLiteral("ARZDATA=")}));
    uploadTo(service.address(), errForX);
    EXPECT_EQ(configuration(service.address()), errForX);
    EXPECT_EQ(service.terminate(), 0);
    EXPECT_EQ(service.errorText(), QString());
}

TEST_F(TransfersOfTheProgram, ADataDirectoryThatCannotBeUsedIsReportedAndTheServiceRuns)
{
    QFile file(directory_.filePath(QStringLiteral("data")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    test::ServiceProcess service;
    ASSERT_TRUE(service.start(environment()));
    uploadTo(service.address(), errForX);
    EXPECT_EQ(configuration(service.address()), errForX);
    EXPECT_EQ(service.terminate(), 0);
    const QString said = service.errorText();
    EXPECT_TRUE(said.startsWith(QStringLiteral("zulogsvc: warning: cannot make the folder '")))
        << said.toStdString();
    EXPECT_EQ(said.count(QLatin1Char('\n')), 1);
}

TEST_F(TransfersOfTheProgram, AFullDiskLeavesTheOldConfigurationInForceAndInTheFile)
{
    ASSERT_TRUE(QDir(directory_.path()).mkpath(QStringLiteral("data/log")));
    QProcess shell; // lets no file grow beyond some kilobytes, as a full disk would
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    variables.insert(QStringLiteral("ARZDATA"), directory_.filePath(QStringLiteral("data/")));
    shell.setProcessEnvironment(variables);
    shell.start(QStringLiteral("sh"),
                {QStringLiteral("-c"), QStringLiteral("trap '' XFSZ; ulimit -f 16; exec \"$0\""),
                 test::programPath(QStringLiteral("zulogsvc"))});
    ASSERT_TRUE(test::waitFor([&] { return shell.canReadLine(); }));
    const std::string address =
        QString::fromUtf8(shell.readLine()).trimmed().section(QLatin1Char(' '), -1).toStdString();
    const SocketAddress service = parseSocketAddress(address);
    uploadTo(service, errForX);
    EXPECT_THROW(uploadTo(service, largeDocument(100000)), LogSvcError);
    EXPECT_EQ(configuration(service), errForX);
    EXPECT_EQ(contents(inFolder(rulesFileName)), errForX);
    uploadTo(service, defaultConfiguration);
    EXPECT_EQ(contents(inFolder(rulesFileName)), defaultConfiguration);
    shell.terminate();
    EXPECT_TRUE(shell.waitForFinished(10000));
}

TEST_F(TransfersOfTheProgram, KilledAmidUploadsItLeavesOneOfTheDocumentsWhole)
{
    const std::string first = largeDocument(20000);
    const std::string second =
        R"({"parameters":{"level":"err"},"#":")" + std::string(15000, 'z') + "\"}";
    std::mt19937 random(1);
    for (int round = 0; round < 8; ++round) {
        test::ServiceProcess service;
        ASSERT_TRUE(service.start(environment()));
        const std::string kept = configuration(service.address());
        if (round > 0) {
            EXPECT_TRUE(kept == first || kept == second) << kept.size();
        }
        std::atomic<std::size_t> done{0};
        std::atomic<bool> isOver{false};
        std::thread uploader([&, address = service.address()] {
            while (!isOver.load()) {
                const std::string& text = done.load() % 2 == 0 ? first : second;
                try {
                    LogClient(address).upload(text.data(), text.size());
                    ++done;
                } catch (const LogSvcError&) {
                    // The service is slow, or gone.
                }
            }
        });
        const std::size_t enough = 2 + random() % 20;
        EXPECT_TRUE(test::waitFor([&] { return done.load() >= enough; }, 60000));
        service.kill();
        isOver.store(true);
        uploader.join();
        const std::string file = contents(inFolder(rulesFileName));
        EXPECT_TRUE(file == first || file == second) << file.size();
    }
}

} // namespace
} // namespace zuLogging
