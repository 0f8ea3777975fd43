#include "service/ServiceProgram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace zuLogging {
namespace {

struct Outcome
{
    int status;
    std::string out;
    std::string err;
};

Outcome run(std::vector<std::string> words)
{
    words.insert(words.begin(), "zulogsvc");
    std::ostringstream out;
    std::ostringstream err;
    const int status = runServiceProgram(words, out, err);
    return {status, out.str(), err.str()};
}

TEST(ServiceProgram, HelpGoesToStandardOutput)
{
    for (const char* word : {"--help", "-h"}) {
        const Outcome result = run({word});
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        EXPECT_EQ(result.out.find("Usage: zulogsvc"), 0U);
    }
}

TEST(ServiceProgram, VersionIsOneLine)
{
    const Outcome result = run({"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out, "zulogsvc 3.1.26\n");
    EXPECT_EQ(result.err, "");
}

TEST(ServiceProgram, WhatItDoesNotKnowIsOneLineAndStatus2)
{
    for (const char* word : {"--foo", "-x", "word", "--vers", "--help=1"}) {
        const Outcome result = run({word});
        EXPECT_EQ(result.status, 2) << word;
        EXPECT_EQ(result.out, "") << word;
        EXPECT_EQ(result.err.find("zulogsvc: "), 0U) << word;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << word;
    }
}

} // namespace
} // namespace zuLogging
