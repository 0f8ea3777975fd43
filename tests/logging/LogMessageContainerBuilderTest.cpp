#include "logging/LogMessageContainerBuilder.h"
#include "logging/DecodedMessage.h"
#include "logging/LogSvcError.h"
#include "tests/logging/RawContainer.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <string>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

constexpr std::size_t roomForText =
    maximumContainer - containerHeaderSize - containerItemHeaderSize;

LogMessageContainerBuilder withMessage(std::string text)
{
    LogMessageContainerBuilder builder;
    builder.logMessage = std::move(text);
    return builder;
}

std::string repeated(const std::string& part, std::size_t count)
{
    std::string text;
    for (std::size_t i = 0; i < count; ++i)
        text += part;
    return text;
}

} // namespace

TEST(LogMessageContainerBuilder, WithoutFieldsTheContainerIsItsHeader)
{
    LogMessageContainerBuilder builder;
    builder.sourceMsgId = 1;
    builder.senderMsgId = 2;
    builder.serviceMsgId = 3;
    EXPECT_EQ(builder.size(), 28U);
    EXPECT_EQ(builder.build(), RawContainer().header(1, 2, 3).build());
}

TEST(LogMessageContainerBuilder, TheItemsStandInTheirOrder)
{
    LogMessageContainerBuilder builder;
    builder.sourceMsgId = 1;
    builder.senderMsgId = 2;
    builder.serviceMsgId = 3;
    builder.timestamp = 4;
    builder.logLevel = 8;
    builder.processId = 5;
    builder.threadId = 6;
    builder.codePage = 65001;
    builder.module = std::string("module");
    builder.groupName = std::string("group");
    builder.logPos = std::string("position");
    builder.logMessage = std::string("message");
    builder.counterSets.resize(1);
    builder.counterSets[0].fill(7);
    const Bytes expected = RawContainer()
                               .header(1, 2, 3)
                               .item(7, Bytes(counterSetSize, 7))
                               .number(2, 4)
                               .text(3, "module")
                               .number(4, 8)
                               .number(9, 6)
                               .number(8, 5)
                               .text(5, "group")
                               .number(10, 65001)
                               .text(1, "message")
                               .text(6, "position")
                               .build();
    EXPECT_EQ(builder.build(), expected);
    EXPECT_EQ(builder.size(), expected.size());
}

TEST(LogMessageContainerBuilder, AMessageOfTheSecondKindHasFlag4)
{
    LogMessageContainerBuilder builder;
    builder.secondary = true;
    EXPECT_EQ(builder.build(), RawContainer().containerFlags(4).build());
}

TEST(LogMessageContainerBuilder, AnEmptyTextIsAnItemAndAnAbsentOneIsNot)
{
    EXPECT_EQ(withMessage("").build(), RawContainer().text(1, "").build());
    EXPECT_EQ(LogMessageContainerBuilder().build(), RawContainer().build());
}

TEST(LogMessageContainerBuilder, WhatIsBuiltIsDecodedToTheSame)
{
    LogMessageContainerBuilder builder;
    builder.serviceMsgId = ~std::uint64_t{0};
    builder.timestamp = 0x0123456789ABCDEF;
    builder.logLevel = 16;
    builder.module = std::string("M\xC3\xBC");
    builder.logMessage = std::string("\xF0\x9F\x98\x80");
    const Bytes bytes = builder.build();
    LogMessageContainerView view;
    view.data = bytes.data();
    view.length = bytes.size();
    DecodedMessage message;
    message.assign(view);
    EXPECT_EQ(message.serviceMsgId, ~std::uint64_t{0});
    EXPECT_EQ(message.timestamp, 0x0123456789ABCDEFU);
    EXPECT_EQ(message.logLevel, 16U);
    EXPECT_EQ(message.module, u"M\u00FC");
    EXPECT_EQ(message.logMessage, u"\U0001F600");
    EXPECT_EQ(message.groupName, u"");
}

TEST(LogMessageContainerBuilder, AContainerOf1388BytesIsBuiltAndOneOf1389IsRefused)
{
    EXPECT_EQ(withMessage(std::string(roomForText, 'x')).build().size(), 1388U);
    try {
        withMessage(std::string(roomForText + 1, 'x')).build();
        FAIL() << "nothing was thrown";
    } catch (const LogSvcError& error) {
        EXPECT_STREQ(error.what(), "The command packet data are out of range");
    }
}

TEST(LogMessageContainerBuilder, ContainersFarTooLargeForTheSizeFieldAreRefused)
{
    EXPECT_THROW(withMessage(std::string(70'000, 'x')).build(), LogSvcError);
    LogMessageContainerBuilder builder;
    builder.counterSets.resize(249); // their bytes, as a 16-bit number, would fit
    EXPECT_THROW(builder.build(), LogSvcError);
}

TEST(LogMessageContainerBuilder, AMessageThatFitsIsNotCut)
{
    LogMessageContainerBuilder builder = withMessage(std::string(roomForText, 'x'));
    EXPECT_EQ(builder.cutMessageToFit(), 0U);
    EXPECT_EQ(builder.logMessage->size(), roomForText);
    EXPECT_EQ(LogMessageContainerBuilder().cutMessageToFit(), 0U);
}

TEST(LogMessageContainerBuilder, AMessageTooLongIsCutToFit)
{
    LogMessageContainerBuilder builder = withMessage(std::string(roomForText + 10, 'x'));
    EXPECT_EQ(builder.cutMessageToFit(), 10U);
    EXPECT_EQ(builder.build().size(), 1388U);
}

TEST(LogMessageContainerBuilder, AMessageIsCutBetweenTwoCharacters)
{
    for (const char* character : {"\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"}) {
        const std::string one = character;
        for (std::size_t shift = 0; shift < one.size(); ++shift) {
            const std::string whole = std::string(shift, 'x') + repeated(one, 800);
            LogMessageContainerBuilder builder = withMessage(whole);
            const std::size_t cut = builder.cutMessageToFit();
            EXPECT_EQ(cut + builder.logMessage->size(), whole.size());
            EXPECT_EQ((builder.logMessage->size() - shift) % one.size(), 0U);
            EXPECT_LE(builder.size(), maximumContainer);
            EXPECT_GT(builder.size() + one.size(), maximumContainer);
        }
    }
}

TEST(LogMessageContainerBuilder, BytesThatAreNoCharactersAreCutWhereTheRoomEnds)
{
    LogMessageContainerBuilder builder = withMessage(std::string(roomForText + 5, '\x80'));
    EXPECT_EQ(builder.cutMessageToFit(), 5U);
}

TEST(LogMessageContainerBuilder, AMessageMayBeCutToNothing)
{
    LogMessageContainerBuilder builder = withMessage("\xE2\x82\xAC");
    builder.module = std::string(roomForText - containerItemHeaderSize - 2, 'm');
    EXPECT_EQ(builder.cutMessageToFit(), 3U);
    EXPECT_EQ(*builder.logMessage, "");
    EXPECT_NO_THROW(builder.build());
}

TEST(LogMessageContainerBuilder, NothingIsCutWhenTheOtherFieldsAloneAreTooLong)
{
    LogMessageContainerBuilder builder = withMessage("message");
    builder.module = std::string(2000, 'm');
    EXPECT_EQ(builder.cutMessageToFit(), 0U);
    EXPECT_EQ(*builder.logMessage, "message");
    EXPECT_THROW(builder.build(), LogSvcError);
}

TEST(LogMessageContainerBuilder, ClearForgetsEverything)
{
    LogMessageContainerBuilder builder = withMessage("message");
    builder.sourceMsgId = 5;
    builder.timestamp = 6;
    builder.secondary = true;
    builder.clear();
    EXPECT_EQ(builder.build(), RawContainer().build());
}
