#include "client/PacketMaker.h"

#include "client/Utf8.h"
#include "logging/DecodedMessage.h"
#include "logging/TimestampText.h"

#include <gtest/gtest.h>

namespace zuLogging::client {
namespace {

QueuedMessage sample(std::string_view text)
{
    QueuedMessage message;
    message.time = 1000001;
    message.thread = 77;
    message.level = ZULOG_LEVEL_WARN;
    message.line = 42;
    message.module = "Module";
    message.group = "Group";
    message.file = "Source.cpp";
    message.text = text;
    return message;
}

DecodedMessage decoded(const Packet& packet)
{
    EXPECT_EQ(packet.header().command, 257);
    EXPECT_EQ(packet.header().flags, flagNoAcknowledge);
    LogMessageContainerView view;
    view.data = packet.payload();
    view.length = packet.header().payloadLength;
    DecodedMessage message;
    message.assign(view);
    return message;
}

TEST(PacketMaker, FillsInEveryField)
{
    PacketMaker maker(4711);
    const DecodedMessage message = decoded(maker.message(sample("text")));
    EXPECT_EQ(message.sourceMsgId, 1U);
    EXPECT_EQ(message.senderMsgId, 1U);
    EXPECT_EQ(message.serviceMsgId, 0U);
    EXPECT_EQ(message.timestamp, unixEpochTimestamp + 1000001);
    EXPECT_EQ(message.logLevel, 4U);
    EXPECT_EQ(message.processId, 4711U);
    EXPECT_EQ(message.threadId, 77U);
    EXPECT_EQ(message.module, u"Module");
    EXPECT_EQ(message.groupName, u"Group");
    EXPECT_EQ(message.logPos, u"Source.cpp:42");
    EXPECT_EQ(message.logMessage, u"text");
}

TEST(PacketMaker, NothingIsLeftOverFromTheMessageBefore)
{
    PacketMaker maker(1);
    maker.message(sample("a long text that comes first"));
    QueuedMessage bare;
    bare.level = ZULOG_LEVEL_INFO;
    const DecodedMessage message = decoded(maker.message(bare));
    EXPECT_EQ(message.sourceMsgId, 2U);
    EXPECT_EQ(message.senderMsgId, 2U);
    EXPECT_EQ(message.module, u"");
    EXPECT_EQ(message.groupName, u"");
    EXPECT_EQ(message.logPos, u"");
    EXPECT_EQ(message.logMessage, u"");
}

TEST(PacketMaker, ALongTextIsCutBetweenTwoCharactersAndSaysSo)
{
    PacketMaker maker(1);
    for (const std::string& character :
         {std::string("x"), std::string("ä"), std::string("測"), std::string("🚀")}) {
        std::string text;
        while (text.size() < 3000)
            text += character;
        for (int shift = 0; shift < 4; ++shift) {
            const std::string shifted = std::string(static_cast<std::size_t>(shift), '.') + text;
            QueuedMessage message = sample(shifted);
            message.cut();
            const Packet packet = maker.message(message);
            EXPECT_LE(packet.header().payloadLength, maximumContainer);
            EXPECT_GT(packet.header().payloadLength + character.size(), maximumContainer);
            const std::u16string got = decoded(packet).logMessage;
            EXPECT_EQ(got.substr(got.size() - 3), u"...");
            EXPECT_EQ(got.find(u'\uFFFD'), std::u16string::npos) << character << shift;
        }
    }
}

TEST(PacketMaker, ATextThatJustFitsIsNotCut)
{
    PacketMaker maker(1);
    const std::size_t other = maker.message(sample("")).header().payloadLength;
    std::string text(maximumContainer - other, 'x');
    EXPECT_EQ(decoded(maker.message(sample(text))).logMessage.size(), text.size());
    text += 'x';
    const std::u16string cut = decoded(maker.message(sample(text))).logMessage;
    EXPECT_EQ(cut.size(), text.size() - 1);
    EXPECT_EQ(cut.substr(cut.size() - 4), u"x...");
}

TEST(PacketMaker, TheLongestNamesLeaveRoomForText)
{
    PacketMaker maker(1);
    const std::string name(255, 'n');
    const std::string path = "folder/" + std::string(4000, 'p') + ".cpp";
    QueuedMessage message = sample(std::string_view());
    const std::string text(5000, 't');
    message.module = name;
    message.group = path;
    message.file = path;
    message.line = -2147483647;
    message.text = text;
    message.cut();
    const DecodedMessage got = decoded(maker.message(message));
    EXPECT_EQ(got.module.size(), 255U);
    EXPECT_EQ(got.groupName.size(), 255U);
    EXPECT_EQ(got.logPos.substr(got.logPos.size() - 16), u".cpp:-2147483647");
    EXPECT_GT(got.logMessage.size(), 400U);
}

TEST(PacketMaker, ThePositionIsTheFilesNameWithoutItsFolders)
{
    PacketMaker maker(1);
    QueuedMessage message = sample("");
    message.file = "/build/machine/Source.cpp";
    message.cut();
    EXPECT_EQ(decoded(maker.message(message)).logPos, u"Source.cpp:42");
}

TEST(PacketMaker, ANoteOfLossLeavesTheNumbersOutThatAreMissing)
{
    PacketMaker maker(9);
    maker.message(sample("before"));
    const DecodedMessage note = decoded(maker.noteOfLoss(12, 5, 6));
    EXPECT_EQ(note.sourceMsgId, 14U);
    EXPECT_EQ(note.senderMsgId, 2U);
    EXPECT_EQ(note.logLevel, 2U);
    EXPECT_EQ(note.module, u"Module");
    EXPECT_EQ(note.groupName, u"Group");
    EXPECT_EQ(note.logPos, u"");
    EXPECT_EQ(note.threadId, 6U);
    EXPECT_EQ(note.timestamp, unixEpochTimestamp + 5);
    EXPECT_EQ(note.logMessage, u"12 messages were dropped: the queue was full");
    EXPECT_EQ(decoded(maker.message(sample("after"))).sourceMsgId, 15U);
    EXPECT_EQ(decoded(maker.noteOfLoss(1, 5, 6)).logMessage,
              u"1 message was dropped: the queue was full");
}

TEST(Utf8, StartAndEndKeepCharactersWhole)
{
    EXPECT_EQ(utf8Start("abc", 3), "abc");
    EXPECT_EQ(utf8Start("abc", 2), "ab");
    EXPECT_EQ(utf8Start("aä", 2), "a");
    EXPECT_EQ(utf8Start("a🚀", 4), "a");
    EXPECT_EQ(utf8Start("🚀", 0), "");
    EXPECT_EQ(utf8Start("\x80\x80\x80\x80\x80\x80", 5), "\x80\x80\x80\x80\x80");
    EXPECT_EQ(utf8End("abc", 2), "bc");
    EXPECT_EQ(utf8End("äb", 2), "b");
    EXPECT_EQ(utf8End("🚀b", 4), "b");
    EXPECT_EQ(utf8End("\x80\x80\x80\x80\x80\x80", 5), "\x80\x80\x80\x80\x80");
}

} // namespace
} // namespace zuLogging::client
