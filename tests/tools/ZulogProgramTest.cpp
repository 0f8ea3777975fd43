#include "tests/tools/ToolRun.h"

#include <gtest/gtest.h>

#include <sstream>

namespace zuLogging {
namespace {

using test::isOneLine;
using test::runTool;
using test::ToolRun;

TEST(ZulogProgram, HelpAndVersionGoToStandardOutput)
{
    const std::vector<std::vector<std::string>> commandLines{{"--help"},
                                                             {"-h"},
                                                             {"send", "--help"},
                                                             {"send", "-h"},
                                                             {"demo", "-h"},
                                                             {"demo", "--help"},
                                                             {"modules", "-h"},
                                                             {"modules", "--help"},
                                                             {"status", "-h"},
                                                             {"status", "--help"},
                                                             {"config", "-h"},
                                                             {"config", "--help"},
                                                             {"config", "get", "--help"},
                                                             {"config", "put", "file", "--help"}};
    for (const std::vector<std::string>& words : commandLines) {
        const ToolRun run = runTool(words);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out.find("Usage: zulog"), 0U);
        EXPECT_EQ(run.err, "");
        std::istringstream lines(run.out);
        for (std::string line; std::getline(lines, line);)
            EXPECT_TRUE(line.size() <= 80 || words[0] == "demo") << line;
    }
    const ToolRun version = runTool({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, "zulog 3.1.26\n");
}

TEST(ZulogProgram, WhatCannotBeUnderstoodIsOneLineAndStatus2)
{
    const std::vector<std::vector<std::string>> commandLines{
        {},
        {""},
        {"nothing"},
        {"two\nlines"},
        {"--what"},
        {"send", "--what", "text"},
        {"send", "--lev", "info", "text"},
        {"send", "--level", "loud", "text"},
        {"send", "--level"},
        {"send", "one", "two"},
        {"send", "--module", std::string(1400, 'm'), "text"},
        {"modules", "text"},
        {"modules", "--json"},
        {"status", "text"},
        {"status", "--what"},
        {"config"},
        {"config", "put"},
        {"demo", "text"},
        {"demo", "--rate", "0"},
        {"demo", "--rate", "200001"},
        {"demo", "--rate", "-5"},
        {"demo", "--rate", "fast"},
        {"demo", "--rate"},
        {"demo", "--count", "0"},
        {"demo", "--count", "-1"},
        {"demo", "--count", "1e3"},
        {"demo", "--seed", "x"}};
    for (const std::vector<std::string>& words : commandLines) {
        const ToolRun run = runTool(words);
        const std::string last = words.empty() ? "" : words.back();
        EXPECT_EQ(run.status, 2) << last;
        EXPECT_EQ(run.out, "") << last;
        EXPECT_EQ(run.err.find("zulog: "), 0U) << last;
        EXPECT_TRUE(isOneLine(run.err)) << run.err;
    }
}

TEST(ZulogProgram, WithoutAServiceTheCommandsFailWithOneLine)
{
    const std::vector<std::vector<std::string>> commandLines{
        {"send", "text"}, {"send"},          {"demo", "--count", "10"},
        {"modules"},      {"config", "get"}, {"config", "put", "-"}};
    for (const std::vector<std::string>& words : commandLines) {
        const ToolRun run = runTool(words, "{}\n");
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "zulog: Failed to connect to the shared memory with connection info: "
                           "Shared memory error\n");
    }
}

TEST(ZulogProgram, AMessageDoesNothingToATerminal)
{
    const ToolRun run = runTool({"\x1B[31m\r\n\x7F"});
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.err, "zulog: there is no command ' [31m   '; try 'zulog --help'\n");
}

TEST(ZulogProgram, WrongUsageOfACommandPointsToTheCommandsHelp)
{
    EXPECT_NE(runTool({"modules", "x"}).err.find("; try 'zulog modules --help'\n"),
              std::string::npos);
    EXPECT_NE(runTool({"nothing"}).err.find("; try 'zulog --help'\n"), std::string::npos);
}

} // namespace
} // namespace zuLogging
