#include "tools/LineReader.h"

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
    LineReader reader(in, limit);
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
    LineReader reader(in, 4);
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
    LineReader reader(in, 1404);
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(reader.text().size(), 1404U);
    EXPECT_LT(reader.text().capacity(), 4096U);
    EXPECT_EQ(reader.dropped(), size - 1404);
}

} // namespace
} // namespace zuLogging
