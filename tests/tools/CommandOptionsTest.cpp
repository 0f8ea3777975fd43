#include "tools/CommandOptions.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace zuLogging
