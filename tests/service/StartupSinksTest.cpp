#include "service/StartupSinks.h"

#include "logging/ListenerLimits.h"
#include "logging/LogMessageSinkFile.h"
#include "logging/LogMessageSinkRecorder.h"
#include "service/SinkNames.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TraceCapture.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

class StartupSinks : public ::testing::Test
{
protected:
    StartupSink& want(SinkType type, const std::string& text = {})
    {
        StartupSink sink;
        sink.number = wanted_.size() + 1;
        sink.typeName = sinkName(type);
        sink.type = type;
        sink.description.argumentText = text;
        sink.description.source = SinkSource::StartupFile;
        wanted_.push_back(sink);
        return wanted_.back();
    }
    /// Kinds of the sinks that are made.
    std::vector<std::string> made()
    {
        sinks_ = makeStartupSinks(wanted_);
        std::vector<std::string> names;
        for (const auto& sink : sinks_)
            names.emplace_back(sinkName(sinkTypeOf(*sink).value()));
        return names;
    }
    std::string pathOf(const char* name) const
    {
        return directory_.filePath(QString::fromUtf8(name)).toStdString();
    }

    test::TraceCapture trace_;
    QTemporaryDir directory_;
    std::vector<StartupSink> wanted_;
    SinkList sinks_;
};

TEST_F(StartupSinks, AreMadeOfAllKindsInTheirOrder)
{
    StartupSink& recorder = want(SinkType::Recorder);
    recorder.description.firstNumber = 12;
    recorder.description.secondNumber = 3;
    want(SinkType::Cerr);
    want(SinkType::File, pathOf("a.log"));
    want(SinkType::Forwarder, "127.0.0.1:9");
    want(SinkType::Trace);
    want(SinkType::Cout);
    EXPECT_EQ(made(),
              (std::vector<std::string>{"record", "cerr", "file", "forward", "trace", "cout"}));
    const auto& made = dynamic_cast<const LogMessageSinkRecorder&>(*sinks_[0]);
    EXPECT_EQ(made.primaryRing().capacity(), 12U);
    EXPECT_EQ(made.secondaryRing().capacity(), 3U);
    EXPECT_EQ(sinks_[2]->argumentText(), pathOf("a.log"));
    EXPECT_EQ(sinks_[3]->argumentText(), "127.0.0.1:9");
    EXPECT_TRUE(trace_.calls().empty());
}

TEST_F(StartupSinks, OneThatCannotBeMadeIsSaidInOneLineAndTheOthersAreMade)
{
    want(SinkType::Trace);
    want(SinkType::File, pathOf("not-there/a.log"));
    want(SinkType::Forwarder, "localhost:80");
    want(SinkType::Recorder).description.firstNumber = 1000001;
    StartupSink& unknown = want(SinkType::Trace);
    unknown.typeName = "beep\nboop";
    unknown.error = "there is no sink of this type";
    want(SinkType::Cout);
    EXPECT_EQ(made(), (std::vector<std::string>{"trace", "cout"}));
    EXPECT_EQ(
        trace_.calls(),
        (std::vector<std::string>{
            "Failed to make start-up sink 2 ('file'): Failed to instantiate a file sink No such "
            "file or directory\n",
            "Failed to make start-up sink 3 ('forward'): Failed to parse socket address string\n",
            "Failed to make start-up sink 4 ('record'): Failed to instantiate log recording "
            "queue, not enough memory \n",
            "Failed to make start-up sink 5 ('beep?boop'): there is no sink of this type\n"}));
}

TEST_F(StartupSinks, OneThatIsThereAlreadyIsNotMadeAgain)
{
    want(SinkType::Recorder);
    want(SinkType::Trace);
    want(SinkType::File, pathOf("a.log"));
    want(SinkType::Forwarder, "127.0.0.1:9");
    want(SinkType::Forwarder, "127.0.0.1:10");
    want(SinkType::Recorder);
    want(SinkType::Trace);
    want(SinkType::File, directory_.path().toStdString() + "/./x/../a.log");
    want(SinkType::Forwarder, "127.0.0.1:9");
    want(SinkType::File, pathOf("b.log"));
    EXPECT_EQ(made(),
              (std::vector<std::string>{"record", "trace", "file", "forward", "forward", "file"}));
    const std::vector<std::string> said = trace_.calls();
    ASSERT_EQ(said.size(), 4U);
    EXPECT_EQ(said[0], "Failed to make start-up sink 6 ('record'): there is one already\n");
    EXPECT_EQ(said[2], "Failed to make start-up sink 8 ('file'): there is one already\n");
}

TEST_F(StartupSinks, ThereAreNoMoreThanTheServiceAllows)
{
    for (int port = 1; port <= 66; ++port)
        want(SinkType::Forwarder, "127.0.0.1:" + std::to_string(port));
    want(SinkType::Trace);
    EXPECT_EQ(made().size(), ListenerLimits::careful().sinks);
    EXPECT_EQ(trace_.calls(),
              (std::vector<std::string>{
                  "Failed to make start-up sink 65 ('forward'): there are 64 sinks already\n",
                  "Failed to make start-up sink 66 ('forward'): there are 64 sinks already\n",
                  "Failed to make start-up sink 67 ('trace'): there are 64 sinks already\n"}));
}

TEST_F(StartupSinks, TheirFileMayLieOutsideTheLogFolderAndHasItsLineLimit)
{
    want(SinkType::File, pathOf("outside.log")).description.firstNumber = 1;
    want(SinkType::File, "inside.log");
    EXPECT_EQ(made().size(), 2U);
    EXPECT_TRUE(QFile::exists(directory_.filePath(QStringLiteral("outside.log"))));
    EXPECT_TRUE(QFile::exists(test::TestEnvironment::instance().dataDirectory() +
                              QStringLiteral("/log/inside.log")));
}

TEST(SinkNames, EveryKindHasOneAndIsFoundByIt)
{
    for (std::uint32_t code = 0; code < 6; ++code) {
        const auto type = static_cast<SinkType>(code);
        EXPECT_EQ(sinkTypeNamed(sinkName(type)), type);
    }
    EXPECT_EQ(sinkTypeNamed("record"), SinkType::Recorder);
    for (const char* name : {"", "Record", "record ", "forwarder", "file\n"})
        EXPECT_EQ(sinkTypeNamed(name), std::nullopt) << name;
}

} // namespace
} // namespace zuLogging
