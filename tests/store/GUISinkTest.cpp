#include "store/GUISink.h"
#include "logging/LogMessageContainerBuilder.h"
#include "store/LogContainer.h"
#include "tests/store/StoreTestSupport.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

struct SinkUnderTest
{
    SinkUnderTest()
        : sink(&store)
    {
        LogContainerAccess::setActive(store, true);
    }
    void consume(const std::vector<std::uint8_t>& bytes)
    {
        LogMessageContainerView view;
        view.data = bytes.data();
        view.length = bytes.size();
        sink.consume(view);
    }
    QuietStore store;
    GUISink sink;
};

} // namespace

TEST(GUISink, HandsEveryFieldOfAContainerToTheStore)
{
    SinkUnderTest test;
    LogMessageContainerBuilder builder;
    builder.sourceMsgId = 1;
    builder.senderMsgId = 2;
    builder.serviceMsgId = 3;
    builder.timestamp = MessageFields::unixTimestamp;
    builder.logLevel = 4;
    builder.processId = 5;
    builder.threadId = 6;
    builder.module = "module";
    builder.groupName = "group";
    builder.logPos = "position";
    builder.logMessage = "gr\xC3\xBC\xC3\x9F";
    test.consume(builder.build());
    const auto message = test.store.takeMessage();
    ASSERT_TRUE(message);
    EXPECT_EQ(message->sourceMsgId(), 1U);
    EXPECT_EQ(message->senderMsgId(), 2U);
    EXPECT_EQ(message->serviceMsgId(), 3U);
    EXPECT_EQ(message->timestampText(), QStringLiteral("1970-Jan-01 00:00:00"));
    EXPECT_EQ(message->logLevel(), 4U);
    EXPECT_EQ(message->processId(), 5U);
    EXPECT_EQ(message->threadId(), 6U);
    EXPECT_TRUE(message->module() == u"module" && message->groupName() == u"group" &&
                message->logPos() == u"position" && message->logMessage() == u"gr\u00FC\u00DF");
}

TEST(GUISink, AMissingFieldIs0OrEmptyAlsoAfterAMessageThatHadIt)
{
    SinkUnderTest test;
    LogMessageContainerBuilder builder;
    builder.processId = 5;
    builder.logMessage = "text";
    test.consume(builder.build());
    builder.clear();
    builder.serviceMsgId = 9;
    test.consume(builder.build());
    EXPECT_EQ(test.store.takeMessage()->processId(), 5U);
    const auto message = test.store.takeMessage();
    ASSERT_TRUE(message);
    EXPECT_EQ(message->serviceMsgId(), 9U);
    EXPECT_EQ(message->timestamp(), 0U);
    EXPECT_EQ(message->processId(), 0U);
    EXPECT_EQ(message->logLevel(), 0U);
    EXPECT_TRUE(message->logMessage().empty() && message->module().empty());
}

TEST(GUISink, AMessageThatCannotBeReadIsDroppedWithoutAnError)
{
    SinkUnderTest test;
    LogMessageContainerBuilder builder;
    builder.logMessage = "text";
    const std::vector<std::uint8_t> good = builder.build();
    for (std::size_t length = 0; length < good.size(); ++length) {
        std::vector<std::uint8_t> bytes(good.begin(),
                                        good.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_NO_THROW(test.consume(bytes));
        EXPECT_EQ(test.store.queueSize(), 0U) << length;
    }
    std::vector<std::uint8_t> bad = good;
    bad[containerHeaderSize] = 0xFF; // an item longer than the container
    bad[containerHeaderSize + 1] = 0xFF;
    EXPECT_NO_THROW(test.consume(bad));
    EXPECT_EQ(test.store.queueSize(), 0U);
    test.consume(good);
    EXPECT_EQ(test.store.queueSize(), 1U);
}

TEST(GUISink, MessagesOfTheSecondKindAreNotForTheWindow)
{
    SinkUnderTest test;
    LogMessageContainerBuilder builder;
    builder.secondary = true;
    const auto bytes = builder.build();
    LogMessageContainerView view;
    view.data = bytes.data();
    view.length = bytes.size();
    test.sink.consumeSecondary(view);
    EXPECT_EQ(test.store.queueSize(), 0U);
}
