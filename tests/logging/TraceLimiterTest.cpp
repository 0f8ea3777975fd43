#include "logging/TraceLimiter.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>
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
    ASSERT_EQ(lines_.size(), 2U);
    EXPECT_EQ(lines_[0], "And 935 other lines since the last one\n");
    EXPECT_LT(lines_[1].size(), 1000U);
}

TEST_F(TraceLimiting, AtTheEndItTellsWhatIsHeldBackStill)
{
    for (int i = 0; i < 5; ++i)
        add("refused\n");
    add("malformed\n");
    add("half a li");
    lines_.clear();
    limiter_.finish();
    EXPECT_EQ(lines_, (std::vector<std::string>{"half a li\n",
                                                "refused (4 times more since the last line)\n"}));
    lines_.clear();
    limiter_.finish();
    EXPECT_TRUE(lines_.empty()) << "nothing is told twice";
}

TEST_F(TraceLimiting, NoLineIsLostUntold)
{
    // Of each line either it is shown, or a count tells of it.
    std::size_t added = 0;
    for (int second = 0; second < 5; ++second) {
        for (std::size_t i = 0; i < 300; ++i) {
            add("kind " + std::to_string((i + static_cast<std::size_t>(second) * 37) % 150) + "\n");
            ++added;
        }
        now_ += std::chrono::seconds(second % 2);
    }
    limiter_.finish();
    std::size_t told = 0;
    for (const std::string& line : lines_) {
        std::smatch count;
        if (line.compare(0, 5, "kind ") == 0 && line.find("(and") == std::string::npos &&
            line.find(" times more") == std::string::npos)
            ++told;
        else if (line.find("(and") != std::string::npos)
            ++told;
        if (std::regex_search(line, count,
                              std::regex("([0-9]+) (times more|other lines) since the last")))
            told += std::stoul(count[1]);
    }
    EXPECT_EQ(told, added);
    EXPECT_LT(lines_.size(), added / 2);
}

TEST_F(TraceLimiting, KindsThatAreQuietMakeRoomForOthers)
{
    for (std::size_t i = 0; i < TraceLimiter::maximumKinds; ++i)
        add("old " + std::to_string(i) + "\n");
    add("old 0\n");
    now_ += std::chrono::seconds(1);
    lines_.clear();
    add("new\n");
    add("newer\n");
    EXPECT_EQ(lines_, (std::vector<std::string>{"old 0 (1 times more since the last line)\n",
                                                "new\n", "newer\n"}));
}

TEST_F(TraceLimiting, KindsBeyondTheNumberAreCountedTogether)
{
    for (std::size_t i = 0; i < TraceLimiter::maximumKinds + 10; ++i)
        add("kind " + std::to_string(i) + "\n");
    ASSERT_EQ(lines_.size(), TraceLimiter::maximumKinds + 1);
    limiter_.finish();
    EXPECT_EQ(lines_.back(), "And 9 other lines since the last one\n");
}

} // namespace
} // namespace zuLogging
