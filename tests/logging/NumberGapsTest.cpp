#include "logging/NumberGaps.h"

#include <gtest/gtest.h>

#include <limits>

namespace zuLogging {
namespace {

class NumberGapsTest : public ::testing::Test
{
protected:
    void note(std::uint64_t number, bool secondary = false, std::uint16_t port = 5000)
    {
        gaps_.note({platform::loopbackAddress, port}, secondary, number);
    }
    std::uint64_t missing() const { return ledger_.count(LogCount::MissingNumbers); }
    std::uint64_t repeated() const { return ledger_.count(LogCount::RepeatedNumbers); }

    LogLedger ledger_;
    NumberGaps gaps_{ledger_};
};

TEST_F(NumberGapsTest, NumbersThatFollowOneAnotherHaveNoGap)
{
    for (std::uint64_t number = 1; number <= 1000; ++number)
        note(number);
    EXPECT_EQ(missing(), 0U);
    EXPECT_EQ(repeated(), 0U);
}

TEST_F(NumberGapsTest, WhatIsBetweenTwoNumbersIsMissing)
{
    note(1);
    note(3);
    EXPECT_EQ(missing(), 1U);
    note(10);
    EXPECT_EQ(missing(), 7U);
    note(11);
    EXPECT_EQ(missing(), 7U);
}

TEST_F(NumberGapsTest, TheSameNumberAgainIsARepeatedMessage)
{
    note(1);
    note(1);
    note(1);
    note(2);
    EXPECT_EQ(repeated(), 2U);
    EXPECT_EQ(missing(), 0U);
}

TEST_F(NumberGapsTest, ASmallerNumberIsASenderThatBeginsAnew)
{
    note(100);
    note(1);
    note(2);
    note(50);
    note(40);
    EXPECT_EQ(missing(), 47U);
    EXPECT_EQ(repeated(), 0U);
}

TEST_F(NumberGapsTest, TheFirstNumberOfASenderIsTakenAsItIs)
{
    note(4711);
    note(4712);
    note(99, false, 5001);
    EXPECT_EQ(missing(), 0U);
    EXPECT_EQ(gaps_.senderCount(), 2U);
}

TEST_F(NumberGapsTest, ZeroIsNoNumber)
{
    note(0);
    EXPECT_EQ(gaps_.senderCount(), 0U);
    note(7);
    note(0);
    note(0);
    note(8);
    EXPECT_EQ(missing(), 0U);
    EXPECT_EQ(repeated(), 0U);
}

TEST_F(NumberGapsTest, AStepOf2To32IsANewBeginningAndOneLessIsAGap)
{
    note(1);
    note(1 + (std::uint64_t{1} << 32));
    EXPECT_EQ(missing(), 0U);
    note(std::uint64_t{1} << 33); // 2^32 - 1 more
    EXPECT_EQ(missing(), (std::uint64_t{1} << 32) - 2);
    note(std::numeric_limits<std::uint64_t>::max());
    note(std::numeric_limits<std::uint64_t>::max());
    EXPECT_EQ(missing(), (std::uint64_t{1} << 32) - 2);
    EXPECT_EQ(repeated(), 1U);
    note(1); // behind the largest one
    note(2);
    EXPECT_EQ(missing(), (std::uint64_t{1} << 32) - 2);
}

TEST_F(NumberGapsTest, EachKindIsCountedByItself)
{
    note(10);
    note(1, true);
    note(11);
    note(2, true);
    EXPECT_EQ(missing(), 0U);
    note(5, true);
    EXPECT_EQ(missing(), 2U);
    note(12);
    EXPECT_EQ(missing(), 2U);
}

TEST_F(NumberGapsTest, SendersAreToldApartByAddressAndPort)
{
    gaps_.note({platform::loopbackAddress, 5000}, false, 1);
    gaps_.note({platform::loopbackAddress + 1, 5000}, false, 10);
    gaps_.note({platform::loopbackAddress, 5001}, false, 20);
    gaps_.note({0, 0}, false, 30);
    gaps_.note({platform::loopbackAddress, 5000}, false, 2);
    gaps_.note({platform::loopbackAddress + 1, 5000}, false, 11);
    gaps_.note({platform::loopbackAddress, 5001}, false, 21);
    gaps_.note({0, 0}, false, 31);
    EXPECT_EQ(missing(), 0U);
    EXPECT_EQ(repeated(), 0U);
    EXPECT_EQ(gaps_.senderCount(), 4U);
}

TEST_F(NumberGapsTest, SoManySendersAreKeptInMindAndOneMoreMakesAllForgotten)
{
    for (std::uint16_t round = 1; round <= 3; ++round)
        for (std::uint16_t port = 1; port <= NumberGaps::maximumSenders; ++port)
            note(round * std::uint64_t{2}, false, port);
    EXPECT_EQ(missing(), 2U * NumberGaps::maximumSenders);
    EXPECT_EQ(gaps_.senderCount(), NumberGaps::maximumSenders);

    note(1, false, 60000);
    EXPECT_EQ(gaps_.senderCount(), 1U);
    note(100, false, 1); // taken as it is
    EXPECT_EQ(missing(), 2U * NumberGaps::maximumSenders);
    note(102, false, 1);
    EXPECT_EQ(missing(), 2U * NumberGaps::maximumSenders + 1);
}

TEST_F(NumberGapsTest, EveryPortOfEveryAddressIsHandledAndNothingGrows)
{
    for (std::uint32_t address = 0x7F000001; address < 0x7F000011; ++address)
        for (std::uint32_t port = 0; port <= 0xFFFF; ++port) {
            gaps_.note({address, static_cast<std::uint16_t>(port)}, false, 5);
            gaps_.note({address, static_cast<std::uint16_t>(port)}, false, 7);
        }
    EXPECT_EQ(missing(), 16U * 65536);
    EXPECT_LE(gaps_.senderCount(), NumberGaps::maximumSenders);
}

} // namespace
} // namespace zuLogging
