#include "platform/Process.h"

#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <limits>
#include <string>
#include <thread>

namespace {

using namespace zuLogging::platform;
using zuLogging::test::TestEnvironment;

class PidFile : public ::testing::Test
{
protected:
    std::string path() const { return directory_.filePath("test.pid").toStdString(); }
    QString folder() const { return directory_.path(); }

    std::optional<std::uint64_t> readBack(const QByteArray& contents) const
    {
        QFile file(QString::fromStdString(path()));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(contents), contents.size());
        file.close();
        return readPidFile(path());
    }

private:
    QTemporaryDir directory_;
};

TEST_F(PidFile, AWrittenFileHoldsThisProcess)
{
    std::string error;
    ASSERT_TRUE(writePidFile(path(), error)) << error;
    EXPECT_EQ(readPidFile(path()), currentProcessId());
    EXPECT_EQ(QDir(folder()).entryList(QDir::Files), QStringList{QStringLiteral("test.pid")});
    struct stat status = {};
    ASSERT_EQ(::stat(path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0644U);
}

TEST_F(PidFile, AFileThatIsThereIsReplaced)
{
    EXPECT_EQ(readBack("12345678901\nand more"), std::nullopt);
    std::string error;
    ASSERT_TRUE(writePidFile(path(), error)) << error;
    EXPECT_EQ(readPidFile(path()), currentProcessId());
}

TEST_F(PidFile, AFolderThatIsNotThereIsAnErrorWithTheSystemsText)
{
    std::string error;
    EXPECT_FALSE(writePidFile(folder().toStdString() + "/none/test.pid", error));
    EXPECT_EQ(error, "No such file or directory");
}

TEST_F(PidFile, AFailedReplacementLeavesNothingBehind)
{
    // A folder cannot be replaced by a file.
    ASSERT_TRUE(QDir(folder()).mkdir(QStringLiteral("test.pid")));
    std::string error;
    EXPECT_FALSE(writePidFile(path(), error));
    EXPECT_FALSE(error.empty());
    EXPECT_TRUE(QDir(folder()).entryList(QDir::Files | QDir::Hidden).isEmpty());
}

TEST_F(PidFile, OnlyDigitsAndOneFinalNewlineAreTaken)
{
    EXPECT_EQ(readBack("4711"), 4711U);
    EXPECT_EQ(readBack("4711\n"), 4711U);
    EXPECT_EQ(readBack("18446744073709551615"), std::numeric_limits<std::uint64_t>::max());
    for (const char* contents :
         {"", "\n", "4711\n\n", "4711\r\n", " 4711", "4711 ", "+4711", "-1", "47x11", "0x10",
          "18446744073709551616", "99999999999999999999999999999999", "garbage"})
        EXPECT_EQ(readBack(contents), std::nullopt) << contents;
    EXPECT_EQ(readBack(QByteArray("4711\0", 5)), std::nullopt);
    EXPECT_EQ(readBack(QByteArray(1000000, '1')), std::nullopt);
    EXPECT_EQ(readBack(QByteArray(31, '0') + "1"), std::nullopt);
}

TEST_F(PidFile, WhatIsNoFileIsNotRead)
{
    EXPECT_EQ(readPidFile(folder().toStdString()), std::nullopt);
    EXPECT_EQ(readPidFile(folder().toStdString() + "/none"), std::nullopt);
    EXPECT_EQ(readPidFile("/dev/zero"), std::nullopt);
    ASSERT_EQ(::mkfifo(path().c_str(), 0600), 0);
    EXPECT_EQ(readPidFile(path()), std::nullopt);
}

TEST(Process, ThisProcessIsAliveAndImpossibleNumbersAreNot)
{
    EXPECT_TRUE(isProcessAlive(currentProcessId()));
    EXPECT_TRUE(isProcessAlive(1));
    EXPECT_FALSE(isProcessAlive(0));
    EXPECT_FALSE(isProcessAlive(0x7FFFFFFFU));
    EXPECT_FALSE(isProcessAlive(std::numeric_limits<std::uint64_t>::max()));
    // Cut to 32 bits this would be process 1.
    EXPECT_FALSE(isProcessAlive(0x100000001ULL));
}

TEST(Process, AProcessThatHasEndedIsNotAliveEvenBeforeItsParentAsks)
{
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0)
        ::_exit(0);
    siginfo_t information{};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child), &information, WEXITED | WNOWAIT), 0);
    EXPECT_FALSE(isProcessAlive(static_cast<std::uint64_t>(child)));
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    EXPECT_FALSE(isProcessAlive(static_cast<std::uint64_t>(child)));
}

TEST(Process, TheFirstThreadHasTheProcessesNumberAndOthersHaveTheirOwn)
{
    EXPECT_EQ(currentThreadId(), currentProcessId());
    std::uint64_t other = 0;
    std::thread([&] { other = currentThreadId(); }).join();
    EXPECT_NE(other, 0U);
    EXPECT_NE(other, currentThreadId());
}

TEST(Process, TheRuntimeDirectoryIsTheEnvironmentsElseRun)
{
    const QByteArray before = qgetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(runtimeDirectory(), TestEnvironment::instance().runtimeDirectory().toStdString());
    qputenv("XDG_RUNTIME_DIR", "");
    EXPECT_EQ(runtimeDirectory(), "/run");
    qunsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(runtimeDirectory(), "/run");
    qputenv("XDG_RUNTIME_DIR", before);
}

// Run in a process of its own, where no thread is older than the watcher. 0: all was right.
int statusOfAProcessThatGets(int signal, bool alsoHangup = false)
{
    std::atomic<int> requests{0};
    std::atomic<std::uint64_t> thread{0};
    {
        const TerminationWatcher watcher(
            [&] {
                thread = currentThreadId();
                ++requests;
            },
            alsoHangup);
        ::kill(::getpid(), signal);
        if (!zuLogging::test::waitFor([&] { return requests == 1; }))
            return 1;
        // A second one must not cut short what the first one started.
        ::kill(::getpid(), signal);
    }
    if (requests != 1 || thread == currentThreadId())
        return 2;
    sigset_t pending;
    ::sigpending(&pending);
    return ::sigismember(&pending, signal) == 1 ? 0 : 3;
}

TEST(TerminationWatcher, EitherSignalIsARequestAndRunsTheHandlerOnceOnAnotherThread)
{
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(statusOfAProcessThatGets(SIGTERM)), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(std::_Exit(statusOfAProcessThatGets(SIGINT)), ::testing::ExitedWithCode(0), "");
}

TEST(TerminationWatcher, AClosedTerminalIsARequestWhereItIsAskedFor)
{
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(statusOfAProcessThatGets(SIGHUP, true)), ::testing::ExitedWithCode(0),
                "");
    EXPECT_EXIT(std::_Exit(statusOfAProcessThatGets(SIGHUP)), ::testing::KilledBySignal(SIGHUP),
                "");
}

// 0: it went on in spite of the signal.
int statusOfAProcessThatOutlivesItsTerminal()
{
    ::signal(SIGHUP, SIG_IGN);
    std::atomic<int> requests{0};
    const TerminationWatcher watcher([&] { ++requests; }, true);
    ::kill(::getpid(), SIGHUP);
    ::kill(::getpid(), SIGTERM);
    if (!zuLogging::test::waitFor([&] { return requests == 1; }))
        return 1;
    sigset_t pending;
    ::sigpending(&pending);
    // Whichever comes first is taken; the other would still be pending.
    return ::sigismember(&pending, SIGHUP) == 0 && ::sigismember(&pending, SIGTERM) == 0 ? 0 : 2;
}

TEST(TerminationWatcher, AProcessThatIsToOutliveItsTerminalDoes)
{
    ::testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::_Exit(statusOfAProcessThatOutlivesItsTerminal()), ::testing::ExitedWithCode(0),
                "");
}

TEST(TerminationWatcher, WithoutARequestTheDestructorEndsTheThread)
{
    sigset_t before;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &before);
    std::atomic<int> requests{0};
    {
        const TerminationWatcher watcher([&] { ++requests; });
    }
    EXPECT_EQ(requests, 0);
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

} // namespace
