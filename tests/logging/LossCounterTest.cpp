#include "logging/LossCounter.h"

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

TEST(LossCounter, GivesWhatWasLostSinceTheLastCall)
{
    LossCounter losses;
    EXPECT_EQ(losses.lostSince(0), 0U);
    EXPECT_EQ(losses.lostSince(5), 5U);
    EXPECT_EQ(losses.lostSince(5), 0U);
    EXPECT_EQ(losses.lostSince(12), 7U);
}

TEST(LossCounter, TheSystemsCountThatBeginsAgainAt0GoesOn)
{
    LossCounter losses(0xFFFFFFFE);
    EXPECT_EQ(losses.lostSince(3), 5U);
    EXPECT_EQ(losses.lostSince(2), 0xFFFFFFFFU) << "the most that can be told";
}

} // namespace
} // namespace zuLogging
