#include "service/LimitedTrace.h"

#include "service/UnlimitedTrace.h"
#include "tests/support/TraceCapture.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string_view>
#include <thread>

namespace zuLogging {
namespace {

using platform::trace;

TEST(LimitedTrace, ComplaintsBearTheProgramsNameAndAreCountedAtTheEnd)
{
    std::ostringstream err;
    {
        const LimitedTrace limited(err, "prog");
        for (int i = 0; i < 100; ++i)
            trace(std::string_view("refused\n"));
        // A slow machine may take more than a second for the hundred.
        EXPECT_EQ(err.str().find("prog: refused\n"), 0U);
    }
    EXPECT_NE(err.str().find("times more since the last line)\n"), std::string::npos);
    EXPECT_LT(err.str().size(), 1000U);
}

TEST(LimitedTrace, WhatSomebodyAskedToSeeAppearsWholeAndAsItIs)
{
    std::ostringstream err;
    {
        const LimitedTrace limited(err, "prog");
        const UnlimitedTrace unlimited;
        for (int i = 0; i < 100; ++i)
            trace(std::u16string_view(u"the same \u00e4\n"));
    }
    std::string expected;
    for (int i = 0; i < 100; ++i)
        expected += "the same \u00e4\n";
    EXPECT_EQ(err.str(), expected);
}

TEST(LimitedTrace, TheTraceIsLimitedAgainWhenTheLastUnlimitedOneIsGoneAndForOtherThreads)
{
    EXPECT_FALSE(UnlimitedTrace::isActive());
    {
        const UnlimitedTrace outer;
        {
            const UnlimitedTrace inner;
        }
        EXPECT_TRUE(UnlimitedTrace::isActive());
        bool isActiveElsewhere = true;
        std::thread([&] { isActiveElsewhere = UnlimitedTrace::isActive(); }).join();
        EXPECT_FALSE(isActiveElsewhere);
    }
    EXPECT_FALSE(UnlimitedTrace::isActive());
}

TEST(LimitedTrace, WhoTookTheTraceBeforeHasItAgainAfterwards)
{
    const test::TraceCapture before;
    std::ostringstream err;
    {
        const LimitedTrace limited(err, "prog");
        trace(std::string_view("here\n"));
    }
    trace(std::string_view("there\n"));
    EXPECT_EQ(err.str(), "prog: here\n");
    EXPECT_EQ(before.calls(), std::vector<std::string>{"there\n"});
}

} // namespace
} // namespace zuLogging
