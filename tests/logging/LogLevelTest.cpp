#include "logging/LogLevel.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <limits>

using namespace zuLogging;

TEST(LogLevel, EveryCodeHasItsName)
{
    EXPECT_EQ(logLevelName(0), u"none");
    EXPECT_EQ(logLevelName(1), u"fatal");
    EXPECT_EQ(logLevelName(2), u"err");
    EXPECT_EQ(logLevelName(4), u"warn");
    EXPECT_EQ(logLevelName(8), u"info");
    EXPECT_EQ(logLevelName(16), u"trace");
    EXPECT_EQ(logLevelName(32), u"debug");
}

TEST(LogLevel, ALevelOfThreeHasAnEmptyNameAndTheCodeText0x03)
{
    EXPECT_EQ(logLevelName(3), u"");
    EXPECT_EQ(logLevelNameText(3), QString());
    EXPECT_EQ(logLevelCodeText(3), QStringLiteral("0x03"));
}

TEST(LogLevel, AnyOtherValueHasAnEmptyName)
{
    for (const std::uint64_t level :
         {std::uint64_t{5}, std::uint64_t{33}, std::uint64_t{64}, std::uint64_t{1} << 32,
          (std::uint64_t{1} << 32) + 8, std::numeric_limits<std::uint64_t>::max()}) {
        EXPECT_TRUE(logLevelName(level).empty()) << level;
        EXPECT_TRUE(logLevelNameText(level).isEmpty()) << level;
    }
}

TEST(LogLevel, TheQtNameIsTheSameText)
{
    for (std::uint64_t level = 0; level < 70; ++level) {
        const std::u16string_view name = logLevelName(level);
        EXPECT_EQ(logLevelNameText(level),
                  QString::fromUtf16(name.data(), static_cast<int>(name.size())));
    }
}

TEST(LogLevel, TheQtNameIsSharedByAllCalls)
{
    for (const LogLevel level : allLogLevels) {
        const QString first = logLevelNameText(static_cast<std::uint64_t>(level));
        const QString second = logLevelNameText(static_cast<std::uint64_t>(level));
        EXPECT_EQ(first.constData(), second.constData());
    }
}

TEST(LogLevel, TheCodeTextHasTwoLowerCaseDigits)
{
    EXPECT_EQ(logLevelCodeText(0), QStringLiteral("0x00"));
    EXPECT_EQ(logLevelCodeText(8), QStringLiteral("0x08"));
    EXPECT_EQ(logLevelCodeText(10), QStringLiteral("0x0a"));
    EXPECT_EQ(logLevelCodeText(32), QStringLiteral("0x20"));
    EXPECT_EQ(logLevelCodeText(255), QStringLiteral("0xff"));
}

TEST(LogLevel, ALargeValueHasAsManyDigitsAsItNeeds)
{
    EXPECT_EQ(logLevelCodeText(256), QStringLiteral("0x100"));
    EXPECT_EQ(logLevelCodeText(std::numeric_limits<std::uint64_t>::max()),
              QStringLiteral("0xffffffffffffffff"));
}
