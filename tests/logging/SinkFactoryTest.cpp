#include "logging/SinkFactory.h"

#include "logging/LogMessageSinkCerr.h"
#include "logging/LogMessageSinkCout.h"
#include "logging/LogMessageSinkForwarder.h"
#include "logging/LogMessageSinkRecorder.h"
#include "logging/LogMessageSinkTrace.h"
#include "logging/LogSvcError.h"
#include "logging/Packet.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>
#include <typeinfo>

namespace zuLogging::test {
namespace {

constexpr char noSink[] = "Attempt to create a message sink of an unsupported type";
constexpr char noTypeInfo[] = "Attempt to create a message sink type info of an unsupported type";

SinkDescription described(const std::string& text, std::uint32_t mode = 0)
{
    SinkDescription description;
    description.argumentText = text;
    description.containerOperatingMode = mode;
    return description;
}

std::string errorOfMaking(std::uint32_t type, const std::string& text = "127.0.0.1:80")
{
    try {
        makeSink(type, described(text));
    } catch (const LogSvcError& error) {
        return error.what();
    }
    return "no error";
}

std::string errorOfIdentity(std::uint32_t type)
{
    try {
        sinkTypeIdentity(type);
    } catch (const LogSvcError& error) {
        return error.what();
    }
    return "no error";
}

TEST(SinkFactory, MakesASinkOfTheClassThatTheTypeCodeStandsFor)
{
    const std::shared_ptr<LogMessageSink> trace = makeSink(0, described(""));
    const std::shared_ptr<LogMessageSink> out = makeSink(1, described(""));
    const std::shared_ptr<LogMessageSink> err = makeSink(2, described(""));
    const std::shared_ptr<LogMessageSink> forwarder = makeSink(4, described("127.0.0.1:80"));
    const LogMessageSink* const sinks[] = {trace.get(), out.get(), err.get(), forwarder.get()};
    const std::uint32_t types[] = {0, 1, 2, 4};
    for (std::size_t i = 0; i < 4; ++i) {
        for (std::size_t j = 0; j < 4; ++j)
            EXPECT_EQ(sinkTypeIdentity(types[j]) == typeid(*sinks[i]), i == j) << i << ' ' << j;
    }
    EXPECT_NE(dynamic_cast<LogMessageSinkTrace*>(trace.get()), nullptr);
    EXPECT_NE(dynamic_cast<LogMessageSinkCout*>(out.get()), nullptr);
    EXPECT_NE(dynamic_cast<LogMessageSinkCerr*>(err.get()), nullptr);
    EXPECT_NE(dynamic_cast<LogMessageSinkForwarder*>(forwarder.get()), nullptr);
}

TEST(SinkFactory, TypeCode6RaisesTheFactorysError)
{
    EXPECT_EQ(errorOfMaking(6), noSink);
    EXPECT_EQ(errorOfMaking(7), noSink);
    EXPECT_EQ(errorOfMaking(std::numeric_limits<std::uint32_t>::max()), noSink);
}

TEST(SinkFactory, ARecorderTakesItsCapacitiesFromTheTwoNumbers)
{
    SinkDescription description = described("any text", 3);
    const auto plain = makeSink(5, description);
    description.firstNumber = 7;
    description.secondNumber = 8;
    const auto sized = makeSink(5, description);
    const auto* first = dynamic_cast<LogMessageSinkRecorder*>(plain.get());
    const auto* second = dynamic_cast<LogMessageSinkRecorder*>(sized.get());
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(sinkTypeIdentity(5), typeid(*first));
    EXPECT_EQ(first->primaryRing().capacity(), 1000U);
    EXPECT_EQ(first->secondaryRing().capacity(), 100U);
    EXPECT_EQ(second->primaryRing().capacity(), 7U);
    EXPECT_EQ(second->secondaryRing().capacity(), 8U);
    EXPECT_EQ(first->containerOperatingMode(), 3U);
    EXPECT_TRUE(first->matches("whatever"));
    EXPECT_EQ(first->argumentText(), "");
}

TEST(SinkFactory, AFileOutsideTheLogFolderIsRefusedUnlessTheStartUpFileNamesIt)
{
    EXPECT_EQ(errorOfMaking(3, "/nowhere/x.log"),
              "Failed to instantiate a file sink the file lies outside the log folder");
    SinkDescription description = described("/nowhere/x.log");
    description.source = SinkSource::StartupFile;
    try {
        makeSink(3, description);
        ADD_FAILURE();
    } catch (const LogSvcError& error) {
        EXPECT_STREQ(error.what(), "Failed to instantiate a file sink No such file or directory");
    }
}

TEST(SinkFactory, AForwarderToLocalhost80CannotBeMade)
{
    EXPECT_EQ(errorOfMaking(4, "localhost:80"), "Failed to parse socket address string");
    EXPECT_EQ(errorOfMaking(4, ""), "Failed to parse socket address string");
}

TEST(SinkFactory, TypeIdentitiesAreAllDifferentAndEndAt5)
{
    std::set<std::type_index> identities;
    for (std::uint32_t type = 0; type < 6; ++type)
        identities.insert(sinkTypeIdentity(type));
    EXPECT_EQ(identities.size(), 6U);
    EXPECT_EQ(errorOfIdentity(6), noTypeInfo);
    EXPECT_EQ(errorOfIdentity(std::numeric_limits<std::uint32_t>::max()), noTypeInfo);
}

TEST(SinkFactory, ASinkKeepsTheOperatingModeOfItsDescription)
{
    for (const std::uint32_t type : {0U, 1U, 2U, 4U}) {
        EXPECT_EQ(makeSink(type, described("127.0.0.1:80"))->containerOperatingMode(), 0U);
        EXPECT_EQ(makeSink(type, described("127.0.0.1:80", 5))->containerOperatingMode(), 5U);
    }
}

/// Implements what every sink must, and nothing else.
class BareSink final : public LogMessageSink
{
public:
    void consume(const LogMessageContainerView&) override {}
};

TEST(LogMessageSink, ASinkThatDoesNotOverrideReplayIgnoresReplayRequestsSilently)
{
    BareSink bare;
    LogMessageSink& sink = bare;
    EXPECT_NO_THROW(sink.replay(ReplayRequest::everything(), "127.0.0.1:80"));
    EXPECT_NO_THROW(sink.replay(ReplayRequest(), "no address"));
}

TEST(LogMessageSink, TheBaseMatchesEveryTextAndHasNone)
{
    BareSink bare;
    LogMessageSink& sink = bare;
    EXPECT_TRUE(sink.matches(""));
    EXPECT_TRUE(sink.matches("anything"));
    EXPECT_EQ(sink.argumentText(), "");
    EXPECT_EQ(sink.containerOperatingMode(), 0U);
    EXPECT_NO_THROW(sink.idle());
    EXPECT_NO_THROW(sink.consumeSecondary(LogMessageContainerView()));
}

TEST(ReplayRequest, AsksForEverythingWith256AndZeros)
{
    const ReplayRequest request = ReplayRequest::everything();
    ASSERT_EQ(request.bytes.size(), 32U);
    EXPECT_EQ(loadU32(request.bytes.data()), 256U);
    for (std::size_t i = 4; i < 32; ++i)
        EXPECT_EQ(request.bytes[i], 0) << i;
}

} // namespace
} // namespace zuLogging::test
