// What the service has recorded, what it sends on, and what becomes of both when it is killed.

#include "logging/ServiceStatus.h"
#include "tests/app/MessageBoxWaiter.h"
#include "tests/e2e/WindowTest.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QProcess>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <numeric>
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

    ASSERT_EQ(demo(2000, 500).status, 0);
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

QByteArray lineOf(int number)
{
    return "line " + QByteArray::number(number) + " of many, with as much text as a log has\n";
}

/// The numbers of the lines that the window shows, -1 for a row that is none of them.
std::vector<int> shownLines(LogTableModel& model)
{
    std::vector<int> numbers;
    for (const auto& message : model.messagesFrom(0, model.rowCount())) {
        const QString text = toQString(message->logMessage());
        const int number = text.section(QLatin1Char(' '), 1, 1).toInt();
        const bool isLine = text + QLatin1Char('\n') == QString::fromLatin1(lineOf(number));
        numbers.push_back(isLine ? number : -1);
    }
    return numbers;
}

TEST_F(History, AHundredThousandLinesSentReliablyArriveWholeInTailAndInTheWindow)
{
    constexpr int count = 100000;
    // Nobody waits for a viewer: what is under way at once has room in its socket, so that nothing
    // is lost on a machine that stands still.
    constexpr int atOnce = 200;
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

    QProcess send;
    send.start(programPath(QStringLiteral("zulog")),
               {QStringLiteral("send"), QStringLiteral("--reliable")});
    const std::shared_ptr<LogLedger> ledger = window_->messageStore()->ledger();
    qint64 tailSize = 0;
    for (int sent = 0; sent < count;) {
        QByteArray lines;
        for (const int end = sent + atOnce; sent < end; ++sent)
            lines += lineOf(sent);
        send.write(lines);
        tailSize += lines.size();
        ASSERT_TRUE(waitFor([&] {
            return ledger->count(LogCount::Messages) >= static_cast<std::uint64_t>(sent) &&
                   QFileInfo(tailFile).size() >= tailSize;
        })) << sent
            << " sent, the file of tail has " << QFileInfo(tailFile).size() << " bytes; "
            << lastRow();
    }
    send.closeWriteChannel();
    ASSERT_TRUE(waitFor([&] { return send.state() == QProcess::NotRunning; }, 30000));
    ASSERT_EQ(send.exitCode(), 0) << send.readAllStandardError().toStdString();

    EXPECT_TRUE(waitFor([&] { return model().rowCount() >= count; }, 30000));
    std::vector<int> all(count);
    std::iota(all.begin(), all.end(), 0);
    EXPECT_TRUE(shownLines(model()) == all) << lastRow();

    EXPECT_TRUE(waitFor([&] { return tail.state() == QProcess::NotRunning; }, 30000));
    EXPECT_EQ(tail.exitCode(), 0) << tail.readAllStandardError().toStdString();
    QFile file(tailFile);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    for (int i = 0; i < count; ++i) {
        const QByteArray line = file.readLine();
        ASSERT_TRUE(line.endsWith(lineOf(i))) << line.toStdString();
    }
    EXPECT_TRUE(file.atEnd());
    if (tail.state() != QProcess::NotRunning)
        tail.kill();
    tail.waitForFinished();
}

TEST_F(History, WhatAWindowThatStandsStillMissesIsToldToTheMessage)
{
    constexpr int before = 100;
    constexpr int meanwhile = 5000;
    constexpr int behind = 100;
    ASSERT_TRUE(startServiceWithRecorderOf(10));
    ASSERT_TRUE(openWindow());
    startButton()->click();
    ASSERT_TRUE(isLogging());
    const auto send = [](int first, int lines) {
        QByteArray text;
        for (int i = first; i < first + lines; ++i)
            text += lineOf(i);
        return runProgram(QStringLiteral("zulog"),
                          {QStringLiteral("send"), QStringLiteral("--reliable")}, text);
    };
    ASSERT_EQ(send(0, before).status, 0);
    ASSERT_TRUE(waitFor([&] { return model().rowCount() == before; })) << lastRow();

    // Every thread of this process stands still while five thousand lines are sent: far more than
    // the socket has room for.
    QByteArray lines;
    for (int i = before; i < before + meanwhile; ++i)
        lines += lineOf(i);
    QFile input(test::TestEnvironment::instance().dataDirectory() + QStringLiteral("/lines.txt"));
    ASSERT_TRUE(input.open(QIODevice::WriteOnly) && input.write(lines) == lines.size());
    input.close();
    QProcess stopper;
    stopper.setStandardInputFile(input.fileName());
    stopper.start(QStringLiteral("sh"),
                  {QStringLiteral("-c"),
                   QStringLiteral("kill -STOP $1; timeout 20 \"$2\" send --reliable; sent=$?;"
                                  "kill -CONT $1; exit $sent"),
                   QStringLiteral("sh"), QString::number(QCoreApplication::applicationPid()),
                   programPath(QStringLiteral("zulog"))});
    ASSERT_TRUE(waitFor([&] { return stopper.state() == QProcess::NotRunning; }, 30000));
    ASSERT_EQ(stopper.exitCode(), 0) << stopper.readAllStandardError().toStdString();
    ASSERT_EQ(send(before + meanwhile, behind).status, 0);

    const auto lost = [this] {
        return static_cast<int>(window_->messageStore()->ledger()->count(LogCount::LostInSocket));
    };
    constexpr int all = before + meanwhile + behind;
    EXPECT_TRUE(waitFor([&] { return model().rowCount() + lost() == all; })) << lastRow();
    EXPECT_GT(lost(), 0);
    const auto* label = window_->findChild<QLabel*>(QStringLiteral("lostLabel"));
    ASSERT_NE(label, nullptr);
    EXPECT_TRUE(waitFor([&] { return label->text() == QStringLiteral("Lost: %1").arg(lost()); }))
        << label->text().toStdString();
    EXPECT_TRUE(label->isVisible());

    // The rest is there, each once and in its order.
    const std::vector<int> shown = shownLines(model());
    EXPECT_EQ(shown.front(), 0);
    EXPECT_EQ(shown.back(), all - 1);
    EXPECT_TRUE(std::adjacent_find(shown.begin(), shown.end(), std::greater_equal<>()) ==
                shown.end());
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
