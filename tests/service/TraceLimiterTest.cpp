#include "service/TraceLimiter.h"

#include <gtest/gtest.h>

#include <vector>

namespace zuLogging {
namespace {

class TraceLimiting : public ::testing::Test
{
protected:
    void add(const std::string& text) { limiter_.add(text, now_); }

    std::vector<std::string> lines_;
    TraceLimiter limiter_{[this](const std::string& line) { lines_.push_back(line); }};
    TraceLimiter::TimePoint now_ = TraceLimiter::TimePoint() + std::chrono::hours(1);
};

TEST_F(TraceLimiting, ALineOfItsKindIsShownAtOnce)
{
    add("refused");
    EXPECT_TRUE(lines_.empty());
    add("\n");
    add("malformed\n");
    EXPECT_EQ(lines_, (std::vector<std::string>{"refused\n", "malformed\n"}));
}

TEST_F(TraceLimiting, EachKindSpeaksOnceASecondWithACount)
{
    for (int i = 0; i < 1000; ++i)
        add("refused\n");
    EXPECT_EQ(lines_.size(), 1U);
    now_ += std::chrono::seconds(1);
    add("refused\n");
    add("refused\n");
    now_ += std::chrono::seconds(1);
    add("refused\n");
    EXPECT_EQ(lines_, (std::vector<std::string>{
                          "refused\n", "refused (and 999 times more since the last line)\n",
                          "refused (and 1 times more since the last line)\n"}));
}

TEST_F(TraceLimiting, KindsAndLinesAreBounded)
{
    for (std::size_t i = 0; i < 1000; ++i)
        add("kind " + std::to_string(i) + "\n");
    EXPECT_EQ(lines_.size(), TraceLimiter::maximumKinds + 1);
    lines_.clear();
    now_ += std::chrono::seconds(1);
    add(std::string(1000000, 'x') + "\n");
    ASSERT_EQ(lines_.size(), 1U);
    EXPECT_LT(lines_[0].size(), 1000U);
}

} // namespace
} // namespace zuLogging
