#include "service/LogFiles.h"

#include "logging/LogMessageContainerBuilder.h"
#include "tests/support/TraceCapture.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zuLogging {
namespace {

class FilesOfTheService : public ::testing::Test
{
protected:
    FilesOfTheService() { QDir(directory_.path()).mkpath(QStringLiteral("log/sub")); }

    QString folder() const { return directory_.filePath(QStringLiteral("log")); }
    QString inFolder(const char* name) const
    {
        return folder() + QLatin1Char('/') + QString::fromUtf8(name);
    }
    void write(const std::string& path, const std::string& message)
    {
        LogMessageContainerBuilder builder;
        builder.module = "M";
        builder.timestamp = 5;
        builder.threadId = 6;
        builder.logLevel = 8;
        builder.logMessage = message;
        const std::vector<std::uint8_t> bytes = builder.build();
        LogMessageContainerView view;
        view.data = bytes.data();
        view.length = bytes.size();
        files_.write(path, view);
    }
    static std::string line(const std::string& message)
    {
        return std::string(19, ' ') + "M" + std::string(19, ' ') + "5" + std::string(19, ' ') +
               "6" + std::string(7, ' ') + "8" + message + "\n";
    }
    static std::string contents(const QString& path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return "(no file)";
        return file.readAll().toStdString();
    }
    std::size_t failures() const
    {
        return trace_.countStartingWith("Failed to write to the log file '");
    }

    test::TraceCapture trace_;
    QTemporaryDir directory_;
    LogFiles::TimePoint now_ = LogFiles::TimePoint() + std::chrono::hours(1);
    LogFiles files_{folder().toStdString(), [this] { return now_; }};
};

TEST_F(FilesOfTheService, GetOneFormattedLineForEachMessageInUtf8AtTheirEnd)
{
    QFile file(inFolder("x.log"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("before\n");
    file.close();
    write("x.log", "first");
    write("x.log", "zw\xC3\xB6lf \xF0\x9F\x98\x80");
    EXPECT_EQ(contents(inFolder("x.log")),
              "before\n" + line("first") + line("zw\xC3\xB6lf \xF0\x9F\x98\x80"));
    EXPECT_TRUE(trace_.calls().empty());
}

TEST_F(FilesOfTheService, MayLieInFoldersThatAreThere)
{
    write("sub/x.log", "a");
    write("sub\\x.log", "b");
    write("./sub//x.log", "c");
    EXPECT_EQ(contents(inFolder("sub/x.log")), line("a") + line("b") + line("c"));
    write("none/x.log", "d");
    EXPECT_EQ(failures(), 1U);
    EXPECT_FALSE(QDir(inFolder("none")).exists());
}

TEST_F(FilesOfTheService, AreNotOpenedThroughSymbolicLinks)
{
    const QString victim = directory_.filePath(QStringLiteral("victim"));
    ASSERT_TRUE(QFile::link(victim, inFolder("link.log")));
    ASSERT_TRUE(QFile::link(directory_.path(), inFolder("up")));
    write("link.log", "a");
    now_ += std::chrono::seconds(2);
    write("up/victim", "b");
    EXPECT_FALSE(QFile::exists(victim));
    EXPECT_EQ(failures(), 2U);
    // Nor when an absolute path ends in one.
    now_ += std::chrono::seconds(2);
    write(inFolder("link.log").toStdString(), "c");
    EXPECT_FALSE(QFile::exists(victim));
    EXPECT_EQ(failures(), 3U);
}

TEST_F(FilesOfTheService, AreRegularFilesOnly)
{
    ASSERT_EQ(::mkfifo(inFolder("pipe").toLocal8Bit().constData(), 0600), 0);
    write("pipe", "nobody reads");
    EXPECT_EQ(failures(), 1U);
    now_ += std::chrono::seconds(6);
    const int reader =
        ::open(inFolder("pipe").toLocal8Bit().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    write("pipe", "somebody reads");
    char byte = 0;
    EXPECT_LE(::read(reader, &byte, 1), 0);
    ::close(reader);
    EXPECT_EQ(failures(), 2U);
    now_ += std::chrono::seconds(2);
    write("sub/../sub", "a folder");
    EXPECT_EQ(failures(), 3U);
}

TEST_F(FilesOfTheService, AreNeverTheServicesOwn)
{
    for (const char* name : {"LogSvcRules.json", "logsvcconf.json", "LogSvcModules.txt",
                             "sub/LogSvcRules.json", "LogSvcRules.json.new"}) {
        now_ += std::chrono::seconds(2);
        write(name, "x");
        EXPECT_FALSE(QFile::exists(inFolder(name))) << name;
    }
    EXPECT_EQ(failures(), 5U);
    write(inFolder("LogSvcRules.json").toStdString(), "x");
    EXPECT_FALSE(QFile::exists(inFolder("LogSvcRules.json")));
}

TEST_F(FilesOfTheService, OutsideTheFolderAreWrittenWhenTheyWereAllowed)
{
    write("../outside.log", "a");
    EXPECT_EQ(contents(directory_.filePath(QStringLiteral("outside.log"))), line("a"));
    const QString absolute = directory_.filePath(QStringLiteral("absolute.log"));
    write(absolute.toStdString(), "b");
    EXPECT_EQ(contents(absolute), line("b"));
}

TEST_F(FilesOfTheService, OneThatWasMovedAwayIsMadeAgainAfterAWhile)
{
    write("x.log", "1");
    ASSERT_TRUE(QFile::rename(inFolder("x.log"), inFolder("x.old")));
    now_ += std::chrono::seconds(5);
    write("x.log", "2");
    EXPECT_EQ(contents(inFolder("x.old")), line("1"));
    EXPECT_EQ(contents(inFolder("x.log")), line("2"));
    ASSERT_TRUE(QFile::remove(inFolder("x.log")));
    files_.closeAll();
    write("x.log", "3");
    EXPECT_EQ(contents(inFolder("x.log")), line("3"));
}

TEST_F(FilesOfTheService, OneThatCannotBeOpenedIsTriedAgainAfterAWhile)
{
    write("later/x.log", "1");
    EXPECT_EQ(failures(), 1U);
    ASSERT_TRUE(QDir().mkpath(inFolder("later")));
    now_ += std::chrono::milliseconds(4999);
    write("later/x.log", "2");
    EXPECT_FALSE(QFile::exists(inFolder("later/x.log")));
    now_ += std::chrono::milliseconds(1);
    write("later/x.log", "3");
    EXPECT_EQ(contents(inFolder("later/x.log")), line("3"));
    EXPECT_EQ(failures(), 1U);
}

TEST_F(FilesOfTheService, AFullDiskIsSaidAndGoneOnWithOnALineOfItsOwn)
{
    // The system then refuses what goes beyond a size, as it does on a full disk.
    const std::string first = line("first");
    struct rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto previousHandler = ::signal(SIGXFSZ, SIG_IGN);
    struct rlimit small = before;
    small.rlim_cur = first.size() + 10;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    write("x.log", "first");
    write("x.log", "second");
    write("x.log", "third");
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    ::signal(SIGXFSZ, previousHandler);
    EXPECT_EQ(failures(), 1U);
    now_ += std::chrono::seconds(5);
    write("x.log", "fourth");
    EXPECT_EQ(contents(inFolder("x.log")), first + std::string(10, ' ') + "\n" + line("fourth"));
    EXPECT_EQ(failures(), 1U);
}

TEST_F(FilesOfTheService, ManyOfThemAreWrittenWithAFewOpen)
{
    for (int round = 0; round < 2; ++round)
        for (int i = 0; i < 200; ++i)
            write("f" + std::to_string(i) + ".log", std::to_string(round));
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(contents(inFolder(("f" + std::to_string(i) + ".log").c_str())),
                  line("0") + line("1"));
    int open = 0;
    const QDir descriptors(QStringLiteral("/proc/self/fd"));
    for (const QFileInfo& entry : descriptors.entryInfoList(QDir::Files | QDir::System))
        open += entry.symLinkTarget().startsWith(folder()) ? 1 : 0;
    EXPECT_LE(open, 32);
    EXPECT_GT(open, 0);
}

TEST_F(FilesOfTheService, ManyFailuresAreSaidOnceASecond)
{
    for (int i = 0; i < 100; ++i)
        write("none/" + std::to_string(i), "x");
    EXPECT_EQ(failures(), 1U);
    now_ += std::chrono::seconds(1);
    write("none/x\ny", "x");
    EXPECT_EQ(failures(), 2U);
    EXPECT_EQ(trace_.calls().back().find('\n'), trace_.calls().back().size() - 1);
}

TEST_F(FilesOfTheService, WithoutALogFolderOnlyTheOthersAreWritten)
{
    LogFiles files("", [this] { return now_; });
    const std::vector<std::uint8_t> bytes = LogMessageContainerBuilder().build();
    LogMessageContainerView view;
    view.data = bytes.data();
    view.length = bytes.size();
    files.write("x.log", view);
    EXPECT_EQ(failures(), 1U);
    const QString absolute = directory_.filePath(QStringLiteral("absolute.log"));
    files.write(absolute.toStdString(), view);
    EXPECT_TRUE(QFile::exists(absolute));
}

} // namespace
} // namespace zuLogging
