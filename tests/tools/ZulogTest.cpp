// The built program zulog, as a shell sees it.

#include "tests/service/ProgramRun.h"
#include "tests/service/RunningService.h"
#include "tests/service/ServiceProcess.h"
#include "tests/service/Subscriber.h"
#include "tests/support/TestEnvironment.h"
#include "tests/tools/StandInService.h"
#include "tests/tools/ToolRun.h"

#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>

namespace zuLogging {
namespace {

using test::ProgramRun;
using test::runProgram;

ProgramRun zulog(const QStringList& arguments, const QByteArray& input = {})
{
    return runProgram(QStringLiteral("zulog"), arguments, input);
}

TEST(Zulog, ExitStatusesAreThoseOfTheCommands)
{
    EXPECT_EQ(zulog({QStringLiteral("--help")}).status, 0);
    EXPECT_EQ(zulog({QStringLiteral("--version")}).out, QStringLiteral("zulog 3.1.26\n"));
    EXPECT_EQ(zulog({QStringLiteral("send"), QStringLiteral("x")}).status, 1);
    EXPECT_EQ(
        zulog({QStringLiteral("demo"), QStringLiteral("--count"), QStringLiteral("1")}).status, 1);
    EXPECT_EQ(zulog({}).status, 2);
    EXPECT_EQ(zulog({QStringLiteral("send"), QStringLiteral("--what")}).status, 2);
}

TEST(Zulog, SendsArgumentsAndStandardInput)
{
    const test::RunningService service;
    const test::Subscriber subscriber;
    EXPECT_EQ(zulog({QStringLiteral("send"), QStringLiteral("Größe Ω 測定 🚀")}).status, 0);
    EXPECT_EQ(zulog({QStringLiteral("send")}, "one\ntwo\n").status, 0);
    const std::vector<DecodedMessage> messages = subscriber.waitForMessages(3);
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages[0].logMessage, u"Größe Ω 測定 🚀");
    EXPECT_EQ(messages[2].logMessage, u"two");
    EXPECT_EQ(messages[2].sourceMsgId, 2U);
}

class EndlessDemo : public ::testing::TestWithParam<const char*>
{
};

TEST_P(EndlessDemo, EndsWithASummaryWhenAskedTo)
{
    const test::RunningService service;
    const test::Subscriber subscriber;
    QProcess demo;
    demo.start(test::programPath(QStringLiteral("zulog")),
               {QStringLiteral("demo"), QStringLiteral("--rate"), QStringLiteral("500")});
    ASSERT_TRUE(demo.waitForStarted());
    ASSERT_GE(subscriber.waitForMessages(50).size(), 50U);
    QProcess::execute(QStringLiteral("kill"),
                      {QString::fromLatin1(GetParam()), QString::number(demo.processId())});
    ASSERT_TRUE(test::waitFor([&] { return demo.state() == QProcess::NotRunning; }));
    EXPECT_EQ(demo.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(demo.exitCode(), 0);
    const QByteArray summary = demo.readAllStandardError();
    const std::size_t sent = summary.left(summary.indexOf(' ')).toUInt();
    EXPECT_GE(sent, 50U);
    EXPECT_EQ(summary.count('\n'), 1);
    EXPECT_EQ(subscriber.waitForMessages(sent).size(), sent);
}

INSTANTIATE_TEST_SUITE_P(Signals, EndlessDemo, ::testing::Values("-INT", "-TERM"),
                         [](const auto& test) { return std::string(test.param + 1); });

// --- Lines that come slowly

class SlowSend : public ::testing::Test
{
protected:
    void start(const QStringList& options = {})
    {
        process_.start(test::programPath(QStringLiteral("zulog")),
                       QStringList{QStringLiteral("send")} + options);
        ASSERT_TRUE(process_.waitForStarted());
    }

    /// Writes some of the input and waits until that many messages have come in all.
    void write(const QByteArray& input, std::size_t count)
    {
        process_.write(input);
        ASSERT_TRUE(process_.waitForBytesWritten());
        ASSERT_TRUE(service_.server().waitForRequests(count));
    }

    bool ends() const
    {
        return test::waitFor([this] { return process_.state() == QProcess::NotRunning; });
    }

    void signal(const char* name) const
    {
        QProcess::execute(QStringLiteral("kill"),
                          {QString::fromLatin1(name), QString::number(process_.processId())});
    }

    std::vector<std::uint16_t> flags()
    {
        std::vector<std::uint16_t> all;
        for (const auto& request : service_.server().requests())
            all.push_back(request.header().flags);
        return all;
    }

    test::StandInService service_;
    QProcess process_;
};

TEST_F(SlowSend, EachLineIsSentAndAcknowledgedWhenItIsComplete)
{
    start();
    write("one\n", 1);
    write("two\nthr", 2);
    write("ee\n", 3);
    write("four\nfive\n", 5);
    process_.closeWriteChannel();
    ASSERT_TRUE(ends());
    EXPECT_EQ(process_.exitCode(), 0);
    EXPECT_EQ(process_.readAllStandardError(), QByteArray());
    const std::vector<std::uint16_t> all = flags();
    ASSERT_EQ(all.size(), 5U);
    // Of two lines that come in one piece the first need not be acknowledged.
    EXPECT_EQ(all[0] + all[1] + all[2] + all[4], 0);
}

TEST_F(SlowSend, EachElementOfAnArrayIsSentWhenItIsComplete)
{
    start({QStringLiteral("--json")});
    write("[ {\"SourceMsgID\":1},", 1);
    write("\n{\"SourceMsgID\":\n", 1);
    write("2}\n,", 2);
    write("{\"SourceMsgID\":3}]", 3);
    process_.closeWriteChannel();
    ASSERT_TRUE(ends());
    EXPECT_EQ(process_.exitCode(), 0);
    EXPECT_EQ(flags(), (std::vector<std::uint16_t>{0, 0, 0}));
}

class InterruptedSend : public SlowSend, public ::testing::WithParamInterface<const char*>
{
};

TEST_P(InterruptedSend, EndsWithWhatItHasReadAndStatus0)
{
    start();
    write("one\ntwo\nno end", 2);
    signal(GetParam());
    ASSERT_TRUE(ends());
    EXPECT_EQ(process_.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process_.exitCode(), 0);
    EXPECT_EQ(service_.server().requests().size(), 2U);
    EXPECT_EQ(process_.readAllStandardError(), QByteArray()); // no terminal
}

INSTANTIATE_TEST_SUITE_P(Signals, InterruptedSend, ::testing::Values("-INT", "-TERM"),
                         [](const auto& test) { return std::string(test.param + 1); });

/// Bytes that a process has read so far.
qulonglong bytesRead(qint64 processId)
{
    QFile file(QStringLiteral("/proc/%1/io").arg(processId));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readLine().mid(6).trimmed().toULongLong(); // "rchar: N"
}

TEST_F(SlowSend, EndsWhenInterruptedInALineWithoutEnd)
{
    for (const bool isPipe : {false, true}) {
        QProcess zeros;
        if (isPipe) {
            zeros.setStandardOutputProcess(&process_);
            zeros.start(QStringLiteral("cat"), {QStringLiteral("/dev/zero")});
        } else {
            process_.setStandardInputFile(QStringLiteral("/dev/zero"));
        }
        start();
        ASSERT_TRUE(test::waitFor([this] { return bytesRead(process_.processId()) > 5000000; }));
        signal("-INT");
        ASSERT_TRUE(ends());
        EXPECT_EQ(process_.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(process_.exitCode(), 0);
        EXPECT_TRUE(service_.server().requests().empty());
        zeros.kill();
        zeros.waitForFinished();
        process_.setStandardInputFile(QString());
    }
}

/// A terminal of the test's own.
class Terminal
{
public:
    Terminal()
        : handle_(::posix_openpt(O_RDWR | O_NOCTTY))
    {
        EXPECT_EQ(::grantpt(handle_), 0);
        EXPECT_EQ(::unlockpt(handle_), 0);
        // Held open, so that what was written stays to be read when the program has ended.
        other_ = ::open(::ptsname(handle_), O_RDWR | O_NOCTTY);
        EXPECT_GE(other_, 0);
    }
    ~Terminal()
    {
        ::close(other_);
        ::close(handle_);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    QString name() const { return QString::fromLocal8Bit(::ptsname(handle_)); }

    /// What has been written to it.
    QByteArray text() const
    {
        QByteArray all;
        pollfd polled{handle_, POLLIN, 0};
        while (::poll(&polled, 1, 0) > 0) {
            std::array<char, 4096> piece{};
            const ssize_t got = ::read(handle_, piece.data(), piece.size());
            if (got <= 0)
                break;
            all.append(piece.data(), static_cast<int>(got));
        }
        return all;
    }

private:
    int handle_;
    int other_ = -1;
};

TEST_F(SlowSend, OnATerminalAnInterruptedRunTellsHowMuchWasSent)
{
    const Terminal terminal;
    process_.setStandardErrorFile(terminal.name());
    start();
    write("one\ntwo\n", 2);
    signal("-INT");
    ASSERT_TRUE(ends());
    EXPECT_EQ(process_.exitCode(), 0);
    EXPECT_EQ(terminal.text(), QByteArray("2 messages sent\r\n"));
}

TEST(Zulog, AnInputThatCannotBeReadIsStatus1)
{
    const test::StandInService service;
    QProcess process;
    process.setStandardInputFile(QStringLiteral("/"));
    process.start(test::programPath(QStringLiteral("zulog")), {QStringLiteral("send")});
    ASSERT_TRUE(test::waitFor([&] { return process.state() == QProcess::NotRunning; }));
    if (process.error() != QProcess::FailedToStart) {
        EXPECT_EQ(process.exitCode(), 1);
        EXPECT_EQ(process.readAllStandardError(),
                  QByteArray("zulog: cannot read standard input\n"));
    }
}

// --- Standard output

TEST(Zulog, OnATerminalTheConfigurationEndsWithALineEnd)
{
    const test::StandInService service({{LogClientCommand::GetConfiguration, "{}"}});
    const Terminal terminal;
    QProcess process;
    process.setStandardOutputFile(terminal.name());
    process.start(test::programPath(QStringLiteral("zulog")),
                  {QStringLiteral("config"), QStringLiteral("get")});
    ASSERT_TRUE(test::waitFor([&] { return process.state() == QProcess::NotRunning; }));
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_EQ(terminal.text(), QByteArray("{}\r\n"));
    EXPECT_EQ(zulog({QStringLiteral("config"), QStringLiteral("get")}).out, QStringLiteral("{}"));
}

TEST(Zulog, AFullDiskIsStatus1)
{
    const test::StandInService service(
        {{LogClientCommand::GetConfiguration, "{}"}, {LogClientCommand::GetModules, "module"}});
    const QList<QStringList> commandLines{{QStringLiteral("modules")},
                                          {QStringLiteral("status")},
                                          {QStringLiteral("config"), QStringLiteral("get")},
                                          {QStringLiteral("send"), QStringLiteral("--help")}};
    for (const QStringList& words : commandLines) {
        QProcess process;
        process.setStandardOutputFile(QStringLiteral("/dev/full"));
        process.start(test::programPath(QStringLiteral("zulog")), words);
        ASSERT_TRUE(test::waitFor([&] { return process.state() == QProcess::NotRunning; }));
        EXPECT_EQ(process.exitCode(), 1) << words[0].toStdString();
        EXPECT_EQ(process.readAllStandardError(),
                  QByteArray("zulog: cannot write to standard output\n"));
    }
}

TEST(Zulog, AClosedPipeIsQuiet)
{
    std::string list;
    for (int i = 100000; i < 150000; ++i) // more than a pipe holds
        list += "module " + std::to_string(i) + '\0';
    const test::StandInService service({{LogClientCommand::GetModules, list}});
    QProcess shell;
    shell.start(QStringLiteral("bash"),
                {QStringLiteral("-c"), QStringLiteral("set -o pipefail; '%1' modules | head -1")
                                           .arg(test::programPath(QStringLiteral("zulog")))});
    ASSERT_TRUE(test::waitFor([&] { return shell.state() == QProcess::NotRunning; }));
    EXPECT_EQ(shell.readAllStandardOutput(), QByteArray("module 100000\n"));
    EXPECT_EQ(shell.readAllStandardError(), QByteArray());
    EXPECT_EQ(shell.exitCode(), 0);
}

// --- With the built service

TEST(Zulog, TheConfigurationOfARunningServiceIsReadAndReplaced)
{
    test::ServiceProcess service;
    ASSERT_TRUE(service.start());
    const QByteArray text = "{\n  \"parameters\": {\"level\": \"warn\"}\n}\n";
    EXPECT_EQ(
        zulog({QStringLiteral("config"), QStringLiteral("put"), QStringLiteral("-")}, text).status,
        0);
    EXPECT_EQ(zulog({QStringLiteral("config"), QStringLiteral("get")}).out,
              QString::fromUtf8(text));
    const ProgramRun refused =
        zulog({QStringLiteral("config"), QStringLiteral("put"), QStringLiteral("-")},
              "{\"parameters\": {\"level\": \"loud\"}}");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err.count(QLatin1Char('\n')), 1);
    EXPECT_EQ(zulog({QStringLiteral("config"), QStringLiteral("get")}).out,
              QString::fromUtf8(text));
}

TEST(Zulog, NothingOfALargeFileIsLost)
{
    const auto sink = std::make_shared<test::CollectingSink>();
    const test::RunningService service({sink});
    constexpr std::size_t count = 50000;
    QByteArray lines;
    for (std::size_t i = 0; i < count; ++i)
        lines += "line " + QByteArray::number(static_cast<qulonglong>(i)) + '\n';
    EXPECT_EQ(zulog({QStringLiteral("send")}, lines).status, 0);
    ASSERT_EQ(sink->count(), count);
    EXPECT_EQ(zulog({QStringLiteral("send"), QStringLiteral("--reliable")}, lines).status, 0);
    const std::vector<DecodedMessage> messages = sink->messages();
    ASSERT_EQ(messages.size(), 2 * count);
    for (std::size_t i = 0; i < count; ++i) {
        ASSERT_EQ(messages[i].sourceMsgId, i + 1);
        ASSERT_EQ(messages[count + i].sourceMsgId, i + 1);
    }
}

TEST(Zulog, WhatTailPrintsAsJsonIsTheSameMessagesAgainWhenItIsSent)
{
    const auto sink = std::make_shared<test::CollectingSink>();
    const test::RunningService service({sink});
    QProcess tail;
    tail.start(test::programPath(QStringLiteral("zulog")),
               {QStringLiteral("tail"), QStringLiteral("--json"), QStringLiteral("--count"),
                QStringLiteral("5")});
    ASSERT_TRUE(test::waitFor([] {
        return test::runTool({"status"}).out.find("forwarder:    127.0.0.1:") != std::string::npos;
    }));
    const QByteArray text = QByteArray("tab\t esc\x1B next\xC2\x85 turn\xE2\x80\xAE ") +
                            QStringLiteral("Größe Ω 測定 🚀 \"\\").toUtf8();
    ASSERT_EQ(zulog({QStringLiteral("send"), QStringLiteral("--level"), QStringLiteral("err"),
                     QStringLiteral("--group"), QStringLiteral("G"), QStringLiteral("--pos"),
                     QStringLiteral("p:1"), QStringLiteral("--pid"), QStringLiteral("7"),
                     QStringLiteral("--tid"), QStringLiteral("8"), QStringLiteral("--time"),
                     QStringLiteral("2026-11-21T08:52:11.5Z"), QStringLiteral("--module"),
                     QString::fromUtf8(text)},
                    "one\n\n" + text + '\n' + QByteArray(3000, 'x') + '\n')
                  .status,
              0);
    ASSERT_EQ(
        zulog({QStringLiteral("send"), QStringLiteral("--json"), QStringLiteral("{}")}).status, 0);
    ASSERT_TRUE(test::waitFor([&] { return tail.state() == QProcess::NotRunning; }));

    const ProgramRun again =
        zulog({QStringLiteral("send"), QStringLiteral("--json")}, tail.readAllStandardOutput());
    EXPECT_EQ(again.status, 0);
    EXPECT_EQ(again.err, QString());
    const std::vector<DecodedMessage> messages = sink->messages();
    ASSERT_EQ(messages.size(), 10U);
    for (std::size_t i = 0; i < 5; ++i) {
        const DecodedMessage& a = messages[i];
        const DecodedMessage& b = messages[i + 5];
        EXPECT_EQ(a.sourceMsgId, b.sourceMsgId);
        EXPECT_EQ(a.timestamp, b.timestamp);
        EXPECT_EQ(a.logLevel, b.logLevel);
        EXPECT_EQ(a.processId, b.processId);
        EXPECT_EQ(a.threadId, b.threadId);
        EXPECT_EQ(a.logPos, b.logPos);
        EXPECT_EQ(a.module, b.module);
        EXPECT_EQ(a.groupName, b.groupName);
        EXPECT_EQ(a.logMessage, b.logMessage);
    }
}

} // namespace
} // namespace zuLogging
