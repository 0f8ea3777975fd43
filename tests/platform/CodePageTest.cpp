#include "platform/CodePage.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace zuLogging::platform;

namespace {

constexpr std::uint64_t utf8 = codePageUtf8;

std::string encoded(std::uint32_t value)
{
    const auto byte = [](std::uint32_t bits) { return static_cast<char>(bits); };
    if (value < 0x80)
        return {byte(value)};
    if (value < 0x800)
        return {byte(0xC0 | (value >> 6)), byte(0x80 | (value & 0x3F))};
    if (value < 0x10000)
        return {byte(0xE0 | (value >> 12)), byte(0x80 | ((value >> 6) & 0x3F)),
                byte(0x80 | (value & 0x3F))};
    return {byte(0xF0 | (value >> 18)), byte(0x80 | ((value >> 12) & 0x3F)),
            byte(0x80 | ((value >> 6) & 0x3F)), byte(0x80 | (value & 0x3F))};
}

std::u16string units(std::uint32_t value)
{
    if (value < 0x10000)
        return {static_cast<char16_t>(value)};
    return {static_cast<char16_t>(0xD800 + ((value - 0x10000) >> 10)),
            static_cast<char16_t>(0xDC00 + (value & 0x3FF))};
}

/// One row of the table of well-formed sequences: ranges of their bytes.
struct WellFormed
{
    std::vector<std::pair<int, int>> bytes;
};

const std::vector<WellFormed>& wellFormed()
{
    static const std::vector<WellFormed> rows{
        {{{0x00, 0x7F}}},
        {{{0xC2, 0xDF}, {0x80, 0xBF}}},
        {{{0xE0, 0xE0}, {0xA0, 0xBF}, {0x80, 0xBF}}},
        {{{0xE1, 0xEC}, {0x80, 0xBF}, {0x80, 0xBF}}},
        {{{0xED, 0xED}, {0x80, 0x9F}, {0x80, 0xBF}}},
        {{{0xEE, 0xEF}, {0x80, 0xBF}, {0x80, 0xBF}}},
        {{{0xF0, 0xF0}, {0x90, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
        {{{0xF1, 0xF3}, {0x80, 0xBF}, {0x80, 0xBF}, {0x80, 0xBF}}},
        {{{0xF4, 0xF4}, {0x80, 0x8F}, {0x80, 0xBF}, {0x80, 0xBF}}}};
    return rows;
}

/// By the table: the longest beginning of a row that stands at each place is one character, or one
/// replacement when the row is not complete.
std::u16string decodedByTable(const std::string& bytes)
{
    std::u16string text;
    std::size_t place = 0;
    while (place < bytes.size()) {
        std::size_t longest = 0;
        bool complete = false;
        for (const WellFormed& row : wellFormed()) {
            std::size_t length = 0;
            while (length < row.bytes.size() && place + length < bytes.size()) {
                const int byte = static_cast<std::uint8_t>(bytes[place + length]);
                if (byte < row.bytes[length].first || byte > row.bytes[length].second)
                    break;
                ++length;
            }
            if (length > longest) {
                longest = length;
                complete = length == row.bytes.size();
            }
        }
        if (complete) {
            static const int leadBits[] = {0x7F, 0x1F, 0x0F, 0x07};
            std::uint32_t value = static_cast<std::uint32_t>(bytes[place] & leadBits[longest - 1]);
            for (std::size_t i = 1; i < longest; ++i)
                value = value * 64 + static_cast<std::uint32_t>(bytes[place + i] & 0x3F);
            text += units(value);
        } else {
            text += u'\uFFFD';
        }
        place += longest > 0 ? longest : 1;
    }
    return text;
}

} // namespace

TEST(CodePage, EmptyInputGivesNothing)
{
    for (const std::uint64_t codePage : {utf8, std::uint64_t{1252}, std::uint64_t{99999}})
        EXPECT_EQ(multiByteToUtf16("", codePage), std::nullopt);
    EXPECT_EQ(multiByteToUtf16(std::string_view(), utf8), std::nullopt);
}

TEST(CodePage, AnUnknownCodePageGivesNothing)
{
    for (const std::uint64_t codePage :
         {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{7777}, std::uint64_t{65535},
          std::uint64_t{65536}, (std::uint64_t{1} << 32) + 1252, ~std::uint64_t{0}}) {
        EXPECT_EQ(multiByteToUtf16("abc", codePage), std::nullopt) << codePage;
        EXPECT_EQ(multiByteToUtf16("abc", codePage), std::nullopt) << codePage;
    }
}

TEST(CodePage, Utf16AndUtf32AreNotMultiByteTexts)
{
    for (const std::uint64_t codePage : {1200, 1201, 12000, 12001})
        EXPECT_EQ(multiByteToUtf16("abcd", codePage), std::nullopt) << codePage;
}

TEST(CodePage, TheFormWithABufferReplacesWhatWasInIt)
{
    std::u16string text = u"something of some length, longer than what comes";
    const char16_t* memory = text.data();
    EXPECT_TRUE(multiByteToUtf16("abc", utf8, text));
    EXPECT_EQ(text, u"abc");
    EXPECT_EQ(text.data(), memory);
    EXPECT_TRUE(multiByteToUtf16("\x80", 1252, text));
    EXPECT_EQ(text, u"\u20AC");
    EXPECT_FALSE(multiByteToUtf16("abc", 7777, text));
    EXPECT_EQ(text, u"");
    text.assign(1, u'x');
    EXPECT_FALSE(multiByteToUtf16("", utf8, text));
    EXPECT_EQ(text, u"");
}

TEST(CodePage, AsciiOfEveryLengthAndAddressIsUtf8)
{
    const std::string source = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (std::size_t begin = 0; begin < 10; ++begin) {
        for (std::size_t length = 1; begin + length <= source.size(); ++length) {
            const std::string part = source.substr(begin, length);
            EXPECT_EQ(multiByteToUtf16(part, utf8), std::u16string(part.begin(), part.end()));
        }
    }
}

TEST(CodePage, EveryCodePointOfUtf8IsDecoded)
{
    for (std::uint32_t value = 0; value <= 0x10FFFF; ++value) {
        if (value >= 0xD800 && value <= 0xDFFF)
            continue;
        ASSERT_EQ(multiByteToUtf16(encoded(value), utf8), units(value)) << value;
    }
}

TEST(CodePage, AZeroByteIsACharacterOfUtf8)
{
    EXPECT_EQ(multiByteToUtf16(std::string_view("a\0b", 3), utf8), std::u16string(u"a\0b", 3));
}

TEST(CodePage, EachMaximalInvalidPartOfUtf8BecomesOneReplacement)
{
    EXPECT_EQ(multiByteToUtf16("a\xF1\x80\x80\xE1\x80\xC2"
                               "b\x80"
                               "c\x80\xBF"
                               "d",
                               utf8),
              u"a\uFFFD\uFFFD\uFFFDb\uFFFDc\uFFFD\uFFFDd");
}

TEST(CodePage, OverlongFormsSurrogatesAndValuesAboveTheHighestAreInvalidUtf8)
{
    EXPECT_EQ(multiByteToUtf16("\xC0\xAF", utf8), u"\uFFFD\uFFFD");
    EXPECT_EQ(multiByteToUtf16("\xE0\x80\xAF", utf8), u"\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(multiByteToUtf16("\xF0\x80\x80\xAF", utf8), u"\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(multiByteToUtf16("\xED\xA0\x80", utf8), u"\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(multiByteToUtf16("\xF4\x90\x80\x80", utf8), u"\uFFFD\uFFFD\uFFFD\uFFFD");
    EXPECT_EQ(multiByteToUtf16("\xFF\xFE", utf8), u"\uFFFD\uFFFD");
}

TEST(CodePage, AUtf8CharacterThatIsCutOffBecomesOneReplacement)
{
    for (const char* cut : {"\xC3", "\xE2", "\xE2\x82", "\xF0", "\xF0\x9F", "\xF0\x9F\x98"})
        EXPECT_EQ(multiByteToUtf16(std::string("ab") + cut, utf8), u"ab\uFFFD");
}

TEST(CodePage, EveryPairOfBytesIsDecodedByTheTableOfUtf8)
{
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const std::string bytes{static_cast<char>(first), static_cast<char>(second)};
            ASSERT_EQ(multiByteToUtf16(bytes, utf8), decodedByTable(bytes))
                << first << ' ' << second;
        }
    }
}

TEST(CodePage, RandomBytesAreDecodedByTheTableOfUtf8)
{
    std::mt19937 random(99);
    const auto below = [&](int limit) {
        return std::uniform_int_distribution<int>(0, limit - 1)(random);
    };
    for (int i = 0; i < 100'000; ++i) {
        std::string bytes;
        const int parts = 1 + below(8);
        for (int part = 0; part < parts; ++part) {
            switch (below(3)) {
            case 0:
                bytes += static_cast<char>(below(256));
                break;
            case 1:
                bytes += encoded(static_cast<std::uint32_t>(below(0x110000)));
                break;
            default:
                bytes += std::string(static_cast<std::size_t>(below(12)), 'a');
            }
        }
        if (bytes.empty())
            continue;
        ASSERT_EQ(multiByteToUtf16(bytes, utf8), decodedByTable(bytes)) << "text " << i;
    }
}

TEST(CodePage, CodePagesAreKnownByNumber)
{
    const struct
    {
        std::uint64_t codePage;
        const char* bytes;
        const char16_t* text;
    } samples[] = {
        {437, "\x81", u"\u00FC"},       {737, "\x80", u"\u0391"},
        {850, "\x81", u"\u00FC"},       {852, "\x86", u"\u0107"},
        {866, "\x80", u"\u0410"},       {874, "\xA1", u"\u0E01"},
        {932, "\x82\xA0", u"\u3042"},   {936, "\xC4\xE3", u"\u4F60"},
        {949, "\xB0\xA1", u"\uAC00"},   {950, "\xA4\x40", u"\u4E00"},
        {1250, "\x8A", u"\u0160"},      {1251, "\xC0", u"\u0410"},
        {1252, "\x80", u"\u20AC"},      {1253, "\xC1", u"\u0391"},
        {1254, "\xD0", u"\u011E"},      {1255, "\xE0", u"\u05D0"},
        {1256, "\xC7", u"\u0627"},      {1257, "\xC0", u"\u0104"},
        {1258, "\xD0", u"\u0110"},      {20127, "az", u"az"},
        {20866, "\xC1", u"\u0430"},     {21866, "\xA4", u"\u0454"},
        {28591, "\xE4", u"\u00E4"},     {28592, "\xA9", u"\u0160"},
        {28597, "\xC1", u"\u0391"},     {28605, "\xA4", u"\u20AC"},
        {51932, "\xA4\xA2", u"\u3042"}, {51949, "\xB0\xA1", u"\uAC00"},
        {54936, "\xC4\xE3", u"\u4F60"}, {65000, "+AOk-", u"\u00E9"},
    };
    for (const auto& sample : samples)
        EXPECT_EQ(multiByteToUtf16(sample.bytes, sample.codePage), sample.text) << sample.codePage;
}

TEST(CodePage, AnInvalidByteOfACodePageBecomesAReplacementAndTheRestGoesOn)
{
    EXPECT_EQ(multiByteToUtf16("a\x81"
                               "b",
                               1252),
              u"a\uFFFDb");
    EXPECT_EQ(multiByteToUtf16("a\x80\xFFz", 20127), u"a\uFFFD\uFFFDz");
    EXPECT_EQ(multiByteToUtf16("\x81\x81", 1252), u"\uFFFD\uFFFD");
}

TEST(CodePage, ACharacterOfACodePageThatIsCutOffBecomesAReplacement)
{
    EXPECT_EQ(multiByteToUtf16("a\x82", 932), u"a\uFFFD");
}

TEST(CodePage, ACharacterThatTheConversionHoldsBackIsNotLost)
{
    // These two wait for an accent that might follow.
    EXPECT_EQ(multiByteToUtf16("a", 1258), u"a");
    EXPECT_EQ(multiByteToUtf16("\xE0", 1255), u"\u05D0");
    EXPECT_EQ(multiByteToUtf16("\xE0\xD9", 1255), u"\u05D0\uFFFD");
}

TEST(CodePage, OneTextDoesNotChangeTheNext)
{
    EXPECT_EQ(multiByteToUtf16("+AOk", 65000), u"\u00E9"); // still shifted at its end
    EXPECT_EQ(multiByteToUtf16("AOk", 65000), u"AOk");
    EXPECT_EQ(multiByteToUtf16("\x80", 1252), u"\u20AC");
    EXPECT_EQ(multiByteToUtf16("AOk", 65000), u"AOk");
}

TEST(CodePage, ALongTextOfACodePageIsWhole)
{
    std::string bytes;
    std::u16string expected;
    for (int i = 0; i < 20'000; ++i) {
        bytes += i % 3 == 0 ? "\x80" : "x";
        expected += i % 3 == 0 ? u'\u20AC' : u'x';
    }
    EXPECT_EQ(multiByteToUtf16(bytes, 1252), expected);
    EXPECT_EQ(multiByteToUtf16(std::string(20'000, '\x81'), 1252),
              std::u16string(20'000, u'\uFFFD'));
}

TEST(CodePage, RandomBytesInEveryCodePageEndInBoundedText)
{
    std::mt19937 random(5);
    int known = 0;
    for (std::uint64_t codePage = 0; codePage < 66'000; ++codePage) {
        if (!multiByteToUtf16("a", codePage))
            continue;
        ++known;
        for (int i = 0; i < 20; ++i) {
            std::string bytes(1 + random() % 300, ' ');
            for (char& byte : bytes)
                byte = static_cast<char>(random());
            const auto text = multiByteToUtf16(bytes, codePage);
            if (text) {
                ASSERT_LE(text->size(), 4 * bytes.size()) << codePage;
            }
        }
    }
    EXPECT_GT(known, 40);
}

TEST(CodePage, SeveralThreadsConvertAtOnce)
{
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&wrong, number] {
            for (int i = 0; i < 500; ++i) {
                const bool first = (i + number) % 2 == 0;
                const auto text = multiByteToUtf16("\xC1", first ? 1251 : 1253);
                if (text != (first ? u"\u0411" : u"\u0391"))
                    ++wrong;
                if (multiByteToUtf16("a", static_cast<std::uint64_t>(7000 + i)))
                    ++wrong;
                if (multiByteToUtf16("\xC3\xA4", utf8) != u"\u00E4")
                    ++wrong;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}
