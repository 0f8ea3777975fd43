#include "config/LogConfigData.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogSvcError.h"
#include "platform/SharedMemory.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

using namespace zuLogging;

namespace {

std::string failureOf(LogConfigData& data)
{
    try {
        data.loadConfiguration(QString());
    } catch (const LogSvcError& error) {
        return error.what();
    }
    return "";
}

} // namespace

TEST(LogConfigData, ThereIsOneObjectAProcess)
{
    EXPECT_EQ(LogConfigData::instance(), LogConfigData::instance());
}

TEST(LogConfigData, IsNotModifiedAtFirstAndRemembersTheFlag)
{
    LogConfigData data;
    EXPECT_FALSE(data.isModified());
    data.setModified(true);
    EXPECT_TRUE(data.isModified());
    data.setModified(false);
    EXPECT_FALSE(data.isModified());
}

TEST(LogConfigData, AServiceThatCannotBeFoundIsAnErrorThatLeavesTheLoad)
{
    LogConfigData data;
    EXPECT_EQ(failureOf(data), "Failed to connect to the shared memory with connection info: "
                               "Shared memory error");
}

TEST(LogConfigData, ABrokenConnectionInfoIsAnErrorThatLeavesTheLoad)
{
    platform::SharedMemoryPublisher publisher;
    ASSERT_EQ(publisher.publish(connectionInfoName(), std::vector<std::uint8_t>(24, 0xEE)),
              platform::SharedMemoryPublisher::Result::Published)
        << publisher.error();
    LogConfigData data;
    EXPECT_EQ(failureOf(data), "Failed to retrieve valid connection info");
}

TEST(LogConfigData, EachLoadLooksForTheServiceAfresh)
{
    LogConfigData data;
    {
        platform::SharedMemoryPublisher publisher;
        ASSERT_EQ(publisher.publish(connectionInfoName(),
                                    encodeConnectionInfo({platform::loopbackAddress, 4711})),
                  platform::SharedMemoryPublisher::Result::Published)
            << publisher.error();
        EXPECT_EQ(data.loadConfiguration(QString()), QString());
    }
    EXPECT_NE(failureOf(data), "");
}

TEST(LogConfigData, AFileGivesTheErrorTextWithThePathAsGiven)
{
    LogConfigData data;
    EXPECT_EQ(data.loadConfiguration(QStringLiteral("/no/such %1.json")),
              QStringLiteral("Failed to load the configuration from file '/no/such %1.json'"));
}
