#include "client/MessageQueue.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace zuLogging::client {
namespace {

bool put(MessageQueue& queue, const std::string& text)
{
    std::uint8_t* place = queue.reserve(text.size());
    if (place == nullptr)
        return false;
    std::memcpy(place, text.data(), text.size());
    queue.commit(place);
    return true;
}

std::string textOf(const MessageQueue::Record& record)
{
    return std::string(reinterpret_cast<const char*>(record.payload), record.size);
}

/// Takes the next record out; "(none)" if there is none.
std::string take(MessageQueue& queue)
{
    const auto record = queue.at(queue.begin());
    if (!record)
        return "(none)";
    std::string text = textOf(*record);
    queue.giveBack(record->next);
    return text;
}

TEST(MessageQueue, GivesRecordsInTheirOrderAndAnEmptyOneToo)
{
    MessageQueue queue;
    ASSERT_TRUE(queue.allocate(MessageQueue::minimumBytes));
    EXPECT_EQ(take(queue), "(none)");
    ASSERT_TRUE(put(queue, "first"));
    ASSERT_TRUE(put(queue, ""));
    ASSERT_TRUE(put(queue, "third"));
    EXPECT_EQ(take(queue), "first");
    EXPECT_EQ(take(queue), "");
    EXPECT_EQ(take(queue), "third");
    EXPECT_EQ(take(queue), "(none)");
    EXPECT_EQ(queue.begin(), queue.end());
}

TEST(MessageQueue, TakesItsSizeUpToAPowerOfTwoWithinBounds)
{
    MessageQueue queue;
    ASSERT_TRUE(queue.allocate(1));
    EXPECT_EQ(queue.capacity(), MessageQueue::minimumBytes);
    queue.release();
    ASSERT_TRUE(queue.allocate(100000));
    EXPECT_EQ(queue.capacity(), 131072U);
}

TEST(MessageQueue, IsFullWhenNoRecordFitsAnyMoreAndKeepsTheOldest)
{
    MessageQueue queue;
    ASSERT_TRUE(queue.allocate(MessageQueue::minimumBytes));
    const std::string text(1016, 'x'); // 1,024 bytes with its header
    int count = 0;
    while (put(queue, std::to_string(count) + text.substr(0, 1016 - std::to_string(count).size())))
        ++count;
    EXPECT_EQ(count, 64);
    EXPECT_TRUE(queue.isMoreThanHalfFull());
    EXPECT_FALSE(put(queue, ""));
    EXPECT_EQ(take(queue).substr(0, 2), "0x");
    EXPECT_TRUE(put(queue, text));
    EXPECT_FALSE(put(queue, text));
}

TEST(MessageQueue, AFullRingReadToItsEndHasNothingMore)
{
    MessageQueue queue;
    ASSERT_TRUE(queue.allocate(MessageQueue::minimumBytes));
    while (put(queue, std::string(1016, 'x'))) {
    }
    std::uint64_t position = queue.begin();
    int count = 0;
    while (const auto record = queue.at(position)) {
        position = record->next;
        ASSERT_LE(++count, 64);
    }
    EXPECT_EQ(count, 64);
    EXPECT_EQ(position, queue.end());
}

TEST(MessageQueue, RecordsOfAllSizesSurviveManyRoundsOfTheRing)
{
    MessageQueue queue;
    ASSERT_TRUE(queue.allocate(MessageQueue::minimumBytes));
    std::size_t written = 0;
    std::size_t taken = 0;
    const auto textFor = [](std::size_t i) {
        return std::string(i * 37 % 2300, static_cast<char>('a' + i % 26));
    };
    while (taken < 5000) {
        while (written < taken + 40 && put(queue, textFor(written)))
            ++written;
        ASSERT_GT(written, taken);
        ASSERT_EQ(take(queue), textFor(taken)) << taken;
        ++taken;
    }
}

TEST(MessageQueue, ARecordNotYetCommittedHoldsBackThoseBehindIt)
{
    MessageQueue queue;
    ASSERT_TRUE(queue.allocate(MessageQueue::minimumBytes));
    std::uint8_t* place = queue.reserve(4);
    ASSERT_NE(place, nullptr);
    ASSERT_TRUE(put(queue, "second"));
    EXPECT_EQ(take(queue), "(none)");
    std::memcpy(place, "late", 4);
    queue.commit(place);
    EXPECT_EQ(take(queue), "late");
    EXPECT_EQ(take(queue), "second");
}

TEST(MessageQueue, RefusesARecordThatIsTooLarge)
{
    MessageQueue queue;
    EXPECT_EQ(queue.reserve(1), nullptr) << "there is no memory yet";
    ASSERT_TRUE(queue.allocate(MessageQueue::minimumBytes));
    EXPECT_EQ(queue.reserve(MessageQueue::maximumPayload + 1), nullptr);
    EXPECT_NE(queue.reserve(MessageQueue::maximumPayload), nullptr);
}

TEST(MessageQueue, OfManyWritersEachOnesRecordsComeWholeAndInOrder)
{
    constexpr std::size_t writers = 4;
    constexpr std::size_t each = 20000;
    MessageQueue queue;
    ASSERT_TRUE(queue.allocate(MessageQueue::minimumBytes));
    std::vector<std::thread> threads;
    for (std::size_t writer = 0; writer < writers; ++writer)
        threads.emplace_back([&, writer] {
            for (std::size_t i = 0; i < each; ++i) {
                const std::string text = std::to_string(writer) + ':' + std::to_string(i) + ':' +
                                         std::string(i % 200, static_cast<char>('a' + writer));
                while (!put(queue, text))
                    std::this_thread::yield();
            }
        });
    std::vector<std::size_t> next(writers, 0);
    for (std::size_t count = 0; count < writers * each;) {
        const auto record = queue.at(queue.begin());
        if (!record) {
            std::this_thread::yield();
            continue;
        }
        const std::string text = textOf(*record);
        const std::size_t writer = static_cast<std::size_t>(text[0] - '0');
        ASSERT_LT(writer, writers);
        const std::size_t i = next[writer]++;
        ASSERT_EQ(text, std::to_string(writer) + ':' + std::to_string(i) + ':' +
                            std::string(i % 200, static_cast<char>('a' + writer)));
        queue.giveBack(record->next);
        ++count;
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(queue.begin(), queue.end());
}

} // namespace
} // namespace zuLogging::client
