#include "tools/JsonTextReader.h"

#include "logging/JsonLogReader.h"
#include "logging/JsonLogWriter.h"
#include "tools/InputBytes.h"

#include <QBuffer>

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <streambuf>
#include <vector>

namespace zuLogging {
namespace {

/// Gives so many bytes at a time.
class PieceBuffer : public std::streambuf
{
public:
    PieceBuffer(std::string text, std::size_t piece)
        : text_(std::move(text))
        , piece_(piece)
    {
    }

protected:
    int_type underflow() override
    {
        if (at_ == text_.size())
            return traits_type::eof();
        const std::size_t size = std::min(piece_, text_.size() - at_);
        setg(&text_[at_], &text_[at_], &text_[at_] + size);
        at_ += size;
        return traits_type::to_int_type(*gptr());
    }

private:
    std::string text_;
    std::size_t piece_;
    std::size_t at_ = 0;
};

/// All texts with their lines, and the error with its own.
std::string textsOf(const std::string& input, std::size_t piece = 1000, std::size_t limit = 1000000)
{
    PieceBuffer buffer(input, piece);
    std::istream in(&buffer);
    InputBytes bytes(in);
    JsonTextReader reader(bytes, limit);
    std::string all;
    while (reader.next())
        all += std::to_string(reader.line()) + ":" + reader.text() +
               (reader.isTooLong() ? "..." : "") + "|";
    if (!reader.error().empty())
        all += std::to_string(reader.line()) + ":" + reader.error();
    EXPECT_FALSE(reader.next());
    return all;
}

TEST(JsonTextReader, LinesAreTextsAndBlankOnesArePassedOver)
{
    EXPECT_EQ(textsOf(""), "");
    EXPECT_EQ(textsOf("\n \t\r\n"), "");
    EXPECT_EQ(textsOf("a\n\n b \n\r\n[c"), "1:a|3: b |5:[c|");
    EXPECT_EQ(textsOf("\n\n  {}\n{}"), "3:{}|4:{}|");
}

TEST(JsonTextReader, AByteOrderMarkBelongsToTheFirstLine)
{
    EXPECT_EQ(textsOf("\xEF\xBB\xBF{}\n{}"), "1:\xEF\xBB\xBF{}|2:{}|");
    EXPECT_EQ(textsOf("\xEF\xBB\xBF\n{}"), "2:{}|");
    EXPECT_EQ(textsOf("\xEF\xBB\xBF [1]"), "1:1|");
    EXPECT_EQ(textsOf("\xEF\xBB[1]\n{}"), "1:\xEF\xBB[1]|2:{}|");
    EXPECT_EQ(textsOf("\xEF\n{}"), "1:\xEF|2:{}|");
}

TEST(JsonTextReader, TheElementsOfAnArrayAreTexts)
{
    EXPECT_EQ(textsOf("[]"), "");
    EXPECT_EQ(textsOf("[1,{\"a\":[2,3]},\"],\\\"]\"]"), "1:1|1:{\"a\":[2,3]}|1:\"],\\\"]\"|");
    EXPECT_EQ(textsOf("\n[\n{\n},\n\n[\n]\n]"), "3:{\n}|6:[\n]\n|");
    EXPECT_EQ(textsOf("[\"\\\\\",1]"), "1:\"\\\\\"|1:1|");
}

TEST(JsonTextReader, WhatIsWrongAroundTheElementsIsAnError)
{
    EXPECT_EQ(textsOf("["), "1:the array does not end");
    EXPECT_EQ(textsOf("[1,\n2"), "1:1|2:the array does not end");
    EXPECT_EQ(textsOf("[1]\n\n,"), "1:1|3:something follows the array");
    EXPECT_EQ(textsOf("[][]"), "1:something follows the array");
    EXPECT_EQ(textsOf("[,]"), "1:|1:|");
    EXPECT_EQ(textsOf("[1,]"), "1:1|1:|");
}

TEST(JsonTextReader, NoMoreThanTheLimitIsKept)
{
    EXPECT_EQ(textsOf("1234\n12345\n1", 3, 4), "1:1234|2:1234...|3:1|");
    EXPECT_EQ(textsOf("[1234,12345,1]", 3, 4), "1:1234|1:1234...|1:1|");
}

TEST(JsonTextReader, TheTextsAreTheSameHoweverTheBytesCome)
{
    std::mt19937 random(3);
    const std::string alphabet = "[]{},:\"\\ \n1a\xEF\xBB\xBF";
    for (int i = 0; i < 5000; ++i) {
        std::string input = i % 2 == 0 ? "[" : "";
        for (std::size_t length = random() % 40; length > 0; --length)
            input += alphabet[random() % alphabet.size()];
        const std::string whole = textsOf(input, 1000, 8);
        for (const std::size_t piece : {1U, 2U, 3U, 7U})
            ASSERT_EQ(textsOf(input, piece, 8), whole) << input;
    }
}

/// The fields that a file's reader gives; empty when it takes the text for no log of one.
std::string fieldsOf(const LogMessage& m)
{
    const QByteArray texts = toQString(m.texts()).toUtf8();
    std::ostringstream fields;
    fields << m.serviceMsgId() << ' ' << m.sourceMsgId() << ' ' << m.senderMsgId() << ' '
           << m.timestamp() << ' ' << m.logLevel() << ' ' << m.processId() << ' ' << m.threadId()
           << ' ' << m.textEnds()[0] << ' ' << m.textEnds()[1] << ' ' << m.textEnds()[2] << ' '
           << texts.toStdString() << ' ' << m.timestampText().toStdString();
    return fields.str();
}

TEST(JsonMessage, IsReadAsTheSameObjectInALog)
{
    const std::string all =
        "{\"ServiceMsgID\":\"1\",\"SourceMsgID\":2,\"SenderMsgID\":\"3\",\"Timestamp\":\"4\","
        "\"LogLevel [Hex]\":\"0x20\",\"LogPos\":\"p\",\"Module\":\"m\",\"GroupName\":\"g\","
        "\"LogMessage\":\"\\ud800 \\u00e4\",\"ProcessID\":5.5,\"ThreadID\":\"x\"}";
    for (const std::string& json :
         {std::string("{}"), all, " \n" + all + "\t\r\n",
          std::string("{\"ThreadID\":1,\"ThreadID\":2}"), std::string("{\"a\":[{},[]],\"b\":null}"),
          std::string("{\"LogMessage\":\"") + std::string(200000, 'x') + "\"}"}) {
        const std::shared_ptr<LogMessage> message = readJsonMessage(json);
        ASSERT_TRUE(message) << json.substr(0, 80);
        QByteArray log = QByteArray::fromStdString('[' + json + ']');
        QBuffer device(&log);
        device.open(QIODevice::ReadOnly);
        const auto messages = readJsonLog(device);
        ASSERT_EQ(messages.size(), 1U);
        EXPECT_EQ(fieldsOf(*message), fieldsOf(*messages[0]));
    }
    EXPECT_TRUE(readJsonMessage("\xEF\xBB\xBF{}"));
}

TEST(JsonMessage, AnythingElseIsNone)
{
    for (const std::string& json :
         {std::string(),
          std::string(" "),
          std::string("5"),
          std::string("null"),
          std::string("\"{}\""),
          std::string("[]"),
          std::string("[{}]"),
          std::string("{}{}"),
          std::string("{},"),
          std::string("{"),
          std::string("}"),
          std::string("{\"a\"}"),
          std::string("{\"a\":}"),
          std::string("{\"a\":1,}"),
          std::string("{a:1}"),
          std::string("{\"a\":\"\n\"}"),
          std::string("{\"a\":\"\xC3\"}"),
          std::string("\xEF{}"),
          std::string("\xEF\xBB\xBF"),
          std::string("{}\0", 3),
          std::string("\0{}", 3),
          "{\"a\":" + std::string(5000, '[') + std::string(5000, ']') + "}"})
        EXPECT_FALSE(readJsonMessage(json)) << json.substr(0, 80);
    EXPECT_FALSE(readJsonMessage({}));
}

} // namespace
} // namespace zuLogging
