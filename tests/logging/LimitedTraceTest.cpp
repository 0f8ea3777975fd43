#include "logging/LimitedTrace.h"

#include "logging/LogMessageSinkTrace.h"
#include "logging/UnlimitedTrace.h"
#include "tests/support/TestContainer.h"
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

TEST(LimitedTrace, WithoutANameTheLinesStayAsTheyAre)
{
    std::ostringstream err;
    {
        const LimitedTrace limited(err);
        for (int i = 0; i < 3; ++i) {
            trace(std::string_view("Received malformed input packet"));
            trace(std::string_view("\n"));
        }
    }
    EXPECT_EQ(err.str().find("Received malformed input packet\n"), 0U);
}

TEST(LimitedTrace, MessagesOfATraceSinkAreNotHeldBack)
{
    std::ostringstream err;
    {
        const LimitedTrace limited(err, "prog");
        LogMessageSinkTrace sink;
        for (int i = 0; i < 50; ++i)
            sink.consume(test::TestContainer().text(1, "the same").view());
        trace(std::string_view("a complaint\n"));
    }
    const std::string text = err.str();
    std::size_t messages = 0;
    for (std::size_t at = text.find("the same"); at != std::string::npos;
         at = text.find("the same", at + 1))
        ++messages;
    EXPECT_EQ(messages, 50U);
    EXPECT_EQ(text.find("prog: a complaint\n"), text.size() - 18);
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
