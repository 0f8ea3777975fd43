#include "service/StartupFile.h"

#include "logging/PropertyTreeJson.h"
#include "service/SinkNames.h"
#include "tests/support/TraceCapture.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <ostream>

#include <sys/stat.h>

namespace zuLogging {
namespace {

/// What the file describes, as far as it is used.
struct Seen
{
    std::size_t number;
    SinkType type;
    std::string text;
    std::uint64_t first;
    std::uint64_t second;

    bool operator==(const Seen& other) const
    {
        return number == other.number && type == other.type && text == other.text &&
               first == other.first && second == other.second;
    }
};

void PrintTo(const Seen& seen, std::ostream* out)
{
    *out << seen.number << " '" << seen.text << "' " << seen.first << ' ' << seen.second;
}

const std::vector<Seen> defaults = {{1, SinkType::Recorder, "", 10000, 0}};

class StartupFileOfTheService : public ::testing::Test
{
protected:
    QString path() const { return directory_.filePath(QStringLiteral("LogSvcConf.json")); }

    std::vector<StartupSink> read(const QByteArray& text)
    {
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(text);
        file.close();
        const std::vector<StartupSink> sinks = StartupFile(path().toStdString()).sinks();
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_EQ(file.readAll(), text) << "the file was touched";
        return sinks;
    }

    static std::vector<Seen> seen(const std::vector<StartupSink>& sinks)
    {
        std::vector<Seen> all;
        for (const StartupSink& sink : sinks) {
            EXPECT_EQ(sink.error, "");
            EXPECT_EQ(sink.typeName, sinkName(sink.type));
            EXPECT_EQ(sink.description.source, SinkSource::StartupFile);
            EXPECT_EQ(sink.description.containerOperatingMode, 0U);
            all.push_back({sink.number, sink.type, sink.description.argumentText,
                           sink.description.firstNumber, sink.description.secondNumber});
        }
        return all;
    }
    std::vector<Seen> seen(const QByteArray& text) { return seen(read(text)); }
    std::vector<Seen> seenAt(const std::string& path) { return seen(StartupFile(path).sinks()); }

    test::TraceCapture trace_;
    QTemporaryDir directory_;
};

TEST_F(StartupFileOfTheService, IsMadeWithTheDefaultsWhenItIsMissing)
{
    EXPECT_EQ(seenAt(path().toStdString()), defaults);
    const PropertyTree document = readPropertyTreeFile(path().toStdString());
    const PropertyTree& sinks = document.get_child("startup_sinks");
    ASSERT_EQ(sinks.size(), 1U);
    EXPECT_EQ(sinks.front().first, "");
    EXPECT_EQ(sinks.front().second.get<std::string>("type"), "record");
    EXPECT_EQ(sinks.front().second.get<std::string>("media_size"), "10000");
    EXPECT_EQ(seenAt(path().toStdString()), defaults);
    EXPECT_TRUE(trace_.calls().empty());
}

TEST_F(StartupFileOfTheService, DescribesSinksOfAllKindsInItsOrder)
{
    const std::vector<Seen> expected = {
        {1, SinkType::Forwarder, "127.0.0.1:5000", 0, 0},
        {2, SinkType::File, "a.log", 0, 0},
        {3, SinkType::Trace, "", 0, 0},
        {4, SinkType::Recorder, "", 250, 7},
        {5, SinkType::File, "/var/log/b.log", 3, 0},
        {6, SinkType::Cerr, "", 0, 0},
        {7, SinkType::Cout, "", 0, 0},
        {8, SinkType::Recorder, "", 10000, 0},
    };
    EXPECT_EQ(seen(R"({"other":{"a":[1,2]},"startup_sinks":[
        {"type":"forward","address":"127.0.0.1:5000","path":"not mine"},
        {"path":"a.log","type":"file","unknown":{"x":[]}},
        {"type":"trace"},
        {"media_size":250,"type":"record","secondary_media_size":7},
        {"type":"file","path":"/var/log/b.log","line_limit":3},
        {"type":"cerr"},
        {"type":"cout","media_size":"not a number, nor asked for"},
        {"type":"record"}]})"),
              expected);
    EXPECT_TRUE(trace_.calls().empty());
}

TEST_F(StartupFileOfTheService, NumbersMayBeWrittenAsTexts)
{
    const std::vector<Seen> expected = {{1, SinkType::Recorder, "", 250, 18446744073709551615U},
                                        {2, SinkType::File, "x", 12, 0}};
    EXPECT_EQ(seen(R"({"startup_sinks":[
        {"type":"record","media_size":"250","secondary_media_size":"18446744073709551615"},
        {"type":"file","path":"x","line_limit":"12"}]})"),
              expected);
    EXPECT_EQ(seen(R"({"startup_sinks":[{"type":"record","media_size":0}]})").front().first, 0U);
}

TEST_F(StartupFileOfTheService, WithoutElementsThereAreNoSinks)
{
    for (const char* text : {R"({})", R"({"startup_sinks":[]})", R"({"startup_sinks":""})"})
        EXPECT_TRUE(seen(text).empty()) << text;
    EXPECT_TRUE(trace_.calls().empty());
}

TEST_F(StartupFileOfTheService, AnElementThatDescribesNoSinkSaysWhyAndTheOthersStay)
{
    const std::vector<StartupSink> sinks = read(R"({"startup_sinks":[
        {"type":"Record"}, {"type":"trace"}, {"media_size":"5"}, "record", 17,
        {"type":"file"}, {"type":"file","path":"x","line_limit":"-1"},
        {"type":"forward"}, {"type":"record","media_size":"18446744073709551616"},
        {"type":"record","media_size":"many"}, {"type":"record","media_size":""},
        {"type":"record","secondary_media_size":1.5}, {"type":"record","media_size":{"a":1}},
        {"type":"record","media_size":null}, {"type":{"a":1}}, {"type":"cout"}]})");
    const std::string noNumber = "\" is no whole number from 0 on";
    const std::vector<std::string> errors = {"there is no sink of this type",
                                             "",
                                             "it has no \"type\"",
                                             "it has no \"type\"",
                                             "it has no \"type\"",
                                             "it has no \"path\"",
                                             "its \"line_limit" + noNumber,
                                             "it has no \"address\"",
                                             "its \"media_size" + noNumber,
                                             "its \"media_size" + noNumber,
                                             "its \"media_size" + noNumber,
                                             "its \"secondary_media_size" + noNumber,
                                             "its \"media_size" + noNumber,
                                             "its \"media_size" + noNumber,
                                             "there is no sink of this type",
                                             ""};
    ASSERT_EQ(sinks.size(), errors.size());
    for (std::size_t i = 0; i < errors.size(); ++i) {
        EXPECT_EQ(sinks[i].number, i + 1);
        EXPECT_EQ(sinks[i].error, errors[i]) << i + 1;
    }
    EXPECT_EQ(sinks[0].typeName, "Record");
    EXPECT_EQ(sinks[15].type, SinkType::Cout);
    EXPECT_TRUE(trace_.calls().empty()) << "whoever makes the sinks says it";
}

TEST_F(StartupFileOfTheService, ElementsBeyondAThousandAreNotLookedAtWhichIsSaid)
{
    QByteArray text = R"({"startup_sinks":[{})";
    for (int i = 0; i < 100000; ++i)
        text += ",{}";
    EXPECT_EQ(read(text + "]}").size(), 1000U);
    EXPECT_EQ(trace_.countStartingWith("Failed to make all start-up sinks: "), 1U);
}

TEST_F(StartupFileOfTheService, ABrokenOneIsReportedAndTheDefaultsAreUsed)
{
    std::size_t said = 0;
    for (const QByteArray& text :
         {QByteArray(""), QByteArray("{"), QByteArray("garbage"), QByteArray(2000, '['),
          QByteArray("[]"), QByteArray(R"({"startup_sinks":"record"})"),
          QByteArray((1 << 20) + 1, ' ')}) {
        EXPECT_EQ(seen(text), defaults) << text.left(80).constData();
        EXPECT_EQ(trace_.countStartingWith("Failed to read the start-up file '"), ++said)
            << text.left(80).constData();
    }
}

TEST_F(StartupFileOfTheService, APipeInItsPlaceHoldsNobody)
{
    ASSERT_EQ(::mkfifo(path().toLocal8Bit().constData(), 0600), 0);
    EXPECT_EQ(seenAt(path().toStdString()), defaults);
    EXPECT_EQ(trace_.countStartingWith("Failed to read the start-up file '"), 1U);
}

TEST_F(StartupFileOfTheService, OneThatCannotBeMadeIsReported)
{
    const std::string path =
        (directory_.path() + QStringLiteral("/not-there/x.json")).toStdString();
    EXPECT_EQ(seenAt(path), defaults);
    EXPECT_EQ(trace_.countStartingWith("Failed to make the start-up file '"), 1U);
    EXPECT_EQ(seenAt(""), defaults);
    EXPECT_EQ(trace_.calls().size(), 1U);
}

} // namespace
} // namespace zuLogging
