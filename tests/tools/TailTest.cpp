// `zulog tail` as a shell sees it.

#include "logging/ConnectionInfo.h"
#include "logging/LogClient.h"
#include "platform/SharedMemory.h"
#include "tests/service/ProgramRun.h"
#include "tests/service/RawPeer.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/FakeLogServer.h"
#include "tests/support/TestEnvironment.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace zuLogging {
namespace {

using test::FakeLogServer;
using test::waitFor;

/// Answers every request and sends some messages to who subscribes; counts who unsubscribes.
class StandIn
{
public:
    explicit StandIn(std::uint64_t messages = 0)
        : server_([messages](FakeLogServer& server, const FakeLogServer::Request& request) {
            if ((request.header().flags & flagNoAcknowledge) != 0)
                return;
            server.acknowledge(request);
            if (request.header().command != 289 || server.requests().size() > 1)
                return;
            const std::string payload(request.bytes.begin() + packetHeaderSize,
                                      request.bytes.end());
            const platform::SocketAddress viewer = parseSocketAddress(payload.substr(4));
            for (std::uint64_t i = 1; i <= messages; ++i) {
                const auto container = test::sampleContainer(i, "Größe " + std::to_string(i));
                server.send(test::bytesOf(makeRequest(magicLogMessage, 257, container.data(),
                                                      container.size(), flagNoAcknowledge)),
                            viewer);
            }
        })
    {
        publisher_.publish(connectionInfoName(), encodeConnectionInfo(server_.address()));
    }

    int count(int command) const
    {
        const std::vector<int> all = server_.commands();
        return static_cast<int>(std::count(all.begin(), all.end(), command));
    }
    bool isSubscribedTo() const { return count(289) > 0; }
    int unsubscribed() const { return count(290); }

private:
    FakeLogServer server_;
    platform::SharedMemoryPublisher publisher_;
};

class TailProcess
{
public:
    explicit TailProcess(const QStringList& options = {}, const QString& output = {})
    {
        if (!output.isEmpty())
            process.setStandardOutputFile(output);
        process.start(test::programPath(QStringLiteral("zulog")),
                      QStringList{QStringLiteral("tail")} + options);
        EXPECT_TRUE(process.waitForStarted());
    }
    ~TailProcess()
    {
        if (process.state() != QProcess::NotRunning) {
            process.kill();
            process.waitForFinished();
        }
    }
    void signal(const char* name) const
    {
        QProcess::execute(QStringLiteral("kill"),
                          {QString::fromLatin1(name), QString::number(process.processId())});
    }
    /// The exit status; -1 when it did not end, or not by itself.
    int waitForEnd()
    {
        const bool ended = waitFor([this] { return process.state() == QProcess::NotRunning; });
        return ended && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }
    bool waitForOutput(const QByteArray& text)
    {
        return waitFor([&] {
            out += process.readAllStandardOutput();
            return out.contains(text);
        });
    }
    bool waitForError(const QByteArray& text)
    {
        return waitFor([&] {
            err += process.readAllStandardError();
            return err.contains(text);
        });
    }

    QProcess process;
    QByteArray out;
    QByteArray err;
};

test::ProgramRun shell(const QString& commands)
{
    QProcess process;
    test::ProgramRun run;
    process.start(QStringLiteral("sh"),
                  {QStringLiteral("-c"),
                   QString(commands).replace(QStringLiteral("zulog"),
                                             test::programPath(QStringLiteral("zulog")))});
    run.ended = waitFor([&] { return process.state() == QProcess::NotRunning; });
    if (!run.ended) {
        process.kill();
        process.waitForFinished();
    }
    run.status = process.exitCode();
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}

class TailAndASignal : public ::testing::TestWithParam<const char*>
{
};

TEST_P(TailAndASignal, UnsubscribesAndEndsWithStatus0)
{
    const StandIn service(3);
    TailProcess tail;
    EXPECT_TRUE(tail.waitForOutput("Größe 3\n"));
    EXPECT_EQ(tail.out.count('\n'), 3);
    EXPECT_EQ(service.unsubscribed(), 0);
    QElapsedTimer timer;
    timer.start();
    tail.signal(GetParam());
    EXPECT_EQ(tail.waitForEnd(), 0);
    EXPECT_LT(timer.elapsed(), 2000);
    EXPECT_EQ(service.unsubscribed(), 1);
    EXPECT_EQ(tail.process.readAllStandardError(), QByteArray());
}

INSTANTIATE_TEST_SUITE_P(Signals, TailAndASignal, ::testing::Values("-INT", "-TERM", "-HUP"),
                         [](const auto& test) { return std::string(test.param + 1); });

TEST(Tail, HeadThatHasEnoughEndsItAtOnceAndQuietly)
{
    const StandIn service(200);
    const test::ProgramRun run = shell(QStringLiteral("zulog tail | head -3"));
    EXPECT_TRUE(run.ended);
    EXPECT_EQ(run.out.count('\n'), 3);
    EXPECT_EQ(run.err, QString());
    EXPECT_TRUE(waitFor([&] { return service.unsubscribed() == 1; }));
}

TEST(Tail, AReaderThatGoesEndsItAlsoWhenNoMessageComes)
{
    const StandIn service;
    const test::ProgramRun run =
        shell(QStringLiteral("{ zulog tail; echo \"status $?\" >&2; } | true"));
    EXPECT_TRUE(run.ended);
    EXPECT_EQ(run.err, QStringLiteral("status 0\n"));
    EXPECT_EQ(service.count(289), 1);
    EXPECT_EQ(service.unsubscribed(), 1);
}

TEST(Tail, AfterTheCountItEndsWithStatus0)
{
    const StandIn service(5);
    TailProcess tail({QStringLiteral("--count"), QStringLiteral("2")});
    EXPECT_EQ(tail.waitForEnd(), 0);
    EXPECT_EQ(tail.process.readAllStandardOutput().count('\n'), 2);
    EXPECT_EQ(service.unsubscribed(), 1);
}

TEST(Tail, ADiskWithoutRoomIsStatus1AndOneLine)
{
    const StandIn service(1);
    const test::ProgramRun run = shell(QStringLiteral("zulog tail >/dev/full; echo \"status $?\""));
    EXPECT_EQ(run.out, QStringLiteral("status 1\n"));
    EXPECT_EQ(run.err,
              QStringLiteral("zulog: cannot write to standard output: No space left on device\n"));
    EXPECT_EQ(service.unsubscribed(), 1);
}

TEST(Tail, WithoutAStandardOutputItIsStatus1)
{
    const StandIn service(1);
    const test::ProgramRun run = shell(QStringLiteral("zulog tail >&-; echo \"status $?\""));
    EXPECT_EQ(run.out, QStringLiteral("status 1\n"));
    EXPECT_EQ(run.err,
              QStringLiteral("zulog: cannot write to standard output: Bad file descriptor\n"));
    EXPECT_EQ(service.count(289), 0);
}

TEST(Tail, WritesUtf8WhateverTheLocale)
{
    const StandIn service(1);
    const test::ProgramRun run =
        test::runProgram(QStringLiteral("zulog"),
                         {QStringLiteral("tail"), QStringLiteral("--count"), QStringLiteral("1")},
                         {}, {QStringLiteral("LC_ALL=C"), QStringLiteral("LANG=C")});
    EXPECT_EQ(run.status, 0);
    EXPECT_TRUE(run.out.endsWith(QStringLiteral("Größe 1\n"))) << run.out.toStdString();
}

TEST(Tail, JsonIsAnObjectALine)
{
    const StandIn service(3);
    TailProcess tail({QStringLiteral("--json"), QStringLiteral("--count"), QStringLiteral("3")});
    EXPECT_EQ(tail.waitForEnd(), 0);
    const QList<QByteArray> lines = tail.process.readAllStandardOutput().split('\n');
    ASSERT_EQ(lines.size(), 4);
    for (int i = 0; i < 3; ++i) {
        const QJsonObject object = QJsonDocument::fromJson(lines[i]).object();
        EXPECT_EQ(object.keys().size(), 12);
        EXPECT_EQ(object.value("SourceMsgID").toString(), QString::number(i + 1));
        EXPECT_EQ(object.value("LogMessage").toString(), QStringLiteral("Größe %1").arg(i + 1));
    }
}

TEST(Tail, ReplayAsksForWhatWasRecorded)
{
    const StandIn service;
    TailProcess tail({QStringLiteral("--replay")});
    EXPECT_TRUE(waitFor([&] { return service.count(292) == 1; }));
    tail.signal("-INT");
    EXPECT_EQ(tail.waitForEnd(), 0);
    EXPECT_EQ(service.unsubscribed(), 1);
}

TEST(Tail, AServiceThatIsKilledAndStartedAgainIsShownAgain)
{
    const auto send = [](const test::ServiceProcess& service, const std::string& text) {
        const auto bytes = test::sampleContainer(1, text);
        LogMessageContainerView view;
        view.data = bytes.data();
        view.length = bytes.size();
        LogClient(service.address()).deliver(view);
    };
    test::ServiceProcess first;
    ASSERT_TRUE(first.start());
    TailProcess tail;
    EXPECT_TRUE(waitFor([&] {
        send(first, "before");
        tail.out += tail.process.readAllStandardOutput();
        return tail.out.contains("before\n");
    }));
    first.kill();
    EXPECT_TRUE(tail.waitForError(" has gone; waiting for it to come back\n"));
    test::ServiceProcess second;
    ASSERT_TRUE(second.start());
    EXPECT_TRUE(tail.waitForError("; showing its messages again\n"));
    send(second, "after");
    EXPECT_TRUE(tail.waitForOutput("after\n"));
    EXPECT_EQ(tail.out.count("after\n"), 1);
    second.kill();
    EXPECT_TRUE(waitFor([&] {
        tail.err += tail.process.readAllStandardError();
        return tail.err.count(" has gone; ") == 2;
    }));
    tail.signal("-INT");
    EXPECT_EQ(tail.waitForEnd(), 0);
}

} // namespace
} // namespace zuLogging
