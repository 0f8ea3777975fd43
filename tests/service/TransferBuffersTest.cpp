#include "service/TransferBuffers.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>

namespace zuLogging {
namespace {

class TransferBuffersOfTheService : public ::testing::Test
{
protected:
    std::uint64_t create(std::size_t size)
    {
        const auto handle = buffers_.create(size);
        EXPECT_TRUE(handle);
        return handle.value_or(0);
    }

    TransferBuffers::TimePoint now_ = TransferBuffers::TimePoint() + std::chrono::hours(1);
    TransferBuffers buffers_{[this] { return now_; }};
};

constexpr std::uint32_t largest = std::numeric_limits<std::uint32_t>::max();

TEST_F(TransferBuffersOfTheService, HandlesAreNeverZeroAndNeverTheSameAndSpreadOverAllBits)
{
    std::set<std::uint64_t> handles;
    std::uint64_t everSet = 0;
    std::uint64_t everClear = 0;
    for (int round = 0; round < 1000; ++round) {
        const std::uint64_t handle = create(1);
        EXPECT_NE(handle, 0U);
        EXPECT_TRUE(handles.insert(handle).second);
        everSet |= handle;
        everClear |= ~handle;
        EXPECT_TRUE(buffers_.release(handle));
    }
    EXPECT_EQ(everSet, ~std::uint64_t{0});
    EXPECT_EQ(everClear, ~std::uint64_t{0});
}

TEST_F(TransferBuffersOfTheService, WhatIsWrittenIsRead)
{
    const std::uint64_t handle = create(10);
    EXPECT_EQ(buffers_.size(handle), 10U);
    EXPECT_EQ(buffers_.read(handle, 0, 10), std::string_view("\0\0\0\0\0\0\0\0\0\0", 10));
    EXPECT_TRUE(buffers_.write(handle, 3, "abc", 3));
    EXPECT_TRUE(buffers_.write(handle, 8, "yz", 2));
    EXPECT_EQ(buffers_.read(handle, 2, 8), std::string_view("\0abc\0\0yz", 8));
}

TEST_F(TransferBuffersOfTheService, PlacesOutsideTheBufferAreRefusedAndNothingChanges)
{
    const std::uint64_t handle = create(10);
    ASSERT_TRUE(buffers_.write(handle, 0, "0123456789", 10));
    const std::string data(64, 'x');
    for (const auto& [offset, length] :
         std::initializer_list<std::pair<std::uint32_t, std::size_t>>{{0, 11},
                                                                      {10, 1},
                                                                      {11, 0},
                                                                      {9, 2},
                                                                      {largest, 0},
                                                                      {largest, 1},
                                                                      {largest - 5, 10},
                                                                      {5, largest},
                                                                      {largest, largest}}) {
        EXPECT_FALSE(buffers_.write(handle, offset, data.data(), length))
            << offset << ' ' << length;
        EXPECT_FALSE(buffers_.read(handle, offset, length)) << offset << ' ' << length;
    }
    EXPECT_EQ(buffers_.read(handle, 0, 10), "0123456789");
    EXPECT_TRUE(buffers_.write(handle, 10, nullptr, 0));
    EXPECT_EQ(buffers_.read(handle, 10, 0), "");
}

TEST_F(TransferBuffersOfTheService, WrongHandlesAreRefused)
{
    const std::uint64_t handle = create(4);
    for (const std::uint64_t wrong : {std::uint64_t{0}, handle + 1, ~handle}) {
        EXPECT_FALSE(buffers_.write(wrong, 0, "a", 1));
        EXPECT_FALSE(buffers_.read(wrong, 0, 1));
        EXPECT_FALSE(buffers_.size(wrong));
        EXPECT_FALSE(buffers_.freeze(wrong));
        EXPECT_FALSE(buffers_.release(wrong));
    }
    EXPECT_EQ(buffers_.count(), 1U);
    EXPECT_TRUE(buffers_.release(handle));
    EXPECT_FALSE(buffers_.release(handle));
    EXPECT_FALSE(buffers_.read(handle, 0, 1));
}

TEST_F(TransferBuffersOfTheService, AtMost64AreThereAtOnce)
{
    std::vector<std::uint64_t> handles;
    for (int i = 0; i < 64; ++i)
        handles.push_back(create(1));
    EXPECT_FALSE(buffers_.create(std::size_t{1}));
    EXPECT_FALSE(buffers_.create(TransferBuffers::Contents()));
    EXPECT_TRUE(buffers_.release(handles[20]));
    EXPECT_TRUE(buffers_.create(std::size_t{1}));
    EXPECT_FALSE(buffers_.create(std::size_t{1}));
}

TEST_F(TransferBuffersOfTheService, ABufferHasAtMost16MiB)
{
    EXPECT_FALSE(buffers_.create((std::size_t{16} << 20) + 1));
    EXPECT_FALSE(buffers_.create(std::size_t{largest}));
    const std::uint64_t handle = create(std::size_t{16} << 20);
    EXPECT_EQ(buffers_.size(handle), 16U << 20);
    EXPECT_TRUE(buffers_.write(handle, (16U << 20) - 1, "z", 1));
    EXPECT_FALSE(buffers_.write(handle, (16U << 20) - 1, "zz", 2));
}

TEST_F(TransferBuffersOfTheService, ABufferOfNoBytesIsABuffer)
{
    const std::uint64_t handle = create(0);
    EXPECT_EQ(buffers_.size(handle), 0U);
    EXPECT_EQ(buffers_.read(handle, 0, 0), "");
    EXPECT_FALSE(buffers_.read(handle, 0, 1));
    const auto contents = buffers_.freeze(handle);
    ASSERT_TRUE(contents);
    EXPECT_EQ(contents->bytes, "");
}

TEST_F(TransferBuffersOfTheService, OneThatNobodyTouchesFor60SecondsIsGone)
{
    const std::uint64_t handle = create(4);
    now_ += std::chrono::milliseconds(59999);
    EXPECT_TRUE(buffers_.size(handle));
    now_ += std::chrono::milliseconds(59999);
    EXPECT_TRUE(buffers_.read(handle, 0, 4));
    now_ += std::chrono::milliseconds(59999);
    EXPECT_TRUE(buffers_.write(handle, 0, "a", 1));
    now_ += std::chrono::seconds(60);
    EXPECT_FALSE(buffers_.size(handle));
    EXPECT_EQ(buffers_.count(), 0U);
}

TEST_F(TransferBuffersOfTheService, ForgottenOnesMakeRoomForNewOnes)
{
    for (int i = 0; i < 63; ++i)
        create(1);
    now_ += std::chrono::seconds(30);
    const std::uint64_t young = create(1);
    EXPECT_FALSE(buffers_.create(std::size_t{1}));
    now_ += std::chrono::seconds(30);
    EXPECT_TRUE(buffers_.create(std::size_t{1}));
    EXPECT_EQ(buffers_.count(), 2U);
    EXPECT_TRUE(buffers_.size(young));
}

TEST_F(TransferBuffersOfTheService, ForgottenOnesAreReleasedWhenNobodyWantsANewOne)
{
    create(1);
    now_ += std::chrono::seconds(59);
    buffers_.releaseUnused();
    EXPECT_EQ(buffers_.count(), 1U);
    now_ += std::chrono::seconds(1);
    buffers_.releaseUnused();
    EXPECT_EQ(buffers_.count(), 0U);
}

TEST_F(TransferBuffersOfTheService, FrozenContentsOutliveTheBufferAndAreNotWrittenAnyMore)
{
    const std::uint64_t handle = create(3);
    ASSERT_TRUE(buffers_.write(handle, 0, "abc", 3));
    const auto contents = buffers_.freeze(handle);
    ASSERT_TRUE(contents);
    EXPECT_FALSE(buffers_.write(handle, 0, "xyz", 3));
    EXPECT_EQ(buffers_.read(handle, 0, 3), "abc");
    EXPECT_TRUE(buffers_.release(handle));
    EXPECT_EQ(contents->bytes, "abc");
}

TEST_F(TransferBuffersOfTheService, WhatTheServiceOffersCanOnlyBeRead)
{
    const auto text = std::make_shared<const std::string>("served");
    const auto handle = buffers_.create(TransferBuffers::Contents{text, *text});
    ASSERT_TRUE(handle);
    EXPECT_FALSE(buffers_.write(*handle, 0, "x", 1));
    EXPECT_EQ(buffers_.read(*handle, 0, 6), "served");
    const auto tooLong = std::make_shared<const std::string>((std::size_t{16} << 20) + 1, 'x');
    EXPECT_FALSE(buffers_.create(TransferBuffers::Contents{tooLong, *tooLong}));
}

} // namespace
} // namespace zuLogging
