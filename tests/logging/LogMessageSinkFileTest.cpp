#include "logging/LogMessageSinkFile.h"

#include "logging/LogMessageContainerBuilder.h"
#include "logging/LogSvcError.h"
#include "logging/SinkFactory.h"
#include "tests/support/ListenerUnderTest.h"
#include "tests/support/TestContainer.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/UdpPeer.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace zuLogging::test {
namespace {

/// A data directory of the test's own, with a log folder in it.
class LogMessageSinkFile : public ::testing::Test
{
protected:
    using Sink = zuLogging::LogMessageSinkFile;

    LogMessageSinkFile()
        : previous_(qgetenv("ARZDATA"))
    {
        QDir(directory_.path()).mkpath(QStringLiteral("data/log/sub"));
        qputenv("ARZDATA", inDirectory("data").toLocal8Bit());
    }
    ~LogMessageSinkFile() override { qputenv("ARZDATA", previous_); }

    QString inDirectory(const char* name) const
    {
        return directory_.filePath(QString::fromUtf8(name));
    }
    QString inFolder(const std::string& name) const
    {
        return inDirectory("data/log") + QLatin1Char('/') + QString::fromStdString(name);
    }

    static void send(LogMessageSink& sink, const std::string& message)
    {
        LogMessageContainerBuilder builder;
        builder.logMessage = message;
        const std::vector<std::uint8_t> bytes = builder.build();
        LogMessageContainerView view;
        view.data = bytes.data();
        view.length = bytes.size();
        sink.consume(view);
    }
    static std::string line(const std::string& message)
    {
        return std::string(68, ' ') + message + "\n";
    }
    static std::string contents(const QString& path)
    {
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return "(no file)";
        return file.readAll().toStdString();
    }
    static void fill(const QString& path, const char* bytes)
    {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    /// What is said when the sink is made, without the words with which all of it begins.
    static std::string errorOf(const std::string& argument, SinkSource source = SinkSource::Request)
    {
        const std::string start = "Failed to instantiate a file sink ";
        try {
            const Sink sink(argument, 0, source);
        } catch (const LogSvcError& error) {
            const std::string text = error.what();
            return text.compare(0, start.size(), start) == 0 ? text.substr(start.size()) : text;
        }
        return "no error";
    }

    const QByteArray previous_;
    QTemporaryDir directory_;
    TraceCapture trace_;
};

constexpr char outside[] = "the file lies outside the log folder";
constexpr char noName[] = "the path does not name a file";
constexpr char ownFile[] = "the file is one of the service's own";

TEST_F(LogMessageSinkFile, WritesALineForEachMessageInUtf8)
{
    Sink sink("x.log");
    sink.consume(TestContainer()
                     .text(3, "Module")
                     .number(2, 5)
                     .number(9, 6)
                     .number(4, 8)
                     .text(1, "zw\xC3\xB6lf \xF0\x9F\x98\x80")
                     .view());
    const std::string first = std::string(14, ' ') + "Module" + std::string(19, ' ') + "5" +
                              std::string(19, ' ') + "6" + std::string(7, ' ') +
                              "8zw\xC3\xB6lf \xF0\x9F\x98\x80\n";
    EXPECT_EQ(contents(inFolder("x.log")), first);
    send(sink, "next");
    EXPECT_EQ(contents(inFolder("x.log")), first + line("next"));
    EXPECT_TRUE(trace_.calls().empty());
}

TEST_F(LogMessageSinkFile, WithALineLimitOf3TheFourthLineIsWrittenAtTheStartOverTheFirst)
{
    Sink sink("x.log", 3);
    for (const char* message : {"1st", "2nd", "3rd"})
        send(sink, message);
    EXPECT_EQ(contents(inFolder("x.log")), line("1st") + line("2nd") + line("3rd"));
    send(sink, "4th");
    EXPECT_EQ(contents(inFolder("x.log")), line("4th") + line("2nd") + line("3rd"));
    for (const char* message : {"5th", "6th", "7th"})
        send(sink, message);
    EXPECT_EQ(contents(inFolder("x.log")), line("7th") + line("5th") + line("6th"));
}

TEST_F(LogMessageSinkFile, OldTextBeyondTheNewestLineStaysUntilItIsOverwritten)
{
    Sink sink("x.log", 2);
    send(sink, "long one");
    send(sink, "b");
    send(sink, "c");
    EXPECT_EQ(contents(inFolder("x.log")), line("c") + "ng one\n" + line("b"));
    send(sink, "longer than before");
    EXPECT_EQ(contents(inFolder("x.log")), line("c") + line("longer than before"));
}

TEST_F(LogMessageSinkFile, WithALineLimitOf1EveryLineIsWrittenAtTheStart)
{
    Sink sink("x.log", 1);
    send(sink, "abc");
    send(sink, "d");
    EXPECT_EQ(contents(inFolder("x.log")), line("d") + "c\n");
}

TEST_F(LogMessageSinkFile, ALineLimitOf0OrAHugeOneNeverReturnsToTheStart)
{
    for (const std::uint64_t limit :
         {std::uint64_t(0), std::numeric_limits<std::uint64_t>::max()}) {
        Sink sink("x.log", limit);
        std::string all;
        for (int i = 0; i < 1000; ++i) {
            send(sink, std::to_string(i));
            all += line(std::to_string(i));
        }
        EXPECT_EQ(contents(inFolder("x.log")), all);
    }
}

TEST_F(LogMessageSinkFile, AMessageWithLineEndsInItCountsAsOneLine)
{
    Sink sink("x.log", 2);
    send(sink, "a\nb\nc");
    send(sink, "d");
    EXPECT_EQ(contents(inFolder("x.log")), line("a\nb\nc") + line("d"));
}

TEST_F(LogMessageSinkFile, AContainerThatCannotBeFormattedWritesAndCountsNothing)
{
    Sink sink("x.log", 2);
    EXPECT_THROW(sink.consume(TestContainer().text(4, "1234").view()), LogSvcError);
    send(sink, "a");
    EXPECT_THROW(sink.consume(TestContainer().text(4, "1234").view()), LogSvcError);
    send(sink, "b");
    EXPECT_EQ(contents(inFolder("x.log")), line("a") + line("b"));
}

TEST_F(LogMessageSinkFile, AMessageOfTheSecondKindIsNotWritten)
{
    Sink sink("x.log");
    static_cast<LogMessageSink&>(sink).consumeSecondary(TestContainer().text(1, "x").view());
    EXPECT_EQ(contents(inFolder("x.log")), "");
}

TEST_F(LogMessageSinkFile, EmptiesAFileThatIsThereWhenItIsMade)
{
    fill(inFolder("x.log"), "what was there before");
    Sink sink("x.log");
    EXPECT_EQ(contents(inFolder("x.log")), "");
}

TEST_F(LogMessageSinkFile, ARelativePathLiesBelowTheLogFolder)
{
    const Sink plain("x.log");
    const Sink backslash("sub\\y.log");
    const Sink roundabout("./sub//../sub/./z.log");
    EXPECT_TRUE(QFile::exists(inFolder("x.log")));
    EXPECT_TRUE(QFile::exists(inFolder("sub/y.log")));
    EXPECT_TRUE(QFile::exists(inFolder("sub/z.log")));
    EXPECT_EQ(plain.argumentText(), inFolder("x.log").toStdString());
    EXPECT_EQ(roundabout.argumentText(), inFolder("sub/z.log").toStdString());
}

TEST_F(LogMessageSinkFile, FoldersOnTheWayAreNotMade)
{
    EXPECT_EQ(errorOf("none/x.log"), "No such file or directory");
    EXPECT_EQ(errorOf("none/x.log", SinkSource::StartupFile), "No such file or directory");
    EXPECT_FALSE(QDir(inFolder("none")).exists());
}

TEST_F(LogMessageSinkFile, ARequestCannotNameAFileOutsideTheLogFolder)
{
    fill(inDirectory("victim"), "untouched");
    fill(inDirectory("data/victim"), "untouched");
    const std::string absolute = inDirectory("victim").toStdString();
    for (const std::string& argument :
         {absolute, "/" + absolute, "\\" + absolute, std::string("../victim"),
          std::string("..\\victim"), std::string("../../victim"), std::string("sub/../../victim"),
          std::string("./..//victim"), std::string("sub/..\\..\\victim"), std::string("C:\\victim"),
          std::string("C:victim"), std::string("../log/inside.log"),
          inFolder("inside.log").toStdString()})
        EXPECT_EQ(errorOf(argument), outside) << argument;
    EXPECT_EQ(contents(inDirectory("victim")), "untouched");
    EXPECT_EQ(contents(inDirectory("data/victim")), "untouched");
    EXPECT_FALSE(QFile::exists(inFolder("inside.log")));
}

TEST_F(LogMessageSinkFile, ARequestIsNotLedOutsideByALinkInTheLogFolder)
{
    fill(inDirectory("victim"), "untouched");
    ASSERT_TRUE(QFile::link(directory_.path(), inFolder("up")));
    EXPECT_EQ(errorOf("up/victim"), "Not a directory");
    EXPECT_EQ(errorOf("sub/../up/victim"), "Not a directory");
    EXPECT_EQ(contents(inDirectory("victim")), "untouched");
}

TEST_F(LogMessageSinkFile, TheStartUpFileMayNameAFileOutsideTheLogFolder)
{
    Sink absolute(inDirectory("absolute.log").toStdString(), 0, SinkSource::StartupFile);
    send(absolute, "a");
    EXPECT_EQ(contents(inDirectory("absolute.log")), line("a"));
    Sink up("../up.log", 0, SinkSource::StartupFile);
    send(up, "b");
    EXPECT_EQ(contents(inDirectory("data/up.log")), line("b"));
    EXPECT_EQ(up.argumentText(), inDirectory("data/up.log").toStdString());
    ASSERT_TRUE(QFile::link(directory_.path(), inFolder("link")));
    Sink linked("link/linked.log", 0, SinkSource::StartupFile);
    send(linked, "c");
    EXPECT_EQ(contents(inDirectory("linked.log")), line("c"));
    Sink inside("inside.log", 0, SinkSource::StartupFile);
    send(inside, "d");
    EXPECT_EQ(contents(inFolder("inside.log")), line("d"));
}

TEST_F(LogMessageSinkFile, IsNeverOpenedThroughASymbolicLink)
{
    fill(inDirectory("victim"), "untouched");
    ASSERT_TRUE(QFile::link(inDirectory("victim"), inFolder("link.log")));
    ASSERT_TRUE(QFile::link(inDirectory("nobody"), inFolder("dangling.log")));
    EXPECT_EQ(errorOf("link.log"), "Too many levels of symbolic links");
    EXPECT_EQ(errorOf("link.log", SinkSource::StartupFile), "Too many levels of symbolic links");
    EXPECT_EQ(errorOf(inFolder("link.log").toStdString(), SinkSource::StartupFile),
              "Too many levels of symbolic links");
    EXPECT_NE(errorOf("dangling.log"), "no error");
    EXPECT_EQ(contents(inDirectory("victim")), "untouched");
    EXPECT_FALSE(QFile::exists(inDirectory("nobody")));
}

TEST_F(LogMessageSinkFile, IsARegularFileOnly)
{
    ASSERT_EQ(::mkfifo(inFolder("pipe").toLocal8Bit().constData(), 0600), 0);
    EXPECT_NE(errorOf("pipe"), "no error"); // and nobody waits for a reader
    EXPECT_EQ(errorOf("sub"), "Is a directory");
    EXPECT_EQ(errorOf("/dev/null", SinkSource::StartupFile), "not a regular file");
}

TEST_F(LogMessageSinkFile, IsNeverOneOfTheServicesOwn)
{
    fill(inFolder("LogSvcRules.json"), "untouched");
    for (const SinkSource source : {SinkSource::Request, SinkSource::StartupFile}) {
        for (const char* name :
             {"LogSvcRules.json", "LogSvcConf.json", "LogSvcModules.txt", "logsvcrules.JSON",
              "LogSvcRules.json.new", "./LogSvcRules.json", "sub/../LogSvcRules.json",
              "sub\\..\\LogSvcRules.json", "sub/LogSvcRules.json"})
            EXPECT_EQ(errorOf(name, source), ownFile) << name;
    }
    EXPECT_EQ(errorOf(inFolder("LogSvcRules.json").toStdString(), SinkSource::StartupFile),
              ownFile);
    EXPECT_EQ(errorOf("LogSvcRules.json/"), noName);
    EXPECT_EQ(errorOf("LogSvcRules.json/."), noName);
    EXPECT_EQ(contents(inFolder("LogSvcRules.json")), "untouched");
    EXPECT_EQ(QDir(inDirectory("data/log")).entryList(QDir::Files).size(), 1);
}

TEST_F(LogMessageSinkFile, APathWithoutANameIsRefused)
{
    for (const SinkSource source : {SinkSource::Request, SinkSource::StartupFile}) {
        for (const char* argument :
             {"", ".", "..", "/", "\\", "./", "sub/", "sub/..", "x/../", "../..", "//"})
            EXPECT_EQ(errorOf(argument, source), noName) << argument;
    }
}

TEST_F(LogMessageSinkFile, ControlCharactersAndPathsWithoutEndAreRefused)
{
    EXPECT_EQ(errorOf(std::string("x.log\0", 6)), "the path contains control characters");
    EXPECT_EQ(errorOf("a\nb.log"), "the path contains control characters");
    EXPECT_EQ(errorOf("a\x7F.log"), "the path contains control characters");
    EXPECT_EQ(errorOf(std::string(1025, 'x')), "the path is too long");
    EXPECT_EQ(errorOf(std::string(1024, 'x')), "File name too long");
    EXPECT_EQ(errorOf(std::string(255, 'x')), "no error");
}

TEST_F(LogMessageSinkFile, WithoutADataDirectoryOnlyAbsolutePathsRemain)
{
    qunsetenv("ARZDATA");
    EXPECT_EQ(errorOf("x.log"), "there is no log folder");
    EXPECT_EQ(errorOf("../x.log", SinkSource::StartupFile), "there is no log folder");
    const Sink sink(inDirectory("x.log").toStdString(), 0, SinkSource::StartupFile);
    EXPECT_TRUE(QFile::exists(inDirectory("x.log")));
    EXPECT_TRUE(sink.matches(inDirectory("x.log").toStdString()));
    EXPECT_FALSE(sink.matches("x.log"));
    EXPECT_FALSE(sink.matches(""));
}

TEST_F(LogMessageSinkFile, MatchesWhateverLeadsToItsPath)
{
    const Sink sink("sub/x.log");
    for (const std::string& argument :
         {std::string("sub/x.log"), std::string("sub\\x.log"), std::string("./sub//x.log"),
          std::string("sub/../sub/x.log"), std::string("../log/sub/x.log"),
          inFolder("sub/x.log").toStdString(), sink.argumentText()})
        EXPECT_TRUE(sink.matches(argument)) << argument;
    for (const std::string& argument :
         {std::string(""), std::string("x.log"), std::string("sub/X.log"),
          std::string("sub/x.log/"), std::string("sub"), std::string("/sub/x.log"),
          std::string("sub/x.log\0", 10), std::string(100000, '/') + "x.log"})
        EXPECT_FALSE(sink.matches(argument)) << argument.substr(0, 20);

    qputenv("ARZDATA", (inDirectory("data") + QStringLiteral("/../data//")).toLocal8Bit());
    const Sink roundabout("sub/y.log");
    EXPECT_TRUE(roundabout.matches(inFolder("sub/y.log").toStdString()));
    EXPECT_EQ(roundabout.argumentText(), inFolder("sub/y.log").toStdString());
    EXPECT_TRUE(sink.matches("sub/x.log"));
}

/// Has the system refuse what goes beyond a size, as it does on a full disk.
class FullDisk
{
public:
    explicit FullDisk(std::size_t size)
        : previousHandler_(::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &before_);
        struct rlimit small = before_;
        small.rlim_cur = size;
        ::setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FullDisk()
    {
        ::setrlimit(RLIMIT_FSIZE, &before_);
        ::signal(SIGXFSZ, previousHandler_);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    void (*previousHandler_)(int);
    struct rlimit before_ = {};
};

TEST_F(LogMessageSinkFile, AFullDiskCostsItsLinesOnlyAndIsToldOnce)
{
    Sink sink("x.log");
    send(sink, "first");
    {
        const FullDisk disk(line("first").size() + 10);
        EXPECT_NO_THROW(send(sink, "second"));
        EXPECT_NO_THROW(send(sink, "third"));
    }
    EXPECT_EQ(contents(inFolder("x.log")), line("first") + std::string(10, ' '));
    EXPECT_EQ(trace_.calls(),
              std::vector<std::string>{"Failed to write to the log file '" +
                                       inFolder("x.log").toStdString() + "': File too large\n"});
    send(sink, "fourth");
    EXPECT_EQ(contents(inFolder("x.log")), line("first") + line("fourth"));
    {
        const FullDisk disk(0);
        send(sink, "fifth");
    }
    EXPECT_EQ(trace_.calls().size(), 2U);
}

TEST_F(LogMessageSinkFile, LinesThatAFullDiskLosesCountTowardsTheLimit)
{
    Sink sink("x.log", 3);
    const FullDisk disk(line("1").size());
    for (const char* message : {"1", "2", "3", "4"})
        send(sink, message);
    EXPECT_EQ(contents(inFolder("x.log")), line("4"));
}

TEST_F(LogMessageSinkFile, APathThatGoesAwayDoesNotStopTheSink)
{
    Sink sink("sub/x.log");
    send(sink, "1");
    ASSERT_TRUE(QFile::rename(inFolder("sub/x.log"), inFolder("moved.log")));
    ASSERT_TRUE(QDir(inFolder("sub")).removeRecursively());
    EXPECT_NO_THROW(send(sink, "2"));
    EXPECT_EQ(contents(inFolder("moved.log")), line("1") + line("2"));
    ASSERT_TRUE(QFile::remove(inFolder("moved.log")));
    EXPECT_NO_THROW(send(sink, "3"));
    EXPECT_FALSE(QFile::exists(inFolder("moved.log")));
    EXPECT_TRUE(trace_.calls().empty());
    EXPECT_TRUE(sink.matches("sub/x.log"));
}

TEST_F(LogMessageSinkFile, TheFactoryMakesItFromItsDescription)
{
    SinkDescription description;
    description.argumentText = "x.log";
    description.firstNumber = 1;
    const std::shared_ptr<LogMessageSink> sink = makeSink(3, description);
    send(*sink, "a");
    send(*sink, "b");
    EXPECT_EQ(contents(inFolder("x.log")), line("b"));
    EXPECT_TRUE(sink->matches("x.log"));

    description.argumentText = inDirectory("outside.log").toStdString();
    EXPECT_THROW(makeSink(3, description), LogSvcError);
    EXPECT_FALSE(QFile::exists(inDirectory("outside.log")));
    description.source = SinkSource::StartupFile;
    description.containerOperatingMode = 5;
    EXPECT_EQ(makeSink(3, description)->containerOperatingMode(), 5U);
    EXPECT_TRUE(QFile::exists(inDirectory("outside.log")));
}

TEST_F(LogMessageSinkFile, ADatagramAddsAndRemovesItWithinTheLogFolderOnly)
{
    const ListenerUnderTest listener;
    UdpPeer peer;
    const auto statusOf = [&](std::uint16_t command, const std::string& path) {
        Bytes payload(4);
        storeU32(payload.data(), 3);
        payload.insert(payload.end(), path.begin(), path.end());
        const std::optional<PacketHeader> reply = peer.exchange(
            datagram({magicLogMessage, 0, command, 0, 1, 0}, payload), listener.boundAddress());
        return reply ? int(reply->status) : -1;
    };
    EXPECT_EQ(statusOf(289, inDirectory("x.log").toStdString()), 3);
    EXPECT_EQ(statusOf(289, "../x.log"), 3);
    EXPECT_EQ(statusOf(289, "LogSvcConf.json"), 3);
    EXPECT_EQ(listener.sinkCount(), 0U);
    EXPECT_EQ(trace_.countStartingWith("Error while processing log protocol requests (negative ack "
                                       "generated): Failed to instantiate a file sink the file "),
              3U);
    EXPECT_EQ(statusOf(289, "x.log"), 0);
    fill(inFolder("x.log"), "not emptied again");
    EXPECT_EQ(statusOf(289, "sub/../x.log"), 0);
    EXPECT_EQ(contents(inFolder("x.log")), "not emptied again");
    EXPECT_EQ(listener.sinkCount(), 1U);
    EXPECT_EQ(statusOf(289, "y.log"), 0);
    EXPECT_EQ(listener.sinkCount(), 2U);
    EXPECT_EQ(statusOf(290, "./x.log"), 0);
    EXPECT_EQ(statusOf(290, "z.log"), 0);
    EXPECT_EQ(listener.sinkCount(), 1U);
    EXPECT_FALSE(QFile::exists(inDirectory("x.log")));
    EXPECT_FALSE(QFile::exists(inDirectory("data/x.log")));
}

} // namespace
} // namespace zuLogging::test
