#include "logging/ConnectionInfo.h"

#include "logging/LogSvcError.h"
#include "logging/Packet.h"
#include "platform/SharedMemory.h"
#include "tests/support/SharedObject.h"
#include "tests/support/TestEnvironment.h"

#include <QByteArray>

#include <gtest/gtest.h>

namespace {

using namespace zuLogging;
using test::SharedObject;

const SocketAddress someAddress{platform::loopbackAddress, 49152};
const std::string invalidInfo = "Failed to retrieve valid connection info";
const std::string noObject =
    "Failed to connect to the shared memory with connection info: Shared memory error";

std::string failure()
{
    try {
        readConnectionInfo();
        return "read";
    } catch (const LogSvcError& error) {
        return error.what();
    }
}

std::string failureOf(const std::vector<std::uint8_t>& record)
{
    const SharedObject object(connectionInfoName(), record);
    return failure();
}

std::vector<std::uint8_t> changed(std::size_t offset, std::uint32_t value)
{
    std::vector<std::uint8_t> record = encodeConnectionInfo(someAddress);
    storeU32(record.data() + offset, value);
    return record;
}

TEST(ConnectionInfo, ARecordWithVersion0OrASizeFieldOf20IsRefusedEvenThoughTheMagicIsRight)
{
    EXPECT_EQ(failureOf(changed(4, 0)), invalidInfo);
    EXPECT_EQ(failureOf(changed(8, 20)), invalidInfo);
    EXPECT_EQ(failureOf(changed(8, 23)), invalidInfo);
    EXPECT_EQ(failureOf(changed(8, 24)), "read");
    EXPECT_EQ(failureOf(changed(8, 0xFFFFFFFFU)), "read");
    EXPECT_EQ(failureOf(changed(4, 0xFFFFFFFFU)), "read");
}

TEST(ConnectionInfo, ARecordWithAnotherMagicIsRefused)
{
    EXPECT_EQ(failureOf(changed(0, 0xABABBABBU)), invalidInfo);
    EXPECT_EQ(failureOf(std::vector<std::uint8_t>(connectionInfoSize, 0)), invalidInfo);
}

TEST(ConnectionInfo, ARecordOf23BytesIsRefused)
{
    std::vector<std::uint8_t> record = encodeConnectionInfo(someAddress);
    record.resize(23);
    EXPECT_EQ(failureOf(record), invalidInfo);
    record.resize(1);
    EXPECT_EQ(failureOf(record), invalidInfo);
}

TEST(ConnectionInfo, WhenOnlyTheUnprefixedSharedMemoryObjectExistsItIsUsed)
{
    const SharedObject plain(connectionInfoName(), encodeConnectionInfo(someAddress));
    EXPECT_EQ(readConnectionInfo(), someAddress);
}

TEST(ConnectionInfo, TheGlobalObjectIsTakenBeforeTheUnprefixedOne)
{
    const SharedObject plain(connectionInfoName(), encodeConnectionInfo(someAddress));
    const SharedObject global("Global\\" + connectionInfoName(),
                              encodeConnectionInfo({platform::loopbackAddress, 5000}));
    EXPECT_EQ(readConnectionInfo(), (SocketAddress{platform::loopbackAddress, 5000}));
}

TEST(ConnectionInfo, AnInvalidGlobalRecordIsNotReplacedByTheUnprefixedOne)
{
    const SharedObject plain(connectionInfoName(), encodeConnectionInfo(someAddress));
    const SharedObject global("Global\\" + connectionInfoName(), changed(4, 0));
    EXPECT_EQ(failure(), invalidInfo);
}

TEST(ConnectionInfo, WithoutAnObjectTheCauseIsSharedMemoryError)
{
    EXPECT_EQ(failure(), noObject);
}

TEST(ConnectionInfo, AnEmptyObjectCannotBeMapped)
{
    EXPECT_EQ(failureOf({}),
              "Failed to connect to the shared memory with connection info: Invalid argument");
}

TEST(ConnectionInfo, OnlyTheLow16BitsOfThePortCount)
{
    std::vector<std::uint8_t> record = encodeConnectionInfo(someAddress);
    storeU64(record.data() + 16, 0xFFFFFFFFFFFF1234ULL);
    const SharedObject object(connectionInfoName(), record);
    EXPECT_EQ(readConnectionInfo(), (SocketAddress{platform::loopbackAddress, 0x1234}));
}

TEST(ConnectionInfo, TheRecordHasItsFieldsAtTheirOffsets)
{
    EXPECT_EQ(encodeConnectionInfo({0x7F000001U, 0x1234}),
              (std::vector<std::uint8_t>{0xBA, 0xBA, 0xAB, 0xAB, 1,    0,    0, 0, 24, 0, 0, 0,
                                         0x01, 0x00, 0,    0x7F, 0x34, 0x12, 0, 0, 0,  0, 0, 0}));
}

TEST(ConnectionInfo, TheRecordIsReadAfreshEachTime)
{
    platform::SharedMemoryPublisher publisher;
    ASSERT_EQ(publisher.publish(connectionInfoName(), encodeConnectionInfo(someAddress)),
              platform::SharedMemoryPublisher::Result::Published);
    EXPECT_EQ(readConnectionInfo(), someAddress);
    ASSERT_EQ(publisher.publish(connectionInfoName(),
                                encodeConnectionInfo({platform::loopbackAddress, 2})),
              platform::SharedMemoryPublisher::Result::Published);
    EXPECT_EQ(readConnectionInfo(), (SocketAddress{platform::loopbackAddress, 2}));
    publisher.withdraw();
    EXPECT_EQ(failure(), noObject);
}

class ConnectionInfoName : public ::testing::Test
{
protected:
    void TearDown() override
    {
        qputenv("ZULOG_CONNECTION_INFO",
                QByteArray::fromStdString(test::TestEnvironment::instance().connectionInfoName()));
    }
};

TEST_F(ConnectionInfoName, TheEnvironmentNamesThePrivateRecord)
{
    qputenv("ZULOG_CONNECTION_INFO", "mine");
    EXPECT_EQ(connectionInfoName(), "mine");
}

TEST_F(ConnectionInfoName, ANameThatIsEmptyOrHasASlashFallsBackToTheMachinesOne)
{
    for (const char* name : {"", "/", "a/b", "../etc/passwd"}) {
        qputenv("ZULOG_CONNECTION_INFO", name);
        EXPECT_EQ(connectionInfoName(), "zuLogSvcConnectionInfo") << name;
    }
    qunsetenv("ZULOG_CONNECTION_INFO");
    EXPECT_EQ(connectionInfoName(), "zuLogSvcConnectionInfo");
}

} // namespace
