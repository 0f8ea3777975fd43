#include "tools/DemoTraffic.h"

#include "logging/DecodedMessage.h"
#include "logging/LogLevel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>

namespace zuLogging {
namespace {

DecodedMessage decode(const std::vector<std::uint8_t>& bytes)
{
    LogMessageContainerView view;
    view.data = bytes.data();
    view.length = bytes.size();
    DecodedMessage message;
    message.assign(view);
    return message;
}

constexpr std::size_t sampleSize = 20000;

TEST(DemoTraffic, NumbersItsMessagesFromOneOn)
{
    DemoTraffic traffic(1);
    for (std::uint64_t i = 1; i <= 100; ++i)
        EXPECT_EQ(traffic.next().sourceMsgId, i);
}

TEST(DemoTraffic, ContainersAreAbout200BytesLong)
{
    DemoTraffic traffic(1);
    std::size_t total = 0;
    std::size_t shortest = maximumContainer;
    std::size_t longest = 0;
    for (std::size_t i = 0; i < sampleSize; ++i) {
        const std::size_t size = traffic.next().build().size();
        total += size;
        shortest = std::min(shortest, size);
        longest = std::max(longest, size);
    }
    EXPECT_GE(total / sampleSize, 180U);
    EXPECT_LE(total / sampleSize, 220U);
    EXPECT_GE(shortest, 120U);
    EXPECT_LE(longest, 500U);
    EXPECT_GE(longest, 300U);
}

TEST(DemoTraffic, HasManyModulesGroupsLevelsProcessesAndThreads)
{
    DemoTraffic traffic(1);
    std::set<std::u16string> modules;
    std::set<std::u16string> groups;
    std::set<std::u16string> positions;
    std::map<std::uint64_t, std::size_t> levels;
    std::map<std::uint64_t, std::u16string> moduleOfProcess;
    std::map<std::uint64_t, std::uint64_t> processOfThread;
    for (std::size_t i = 0; i < sampleSize; ++i) {
        const DecodedMessage message = decode(traffic.next().build());
        modules.insert(message.module);
        groups.insert(message.groupName);
        positions.insert(message.logPos);
        ++levels[message.logLevel];
        EXPECT_FALSE(message.logMessage.empty());
        EXPECT_EQ(moduleOfProcess.emplace(message.processId, message.module).first->second,
                  message.module);
        EXPECT_EQ(processOfThread.emplace(message.threadId, message.processId).first->second,
                  message.processId);
    }
    EXPECT_GE(modules.size(), 5U);
    EXPECT_GE(groups.size(), 15U);
    EXPECT_GE(positions.size(), 1000U);
    EXPECT_GT(moduleOfProcess.size(), modules.size());
    EXPECT_GT(processOfThread.size(), moduleOfProcess.size());
    EXPECT_EQ(levels.size(), 6U);
    for (const auto& [level, count] : levels) {
        EXPECT_FALSE(logLevelName(level).empty());
        EXPECT_GT(count, 0U);
    }
    EXPECT_GT(levels[8], levels[4]);
    EXPECT_GT(levels[4], levels[2]);
    EXPECT_GT(levels[2], levels[1]);
}

TEST(DemoTraffic, TextsAreValidAndOfSeveralScripts)
{
    DemoTraffic traffic(1);
    bool german = false;
    bool greek = false;
    bool japanese = false;
    bool emoji = false;
    for (std::size_t i = 0; i < sampleSize; ++i) {
        const DecodedMessage message = decode(traffic.next().build());
        for (const char16_t unit : message.logMessage) {
            ASSERT_NE(unit, 0xFFFD);
            german |= unit == u'ö' || unit == u'ü';
            greek |= unit >= 0x3B1 && unit <= 0x3C9;
            japanese |= unit >= 0x3040 && unit <= 0x30FF;
            emoji |= unit == 0xD83D;
        }
    }
    EXPECT_TRUE(german && greek && japanese && emoji);
}

TEST(DemoTraffic, OneSeedMakesTheSameMessages)
{
    DemoTraffic first(5);
    DemoTraffic second(5);
    DemoTraffic other(6);
    bool differs = false;
    for (int i = 0; i < 100; ++i) {
        LogMessageContainerBuilder a = first.next();
        LogMessageContainerBuilder b = second.next();
        LogMessageContainerBuilder c = other.next();
        a.timestamp = b.timestamp = c.timestamp = 0;
        EXPECT_EQ(a.build(), b.build());
        differs |= a.build() != c.build();
    }
    EXPECT_TRUE(differs);
}

} // namespace
} // namespace zuLogging
