#include "platform/DataDirectory.h"

#include <QByteArray>

#include <gtest/gtest.h>

namespace {

using namespace zuLogging::platform;

class DataDirectory : public ::testing::Test
{
protected:
    void TearDown() override { qputenv("ARZDATA", before_); }

private:
    QByteArray before_ = qgetenv("ARZDATA");
};

TEST_F(DataDirectory, BothSeparatorsBecomeTheSystems)
{
    qputenv("ARZDATA", "/data");
    EXPECT_EQ(dataFilePath("log\\LogSvcConf.json"), "/data/log/LogSvcConf.json");
    EXPECT_EQ(dataFilePath("Applications/LogDesk.xml"), "/data/Applications/LogDesk.xml");
}

TEST_F(DataDirectory, ASeparatorAtTheEndOfTheDirectoryIsNotDoubled)
{
    qputenv("ARZDATA", "/data/");
    EXPECT_EQ(dataFilePath("a\\b"), "/data/a/b");
}

TEST_F(DataDirectory, TheDirectoryItselfIsTakenAsItIs)
{
    qputenv("ARZDATA", "/odd\\name");
    EXPECT_EQ(dataDirectory(), "/odd\\name");
    EXPECT_EQ(dataFilePath("a\\b"), "/odd\\name/a/b");
}

TEST_F(DataDirectory, AnEmptyVariableCountsAsUnset)
{
    qputenv("ARZDATA", "");
    EXPECT_FALSE(dataDirectory());
    EXPECT_EQ(dataFilePath("a"), "");
    qunsetenv("ARZDATA");
    EXPECT_FALSE(dataDirectory());
    EXPECT_EQ(dataFilePath("a"), "");
}

} // namespace
