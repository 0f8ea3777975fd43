#include "app/CommandLine.h"

#include "platform/Desktop.h"

#include <gtest/gtest.h>

using namespace zuLogging;

TEST(CommandLine, AnEmptyCommandLineStillYieldsOneArgument)
{
    char* nothing[] = {nullptr};
    CommandLine line(platform::commandLineArguments(0, nothing));
    EXPECT_EQ(line.argc(), 1);
    EXPECT_STREQ(line.argv()[0], "logdesk");
    EXPECT_EQ(line.argv()[1], nullptr);
}

TEST(CommandLine, TheProgramPathAloneIsOneArgument)
{
    char program[] = "/opt/logdesk/logdesk";
    char* arguments[] = {program, nullptr};
    CommandLine line(platform::commandLineArguments(1, arguments));
    EXPECT_EQ(line.argc(), 1);
    EXPECT_STREQ(line.argv()[0], "/opt/logdesk/logdesk");
}

TEST(CommandLine, ArgumentsWithNonAsciiCharactersArriveAsUtf8)
{
    char program[] = "logdesk";
    char umlauts[] = "Gr\xC3\xB6\xC3\x9F"
                     "e";
    char beyond[] = "\xF0\x9F\x93\x9C log";
    char empty[] = "";
    char* arguments[] = {program, umlauts, beyond, empty, nullptr};
    CommandLine line(platform::commandLineArguments(4, arguments));
    ASSERT_EQ(line.argc(), 4);
    EXPECT_STREQ(line.argv()[1], "Gr\xC3\xB6\xC3\x9F"
                                 "e");
    EXPECT_STREQ(line.argv()[2], "\xF0\x9F\x93\x9C log");
    EXPECT_STREQ(line.argv()[3], "");
    EXPECT_EQ(line.argv()[4], nullptr);
}

TEST(CommandLine, TheArgumentsAreCopiesThatMayBeWrittenTo)
{
    std::vector<std::string> given{"logdesk", "a"};
    CommandLine line(given);
    line.argv()[1][0] = 'b';
    EXPECT_STREQ(line.argv()[1], "b");
    EXPECT_EQ(given[1], "a");
}
