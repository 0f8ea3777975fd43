// The built program zulogsvc, as whoever starts it sees it.

#include "logging/ConnectionInfo.h"
#include "logging/LogSvcError.h"
#include "logging/SocketAddressText.h"
#include "platform/Process.h"
#include "platform/ServiceControl.h"
#include "platform/SharedMemory.h"
#include "tests/service/ProgramRun.h"
#include "tests/service/RawPeer.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/TestEnvironment.h"

#include <QFile>
#include <QProcess>

#include <gtest/gtest.h>

#include <random>

#include <signal.h>
#include <sys/types.h>

namespace zuLogging {
namespace {

using test::ProgramRun;
using test::runProgram;
using test::ServiceProcess;

QString pidFilePath()
{
    return test::TestEnvironment::instance().runtimeDirectory() + QStringLiteral("/ZULogSvc.pid");
}

bool recordExists()
{
    return platform::readSharedMemory(connectionInfoName(), connectionInfoSize).status !=
           platform::SharedMemoryStatus::NotFound;
}

bool answers(const platform::SocketAddress& address)
{
    test::RawPeer peer;
    const auto header = peer.ask(address, magicLogMessage, 273);
    return header && header->status == 0;
}

TEST(Zulogsvc, SaysWhereItListensAndPublishesTheSame)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start());
    EXPECT_EQ(service.address().address, platform::loopbackAddress);
    EXPECT_EQ(readConnectionInfo(), service.address());
    EXPECT_EQ(service.readyLine(),
              QStringLiteral("zulogsvc: listening on ") +
                  QString::fromStdString(socketAddressText(service.address())));
    EXPECT_TRUE(answers(service.address()));

    const auto record = platform::readSharedMemory(connectionInfoName(), 1000);
    EXPECT_EQ(record.bytes, encodeConnectionInfo(service.address()));
    EXPECT_EQ(record.bytes.size(), 24U);
    EXPECT_EQ(platform::readPidFile(pidFilePath().toStdString()),
              static_cast<std::uint64_t>(service.processId()));
    EXPECT_TRUE(platform::isServiceRunning("ZULogSvc"));
    EXPECT_EQ(service.errorText(), QString());
}

TEST(Zulogsvc, TerminationTakesRecordAndPidFileAwayAndIsNoFailure)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start());
    ASSERT_TRUE(recordExists());
    ASSERT_TRUE(QFile::exists(pidFilePath()));
    EXPECT_EQ(service.terminate(), 0);
    EXPECT_FALSE(recordExists());
    EXPECT_FALSE(QFile::exists(pidFilePath()));
    EXPECT_EQ(service.errorText(), QString());
}

TEST(Zulogsvc, InterruptEndsItTheSameWay)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start());
    EXPECT_EQ(service.interrupt(), 0);
    EXPECT_FALSE(recordExists());
    EXPECT_FALSE(QFile::exists(pidFilePath()));
}

TEST(Zulogsvc, ASecondInstanceIsRefused)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start());
    const ProgramRun second = runProgram(QStringLiteral("zulogsvc"), {});
    EXPECT_TRUE(second.ended);
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(second.out, QString());
    EXPECT_EQ(second.err,
              QStringLiteral("zulogsvc: a log service is running already at %1 (process %2)\n")
                  .arg(QString::fromStdString(socketAddressText(service.address())))
                  .arg(service.processId()));

    // The first one has not noticed.
    EXPECT_EQ(readConnectionInfo(), service.address());
    EXPECT_EQ(platform::readPidFile(pidFilePath().toStdString()),
              static_cast<std::uint64_t>(service.processId()));
    EXPECT_TRUE(answers(service.address()));
    EXPECT_EQ(service.terminate(), 0);
}

TEST(Zulogsvc, TheRecordOfAKilledInstanceIsReplaced)
{
    ServiceProcess killed;
    ASSERT_TRUE(killed.start());
    killed.kill();
    ASSERT_TRUE(recordExists());
    ASSERT_TRUE(QFile::exists(pidFilePath()));
    EXPECT_FALSE(platform::isServiceRunning("ZULogSvc"));

    ServiceProcess service;
    ASSERT_TRUE(service.start()) << service.errorText().toStdString();
    EXPECT_EQ(readConnectionInfo(), service.address());
    EXPECT_EQ(platform::readPidFile(pidFilePath().toStdString()),
              static_cast<std::uint64_t>(service.processId()));
    EXPECT_TRUE(answers(service.address()));
    EXPECT_EQ(service.terminate(), 0);
    EXPECT_FALSE(recordExists());
}

TEST(Zulogsvc, AServiceUnderAnotherNameRunsBesideIt)
{
    const QString otherName =
        QString::fromStdString(test::TestEnvironment::instance().connectionInfoName()) +
        QStringLiteral("-other");
    ServiceProcess service;
    ServiceProcess other;
    ASSERT_TRUE(service.start());
    ASSERT_TRUE(other.start({QStringLiteral("ZULOG_CONNECTION_INFO=") + otherName}));
    EXPECT_NE(service.address(), other.address());
    EXPECT_EQ(readConnectionInfo(otherName.toStdString()), other.address());
    // The pid file is the later one's now, and goes with that one only.
    EXPECT_EQ(service.terminate(), 0);
    EXPECT_EQ(platform::readPidFile(pidFilePath().toStdString()),
              static_cast<std::uint64_t>(other.processId()));
    EXPECT_EQ(other.terminate(), 0);
    EXPECT_FALSE(QFile::exists(pidFilePath()));
}

TEST(Zulogsvc, APidFileThatCannotBeWrittenIsAWarningOnly)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start({QStringLiteral("XDG_RUNTIME_DIR=") +
                               test::TestEnvironment::instance().runtimeDirectory() +
                               QStringLiteral("/not-there")}));
    EXPECT_TRUE(answers(service.address()));
    EXPECT_EQ(service.terminate(), 0);
    const QString warning = service.errorText();
    EXPECT_TRUE(warning.startsWith(QStringLiteral("zulogsvc: warning: cannot write ")));
    EXPECT_EQ(warning.count(QLatin1Char('\n')), 1);
}

TEST(Zulogsvc, OptionsHaveTheUsualExitStatuses)
{
    const ProgramRun help = runProgram(QStringLiteral("zulogsvc"), {QStringLiteral("--help")});
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.out.startsWith(QStringLiteral("Usage: zulogsvc")));
    const ProgramRun version =
        runProgram(QStringLiteral("zulogsvc"), {QStringLiteral("--version")});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, QStringLiteral("zulogsvc 3.1.26\n"));
    const ProgramRun wrong = runProgram(QStringLiteral("zulogsvc"), {QStringLiteral("--wrong")});
    EXPECT_TRUE(wrong.ended);
    EXPECT_EQ(wrong.status, 2);
    EXPECT_EQ(wrong.err.count(QLatin1Char('\n')), 1);
    EXPECT_FALSE(recordExists());
}

TEST(Zulogsvc, AnswersAfterGarbage)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start());
    test::RawPeer stranger;
    std::mt19937 random(7);
    for (std::size_t length = 0; length <= 1500; ++length) {
        std::vector<std::uint8_t> bytes(length);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random());
        stranger.send(bytes, service.address());
        if (length % 50 == 0) {
            ASSERT_TRUE(answers(service.address())) << length;
        }
    }
    EXPECT_TRUE(answers(service.address()));
    EXPECT_EQ(service.terminate(), 0);
}

TEST(Zulogsvc, GoesOnWhenNobodyReadsItsStandardOutputAnyMore)
{
    QProcess shell; // head reads the ready line and ends, and the pipe with it
    shell.start(QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("\"$0\" | head -n 1"),
                                       test::programPath(QStringLiteral("zulogsvc"))});
    ASSERT_TRUE(test::waitFor([&] { return shell.canReadLine(); }));
    const platform::SocketAddress address = readConnectionInfo();
    const auto pid = platform::readPidFile(pidFilePath().toStdString());
    ASSERT_TRUE(pid.has_value());

    constexpr std::uint32_t coutType = 1;
    test::RawPeer peer;
    const auto added = peer.ask(address, magicLogMessage, 289, test::sinkPayload(coutType, ""));
    ASSERT_TRUE(added && added->status == 0);
    for (std::uint64_t number = 1; number <= 20; ++number) {
        const auto container = test::sampleContainer(number);
        const std::string_view payload(reinterpret_cast<const char*>(container.data()),
                                       container.size());
        ASSERT_TRUE(peer.ask(address, magicLogMessage, 257, payload)) << number;
    }
    EXPECT_TRUE(answers(address));
    ::kill(static_cast<pid_t>(*pid), SIGTERM);
    EXPECT_TRUE(shell.waitForFinished(10000));
    EXPECT_FALSE(recordExists());
}

} // namespace
} // namespace zuLogging
