// What the service has recorded, what it sends on, and what becomes of both when it is killed.

#include "logging/ServiceStatus.h"
#include "tests/app/MessageBoxWaiter.h"
#include "tests/e2e/WindowTest.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace zuLogging {
namespace {

using test::programPath;
using test::ProgramRun;
using test::runProgram;
using test::ServiceProcess;
using test::waitFor;

class History : public test::WindowTest
{
protected:
    ~History() override { QFile::remove(startupFile()); }

    static QString startupFile()
    {
        return test::TestEnvironment::instance().dataDirectory() +
               QStringLiteral("/log/LogSvcConf.json");
    }

    bool startServiceWithRecorderOf(int lines)
    {
        QDir().mkpath(QFileInfo(startupFile()).path());
        QFile file(startupFile());
        const QString text =
            QStringLiteral(R"({"startup_sinks": [{"type": "record", "media_size": "%1"}]})")
                .arg(lines);
        if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) < 0)
            return false;
        file.close();
        return service_.start();
    }

    std::vector<std::uint64_t> serviceNumbers()
    {
        std::vector<std::uint64_t> numbers;
        for (const auto& message : model().messagesFrom(0, model().rowCount()))
            numbers.push_back(message->serviceMsgId());
        return numbers;
    }

    ServiceProcess service_;
};

/// How many listeners the service sends its messages on to, as the command line tells.
int forwarders()
{
    const ProgramRun run =
        runProgram(QStringLiteral("zulog"), {QStringLiteral("status"), QStringLiteral("--json")});
    if (run.status != 0)
        return -1;
    int count = 0;
    for (const ServiceStatus::Sink& sink : ServiceStatus::fromJson(run.out.toStdString()).sinks)
        count += sink.type == "forward" ? 1 : 0;
    return count;
}

std::vector<std::uint64_t> numbersFromTo(std::uint64_t first, std::uint64_t last)
{
    std::vector<std::uint64_t> numbers;
    for (std::uint64_t number = first; number <= last; ++number)
        numbers.push_back(number);
    return numbers;
}

TEST_F(History, OfFifteenHundredTheNewestThousandComeAndLiveOnesFollowWithoutAGap)
{
    ASSERT_TRUE(startServiceWithRecorderOf(1000));
    ASSERT_EQ(demo(5000, 1500).status, 0);
    ASSERT_TRUE(openWindow());

    command("Replay && start history")->trigger();
    ASSERT_TRUE(isLogging());
    ASSERT_TRUE(waitFor([this] { return model().rowCount() >= 1000; }));
    EXPECT_EQ(serviceNumbers(), numbersFromTo(501, 1500));

    ASSERT_EQ(demo(5000, 500).status, 0);
    ASSERT_TRUE(waitFor([this] { return model().rowCount() >= 1500; })) << lastRow();
    EXPECT_EQ(serviceNumbers(), numbersFromTo(501, 2000));
}

TEST_F(History, WhatComesWhileTheHistoryIsReplayedIsThereToo)
{
    ASSERT_TRUE(startServiceWithRecorderOf(1000));
    ASSERT_EQ(demo(5000, 1500).status, 0);
    ASSERT_TRUE(openWindow());

    // A replay of a thousand takes half a second; these fall into it.
    QProcess sender;
    command("Replay && start history")->trigger();
    ASSERT_TRUE(isLogging());
    sender.start(programPath(QStringLiteral("zulog")),
                 {QStringLiteral("demo"), QStringLiteral("--reliable"), QStringLiteral("--rate"),
                  QStringLiteral("1000"), QStringLiteral("--count"), QStringLiteral("300")});
    ASSERT_TRUE(waitFor([&] { return sender.state() == QProcess::NotRunning; }, 30000));
    ASSERT_EQ(sender.exitCode(), 0);
    ASSERT_TRUE(waitFor([this] { return model().rowCount() >= 1300; })) << model().rowCount();

    // History and live messages come each in their own order.
    std::vector<std::uint64_t> numbers = serviceNumbers();
    const auto live = std::stable_partition(numbers.begin(), numbers.end(),
                                            [](std::uint64_t number) { return number <= 1500; });
    EXPECT_TRUE(std::is_sorted(numbers.begin(), live));
    EXPECT_TRUE(std::is_sorted(live, numbers.end()));
    std::sort(numbers.begin(), numbers.end());
    EXPECT_EQ(numbers, numbersFromTo(501, 1800)); // each once
}

TEST_F(History, ASecondReplayAfterAWhileBringsTheHistoryAgain)
{
    ASSERT_TRUE(startServiceWithRecorderOf(100));
    ASSERT_EQ(demo(5000, 150).status, 0);
    ASSERT_TRUE(openWindow());
    command("Replay && start history")->trigger();
    ASSERT_TRUE(waitFor([this] { return model().rowCount() >= 100; }));

    // The service takes a request soon after a replay for the second half of the same wish.
    ASSERT_TRUE(waitFor([this] {
        window_->messageStore()->requestReplay();
        return waitFor([this] { return model().rowCount() >= 200; }, 500);
    }));
    EXPECT_EQ(model().messageAt(100)->serviceMsgId(), 51U);
    EXPECT_EQ(model().messageAt(199)->serviceMsgId(), 150U);
}

TEST_F(History, AHundredThousandLinesSentReliablyArriveWholeInTailAndInTheWindow)
{
    constexpr int count = 100000;
    ASSERT_TRUE(startServiceWithRecorderOf(10));
    ASSERT_TRUE(openWindow());
    window_->messageStore()->setMaximumMessages(count + 1000);
    startButton()->click();
    ASSERT_TRUE(isLogging());

    const QString tailFile =
        test::TestEnvironment::instance().dataDirectory() + QStringLiteral("/tail.txt");
    QProcess tail;
    tail.setStandardOutputFile(tailFile);
    tail.start(programPath(QStringLiteral("zulog")),
               {QStringLiteral("tail"), QStringLiteral("--count"), QString::number(count)});
    ASSERT_TRUE(waitFor([] { return forwarders() == 2; }));

    QByteArray lines;
    for (int i = 0; i < count; ++i)
        lines += "line " + QByteArray::number(i) + " of many, with as much text as a log has\n";
    const ProgramRun send =
        runProgram(QStringLiteral("zulog"), {QStringLiteral("send"), QStringLiteral("--reliable")},
                   lines, {}, 120000);
    ASSERT_TRUE(send.ended);
    ASSERT_EQ(send.status, 0) << send.err.toStdString();

    EXPECT_TRUE(waitFor([&] { return model().rowCount() >= count; }, 30000));
    ASSERT_EQ(model().rowCount(), count) << lastRow();
    int wrong = 0;
    for (int i = 0; i < count; ++i) {
        const std::shared_ptr<LogMessage> message = model().messageAt(i);
        const QString expected =
            QStringLiteral("line %1 of many, with as much text as a log has").arg(i);
        wrong += message && toQString(message->logMessage()) == expected ? 0 : 1;
    }
    EXPECT_EQ(wrong, 0);

    EXPECT_TRUE(waitFor([&] { return tail.state() == QProcess::NotRunning; }, 30000));
    EXPECT_EQ(tail.exitCode(), 0) << tail.readAllStandardError().toStdString();
    QFile file(tailFile);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    for (int i = 0; i < count; ++i) {
        const QByteArray line = file.readLine();
        ASSERT_TRUE(line.endsWith("line " + QByteArray::number(i) +
                                  " of many, with as much text as a log has\n"))
            << line.toStdString();
    }
    EXPECT_TRUE(file.atEnd());
    if (tail.state() != QProcess::NotRunning)
        tail.kill();
    tail.waitForFinished();
}

TEST_F(History, AKilledServiceIsToldAtRefreshAndLoggingGoesOnWithTheNextOne)
{
    ASSERT_TRUE(startServiceWithRecorderOf(1000));
    ASSERT_TRUE(openWindow());
    EXPECT_EQ(shownServiceState(), QStringLiteral("Running"));
    startButton()->click();
    ASSERT_TRUE(isLogging());
    ASSERT_EQ(demo(1000, 100).status, 0);
    ASSERT_TRUE(waitFor([this] { return model().rowCount() == 100; }));

    service_.kill();
    EXPECT_EQ(shownServiceState(), QStringLiteral("Running")); // nobody has looked yet
    button("Refresh")->click();
    EXPECT_EQ(shownServiceState(), QStringLiteral("Stopped"));
    EXPECT_TRUE(isLogging());

    {
        // A stop cannot unsubscribe, and that is no error.
        const test::MessageBoxWaiter waiter(QMessageBox::Ok);
        stopButton()->click();
        ASSERT_TRUE(waitFor([this] { return isStopped(); }));
        EXPECT_EQ(shownServiceState(), QStringLiteral("Stopped"));
        EXPECT_TRUE(waiter.boxes().isEmpty());
    }

    ServiceProcess next;
    ASSERT_TRUE(next.start());
    startButton()->click();
    ASSERT_TRUE(isLogging());
    EXPECT_EQ(shownServiceState(), QStringLiteral("Running"));
    ASSERT_EQ(demo(1000, 100).status, 0);
    EXPECT_TRUE(waitFor([this] { return model().rowCount() == 200; })) << lastRow();
    EXPECT_EQ(next.terminate(), 0);
}

} // namespace
} // namespace zuLogging
