#include "tools/CommandOptions.h"

#include "logging/TimestampText.h"

#include <gtest/gtest.h>

#include <random>

namespace zuLogging {
namespace {

TEST(CommandOptions, LevelsAreKnownByName)
{
    EXPECT_EQ(parseLogLevel("none"), 0U);
    EXPECT_EQ(parseLogLevel("fatal"), 1U);
    EXPECT_EQ(parseLogLevel("err"), 2U);
    EXPECT_EQ(parseLogLevel("warn"), 4U);
    EXPECT_EQ(parseLogLevel("info"), 8U);
    EXPECT_EQ(parseLogLevel("trace"), 16U);
    EXPECT_EQ(parseLogLevel("debug"), 32U);
}

TEST(CommandOptions, AnyOtherLevelIsRefusedWithTheNamesThereAre)
{
    for (const char* name : {"", "Info", "inf", "infos", "8", "err\xFF", "w\xC3\xA4rn"}) {
        try {
            parseLogLevel(name);
            FAIL() << name;
        } catch (const UsageError& error) {
            EXPECT_NE(std::string(error.what()).find("none, fatal, err, warn, info, trace, debug"),
                      std::string::npos);
        }
    }
}

TEST(CommandOptions, NumbersAreDecimalAndInRange)
{
    EXPECT_EQ(parseNumber("--n", "1", 1, 10), 1U);
    EXPECT_EQ(parseNumber("--n", "10", 1, 10), 10U);
    EXPECT_EQ(parseNumber("--n", "18446744073709551615", 0, ~std::uint64_t{0}), ~std::uint64_t{0});
    for (const char* text : {"", "0", "11", "-1", "+1", " 1", "1 ", "1x", "0x1", "1.0",
                             "18446744073709551616", "18446744073709551617"})
        EXPECT_THROW(parseNumber("--n", text, 1, 10), UsageError) << text;
}

std::uint64_t timeOf(const std::string& text)
{
    return parseTime("--time", text);
}

TEST(CommandOptions, ATimeIsANumberOfMicrosecondsSince1970)
{
    EXPECT_EQ(timeOf("0"), unixEpochTimestamp);
    EXPECT_EQ(timeOf("1"), unixEpochTimestamp + 1);
    EXPECT_EQ(timestampText(timeOf("1795251131123456")), QString("2026-Nov-21 08:52:11.123456"));
}

TEST(CommandOptions, ATimeIsADateAndTimeInEitherForm)
{
    const std::uint64_t whole = timeOf("1795251131000000");
    for (const char* text : {"2026-Nov-21 08:52:11", "2026-11-21T08:52:11Z", "2026-11-21T08:52:11",
                             "2026-11-21 08:52:11", "2026-11-21 08:52:11Z"})
        EXPECT_EQ(timeOf(text), whole) << text;
    for (const char* text :
         {"2026-Nov-21 08:52:11.120000", "2026-11-21T08:52:11.12Z", "2026-11-21 08:52:11.120000"})
        EXPECT_EQ(timeOf(text), whole + 120000) << text;
    EXPECT_EQ(timeOf("1400-01-01 00:00:00"), 0U);
    EXPECT_EQ(timeOf("1969-12-31T23:59:59.999999Z"), unixEpochTimestamp - 1);
    EXPECT_EQ(timeOf("2024-Feb-29 00:00:00") + 24 * 3600 * 1000000ULL,
              timeOf("2024-Mar-01 00:00:00"));
}

TEST(CommandOptions, EveryTimeStampThatIsWrittenIsReadBack)
{
    std::mt19937_64 random(7);
    for (int i = 0; i < 20000; ++i) {
        // Up to the year 9999 and up to the end.
        const std::uint64_t timestamp = random() >> (i % 2 == 0 ? 5 : 1);
        const std::string text = timestampText(timestamp).toStdString();
        if (text[0] < '0' || text[0] > '9') {
            EXPECT_THROW(timeOf(text), UsageError) << text;
            continue;
        }
        ASSERT_EQ(timeOf(text), timestamp) << text;
        if (timestamp >= unixEpochTimestamp) {
            ASSERT_EQ(timeOf(std::to_string(timestamp - unixEpochTimestamp)), timestamp);
        }
    }
}

TEST(CommandOptions, AnyOtherTimeIsRefused)
{
    for (const char* text : {"",
                             " ",
                             "now",
                             "-1",
                             "+1",
                             "1.5",
                             "1 ",
                             "1e9",
                             "0x10",
                             "18446744073709551615",
                             "18446744073709551616",
                             "99999999999999999999999999",
                             "9223372036854775807",
                             "2026-11-21",
                             "2026-11-21T08:52",
                             "2026-11-21T08:52:11.",
                             "2026-11-21T08:52:11.1234567",
                             "2026-11-21T08:52:11,5",
                             "2026-11-21T08:52:11+01:00",
                             "2026-11-21T08:52:11z",
                             "2026-11-21t08:52:11",
                             "2026-11-21T08:52:11ZZ",
                             "2026-11-21T08:52:11 ",
                             " 2026-11-21T08:52:11",
                             "2026-11-21  08:52:11",
                             "2026-11-21T8:52:11",
                             "2026-11-21T24:00:00",
                             "2026-11-21T08:60:11",
                             "2026-11-21T08:52:60",
                             "2026-00-21T08:52:11",
                             "2026-13-21T08:52:11",
                             "2026-11-00T08:52:11",
                             "2026-11-31T08:52:11",
                             "2026-02-29T08:52:11",
                             "1900-02-29T08:52:11",
                             "1399-12-31T23:59:59",
                             "0000-01-01T00:00:00",
                             "226-11-21T08:52:11",
                             "12026-11-21T08:52:11",
                             "2026-Nov-21T08:52:11",
                             "2026-Nov-21 08:52:11Z",
                             "2026-Nov-21 08:52:11.5",
                             "2026-nov-21 08:52:11",
                             "2026-Now-21 08:52:11",
                             "2026-Nov-31 08:52:11",
                             "2026-No-21 08:52:11",
                             "226-Nov-21 08:52:11",
                             "999999-Nov-21 08:52:11",
                             "1234567-Nov-21 08:52:11",
                             "not-a-date-time",
                             "+infinity",
                             "-infinity"}) {
        try {
            timeOf(text);
            FAIL() << text;
        } catch (const UsageError& error) {
            EXPECT_EQ(std::string(error.what())
                          .find(std::string("the argument '") + text +
                                "' of option '--time' is not a time"),
                      0U)
                << error.what();
        }
    }
}

} // namespace
} // namespace zuLogging
