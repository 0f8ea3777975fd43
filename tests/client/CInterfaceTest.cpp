// The functions of zulog.h: their results, and what they do with what is wrong.

#include "logging/TimestampText.h"
#include "tests/client/ClientFixture.h"

#include <cstring>
#include <limits>

namespace zuLogging {
namespace {

class CInterface : public test::ClientFixture
{
protected:
    void SetUp() override
    {
        logger_ = zulog_logger_create("CInterface", "group");
        ASSERT_NE(logger_, nullptr);
        ASSERT_EQ(zulog_logger_set_level(logger_, ZULOG_LEVEL_INFO), ZULOG_RESULT_OK);
    }
    void TearDown() override { zulog_logger_destroy(logger_); }

    zulog_logger* logger_ = nullptr;
};

TEST_F(CInterface, SendsATextOfAGivenLengthOrUpToItsNul)
{
    EXPECT_EQ(zulog_logger_log(logger_, ZULOG_LEVEL_INFO, "a/b.c", 7, "text and more", 4),
              ZULOG_RESULT_OK);
    EXPECT_EQ(
        zulog_logger_log(logger_, ZULOG_LEVEL_INFO, nullptr, 7, "whole", ZULOG_NUL_TERMINATED),
        ZULOG_RESULT_OK);
    EXPECT_EQ(zulog_logger_log(logger_, ZULOG_LEVEL_INFO, "", 7, nullptr, 0), ZULOG_RESULT_OK);
    const auto messages = messagesOf(u"CInterface", 3);
    ASSERT_EQ(messages.size(), 3U);
    EXPECT_EQ(messages[0].logMessage, u"text");
    EXPECT_EQ(messages[0].logPos, u"b.c:7");
    EXPECT_EQ(messages[0].groupName, u"group");
    EXPECT_EQ(messages[1].logMessage, u"whole");
    EXPECT_EQ(messages[1].logPos, u"");
    EXPECT_EQ(messages[2].logMessage, u"");
}

TEST_F(CInterface, TheMacrosFormatAndSayWhere)
{
    EXPECT_EQ(ZULOG_WARN(logger_, "%d of %s", 3, "five"), ZULOG_RESULT_OK);
    const int line = __LINE__ - 1;
    int evaluated = 0;
    EXPECT_EQ(ZULOG_DEBUG(logger_, "%d", ++evaluated), ZULOG_RESULT_FILTERED);
    EXPECT_EQ(evaluated, 0);
    EXPECT_EQ(ZULOG_INFO(logger_, "%s", std::string(3000, 'x').c_str()), ZULOG_RESULT_OK);
    const auto messages = messagesOf(u"CInterface", 2);
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[0].logMessage, u"3 of five");
    EXPECT_EQ(messages[0].logLevel, 4U);
    EXPECT_EQ(messages[0].logPos,
              QStringLiteral("CInterfaceTest.cpp:%1").arg(line).toStdU16String());
    EXPECT_EQ(messages[1].logMessage.substr(messages[1].logMessage.size() - 4), u"x...");
}

TEST_F(CInterface, AMessageForSomebodyElseKeepsItsThreadTimeAndGroup)
{
    zulog_message message{};
    message.size = sizeof message;
    message.level = ZULOG_LEVEL_ERR;
    message.line = 5;
    message.file = "file.x and more";
    message.file_length = 6;
    message.group = "other";
    message.group_length = 5;
    message.text = "t\0u";
    message.text_length = 3;
    message.thread = 123456789;
    message.time = 5000000;
    EXPECT_EQ(zulog_logger_log_message(logger_, &message), ZULOG_RESULT_OK);
    message.group = nullptr;
    message.group_length = 0;
    EXPECT_EQ(zulog_logger_log_message(logger_, &message), ZULOG_RESULT_OK);
    const auto messages = messagesOf(u"CInterface", 2);
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[0].groupName, u"other");
    EXPECT_EQ(messages[0].logPos, u"file.x:5");
    EXPECT_EQ(messages[0].threadId, 123456789U);
    EXPECT_EQ(messages[0].timestamp, unixEpochTimestamp + 5000000);
    EXPECT_EQ(messages[0].logMessage, std::u16string(u"t\0u", 3));
    EXPECT_EQ(messages[1].groupName, u"group");
}

TEST_F(CInterface, WhatIsFilteredOutIsSaidAndNotSent)
{
    EXPECT_EQ(zulog_logger_log(logger_, ZULOG_LEVEL_DEBUG, nullptr, 0, "x", 1),
              ZULOG_RESULT_FILTERED);
    EXPECT_EQ(zulog_logger_is_enabled(logger_, ZULOG_LEVEL_DEBUG), 0);
    EXPECT_EQ(zulog_logger_is_enabled(logger_, ZULOG_LEVEL_INFO), 1);
    EXPECT_EQ(zulog_enabled(logger_, ZULOG_LEVEL_INFO), 1);
    EXPECT_EQ(zulog_logger_level(logger_), ZULOG_LEVEL_INFO);
    EXPECT_EQ(zulog_logger_log(logger_, ZULOG_LEVEL_INFO, nullptr, 0, "last", 4), ZULOG_RESULT_OK);
    const auto messages = messagesOf(u"CInterface", 1);
    ASSERT_EQ(messages.size(), 1U);
    EXPECT_EQ(messages[0].logMessage, u"last");
}

TEST_F(CInterface, WrongArgumentsAreRefusedWithoutHarm)
{
    const auto wrong = ZULOG_RESULT_INVALID_ARGUMENT;
    EXPECT_EQ(zulog_logger_log(nullptr, ZULOG_LEVEL_INFO, nullptr, 0, "x", 1), wrong);
    EXPECT_EQ(zulog_logger_log(logger_, ZULOG_LEVEL_INFO, nullptr, 0, nullptr, 1), wrong);
    EXPECT_EQ(
        zulog_logger_log(logger_, ZULOG_LEVEL_INFO, nullptr, 0, nullptr, ZULOG_NUL_TERMINATED),
        wrong);
    for (const unsigned level : {0U, 3U, 33U, 64U, 0x80000001U})
        EXPECT_EQ(zulog_logger_log(logger_, static_cast<zulog_level>(level), nullptr, 0, "x", 1),
                  wrong)
            << level;
    EXPECT_EQ(zulog_logger_logf(logger_, ZULOG_LEVEL_INFO, nullptr, 0, nullptr), wrong);
    EXPECT_EQ(zulog_logger_logf(nullptr, ZULOG_LEVEL_INFO, nullptr, 0, "x"), wrong);
    EXPECT_EQ(zulog_logger_set_level(nullptr, ZULOG_LEVEL_INFO), wrong);
    EXPECT_EQ(zulog_logger_set_level(logger_, static_cast<zulog_level>(5)), wrong);
    EXPECT_EQ(zulog_logger_follow_service(nullptr), wrong);
    EXPECT_EQ(zulog_logger_log_message(logger_, nullptr), wrong);
    zulog_message message{};
    EXPECT_EQ(zulog_logger_log_message(logger_, &message), wrong) << "no size";
    message.size = sizeof message;
    EXPECT_EQ(zulog_logger_log_message(logger_, &message), wrong) << "no level";
    message.level = ZULOG_LEVEL_INFO;
    message.text_length = 1;
    EXPECT_EQ(zulog_logger_log_message(logger_, &message), wrong) << "no text";
    message.text_length = 0;
    message.file_length = 1;
    EXPECT_EQ(zulog_logger_log_message(logger_, &message), wrong) << "no file";
    message.file_length = 0;
    message.group_length = 1;
    EXPECT_EQ(zulog_logger_log_message(logger_, &message), wrong) << "no group";

    EXPECT_EQ(zulog_logger_is_enabled(nullptr, ZULOG_LEVEL_FATAL), 0);
    EXPECT_EQ(zulog_enabled(nullptr, ZULOG_LEVEL_FATAL), 0);
    EXPECT_EQ(zulog_logger_level(nullptr), ZULOG_LEVEL_NONE);
    zulog_logger_destroy(nullptr);
    EXPECT_EQ(receivedCount(), 0U);
}

TEST_F(CInterface, MissingNamesAreEmptyOnes)
{
    zulog_logger* nameless = zulog_logger_create(nullptr, nullptr);
    ASSERT_NE(nameless, nullptr);
    EXPECT_EQ(zulog_logger_log(nameless, ZULOG_LEVEL_ERR, nullptr, 0, "x", 1), ZULOG_RESULT_OK);
    zulog_logger_destroy(nameless);
    EXPECT_EQ(messagesOf(u"", 1).size(), 1U);
}

TEST_F(CInterface, OptionsOutsideTheirBoundsOrTooLateAreRefused)
{
    zulog_options options{};
    EXPECT_EQ(zulog_configure(nullptr), ZULOG_RESULT_INVALID_ARGUMENT);
    EXPECT_EQ(zulog_configure(&options), ZULOG_RESULT_INVALID_ARGUMENT) << "no size";
    options.size = sizeof options;
    options.queue_bytes = 1000;
    EXPECT_EQ(zulog_configure(&options), ZULOG_RESULT_INVALID_ARGUMENT);
    options.queue_bytes = std::numeric_limits<std::size_t>::max();
    EXPECT_EQ(zulog_configure(&options), ZULOG_RESULT_INVALID_ARGUMENT);
    options.queue_bytes = 0;
    options.exit_milliseconds = 60001;
    EXPECT_EQ(zulog_configure(&options), ZULOG_RESULT_INVALID_ARGUMENT);
    options.exit_milliseconds = 0;
    options.configuration_milliseconds = 9;
    EXPECT_EQ(zulog_configure(&options), ZULOG_RESULT_INVALID_ARGUMENT);
    options.configuration_milliseconds = 0;
    zulog_logger_log(logger_, ZULOG_LEVEL_INFO, nullptr, 0, "x", 1);
    EXPECT_EQ(zulog_configure(&options), ZULOG_RESULT_TOO_LATE);
}

TEST_F(CInterface, FlushWaitsForTheServiceToHaveTakenEverything)
{
    for (int i = 0; i < 500; ++i)
        zulog_logger_log(logger_, ZULOG_LEVEL_INFO, nullptr, 0, "x", 1);
    EXPECT_EQ(zulog_flush(20000), ZULOG_RESULT_OK);
    EXPECT_EQ(receivedCount(), 500U);
    stopService();
    zulog_logger_log(logger_, ZULOG_LEVEL_INFO, nullptr, 0, "x", 1);
    EXPECT_EQ(zulog_flush(30), ZULOG_RESULT_TIMED_OUT);
    restartService();
    EXPECT_EQ(zulog_flush(20000), ZULOG_RESULT_OK);
}

TEST_F(CInterface, TheVersionIsThatOfTheHeader)
{
    EXPECT_STREQ(zulog_version(), ZULOG_VERSION);
}

} // namespace
} // namespace zuLogging
