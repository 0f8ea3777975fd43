#include "store/LogField.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <limits>

using namespace zuLogging;

TEST(LogField, EveryIdentityHasItsName)
{
    const char* names[] = {"ServiceMsgID",   "SourceMsgID", "SenderMsgID", "Timestamp",
                           "LogLevel [Hex]", "LogLevel",    "LogPos",      "Module",
                           "GroupName",      "ProcessID",   "ThreadID",    "LogMessage"};
    for (int field = 1; field <= 12; ++field)
        EXPECT_EQ(logFieldName(field), QString::fromLatin1(names[field - 1]));
}

TEST(LogField, AnyOtherIdentityHasAnEmptyName)
{
    for (const int field :
         {0, -1, 13, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()})
        EXPECT_TRUE(logFieldName(field).isEmpty()) << field;
}

TEST(LogField, TheIdentityOfANameIsFound)
{
    for (int field = 1; field <= 12; ++field)
        EXPECT_EQ(logFieldOf(logFieldName(field)), field);
}

TEST(LogField, AnyOtherTextIsNoField)
{
    for (const char* text : {"", "timestamp", "LogLevel ", "LogLevel [String]", "Nothing"})
        EXPECT_EQ(logFieldOf(QString::fromLatin1(text)), FieldNone) << text;
    EXPECT_EQ(logFieldOf(QString()), FieldNone);
}

TEST(LogField, TheDefaultOrderIsThatOfTheIdentities)
{
    EXPECT_EQ(defaultColumnOrder(), (QList<int>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
}
