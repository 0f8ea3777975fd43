#include "logging/JsonLogWriter.h"

#include <QBuffer>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace zuLogging {
namespace {

class JsonLogLine : public ::testing::Test
{
protected:
    JsonLogLine() { device_.open(QIODevice::WriteOnly); }

    void add(std::u16string_view text, std::uint64_t level = 8)
    {
        writer_.add(LogMessage(1, 2, 3, 4, level, text, text, text, text, 5, 6));
    }
    QByteArray written()
    {
        EXPECT_TRUE(writer_.flush());
        return device_.data();
    }
    QList<QByteArray> lines()
    {
        const QByteArray bytes = written();
        EXPECT_TRUE(bytes.endsWith('\n'));
        return bytes.left(bytes.size() - 1).split('\n');
    }

    QBuffer device_;
    JsonLogWriter writer_{device_, JsonLogWriter::Form::Lines};
};

QString readBack(const QByteArray& line, const char* key)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(line, &error);
    EXPECT_EQ(error.error, QJsonParseError::NoError) << line.toStdString();
    return document.object().value(QLatin1String(key)).toString();
}

TEST_F(JsonLogLine, AMessageIsOneLineWithoutBlanksAndKeysInAlphabeticalOrder)
{
    writer_.add(LogMessage(1, 2, 3, 4, 8, std::u16string_view(u"f.cpp:1"),
                           std::u16string_view(u"m"), std::u16string_view(u"g"),
                           std::u16string_view(u"a \"b\""), 5, 6));
    EXPECT_EQ(written(), QByteArray("{\"GroupName\":\"g\",\"LogLevel\":\"info\","
                                    "\"LogLevel [Hex]\":\"0x08\",\"LogMessage\":\"a \\\"b\\\"\","
                                    "\"LogPos\":\"f.cpp:1\",\"Module\":\"m\",\"ProcessID\":\"5\","
                                    "\"SenderMsgID\":\"3\",\"ServiceMsgID\":\"1\","
                                    "\"SourceMsgID\":\"2\",\"ThreadID\":\"6\","
                                    "\"Timestamp\":\"4\"}\n"));
}

TEST_F(JsonLogLine, NothingStandsAroundTheLines)
{
    EXPECT_EQ(written(), QByteArray());
    add(u"one");
    add(u"two");
    EXPECT_EQ(lines().size(), 2);
    const QByteArray before = written();
    EXPECT_TRUE(writer_.finish());
    EXPECT_EQ(written(), before);
}

TEST_F(JsonLogLine, ALevelWithoutANameIsAnEmptyTextAndItsCode)
{
    add(u"x", 0x123);
    EXPECT_EQ(readBack(lines()[0], "LogLevel"), QString());
    EXPECT_EQ(readBack(lines()[0], "LogLevel [Hex]"), QStringLiteral("0x123"));
}

TEST_F(JsonLogLine, EveryCharacterIsReadBackAsItWasAndNoneIsALineEndOrACommandToATerminal)
{
    std::vector<std::u16string> texts;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit)
        if (!QChar::isSurrogate(unit))
            texts.push_back(std::u16string{u'a', static_cast<char16_t>(unit), u'z'});
    texts.push_back(u"\U0001F600");
    for (const std::u16string& text : texts)
        add(text);
    const QList<QByteArray> all = lines();
    ASSERT_EQ(static_cast<std::size_t>(all.size()), texts.size());
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const QByteArray& line = all[static_cast<int>(i)];
        ASSERT_EQ(readBack(line, "LogMessage"), toQString(texts[i])) << i;
        const QString shown = QString::fromUtf8(line);
        ASSERT_TRUE(std::none_of(shown.begin(), shown.end(), [](QChar c) {
            const auto unit = c.unicode();
            return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) ||
                   (unit >= 0x2028 && unit <= 0x202E) || (unit >= 0x2066 && unit <= 0x2069);
        })) << line.toStdString();
    }
}

TEST_F(JsonLogLine, HalfASurrogatePairIsItsEscape)
{
    add(std::u16string{u'a', char16_t{0xD83D}});
    EXPECT_TRUE(lines()[0].contains("\"LogMessage\":\"a\\ud83d\""));
}

TEST_F(JsonLogLine, ATextLongerThanTheBufferIsWhole)
{
    add(std::u16string(200000, u'\u6E2C') + u"end");
    const QString text = readBack(lines()[0], "Module");
    EXPECT_EQ(text.size(), 200003);
    EXPECT_TRUE(text.endsWith(QStringLiteral("end")));
}

TEST(JsonLogLineToABrokenDevice, FlushSaysThatNotEverythingWasTaken)
{
    QByteArray bytes;
    QBuffer readOnly(&bytes);
    readOnly.open(QIODevice::ReadOnly);
    JsonLogWriter writer(readOnly, JsonLogWriter::Form::Lines);
    writer.add(LogMessage(1, 2, 3, 4, 8, std::u16string_view(), std::u16string_view(),
                          std::u16string_view(), std::u16string_view(), 5, 6));
    EXPECT_FALSE(writer.flush());
    EXPECT_TRUE(writer.failed());
}

} // namespace
} // namespace zuLogging
