#include "logging/LogMessage.h"
#include "logging/TimestampText.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <type_traits>

using namespace zuLogging;

namespace {

std::shared_ptr<LogMessage> sample()
{
    return std::make_shared<LogMessage>(
        101, 202, 303, unixEpochTimestamp, 2, std::u16string_view(u"main.cpp:42"),
        std::u16string_view(u"Motion"), std::u16string_view(u"Axis"),
        std::u16string_view(u"The drive is ready"), 4711, 815);
}

bool containsExactly(const LogMessage& message, const char* text)
{
    return message.contains(QString::fromUtf8(text), Qt::CaseSensitive);
}

bool containsAnyCase(const LogMessage& message, const char* text)
{
    return message.contains(QString::fromUtf8(text), Qt::CaseInsensitive);
}

} // namespace

TEST(LogMessage, EveryFieldIsAsGiven)
{
    const auto message = sample();
    EXPECT_EQ(message->serviceMsgId(), 101U);
    EXPECT_EQ(message->sourceMsgId(), 202U);
    EXPECT_EQ(message->senderMsgId(), 303U);
    EXPECT_EQ(message->timestamp(), unixEpochTimestamp);
    EXPECT_EQ(message->logLevel(), 2U);
    EXPECT_EQ(message->logPos(), u"main.cpp:42");
    EXPECT_EQ(message->module(), u"Motion");
    EXPECT_EQ(message->groupName(), u"Axis");
    EXPECT_EQ(message->logMessage(), u"The drive is ready");
    EXPECT_EQ(message->processId(), 4711U);
    EXPECT_EQ(message->threadId(), 815U);
    EXPECT_EQ(message->levelName(), QStringLiteral("err"));
    EXPECT_EQ(message->levelCodeText(), QStringLiteral("0x02"));
}

TEST(LogMessage, TheDestructorIsTheOnlyVirtualOperationAndTheRecordIsNotCopied)
{
    EXPECT_TRUE(std::has_virtual_destructor_v<LogMessage>);
    EXPECT_FALSE(std::is_copy_constructible_v<LogMessage>);
    EXPECT_FALSE(std::is_copy_assignable_v<LogMessage>);
}

TEST(LogMessage, TheRecordOwnsCopiesOfItsTexts)
{
    std::u16string pos = u"position";
    std::u16string module = u"module";
    std::u16string group = u"group";
    std::u16string text = u"message";
    const LogMessage message(1, 2, 3, 4, 8, pos, module, group, text, 5, 6);
    for (std::u16string* given : {&pos, &module, &group, &text})
        given->assign(given->size(), u'x');
    EXPECT_EQ(message.logPos(), u"position");
    EXPECT_EQ(message.module(), u"module");
    EXPECT_EQ(message.groupName(), u"group");
    EXPECT_EQ(message.logMessage(), u"message");
}

TEST(LogMessage, EmptyStringsInAllFourTextFieldsAreValid)
{
    const std::u16string_view none;
    LogMessage message(1, 2, 3, 0, 8, none, none, none, none, 0, 0);
    message.renderTimestamp();
    EXPECT_TRUE(message.logPos().empty());
    EXPECT_TRUE(message.module().empty());
    EXPECT_TRUE(message.groupName().empty());
    EXPECT_TRUE(message.logMessage().empty());
    EXPECT_TRUE(containsExactly(message, "info"));
    EXPECT_FALSE(containsExactly(message, "anything"));

    const LogMessage fromQt(1, 2, 3, 0, 8, QString(), QString(), QString(), QString(), 0, 0);
    EXPECT_TRUE(fromQt.logPos().empty());
    EXPECT_TRUE(fromQt.module().empty());
    EXPECT_TRUE(fromQt.groupName().empty());
    EXPECT_TRUE(fromQt.logMessage().empty());
}

TEST(LogMessage, OneEmptyTextBetweenOthersDoesNotMoveThem)
{
    const LogMessage message(1, 2, 3, 4, 8, std::u16string_view(u"p"), std::u16string_view(),
                             std::u16string_view(u"g"), std::u16string_view(), 5, 6);
    EXPECT_EQ(message.logPos(), u"p");
    EXPECT_EQ(message.module(), u"");
    EXPECT_EQ(message.groupName(), u"g");
    EXPECT_EQ(message.logMessage(), u"");
}

TEST(LogMessage, TextsMayHoldZeroCharacters)
{
    const std::u16string text(u"a\0b", 3);
    const LogMessage message(1, 2, 3, 4, 8, text, text, text, text, 5, 6);
    EXPECT_EQ(message.logMessage(), text);
    EXPECT_TRUE(message.contains(QString(QChar(0)), Qt::CaseSensitive));
}

TEST(LogMessage, TheTimeStampTextIsEmptyUntilItIsRendered)
{
    const auto message = sample();
    EXPECT_TRUE(message->timestampText().isEmpty());
    message->renderTimestamp();
    EXPECT_EQ(message->timestampText(), QStringLiteral("1970-Jan-01 00:00:00"));
}

TEST(LogMessage, QtTextsComeThroughUtf8)
{
    const QString text = QString::fromUtf8("Gr\xC3\xBC\xC3\x9F \xF0\x9F\x98\x80");
    const LogMessage message(1, 2, 3, 4, 8, text, text, text, text, 5, 6);
    const std::u16string expected = u"Gr\u00FC\u00DF \U0001F600";
    EXPECT_EQ(message.logPos(), expected);
    EXPECT_EQ(message.module(), expected);
    EXPECT_EQ(message.groupName(), expected);
    EXPECT_EQ(message.logMessage(), expected);
}

TEST(LogMessage, ALoneSurrogateInAQtTextIsReplaced)
{
    const QString text = QStringLiteral("a") + QChar(0xD800) + QStringLiteral("b");
    const LogMessage message(1, 2, 3, 4, 8, text, QString(), QString(), QString(), 5, 6);
    ASSERT_EQ(message.logPos().size(), 3U);
    EXPECT_EQ(message.logPos()[0], u'a');
    EXPECT_NE(message.logPos()[1], 0xD800);
    EXPECT_EQ(message.logPos()[2], u'b');
}

TEST(LogMessage, EachFieldIsSearched)
{
    const auto message = sample();
    message->renderTimestamp();
    for (const char* text : {"The drive is ready", "Motion", "Axis", "err", "101", "202", "303",
                             "1970-Jan", "4711", "815", "main.cpp:42"})
        EXPECT_TRUE(containsExactly(*message, text)) << text;
    for (const char* text : {"the drive", "motion", "axis", "ERR", "1970-jan", "102", "MAIN"})
        EXPECT_FALSE(containsExactly(*message, text)) << text;
}

TEST(LogMessage, PartsOfFieldsAreFoundAtTheirEnds)
{
    const auto message = sample();
    for (const char* text :
         {"T", "The", "ready", "y", "Mot", "ion", "Ax", "is", "1", "47", "11", "8", "main", ":42"})
        EXPECT_TRUE(containsExactly(*message, text)) << text;
}

TEST(LogMessage, TheCaseRuleDecidesAboutCase)
{
    const auto message = sample();
    for (const char* text : {"the DRIVE is READY", "mOTION", "aXIS", "ERR", "MAIN.CPP"}) {
        EXPECT_TRUE(containsAnyCase(*message, text)) << text;
        EXPECT_FALSE(containsExactly(*message, text)) << text;
    }
}

TEST(LogMessage, CaseIsIgnoredOutsideAsciiToo)
{
    const LogMessage message(1, 2, 3, 4, 8, std::u16string_view(), std::u16string_view(),
                             std::u16string_view(), std::u16string_view(u"\u00C4RGER"), 5, 6);
    EXPECT_TRUE(containsAnyCase(message, "\xC3\xA4rger"));
    EXPECT_FALSE(containsExactly(message, "\xC3\xA4rger"));
}

TEST(LogMessage, AnEmptyTextIsContained)
{
    EXPECT_TRUE(sample()->contains(QString(), Qt::CaseSensitive));
    EXPECT_TRUE(sample()->contains(QStringLiteral(""), Qt::CaseInsensitive));
}

TEST(LogMessage, ATextIsNotFoundAcrossTwoFields)
{
    const LogMessage message(1, 2, 3, 4, 8, std::u16string_view(u"ab"), std::u16string_view(u"cd"),
                             std::u16string_view(u"ef"), std::u16string_view(u"gh"), 5, 6);
    for (const char* text : {"bc", "de", "fg", "abcd", "12", "23", "56"})
        EXPECT_FALSE(containsExactly(message, text)) << text;
}

TEST(LogMessage, ATextLongerThanEveryFieldIsNotContained)
{
    EXPECT_FALSE(sample()->contains(QString(100'000, QLatin1Char('T')), Qt::CaseInsensitive));
}

TEST(LogMessage, TheTimeStampTextIsSearchedOnceItIsRendered)
{
    const auto message = sample();
    EXPECT_FALSE(containsExactly(*message, "1970-Jan-01"));
    message->renderTimestamp();
    EXPECT_TRUE(containsExactly(*message, "1970-Jan-01"));
}

TEST(LogMessage, NumbersAreSearchedInDecimal)
{
    const std::u16string_view none;
    const LogMessage message(std::numeric_limits<std::uint64_t>::max(), 0, 10, 0, 3, none, none,
                             none, none, 20, 30);
    EXPECT_TRUE(containsExactly(message, "18446744073709551615"));
    EXPECT_FALSE(containsExactly(message, "ffffffff"));
    EXPECT_TRUE(containsExactly(message, "0"));
    EXPECT_FALSE(containsExactly(message, "00"));
}

TEST(LogMessage, AByteOrderMarkAtTheBeginningOfATextIsACharacterLikeAnyOther)
{
    for (const std::u16string_view text : {u"\uFEFFab", u"\uFFFEab", u"\uFEFF", u"ab\uFEFF"}) {
        const QString same = toQString(text);
        ASSERT_EQ(static_cast<std::size_t>(same.size()), text.size());
        for (std::size_t i = 0; i < text.size(); ++i)
            EXPECT_EQ(same.at(static_cast<int>(i)).unicode(), text[i]) << i;
        const LogMessage loaded(1, 2, 3, 4, 8, QString(), QString(), QString(), same, 5, 6);
        EXPECT_EQ(loaded.logMessage(), text);
    }
}
