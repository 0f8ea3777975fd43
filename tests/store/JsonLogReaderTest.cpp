#include "logging/JsonLogReader.h"
#include "logging/JsonLogWriter.h"
#include "store/LogTableModel.h"
#include "tests/store/StoreTestSupport.h"

#include <QBuffer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include <sys/stat.h>

namespace zuLogging {
namespace {

using Messages = std::vector<std::shared_ptr<LogMessage>>;
using Numbers = std::vector<std::uint64_t>;

constexpr std::uint64_t largest = ~std::uint64_t{0};
constexpr qint64 mebibyte = 1 << 20;

/// A text made while it is read: a beginning, one byte again and again, an end. Gives `piece` bytes
/// at a time, and fails behind the end if it is told to.
class MadeText : public QIODevice
{
public:
    MadeText(QByteArray begin, char filler, qint64 count, QByteArray end)
        : begin_(std::move(begin))
        , filler_(filler)
        , count_(count)
        , end_(std::move(end))
    {
        open(QIODevice::ReadOnly | QIODevice::Unbuffered);
    }
    explicit MadeText(const QByteArray& text)
        : MadeText(text, ' ', 0, {})
    {
    }

    bool isSequential() const override { return true; }

    qint64 piece = 1 << 16;
    bool failsAtTheEnd = false;
    int reads = 0;

private:
    qint64 readData(char* out, qint64 room) override
    {
        ++reads;
        room = std::min(room, piece);
        if (at_ == begin_.size() + count_ + end_.size())
            return failsAtTheEnd ? -1 : 0;
        qint64 size = 0;
        if (at_ < begin_.size()) {
            size = std::min(room, begin_.size() - at_);
            std::memcpy(out, begin_.constData() + at_, static_cast<std::size_t>(size));
        } else if (at_ < begin_.size() + count_) {
            size = std::min(room, begin_.size() + count_ - at_);
            std::memset(out, filler_, static_cast<std::size_t>(size));
        } else {
            const qint64 used = at_ - begin_.size() - count_;
            size = std::min(room, end_.size() - used);
            std::memcpy(out, end_.constData() + used, static_cast<std::size_t>(size));
        }
        at_ += size;
        return size;
    }
    qint64 writeData(const char*, qint64) override { return -1; }

    QByteArray begin_;
    char filler_;
    qint64 count_;
    QByteArray end_;
    qint64 at_ = 0;
};

Messages read(const QByteArray& text)
{
    QBuffer device;
    device.setData(text);
    device.open(QIODevice::ReadOnly);
    Messages messages;
    EXPECT_TRUE(readJsonLog(device, messages));
    return messages;
}

auto fields(const LogMessage& message)
{
    return std::make_tuple(
        message.serviceMsgId(), message.sourceMsgId(), message.senderMsgId(), message.timestamp(),
        message.logLevel(), std::u16string(message.logPos()), std::u16string(message.module()),
        std::u16string(message.groupName()), std::u16string(message.logMessage()),
        message.processId(), message.threadId(), message.timestampText().toStdString());
}

auto fieldsOfAll(const Messages& messages)
{
    std::vector<decltype(fields(*messages.front()))> all;
    for (const auto& message : messages)
        all.push_back(fields(*message));
    return all;
}

/// What the library's own document makes of a text.
Messages readByDocument(const QByteArray& text)
{
    Messages messages;
    const QJsonArray array = QJsonDocument::fromJson(text).array();
    for (const QJsonValue value : array) {
        const QJsonObject object = value.toObject();
        const auto number = [&object](const char* name) {
            return object.value(QLatin1String(name)).toVariant().toULongLong();
        };
        const auto string = [&object](const char* name) {
            return object.value(QLatin1String(name)).toString();
        };
        messages.push_back(std::make_shared<LogMessage>(
            number("ServiceMsgID"), number("SourceMsgID"), number("SenderMsgID"),
            number("Timestamp"), string("LogLevel [Hex]").toULongLong(nullptr, 16),
            string("LogPos"), string("Module"), string("GroupName"), string("LogMessage"),
            number("ProcessID"), number("ThreadID")));
        messages.back()->renderTimestamp();
    }
    return messages;
}

/// The number read from a member's value, as it is written in the file.
std::uint64_t numberOf(const QByteArray& value)
{
    const Messages messages = read("[{\"ThreadID\":" + value + "}]");
    EXPECT_EQ(messages.size(), 1U) << value.constData();
    return messages.empty() ? 4711 : messages.front()->threadId();
}

std::uint64_t levelOf(const QByteArray& value)
{
    const Messages messages = read("[{\"LogLevel [Hex]\":" + value + "}]");
    EXPECT_EQ(messages.size(), 1U) << value.constData();
    return messages.empty() ? 4711 : messages.front()->logLevel();
}

std::u16string textOf(const QByteArray& value)
{
    const Messages messages = read("[{\"Module\":" + value + "}]");
    EXPECT_EQ(messages.size(), 1U) << value.constData();
    return messages.empty() ? u"(none)" : std::u16string(messages.front()->module());
}

void expectNotValid(const QByteArray& text)
{
    EXPECT_TRUE(read(text).empty()) << text.left(80).constData();
    // The same with something before it that is right: nothing of that is returned either.
    const QByteArray behindAMessage = "[{\"ThreadID\":\"1\"}," + text.mid(1);
    if (text.startsWith('[') && text.size() > 2) {
        EXPECT_TRUE(read(behindAMessage).empty()) << behindAMessage.left(80).constData();
    }
}

QByteArray written(const Messages& messages)
{
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    JsonLogWriter writer(file);
    for (const auto& message : messages)
        writer.add(*message);
    EXPECT_TRUE(writer.finish());
    return file.data();
}

std::shared_ptr<LogMessage> messageWithText(std::uint64_t number, const std::u16string& text,
                                            std::uint64_t level = 8)
{
    auto message = std::make_shared<LogMessage>(number, largest, number + 2, number * 1000, level,
                                                std::u16string_view(text), u"module\n" + text,
                                                text + u"\tgroup", u"\"" + text + u"\"", 0, 7);
    message->renderTimestamp();
    return message;
}

const std::vector<std::u16string>& hostileTexts()
{
    static const std::vector<std::u16string> texts{
        u"",
        u"line\nbreak\r\nand\ttab",
        std::u16string(u"a\0b", 3),
        u"\u202Eright to left\u200F",
        u"\u2028 and \u2029",
        u"\"quoted\" \\ and / and \\u0041",
        u"\u0001\u001B[31m\u001F\u007F\u0080\u009F",
        u"\U0001F600\U0010FFFF\U00010000",
        u"\uFEFF mark \uFFFE \uFFFF \uFFFD",
        u"<html>&amp;</html>",
        u"\u00E4\u0416\u4E2D\u0915\u094D\u0937 e\u0301",
        std::u16string(100000, u'x'),
        std::u16string(100000, u'\u4E2D'),
        std::u16string(100000, u'\0'),
    };
    return texts;
}

// --- There and back

TEST(JsonLogReader, AJsonFileSavedAndLoadedBackGivesTheSameMessagesWithTheSameLevels)
{
    Messages messages;
    for (const std::uint64_t level : {0ULL, 1ULL, 2ULL, 4ULL, 8ULL, 16ULL, 32ULL, 3ULL, 0xABCULL,
                                      0x123456789ABCDEF0ULL, 0xFFFFFFFFFFFFFFFFULL})
        messages.push_back(messageWithText(messages.size(), u"text", level));
    EXPECT_EQ(fieldsOfAll(read(written(messages))), fieldsOfAll(messages));
}

TEST(JsonLogReader, AMessagesLogLevelTextEditedByHandHasNoEffectOnLoad)
{
    QByteArray text = written({messageWithText(1, u"text", 8)});
    ASSERT_TRUE(text.contains("\"LogLevel\": \"info\""));
    text.replace("\"LogLevel\": \"info\"", "\"LogLevel\": \"fatal\"");
    const Messages messages = read(text);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0]->logLevel(), 8U);
    EXPECT_EQ(messages[0]->levelName(), QString("info"));
}

TEST(JsonLogReader, HostileTextsComeBackAsTheyWere)
{
    Messages messages;
    for (const std::u16string& text : hostileTexts())
        messages.push_back(messageWithText(messages.size() + 1, text));
    EXPECT_EQ(fieldsOfAll(read(written(messages))), fieldsOfAll(messages));
}

TEST(JsonLogReader, EveryUnitOfTextComesBackAsTheRecordTakesIt)
{
    Messages messages;
    Messages expected;
    for (unsigned unit = 0; unit <= 0xFFFF; unit += unit == 0xD8FF || unit == 0xDCFF ? 0x300 : 1) {
        const std::u16string text{u'a', static_cast<char16_t>(unit), u'z'};
        messages.push_back(messageWithText(unit, text));
        const auto own = [](std::u16string_view view) { return toQString(view); };
        const LogMessage& made = *messages.back();
        expected.push_back(std::make_shared<LogMessage>(
            made.serviceMsgId(), made.sourceMsgId(), made.senderMsgId(), made.timestamp(),
            made.logLevel(), own(made.logPos()), own(made.module()), own(made.groupName()),
            own(made.logMessage()), made.processId(), made.threadId()));
        expected.back()->renderTimestamp();
    }
    EXPECT_EQ(fieldsOfAll(read(written(messages))), fieldsOfAll(expected));
}

TEST(JsonLogReader, HalfASurrogatePairIsReplacedInItsTextOnly)
{
    const Messages messages = read("[{\"Module\":\"a\\ud83dz\",\"GroupName\":\"\\ud83d\\ude00\","
                                   "\"LogPos\":\"\xF0\x9F\x98\x80\"},"
                                   "{\"Module\":\"\xF0\x9F\x98\x80\"}]");
    ASSERT_EQ(messages.size(), 2U);
    const LogMessage expected(0, 0, 0, 0, 0, QString(), QString("a") + QChar(0xD83D) + "z",
                              QString(), QString(), 0, 0);
    EXPECT_EQ(messages[0]->module(), expected.module());
    EXPECT_EQ(messages[0]->module().size(), 3U);
    EXPECT_NE(messages[0]->module()[1], 0xD83D);
    EXPECT_EQ(messages[0]->groupName(), u"\U0001F600");
    EXPECT_EQ(messages[0]->logPos(), u"\U0001F600");
    EXPECT_EQ(messages[1]->module(), u"\U0001F600");
}

TEST(JsonLogReader, TheTimestampTextIsRendered)
{
    const Messages messages = read("[{\"Timestamp\":\"1000001\"},5]");
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[0]->timestampText(), QString("1400-Jan-01 00:00:01.000001"));
    EXPECT_EQ(messages[1]->timestampText(), QString("1400-Jan-01 00:00:00"));
}

TEST(JsonLogReader, PiecesOfAnySizeMakeNoDifference)
{
    Messages messages;
    for (const std::u16string& text : hostileTexts())
        messages.push_back(messageWithText(messages.size() + 1, text.substr(0, 50)));
    QByteArray text = "\xEF\xBB\xBF" + written(messages);
    text.replace("\"LogLevel\": \"info\"",
                 "\"LogLevel\": [true, false, null, -1.5e+3, {\"\\ud83d\": \"\xE4\xB8\xAD\"}]");
    const auto expected = fieldsOfAll(messages);
    for (const qint64 piece : {1, 2, 3, 5, 7, 8, 9, 13, 64, 1000}) {
        MadeText device(text);
        device.piece = piece;
        Messages got;
        EXPECT_TRUE(readJsonLog(device, got));
        EXPECT_EQ(fieldsOfAll(got), expected) << piece;
    }
}

TEST(JsonLogReader, ALogLongerThanTheBufferIsReadWhole)
{
    Messages messages;
    for (std::uint64_t i = 1; i <= 3000; ++i)
        messages.push_back(messageWithText(i, std::u16string(i % 97, u'\u0416')));
    EXPECT_EQ(fieldsOfAll(read(written(messages))), fieldsOfAll(messages));
}

// --- Members

TEST(JsonLogReader, EachMemberGoesToItsField)
{
    const Messages messages = read(
        "[{\"ServiceMsgID\":\"1\",\"SourceMsgID\":\"2\",\"SenderMsgID\":\"3\",\"Timestamp\":\"4\","
        "\"LogLevel [Hex]\":\"0x05\",\"LogPos\":\"6\",\"Module\":\"7\",\"GroupName\":\"8\","
        "\"LogMessage\":\"9\",\"ProcessID\":\"10\",\"ThreadID\":\"11\"}]");
    ASSERT_EQ(messages.size(), 1U);
    const LogMessage& message = *messages[0];
    EXPECT_EQ(message.serviceMsgId(), 1U);
    EXPECT_EQ(message.sourceMsgId(), 2U);
    EXPECT_EQ(message.senderMsgId(), 3U);
    EXPECT_EQ(message.timestamp(), 4U);
    EXPECT_EQ(message.logLevel(), 5U);
    EXPECT_EQ(message.logPos(), u"6");
    EXPECT_EQ(message.module(), u"7");
    EXPECT_EQ(message.groupName(), u"8");
    EXPECT_EQ(message.logMessage(), u"9");
    EXPECT_EQ(message.processId(), 10U);
    EXPECT_EQ(message.threadId(), 11U);
}

TEST(JsonLogReader, MissingMembersAreZeroOrEmptyAlsoBehindAFullMessage)
{
    const Messages messages =
        read(written({messageWithText(5, u"text")}).replace("]\n", ",{\"ThreadID\":\"9\"}]"));
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(fields(*messages[1]), fields(*read("[{\"ThreadID\":9}]").front()));
    EXPECT_EQ(messages[1]->serviceMsgId(), 0U);
    EXPECT_EQ(messages[1]->logLevel(), 0U);
    EXPECT_EQ(messages[1]->logMessage(), u"");
}

TEST(JsonLogReader, UnknownMembersAreSkippedWhateverTheyAre)
{
    const Messages messages = read(
        R"([{"a":{"Module":"no","b":[{"ThreadID":"1"},[],{}, [[]], -0.5E-7]},"":"","ThreadId":"2",
           "Module ":"no","ModuleModuleModuleModule":"no","Module\u0000":"no","module":"no",
           "LogLevel":["x"],"ThreadID":"3","z":true,"y":null,"x":false,"w":12345678901234567890}])");
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0]->threadId(), 3U);
    EXPECT_EQ(messages[0]->module(), u"");
}

TEST(JsonLogReader, AMembersNameMayBeWrittenWithEscapes)
{
    EXPECT_EQ(read(R"([{"\u004dodule":"m","LogLevel\u0020[Hex]":"8"}])").front()->module(), u"m");
    EXPECT_EQ(read(R"([{"\u004dodule":"m","LogLevel\u0020[Hex]":"8"}])").front()->logLevel(), 8U);
}

TEST(JsonLogReader, OfARepeatedMemberTheLastOneCounts)
{
    const QByteArray text = R"([{"Module":"first","Module":"last","ThreadID":"1","ThreadID":"2",
        "LogLevel [Hex]":"1","LogLevel [Hex]":"2","GroupName":"g","GroupName":5,
        "ProcessID":"7","ProcessID":null,"LogPos":"\ud800","LogPos":"p"}])";
    const Messages messages = read(text);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0]->module(), u"last");
    EXPECT_EQ(messages[0]->threadId(), 2U);
    EXPECT_EQ(messages[0]->logLevel(), 2U);
    EXPECT_EQ(messages[0]->groupName(), u"");
    EXPECT_EQ(messages[0]->processId(), 0U);
    EXPECT_EQ(messages[0]->logPos(), u"p");
    EXPECT_EQ(fieldsOfAll(messages), fieldsOfAll(readByDocument(text)));
}

TEST(JsonLogReader, AnElementThatIsNoObjectIsAMessageWithoutContent)
{
    const Messages messages =
        read(R"([1, null, "Module", [{"Module":"m"}], true, {}, {"Module":"m"},
        {"Module":""}])");
    ASSERT_EQ(messages.size(), 8U);
    for (std::size_t i = 0; i < messages.size(); ++i) {
        EXPECT_EQ(messages[i]->module(), i == 6 ? u"m" : u"");
        EXPECT_EQ(messages[i]->logLevel(), 0U);
        EXPECT_EQ(messages[i]->timestamp(), 0U);
        EXPECT_FALSE(messages[i]->timestampText().isEmpty());
    }
}

TEST(JsonLogReader, MessagesWithoutContentAreOneRecord)
{
    const Messages messages =
        read(R"([0,{},{"ThreadID":"0"},{"ThreadID":"1"},{"ThreadID":"1"},0])");
    ASSERT_EQ(messages.size(), 6U);
    EXPECT_EQ(messages[0], messages[1]);
    EXPECT_EQ(messages[0], messages[2]);
    EXPECT_EQ(messages[0], messages[5]);
    EXPECT_NE(messages[3], messages[0]);
    EXPECT_NE(messages[3], messages[4]);
}

TEST(JsonLogReader, OneFieldIsContentEnough)
{
    for (const char* member :
         {"ServiceMsgID", "SourceMsgID", "SenderMsgID", "Timestamp", "ProcessID", "ThreadID",
          "LogLevel [Hex]", "LogPos", "Module", "GroupName", "LogMessage"}) {
        const QByteArray text = QByteArray("[0,{\"") + member + "\":\"1\"},0]";
        EXPECT_EQ(fieldsOfAll(read(text)), fieldsOfAll(readByDocument(text))) << member;
        EXPECT_NE(fields(*read(text)[0]), fields(*read(text)[1])) << member;
    }
}

// --- Values

TEST(JsonLogReader, ANumberMayBeAStringOfDigits)
{
    EXPECT_EQ(numberOf("\"0\""), 0U);
    EXPECT_EQ(numberOf("\"18446744073709551615\""), largest);
    EXPECT_EQ(numberOf("\"18446744073709551616\""), 0U);
    EXPECT_EQ(numberOf("\"99999999999999999999999999\""), 0U);
    EXPECT_EQ(numberOf("\"00000000000000000000005\""), 5U);
    EXPECT_EQ(numberOf("\" \\t5\\n \""), 5U);
    EXPECT_EQ(numberOf("\"+5\""), 5U);
    EXPECT_EQ(numberOf("\"\\u0035\""), 5U);
    for (const char* text : {"\"\"", "\" \"", "\"-5\"", "\"-0\"", "\"1.5\"", "\"1e3\"", "\"0x10\"",
                             "\"5 5\"", "\"1,000\"", "\"five\"", "\"5\\u0000\"", "\"\\uff15\""})
        EXPECT_EQ(numberOf(text), 0U) << text;
}

TEST(JsonLogReader, AStringOfDigitsIsReadAsTheLibraryReadsIt)
{
    std::mt19937 random(7);
    const std::string alphabet = "00123456789999+- xXaF.e";
    for (int i = 0; i < 20000; ++i) {
        QByteArray value;
        for (auto length = random() % 24; length > 0; --length)
            value += alphabet[random() % alphabet.size()];
        const QString text = QString::fromLatin1(value);
        const QByteArray quoted = '"' + value + '"';
        EXPECT_EQ(numberOf(quoted), text.toULongLong()) << quoted.constData();
        EXPECT_EQ(levelOf(quoted), text.toULongLong(nullptr, 16)) << quoted.constData();
    }
}

TEST(JsonLogReader, AWholeJsonNumberIsExact)
{
    EXPECT_EQ(numberOf("0"), 0U);
    EXPECT_EQ(numberOf("5"), 5U);
    // A double holds neither.
    EXPECT_EQ(numberOf("9007199254740993"), 9007199254740993U);
    EXPECT_EQ(numberOf("18446744073709551615"), largest);
}

TEST(JsonLogReader, AJsonNumberWithFractionOrExponentIsRounded)
{
    EXPECT_EQ(numberOf("1.4"), 1U);
    EXPECT_EQ(numberOf("1.5"), 2U);
    EXPECT_EQ(numberOf("2.5"), 3U);
    EXPECT_EQ(numberOf("0.49999999999999994"), 0U);
    EXPECT_EQ(numberOf("1e3"), 1000U);
    EXPECT_EQ(numberOf("1E+3"), 1000U);
    EXPECT_EQ(numberOf("125e-1"), 13U);
    EXPECT_EQ(numberOf("0e5"), 0U);
    EXPECT_EQ(numberOf("1e-999"), 0U);
    EXPECT_EQ(numberOf("1e19"), 10000000000000000000U);
}

TEST(JsonLogReader, AJsonNumberThatDoesNotFitIsZero)
{
    for (const char* text :
         {"-1", "-0", "-1.5", "-0.4", "-18446744073709551615", "-1e3", "18446744073709551616",
          "1e20", "1.8446744073709551616e19", "1e999", "99999999999999999999999999999999999999"})
        EXPECT_EQ(numberOf(text), 0U) << text;
    EXPECT_EQ(numberOf("1" + QByteArray(100000, '0')), 0U);
    EXPECT_EQ(numberOf("1." + QByteArray(100000, '0')), 0U); // longer than any program writes
    EXPECT_EQ(numberOf("1." + QByteArray(62, '0')), 1U);
}

TEST(JsonLogReader, WhatIsNeitherStringNorNumberIsZero)
{
    for (const char* text : {"true", "false", "null", "[5]", "[\"5\"]", "{\"ThreadID\":5}", "[]"})
        EXPECT_EQ(numberOf(text), 0U) << text;
}

TEST(JsonLogReader, TheLevelIsAStringOfHexadecimalDigits)
{
    EXPECT_EQ(levelOf("\"0x08\""), 8U);
    EXPECT_EQ(levelOf("\"0X1F\""), 0x1FU);
    EXPECT_EQ(levelOf("\"0x1f\""), 0x1FU);
    EXPECT_EQ(levelOf("\"20\""), 0x20U);
    EXPECT_EQ(levelOf("\" 0x20 \""), 0x20U);
    EXPECT_EQ(levelOf("\"+0x8\""), 8U);
    EXPECT_EQ(levelOf("\"0xffffffffffffffff\""), largest);
    EXPECT_EQ(levelOf("\"0x0000000000000000008\""), 8U);
    for (const char* text :
         {"\"0x10000000000000000\"", "\"xyz\"", "\"\"", "\"0x\"", "\"-8\"", "\"0x0x8\"", "\"8.0\"",
          "\"info\"", "8", "32.0", "true", "null", "[\"8\"]", "{}"})
        EXPECT_EQ(levelOf(text), 0U) << text;
}

TEST(JsonLogReader, ATextIsAStringAndAnythingElseIsEmpty)
{
    EXPECT_EQ(textOf("\"m\""), u"m");
    EXPECT_EQ(textOf("\"5\""), u"5");
    for (const char* text : {"5", "-1.5", "true", "false", "null", "[\"m\"]", "{\"Module\":\"m\"}"})
        EXPECT_EQ(textOf(text), u"") << text;
}

TEST(JsonLogReader, EveryEscapeIsRead)
{
    EXPECT_EQ(textOf(R"("\"\\\/\b\f\n\r\t\u00e4\u00E4\uD83D\uDE00")"),
              u"\"\\/\b\f\n\r\t\u00E4\u00E4\U0001F600");
    EXPECT_EQ(textOf(R"("a\u0000b")"), std::u16string(u"a\0b", 3));
    EXPECT_EQ(textOf("\"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"
                     "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF\""),
              u"\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF");
}

// --- What is valid

TEST(JsonLogReader, AByteOrderMarkAndBlanksDoNoHarm)
{
    EXPECT_EQ(read("\xEF\xBB\xBF[{\"ThreadID\":\"1\"}]").size(), 1U);
    EXPECT_EQ(
        read(" \t\r\n[ \t\r\n{ \t\r\n\"ThreadID\" \t\r\n: \t\r\n1 \t\r\n} \t\r\n, \n0 ] \t\r\n")
            .size(),
        2U);
    EXPECT_TRUE(read("[]").empty());
    EXPECT_TRUE(read(" [ ] ").empty());
}

TEST(JsonLogReader, AnUnfinishedTextGivesNothing)
{
    const QByteArray text = R"([{"Module":"m\n\u00e4)"
                            "\xE4\xB8\xAD"
                            R"(","ThreadID":"1","a":[true,-1.5e3]},0])";
    ASSERT_EQ(read(text).size(), 2U);
    for (int length = 0; length < text.size(); ++length)
        EXPECT_TRUE(read(text.left(length)).empty()) << length;
}

TEST(JsonLogReader, NoArrayAtTheTopGivesNothing)
{
    for (const char* text : {"", " ", "{}", "{\"ThreadID\":\"1\"}", "[{\"ThreadID\":\"1\"}", "5",
                             "\"[]\"", "null", "true", "\xEF\xBB\xBF", "\xEF\xBB[0]", "\xEF[0]",
                             "\xEF\xBB\xBF\xEF\xBB\xBF[0]", " \xEF\xBB\xBF[0]", "]", "\xFE\xFF"})
        EXPECT_TRUE(read(text).empty()) << text;
}

TEST(JsonLogReader, SomethingBehindTheEndGivesNothing)
{
    for (const char* text :
         {"[0]x", "[0]]", "[0] [0]", "[0],", "[0]{}", "[0]5", "[0] \xEF\xBB\xBF"})
        expectNotValid(text);
    EXPECT_TRUE(read(QByteArray("[0]\0", 4)).empty());
}

TEST(JsonLogReader, WhatIsNoJsonGivesNothing)
{
    for (const char* text : {"[,]",
                             "[0,]",
                             "[,0]",
                             "[0 0]",
                             "[0,,0]",
                             "[{]",
                             "[}]",
                             "[{}",
                             "[0}",
                             "[{},]",
                             "[{,}]",
                             "[{\"a\"}]",
                             "[{\"a\":}]",
                             "[{\"a\":1,}]",
                             "[{\"a\" 1}]",
                             "[{\"a\":1 \"b\":2}]",
                             "[{a:1}]",
                             "[{'a':1}]",
                             "[{1:1}]",
                             "[{\"a\":1]",
                             "[{\"a\":[}]}]",
                             "[{\"a\":{]}}]",
                             "[{\"a\":[1}]}]",
                             "[[{\"a\"}]]",
                             "[[{\"a\":1,}]]",
                             "[[1,]]",
                             "[[,1]]",
                             "[[1 1]]",
                             "[tru]",
                             "[True]",
                             "[truex]",
                             "[nul]",
                             "[NaN]",
                             "[Infinity]",
                             "[undefined]",
                             "[/**/0]",
                             "[0]//",
                             "[01]",
                             "[-]",
                             "[-a]",
                             "[+1]",
                             "[.5]",
                             "[1.]",
                             "[1.e5]",
                             "[1e]",
                             "[1e+]",
                             "[0x10]",
                             "[1_0]",
                             "[--1]",
                             "[\"a]",
                             "[\"\\x\"]",
                             "[\"\\\"]",
                             "[\"\\u12\"]",
                             "[\"\\u12g4\"]",
                             "[\"\\U0041\"]",
                             "[\"\\'\"]",
                             "[\"a\nb\"]",
                             "[\"a\tb\"]",
                             "[\"\x1F\"]",
                             "[\"\x01\"]",
                             "[{\"a\nb\":1}]",
                             "[{\"Module\":\"a\nb\"}]",
                             "[{\"ThreadID\":01}]",
                             "[{\"ThreadID\":1.}]",
                             "[{\"ThreadID\":-}]",
                             "[{\"ThreadID\":tru}]",
                             "[\x0B]",
                             "[\x0C]",
                             "[\xC2\xA0]"})
        expectNotValid(text);
}

TEST(JsonLogReader, AByteThatEndsOrSpoilsATextIsSeenAtEveryPlace)
{
    for (int byte = 0; byte < 256; ++byte) {
        const bool plain = byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\';
        for (int place = 0; place < 20; ++place) {
            QByteArray text(20, 'x');
            text[place] = static_cast<char>(byte);
            const Messages messages = read("[{\"Module\":\"" + text + "\"}]");
            ASSERT_EQ(messages.size(), plain ? 1U : 0U) << byte << " at " << place;
            if (plain) {
                ASSERT_EQ(toQString(messages[0]->module()), QString::fromLatin1(text));
            }
        }
    }
}

TEST(JsonLogReader, ANulByteGivesNothing)
{
    for (const QByteArray& text :
         {QByteArray("\0", 1), QByteArray("\0[0]", 4), QByteArray("[\0]", 3),
          QByteArray("[\"a\0b\"]", 7), QByteArray("[0\0]", 4), QByteArray("[{\"a\0\":1}]", 10)})
        expectNotValid(text);
    MadeText zeros("[0]", '\0', 1024 * mebibyte, {});
    EXPECT_TRUE(readJsonLog(zeros).empty());
}

TEST(JsonLogReader, InvalidUtf8GivesNothing)
{
    for (const char* bytes : {"\x80",
                              "\xBF",
                              "\xC0\x80",
                              "\xC1\xBF",
                              "\xC2",
                              "\xC2\x7F",
                              "\xC2\xC2",
                              "\xE0\x80\x80",
                              "\xE0\x9F\xBF",
                              "\xE4\xB8",
                              "\xE4\xB8z",
                              "\xED\xA0\x80",
                              "\xED\xBF\xBF",
                              "\xF0\x80\x80\x80",
                              "\xF0\x8F\xBF\xBF",
                              "\xF0\x9F\x98",
                              "\xF4\x90\x80\x80",
                              "\xF5\x80\x80\x80",
                              "\xF8\x88\x80\x80\x80",
                              "\xFE",
                              "\xFF"}) {
        expectNotValid("[{\"Module\":\"" + QByteArray(bytes) + "\"}]");
        expectNotValid("[{\"" + QByteArray(bytes) + "\":0}]");
        expectNotValid("[\"" + QByteArray(bytes) + "\"]");
        expectNotValid("[" + QByteArray(bytes) + "]");
    }
}

TEST(JsonLogReader, NestingIsReadAsDeepAsTheLibraryReadsIt)
{
    for (const int depth : {2, 1023, 1024, 1025, 5000}) {
        const QByteArray arrays = QByteArray(depth, '[') + QByteArray(depth, ']');
        EXPECT_EQ(read(arrays).size(), depth <= 1024 ? 1U : 0U) << depth;
        EXPECT_EQ(readByDocument(arrays).size(), depth <= 1024 ? 1U : 0U) << depth;
        // Inside a known and an unknown member: the log's array and the message are two.
        for (const char* name : {"Module", "ThreadID", "LogLevel [Hex]", "unknown"}) {
            QByteArray objects = QByteArray("[{\"") + name + "\":";
            for (int i = 2; i < depth; ++i)
                objects += "{\"a\":";
            objects += '1' + QByteArray(depth - 1, '}') + ']';
            EXPECT_EQ(read(objects).size(), depth <= 1024 ? 1U : 0U) << depth << name;
        }
    }
}

TEST(JsonLogReader, AMillionOpenBracketsGiveNothing)
{
    MadeText arrays({}, '[', 1000000, {});
    EXPECT_TRUE(readJsonLog(arrays).empty());
    EXPECT_LT(arrays.reads, 10); // the end was not waited for
    EXPECT_TRUE(read(QByteArray(1000000, '[') + QByteArray(1000000, ']')).empty());
    EXPECT_TRUE(read(QByteArray("[{\"a\":").repeated(1000000)).empty());
}

TEST(JsonLogReader, RandomLogsAreReadAsTheLibraryReadsThem)
{
    std::mt19937 random(42);
    const auto pick = [&random](const std::vector<QByteArray>& from) {
        return from[random() % from.size()];
    };
    const std::vector<QByteArray> blanks{"", "", "", " ", "\n", "\t \r\n"};
    // None twice in an object: the library loses memory over a repeated member.
    std::vector<QByteArray> names{
        "ServiceMsgID", "SourceMsgID",    "SenderMsgID", "Timestamp", "LogLevel [Hex]",
        "LogLevel",     "LogPos",         "Module",      "GroupName", "LogMessage",
        "ProcessID",    "\\u0054hreadID", "unknown",     ""};
    const std::vector<QByteArray> values{"\"\"",
                                         "\"7\"",
                                         "\"0x20\"",
                                         "\"12345678901234\"",
                                         "\"a\\nb\\u00e4\"",
                                         "\"\\ud800\"",
                                         "\"\xE4\xB8\xAD\xF0\x9F\x98\x80\"",
                                         "7",
                                         "1.5",
                                         "4503599627370497",
                                         "0",
                                         "null",
                                         "[]",
                                         "{}",
                                         "[1,{\"Module\":\"m\"}]",
                                         "{\"a\":{\"b\":[false]}}",
                                         "\"\\ud83d\\ude00 \\\" \\\\\""};
    const std::string noise = std::string("[]{},:\"\\ 0a\n\xC3\x80\x01", 16) + '\0';
    for (int i = 0; i < 20000; ++i) {
        QByteArray text = pick(blanks) + '[';
        const auto elements = random() % 4;
        for (std::size_t element = 0; element < elements; ++element) {
            text += (element > 0 ? "," : "") + pick(blanks);
            if (random() % 8 == 0) {
                text += pick(values);
                continue;
            }
            text += '{';
            std::shuffle(names.begin(), names.end(), random);
            const auto members = random() % 6;
            for (std::size_t member = 0; member < members; ++member)
                text += (member > 0 ? "," : "") + pick(blanks) + '"' + names[member] + '"' +
                        pick(blanks) + ':' + pick(blanks) + pick(values) + pick(blanks);
            text += '}' + pick(blanks);
        }
        text += ']' + pick(blanks);
        const Messages messages = read(text);
        ASSERT_EQ(messages.size(), elements) << text.constData();
        ASSERT_EQ(fieldsOfAll(messages), fieldsOfAll(readByDocument(text))) << text.constData();

        // One byte more, other or less: what is valid to us is so to the library, and the same.
        const int place = static_cast<int>(random() % static_cast<unsigned>(text.size()));
        const char byte = noise[random() % noise.size()];
        switch (random() % 3) {
        case 0:
            text.insert(place, byte);
            break;
        case 1:
            text[place] = byte;
            break;
        default:
            text.remove(place, 1);
        }
        const Messages changed = read(text);
        if (!changed.empty()) {
            ASSERT_EQ(fieldsOfAll(changed), fieldsOfAll(readByDocument(text))) << text.constData();
        }
    }
}

// --- Size

TEST(JsonLogReader, AGibibyteOfBlanksIsAnEmptyLog)
{
    MadeText blanks("[", ' ', 1024 * mebibyte, "]");
    Messages messages;
    EXPECT_TRUE(readJsonLog(blanks, messages));
    EXPECT_TRUE(messages.empty());
    MadeText around({}, '\n', mebibyte, "[0]");
    EXPECT_EQ(readJsonLog(around).size(), 1U);
}

TEST(JsonLogReader, ATextOfAHundredMebibytesIsRead)
{
    MadeText device("[{\"LogMessage\":\"", 'x', 100 * mebibyte, "z\",\"ThreadID\":\"5\"},0]");
    const Messages messages = readJsonLog(device);
    ASSERT_EQ(messages.size(), 2U);
    const std::u16string_view text = messages[0]->logMessage();
    ASSERT_EQ(text.size(), static_cast<std::size_t>(100 * mebibyte) + 1);
    EXPECT_EQ(text.front(), u'x');
    EXPECT_EQ(text.back(), u'z');
    EXPECT_EQ(messages[0]->threadId(), 5U);
    EXPECT_EQ(messages[1]->logMessage(), u"");
}

TEST(JsonLogReader, ATextThatCannotBeHeldIsNoMemory)
{
    MadeText known("[{\"ThreadID\":\"5\"},{\"LogMessage\":\"", 'x', 257 * mebibyte, "\"}]");
    Messages messages;
    EXPECT_THROW(readJsonLog(known, messages), std::bad_alloc);
    EXPECT_TRUE(messages.empty());
}

TEST(JsonLogReader, OfAnUnknownMemberNothingIsHeld)
{
    MadeText value("[{\"a\":\"", 'x', 257 * mebibyte, "\",\"ThreadID\":\"5\"}]");
    EXPECT_EQ(readJsonLog(value).size(), 1U);
    MadeText name("[{\"Module", 'x', 257 * mebibyte, "\":\"5\"}]");
    const Messages messages = readJsonLog(name);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0]->module(), u"");
}

// --- The device

TEST(JsonLogReader, ADeviceThatFailsIsReported)
{
    const QByteArray text = written({messageWithText(1, u"text"), messageWithText(2, u"text")});
    for (int length = 0; length <= text.size(); ++length) {
        MadeText device(text.left(length));
        device.failsAtTheEnd = true;
        Messages messages;
        EXPECT_FALSE(readJsonLog(device, messages)) << length;
        EXPECT_TRUE(messages.empty());
    }
    MadeText device(text);
    device.failsAtTheEnd = true;
    EXPECT_TRUE(readJsonLog(device).empty());
}

TEST(JsonLogReader, ADeviceThatIsNotOpenIsReported)
{
    QBuffer closed;
    Messages messages;
    EXPECT_FALSE(readJsonLog(closed, messages));
}

// --- The table's file

class JsonLogFile : public testing::Test
{
protected:
    QString path(const QString& name) const { return directory_.filePath(name); }

    QString writeFile(const QString& name, const QByteArray& text) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(text), text.size());
        return path(name);
    }

    LogTableModel model{std::make_shared<test::QuietStore>()};

private:
    QTemporaryDir directory_;
};

TEST_F(JsonLogFile, LoadingTwiceAppends)
{
    model.addMessage(test::makeMessage(1));
    model.addMessage(test::makeMessage(2));
    ASSERT_TRUE(model.saveToJson(path("log.json")));
    EXPECT_TRUE(model.loadFromJson(path("log.json")));
    EXPECT_TRUE(model.loadFromJson(path("log.json")));
    EXPECT_EQ(test::storedIds(model), (Numbers{1, 2, 1, 2, 1, 2}));
    EXPECT_EQ(fieldsOfAll(model.messagesFrom(2, 2)), fieldsOfAll(model.messagesFrom(0, 2)));
    EXPECT_EQ(fieldsOfAll(model.messagesFrom(4, 2)), fieldsOfAll(model.messagesFrom(0, 2)));
}

TEST_F(JsonLogFile, WhatIsNotValidAddsNothingAndIsNoFailure)
{
    model.addMessage(test::makeMessage(1));
    for (const char* text : {"", "{}", "[{\"ThreadID\":\"1\"}", "[{\"ThreadID\":\"1\"}] x", "[]"}) {
        EXPECT_TRUE(model.loadFromJson(writeFile("log.json", text))) << text;
        EXPECT_EQ(test::storedIds(model), Numbers{1}) << text;
    }
}

TEST_F(JsonLogFile, AFileThatCannotBeReadAddsNothingAndIsAFailure)
{
    model.addMessage(test::makeMessage(1));
    EXPECT_FALSE(model.loadFromJson(path("missing.json")));
    EXPECT_FALSE(model.loadFromJson(path("")));
    ASSERT_EQ(::mkfifo(QFile::encodeName(path("pipe.json")).constData(), 0600), 0);
    EXPECT_FALSE(model.loadFromJson(path("pipe.json")));
    EXPECT_FALSE(model.loadFromJson("/proc/self/mem")); // opens, and gives an error when it is read
    EXPECT_EQ(test::storedIds(model), Numbers{1});
}

TEST_F(JsonLogFile, ATextThatCannotBeHeldAddsNothingAndIsAFailure)
{
    model.addMessage(test::makeMessage(1));
    QFile file(path("log.json"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("[{\"ThreadID\":\"5\"},{\"LogMessage\":\"");
    const QByteArray piece(static_cast<int>(mebibyte), 'x');
    for (int i = 0; i < 257; ++i)
        ASSERT_EQ(file.write(piece), piece.size());
    file.write("\"}]");
    file.close();
    EXPECT_FALSE(model.loadFromJson(file.fileName()));
    EXPECT_EQ(test::storedIds(model), Numbers{1});
}

} // namespace
} // namespace zuLogging
