#include "tools/LineReader.h"

#include "tools/InputBytes.h"

#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <streambuf>
#include <vector>

namespace zuLogging {
namespace {

std::vector<std::string> linesOf(const std::string& text, std::size_t limit = 100)
{
    std::istringstream in(text);
    InputBytes bytes(in);
    LineReader reader(bytes, limit);
    std::vector<std::string> lines;
    while (reader.next())
        lines.push_back(reader.text());
    EXPECT_FALSE(reader.next());
    return lines;
}

using Lines = std::vector<std::string>;

TEST(LineReader, AnEmptyStreamHasNoLine)
{
    EXPECT_EQ(linesOf(""), Lines());
}

TEST(LineReader, ALastLineWithoutAnEndCounts)
{
    EXPECT_EQ(linesOf("a\nb"), (Lines{"a", "b"}));
    EXPECT_EQ(linesOf("a\nb\n"), (Lines{"a", "b"}));
}

TEST(LineReader, EmptyLinesAreLines)
{
    EXPECT_EQ(linesOf("\n\na\n\n"), (Lines{"", "", "a", ""}));
}

TEST(LineReader, BytesComeAsTheyAre)
{
    const std::string odd("a\0b\r\xFF", 5);
    EXPECT_EQ(linesOf(odd + "\n"), Lines{odd});
}

TEST(LineReader, ALongLineIsKeptUpToTheLimitAndTheRestCounted)
{
    std::istringstream in("12345678\n1234\n12345");
    InputBytes bytes(in);
    LineReader reader(bytes, 4);
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(reader.text(), "1234");
    EXPECT_EQ(reader.dropped(), 4U);
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(reader.dropped(), 0U);
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(reader.dropped(), 1U);
    EXPECT_FALSE(reader.next());
}

/// Gives `left` bytes of the same character and no line end.
class EndlessLine : public std::streambuf
{
public:
    explicit EndlessLine(std::uint64_t left)
        : left_(left)
    {
        block_.fill('x');
    }

protected:
    int_type underflow() override
    {
        if (left_ == 0)
            return traits_type::eof();
        const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(left_, block_.size()));
        left_ -= size;
        setg(block_.data(), block_.data(), block_.data() + size);
        return traits_type::to_int_type(block_[0]);
    }

private:
    std::array<char, 65536> block_{};
    std::uint64_t left_;
};

TEST(LineReader, AHugeLineCostsNoMoreMemoryThanTheLimit)
{
    constexpr std::uint64_t size = 100000000;
    EndlessLine buffer(size);
    std::istream in(&buffer);
    InputBytes bytes(in);
    LineReader reader(bytes, 1404);
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(reader.text().size(), 1404U);
    EXPECT_LT(reader.text().capacity(), 4096U);
    EXPECT_EQ(reader.dropped(), size - 1404);
}

TEST(LineReader, WhatHasArrivedIsTakenBeforeAnythingWaits)
{
    std::istringstream in("one\ntwo\nthr");
    std::vector<std::string> lines;
    std::vector<std::size_t> linesAtWait;
    InputBytes bytes(in, [&] {
        linesAtWait.push_back(lines.size());
        return true;
    });
    LineReader reader(bytes, 100);
    while (reader.next())
        lines.push_back(reader.text());
    EXPECT_EQ(lines, (Lines{"one", "two", "thr"}));
    EXPECT_EQ(linesAtWait, std::vector<std::size_t>{2});
}

TEST(LineReader, AWaitThatIsRefusedEndsTheLines)
{
    std::istringstream in("one\ntw");
    InputBytes bytes(in, [] { return false; });
    LineReader reader(bytes, 100);
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(reader.text(), "one");
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(reader.text(), "tw");
    EXPECT_FALSE(reader.next());
    EXPECT_FALSE(bytes.failed());
}

/// Gives one byte at a time.
class DripBuffer : public std::streambuf
{
public:
    explicit DripBuffer(std::string text)
        : text_(std::move(text))
    {
    }

protected:
    int_type underflow() override
    {
        if (at_ == text_.size())
            return traits_type::eof();
        setg(&text_[at_], &text_[at_], &text_[at_] + 1);
        ++at_;
        return traits_type::to_int_type(*gptr());
    }

private:
    std::string text_;
    std::size_t at_ = 0;
};

TEST(LineReader, LinesThatComeByteByByteAreWhole)
{
    DripBuffer drip("one\n\n12345678\nlast");
    std::istream in(&drip);
    InputBytes bytes(in);
    LineReader reader(bytes, 5);
    std::vector<std::string> lines;
    while (reader.next())
        lines.push_back(reader.text());
    EXPECT_EQ(lines, (Lines{"one", "", "12345", "last"}));
}

/// Fails behind its text, as a stream of a file that cannot be read does.
class FailingBuffer : public std::streambuf
{
protected:
    int_type underflow() override
    {
        if (isFirst_) {
            isFirst_ = false;
            setg(text_.data(), text_.data(), text_.data() + text_.size());
            return traits_type::to_int_type(*gptr());
        }
        throw std::ios::failure("no more");
    }

private:
    std::string text_ = "one\ntwo";
    bool isFirst_ = true;
};

TEST(LineReader, AStreamThatFailsEndsTheLinesAndSaysSo)
{
    FailingBuffer buffer;
    std::istream in(&buffer);
    InputBytes bytes(in);
    LineReader reader(bytes, 100);
    EXPECT_TRUE(reader.next());
    EXPECT_TRUE(reader.next());
    EXPECT_EQ(reader.text(), "two");
    EXPECT_FALSE(reader.next());
    EXPECT_TRUE(bytes.failed());
}

} // namespace
} // namespace zuLogging
