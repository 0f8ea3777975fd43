#include "logging/LogMessageSinkFormatter.h"

#include "logging/LogMessageSinkCerr.h"
#include "logging/LogMessageSinkCout.h"
#include "logging/LogMessageSinkTrace.h"
#include "logging/LogSvcError.h"
#include "tests/support/TestContainer.h"
#include "tests/support/TraceCapture.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace zuLogging::test {
namespace {

class LineSink final : public LogMessageSinkFormatter
{
public:
    using LogMessageSinkFormatter::LogMessageSinkFormatter;

    std::vector<std::u16string> lines;

protected:
    void write(std::u16string_view line) override { lines.emplace_back(line); }
};

std::u16string
lineOf(const TestContainer& container,
       const LogMessageSinkFormatter::Pattern& pattern = LogMessageSinkFormatter::defaultPattern())
{
    LineSink sink(pattern);
    sink.consume(container.view());
    return sink.lines.size() == 1 ? sink.lines[0] : u"not one line";
}

std::u16string blanks(std::size_t count)
{
    return std::u16string(count, u' ');
}

std::string errorOf(const TestContainer& container, const LogMessageSinkFormatter::Pattern& pattern)
{
    LineSink sink(pattern);
    try {
        sink.consume(container.view());
    } catch (const LogSvcError& error) {
        EXPECT_TRUE(sink.lines.empty());
        return error.what();
    }
    return "no error";
}

constexpr char invalidPattern[] = "Invalid pattern used when formatting the log message";

TEST(LogMessageSinkFormatter, TheDefaultPatternHasFiveColumns)
{
    const TestContainer container = TestContainer()
                                        .number(2, 13247902147000000)
                                        .text(3, "Module")
                                        .number(4, 32)
                                        .number(9, 4711)
                                        .number(8, 99)
                                        .text(5, "group")
                                        .text(1, "the message")
                                        .text(6, "file.cpp:1");
    EXPECT_EQ(lineOf(container), u"              Module"
                                 u"   13247902147000000"
                                 u"                4711"
                                 u"      32"
                                 u"the message\n");
}

TEST(LogMessageSinkFormatter, AContainerWithoutAModuleItemStartsItsLineWith20Blanks)
{
    EXPECT_EQ(lineOf(TestContainer().number(2, 12345678901234567890U).text(1, "x")),
              blanks(20) + u"12345678901234567890" + blanks(20) + blanks(8) + u"x\n");
}

TEST(LogMessageSinkFormatter, ALevelOf8IsWrittenAsSevenBlanksAnd8)
{
    EXPECT_EQ(lineOf(TestContainer().number(4, 8)), blanks(60) + u"       8" + u" \n");
}

TEST(LogMessageSinkFormatter, AModuleNameLongerThan20CharactersIsWrittenWhole)
{
    EXPECT_EQ(lineOf(TestContainer().text(3, "AModuleWithAVeryLongName").number(4, 1)),
              u"AModuleWithAVeryLongName" + blanks(40) + u"       1" + u" \n");
}

TEST(LogMessageSinkFormatter, AContainerWithoutItemsIsALineOfBlanks)
{
    EXPECT_EQ(lineOf(TestContainer()), blanks(69) + u"\n");
}

TEST(LogMessageSinkFormatter, AnEmptyTextFillsItsColumnWithBlanks)
{
    EXPECT_EQ(lineOf(TestContainer().text(3, "").text(1, "")), blanks(69) + u"\n");
}

TEST(LogMessageSinkFormatter, AnItemWithoutValueCountsAsAbsent)
{
    EXPECT_EQ(lineOf(TestContainer().text(3, "flagged", 1).number(4, 8, 1)), blanks(69) + u"\n");
}

TEST(LogMessageSinkFormatter, EveryTextAndNumberCanBeAColumn)
{
    const TestContainer container = TestContainer()
                                        .text(1, "m")
                                        .number(2, 2)
                                        .text(3, "o")
                                        .number(4, 4)
                                        .text(5, "g")
                                        .text(6, "p")
                                        .number(8, 8)
                                        .number(9, 9);
    EXPECT_EQ(lineOf(container, {{9, 2}, {8, 0}, {6, 3}, {5, 1}, {4, 2}, {3, 2}, {2, 2}, {1, 2}}),
              u" 98  pg 4 o 2 m\n");
}

TEST(LogMessageSinkFormatter, NothingIsWrittenBetweenTheColumnsAndAnEmptyPatternIsAnEmptyLine)
{
    EXPECT_EQ(lineOf(TestContainer().text(1, "a"), {{1, 0}, {1, 0}, {1, 1}}), u"aaa\n");
    EXPECT_EQ(lineOf(TestContainer().text(1, "a"), {}), u"\n");
}

TEST(LogMessageSinkFormatter, WidthsCountCharactersOfWideTextNotBytes)
{
    EXPECT_EQ(lineOf(TestContainer().text(3, "\xC3\xA4\xE2\x82\xAC"), {{3, 4}}),
              u"  \u00E4\u20AC\n");
    EXPECT_EQ(lineOf(TestContainer().text(3, "\xF0\x9F\x98\x80"), {{3, 4}}), u"  \U0001F600\n");
}

TEST(LogMessageSinkFormatter, TheMessageIsReadInTextModeAndTheOthersInPlainMode)
{
    const TestContainer container =
        TestContainer().text(1, std::string_view("h\0i\0", 4), 1).text(3, "plain", 1);
    EXPECT_EQ(lineOf(container, {{1, 3}, {3, 2}}), u" hi  \n");
}

TEST(LogMessageSinkFormatter, ItemTypes0And7AndAbove9AreAnInvalidPattern)
{
    const TestContainer container = TestContainer().text(1, "x").number(10, 65001);
    for (const unsigned type : {0U, 7U, 10U, 11U, 255U, 256U, 257U, 0xFFFFU})
        EXPECT_EQ(errorOf(container, {{1, 1}, {static_cast<std::uint16_t>(type), 1}}),
                  invalidPattern)
            << type;
}

TEST(LogMessageSinkFormatter, AnInconsistentContainerIsRaisedAndNothingIsWritten)
{
    EXPECT_EQ(errorOf(TestContainer().padTo(31).setSizeField(31), {{1, 1}}),
              "Inconsistent log message container structure detected while parsing it");
    EXPECT_EQ(errorOf(TestContainer().text(4, "1234"), {{4, 1}}),
              "The data value present in the log message container has unexpected size");
    EXPECT_EQ(errorOf(TestContainer().setSizeField(29), {{1, 1}}),
              "Constructing an output log message container from inconsistent data");
}

TEST(LogMessageSinkFormatter, AMessageOfTheSecondKindIsNotWritten)
{
    LineSink line;
    LogMessageSink& sink = line;
    sink.consumeSecondary(TestContainer().text(1, "x").view());
    EXPECT_TRUE(line.lines.empty());
}

TEST(LogMessageSinkTrace, WritesTheLineToTheDebuggerTraceInOneCall)
{
    const TraceCapture trace;
    LogMessageSinkTrace sink;
    sink.consume(TestContainer()
                     .text(1, "tr\xC3\xA4"
                              "ce")
                     .view());
    EXPECT_EQ(trace.calls(), std::vector<std::string>{std::string(68, ' ') + "tr\xC3\xA4"
                                                                             "ce\n"});
}

/// Puts other buffers behind the standard streams for as long as it lives.
class StandardStreams
{
public:
    explicit StandardStreams(std::wstreambuf* wideOutput = nullptr)
        : wideOut_(std::wcout.rdbuf(wideOutput != nullptr ? wideOutput : wideOut.rdbuf()))
        , wideErr_(std::wcerr.rdbuf(wideErr.rdbuf()))
        , out_(std::cout.rdbuf(narrow.rdbuf()))
        , err_(std::cerr.rdbuf(narrow.rdbuf()))
    {
    }
    ~StandardStreams()
    {
        std::wcout.rdbuf(wideOut_);
        std::wcerr.rdbuf(wideErr_);
        std::cout.rdbuf(out_);
        std::cerr.rdbuf(err_);
    }

    std::wostringstream wideOut;
    std::wostringstream wideErr;
    std::ostringstream narrow;

private:
    std::wstreambuf* wideOut_;
    std::wstreambuf* wideErr_;
    std::streambuf* out_;
    std::streambuf* err_;
};

template <class Sink>
void expectOnWideStandardOutput()
{
    std::wstring out;
    std::wstring err;
    std::string narrow;
    {
        StandardStreams streams;
        Sink sink;
        sink.consume(TestContainer().text(3, "M").text(1, "one").view());
        sink.consume(TestContainer().text(1, "\xF0\x9F\x98\x80\xC3\xA4").view());
        out = streams.wideOut.str();
        err = streams.wideErr.str();
        narrow = streams.narrow.str();
    }
    EXPECT_EQ(out, std::wstring(19, L' ') + L"M" + std::wstring(48, L' ') + L"one\n" +
                       std::wstring(68, L' ') + L"\U0001F600\u00E4\n");
    EXPECT_EQ(err, L"");
    EXPECT_EQ(narrow, "");
}

TEST(LogMessageSinkCout, WritesTheLineToTheWideStandardOutput)
{
    expectOnWideStandardOutput<LogMessageSinkCout>();
}

TEST(LogMessageSinkCerr, WritesTheLineToTheWideStandardOutputTooAndNothingToStandardError)
{
    expectOnWideStandardOutput<LogMessageSinkCerr>();
}

TEST(LogMessageSinkCout, HalfASurrogatePairBecomesAReplacementCharacter)
{
    std::wstring out;
    {
        StandardStreams streams;
        LogMessageSinkCout sink(LogMessageSinkFormatter::Pattern{{1, 0}});
        sink.consume(
            TestContainer().text(1, std::string_view("\x00\xD8x\x00\x00\xDC", 6), 1).view());
        out = streams.wideOut.str();
    }
    if (sizeof(wchar_t) == sizeof(char32_t))
        EXPECT_EQ(out, L"\uFFFDx\uFFFD\n");
    else
        EXPECT_EQ(out.size(), 4U);
}

/// Takes ASCII only, as a standard output in the "C" locale does, or nothing at all.
class NarrowMindedBuffer final : public std::wstreambuf
{
public:
    bool takesNothing = false;
    std::wstring text;

protected:
    int_type overflow(int_type character) override
    {
        if (takesNothing || character > 0x7F)
            return traits_type::eof();
        text += traits_type::to_char_type(character);
        return character;
    }
};

TEST(LogMessageSinkCout, ACharacterThatTheStreamCannotEncodeBecomesAQuestionMark)
{
    NarrowMindedBuffer buffer;
    {
        const StandardStreams streams(&buffer);
        LogMessageSinkCout sink(LogMessageSinkFormatter::Pattern{{1, 0}});
        sink.consume(TestContainer()
                         .text(1, "a\xC3\xA4"
                                  "b\xE2\x82\xAC\xF0\x9F\x98\x80")
                         .view());
        sink.consume(TestContainer().text(1, "next").view());
    }
    EXPECT_EQ(buffer.text, L"a?b??\nnext\n");
}

TEST(LogMessageSinkCout, AStreamThatFailedOnceDoesNotStaySilentForEver)
{
    NarrowMindedBuffer buffer;
    {
        const StandardStreams streams(&buffer);
        LogMessageSinkCout sink(LogMessageSinkFormatter::Pattern{{1, 0}});
        std::wcout.setstate(std::ios_base::badbit);
        sink.consume(TestContainer().text(1, "after a failure").view());
        buffer.takesNothing = true;
        sink.consume(TestContainer().text(1, "lost").view());
        buffer.takesNothing = false;
        sink.consume(TestContainer().text(1, "after another").view());
    }
    EXPECT_EQ(buffer.text, L"after a failure\nafter another\n");
    EXPECT_TRUE(std::wcout.good());
}

} // namespace
} // namespace zuLogging::test
