#include "store/MessageFilter.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <string>

using namespace zuLogging;

namespace {

LogMessage messageOf(std::uint64_t level, std::u16string_view text = u"The drive is ready")
{
    return {101,
            202,
            303,
            0,
            level,
            std::u16string_view(u"main.cpp:42"),
            std::u16string_view(u"Motion"),
            std::u16string_view(u"Axis"),
            text,
            4711,
            815};
}

QStringList texts(std::initializer_list<const char*> list)
{
    QStringList result;
    for (const char* text : list)
        result.append(QString::fromUtf8(text));
    return result;
}

bool passesLevels(std::uint64_t level, const QStringList& levels)
{
    MessageFilter filter;
    filter.levels = levels;
    return filter.passes(messageOf(level));
}

bool passesTexts(const QStringList& include, const QStringList& exclude)
{
    MessageFilter filter;
    filter.include = include;
    filter.exclude = exclude;
    return filter.passes(messageOf(8));
}

} // namespace

TEST(MessageFilter, AnEmptyFilterLetsEveryMessagePass)
{
    const MessageFilter filter;
    EXPECT_TRUE(filter.isEmpty());
    for (std::uint64_t level = 0; level < 70; ++level)
        EXPECT_TRUE(filter.passes(messageOf(level))) << level;
}

TEST(MessageFilter, AFilterIsEmptyOnlyWithoutAnyEntry)
{
    MessageFilter filter;
    filter.include = texts({""});
    EXPECT_FALSE(filter.isEmpty());
    filter = MessageFilter();
    filter.levels = texts({"info"});
    EXPECT_FALSE(filter.isEmpty());
    filter = MessageFilter();
    filter.exclude = texts({"a"});
    EXPECT_FALSE(filter.isEmpty());
    filter = MessageFilter();
    filter.includeCase = Qt::CaseSensitive;
    EXPECT_TRUE(filter.isEmpty());
}

TEST(MessageFilter, ALevelListWithErrOnlyLetsMessagesOfLevelErrPass)
{
    for (std::uint64_t level = 0; level < 70; ++level)
        EXPECT_EQ(passesLevels(level, texts({"err"})), level == 2) << level;
}

TEST(MessageFilter, AnyOfTheListedLevelsPasses)
{
    const QStringList levels = texts({"info", "debug"});
    EXPECT_TRUE(passesLevels(8, levels));
    EXPECT_TRUE(passesLevels(32, levels));
    EXPECT_FALSE(passesLevels(16, levels));
}

TEST(MessageFilter, LevelsAreComparedAsPartsWithoutRegardToCase)
{
    EXPECT_TRUE(passesLevels(8, texts({"INFO"})));
    EXPECT_TRUE(passesLevels(8, texts({"nf"})));
    EXPECT_FALSE(passesLevels(8, texts({"information"})));
    EXPECT_TRUE(passesLevels(8, texts({""})));
}

TEST(MessageFilter, AMessageOfLevelNonePassesOnlyWhenTheLevelListIsEmpty)
{
    EXPECT_TRUE(passesLevels(0, {}));
    EXPECT_FALSE(passesLevels(0, texts({"info", "warn", "err", "fatal", "debug", "trace"})));
    EXPECT_FALSE(passesLevels(0, texts({"none"})));
    EXPECT_FALSE(passesLevels(0, texts({""})));
}

TEST(MessageFilter, OnlyIncludesLetMatchingMessagesPass)
{
    EXPECT_TRUE(passesTexts(texts({"drive"}), {}));
    EXPECT_TRUE(passesTexts(texts({"nothing", "drive"}), {}));
    EXPECT_FALSE(passesTexts(texts({"nothing"}), {}));
}

TEST(MessageFilter, OnlyExcludesKeepMatchingMessagesOut)
{
    EXPECT_FALSE(passesTexts({}, texts({"drive"})));
    EXPECT_FALSE(passesTexts({}, texts({"nothing", "drive"})));
    EXPECT_TRUE(passesTexts({}, texts({"nothing"})));
}

TEST(MessageFilter, WithBothListsAMessageMustMatchTheFirstAndNotTheSecond)
{
    EXPECT_TRUE(passesTexts(texts({"drive"}), texts({"nothing"})));
    EXPECT_FALSE(passesTexts(texts({"drive"}), texts({"ready"})));
    EXPECT_FALSE(passesTexts(texts({"nothing"}), texts({"other"})));
    EXPECT_FALSE(passesTexts(texts({"nothing"}), texts({"ready"})));
}

TEST(MessageFilter, EachListHasItsOwnCaseRule)
{
    MessageFilter filter;
    filter.include = texts({"DRIVE"});
    EXPECT_TRUE(filter.passes(messageOf(8)));
    filter.includeCase = Qt::CaseSensitive;
    EXPECT_FALSE(filter.passes(messageOf(8)));
    filter.include = texts({"drive"});
    filter.exclude = texts({"READY"});
    EXPECT_FALSE(filter.passes(messageOf(8)));
    filter.excludeCase = Qt::CaseSensitive;
    EXPECT_TRUE(filter.passes(messageOf(8)));
}

TEST(MessageFilter, WithIncludeErrAndCaseOffAMessageWhoseTextContainsErrorInCapitalsPasses)
{
    MessageFilter filter;
    filter.include = texts({"err"});
    EXPECT_TRUE(filter.passes(messageOf(8, u"An ERROR came up")));
    filter.includeCase = Qt::CaseSensitive;
    EXPECT_FALSE(filter.passes(messageOf(8, u"An ERROR came up")));
}

TEST(MessageFilter, EveryFieldOfAMessageIsLookedAt)
{
    for (const char* text :
         {"ready", "Motion", "Axis", "info", "101", "202", "303", "4711", "815", "main.cpp"})
        EXPECT_TRUE(passesTexts(texts({text}), {})) << text;
    LogMessage message = messageOf(8);
    MessageFilter filter;
    filter.include = texts({"1400-Jan-01"});
    EXPECT_FALSE(filter.passes(message));
    message.renderTimestamp();
    EXPECT_TRUE(filter.passes(message));
}

TEST(MessageFilter, TheLevelStageComesOnTopOfTheTextStage)
{
    MessageFilter filter;
    filter.levels = texts({"info"});
    filter.include = texts({"drive"});
    EXPECT_TRUE(filter.passes(messageOf(8)));
    EXPECT_FALSE(filter.passes(messageOf(4)));
    EXPECT_FALSE(filter.passes(messageOf(8, u"nothing")));
}

TEST(MessageFilter, AnEmptyTextMatchesEveryMessage)
{
    EXPECT_TRUE(passesTexts(texts({""}), {}));
    EXPECT_FALSE(passesTexts({}, texts({""})));
}

TEST(MessageFilter, FiltersAreEqualWhenAllTheirPartsAre)
{
    MessageFilter a;
    a.include = texts({"x"});
    MessageFilter b = a;
    EXPECT_TRUE(a == b);
    b.excludeCase = Qt::CaseSensitive;
    EXPECT_FALSE(a == b);
    b = a;
    b.levels = texts({"info"});
    EXPECT_FALSE(a == b);
}
