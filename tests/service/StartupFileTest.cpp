#include "service/StartupFile.h"

#include "logging/PropertyTreeJson.h"
#include "tests/support/TraceCapture.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace zuLogging {
namespace {

class StartupFileOfTheService : public ::testing::Test
{
protected:
    QString path() const { return directory_.filePath(QStringLiteral("LogSvcConf.json")); }
    std::optional<std::uint64_t> linesOf(const QByteArray& text)
    {
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text);
        file.close();
        const auto lines = StartupFile(path().toStdString()).recordLines();
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_EQ(file.readAll(), text) << "the file was touched";
        return lines;
    }

    test::TraceCapture trace_;
    QTemporaryDir directory_;
};

TEST_F(StartupFileOfTheService, IsMadeWithTheDefaultsWhenItIsMissing)
{
    EXPECT_EQ(StartupFile(path().toStdString()).recordLines(), 10000U);
    const PropertyTree document = readPropertyTreeFile(path().toStdString());
    const PropertyTree& sinks = document.get_child("startup_sinks");
    ASSERT_EQ(sinks.size(), 1U);
    EXPECT_EQ(sinks.front().first, "");
    EXPECT_EQ(sinks.front().second.get<std::string>("type"), "record");
    EXPECT_EQ(sinks.front().second.get<std::string>("media_size"), "10000");
    EXPECT_EQ(StartupFile(path().toStdString()).recordLines(), 10000U);
    EXPECT_TRUE(trace_.calls().empty());
}

TEST_F(StartupFileOfTheService, SaysHowLongTheReplayMemoryIs)
{
    EXPECT_EQ(linesOf(R"({"other":{"a":[1,2]},"startup_sinks":[{"type":"forwarder"},
        {"media_size":"250","type":"record","unknown":"x"},{"type":"record","media_size":"9"}]})"),
              250U);
    EXPECT_EQ(linesOf(R"({"startup_sinks":[{"type":"record","media_size":0}]})"), 0U);
    EXPECT_EQ(
        linesOf(R"({"startup_sinks":[{"type":"record","media_size":"18446744073709551615"}]})"),
        18446744073709551615U);
    EXPECT_EQ(linesOf(R"({"startup_sinks":[{"type":"record"}]})"), 10000U);
    EXPECT_TRUE(trace_.calls().empty());
}

TEST_F(StartupFileOfTheService, WithoutARecordSinkThereIsNoReplayMemory)
{
    for (const char* text :
         {R"({})", R"({"startup_sinks":[]})", R"({"startup_sinks":[{"type":"Record"}]})",
          R"({"startup_sinks":[{"media_size":"5"}]})"})
        EXPECT_EQ(linesOf(text), std::nullopt) << text;
    EXPECT_TRUE(trace_.calls().empty());
}

TEST_F(StartupFileOfTheService, ABrokenOneIsReportedAndTheDefaultsAreUsed)
{
    std::size_t said = 0;
    for (const QByteArray& text :
         {QByteArray(""), QByteArray("{"), QByteArray("garbage"), QByteArray(2000, '['),
          QByteArray(R"({"startup_sinks":[{"type":"record","media_size":"-1"}]})"),
          QByteArray(R"({"startup_sinks":[{"type":"record","media_size":"many"}]})"),
          QByteArray(
              R"({"startup_sinks":[{"type":"record","media_size":"18446744073709551616"}]})"),
          QByteArray((1 << 20) + 1, ' ')}) {
        EXPECT_EQ(linesOf(text), 10000U) << text.left(80).constData();
        EXPECT_EQ(trace_.countStartingWith("Failed to read the start-up file '"), ++said)
            << text.left(80).constData();
    }
}

TEST_F(StartupFileOfTheService, APipeInItsPlaceHoldsNobody)
{
    ASSERT_EQ(::mkfifo(path().toLocal8Bit().constData(), 0600), 0);
    EXPECT_EQ(StartupFile(path().toStdString()).recordLines(), 10000U);
    EXPECT_EQ(trace_.countStartingWith("Failed to read the start-up file '"), 1U);
}

TEST_F(StartupFileOfTheService, OneThatCannotBeMadeIsReported)
{
    const std::string path =
        (directory_.path() + QStringLiteral("/not-there/x.json")).toStdString();
    EXPECT_EQ(StartupFile(path).recordLines(), 10000U);
    EXPECT_EQ(trace_.countStartingWith("Failed to make the start-up file '"), 1U);
    EXPECT_EQ(StartupFile("").recordLines(), 10000U);
    EXPECT_EQ(trace_.calls().size(), 1U);
}

} // namespace
} // namespace zuLogging
