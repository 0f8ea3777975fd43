#include "logging/DecodedMessage.h"
#include "logging/LogSvcError.h"
#include "tests/logging/RawContainer.h"
#include "tests/support/LookedUpMessage.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <tuple>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

LogMessageContainerView viewOf(const ExactBytes& bytes)
{
    LogMessageContainerView view;
    view.data = bytes.data();
    view.length = bytes.size();
    return view;
}

DecodedMessage decode(const Bytes& bytes)
{
    const ExactBytes exact(bytes);
    DecodedMessage message;
    message.assign(viewOf(exact));
    return message;
}

auto fieldsOf(const DecodedMessage& m)
{
    return std::tie(m.serviceMsgId, m.sourceMsgId, m.senderMsgId, m.timestamp, m.logLevel,
                    m.processId, m.threadId, m.logPos, m.module, m.groupName, m.logMessage);
}

/// Containers of all kinds: whole ones, ones with items left out, doubled, flagged or of wrong
/// lengths, and ones with bytes changed or cut off.
class RandomContainers
{
public:
    explicit RandomContainers(std::uint32_t seed)
        : random_(seed)
    {
    }

    Bytes next()
    {
        RawContainer raw;
        raw.header(random_(), random_(), random_());
        const std::uint32_t count = below(14);
        for (std::uint32_t i = 0; i < count; ++i)
            addItem(raw);
        if (below(20) == 0)
            raw.raw(Bytes(below(4), static_cast<std::uint8_t>(below(256))));
        Bytes bytes = raw.build();
        if (below(8) == 0)
            bytes = raw.buildWithSize(below(static_cast<std::uint32_t>(bytes.size()) + 3));
        if (below(4) == 0) {
            const std::uint32_t changes = 1 + below(4);
            for (std::uint32_t i = 0; i < changes; ++i)
                bytes[below(static_cast<std::uint32_t>(bytes.size()))] =
                    static_cast<std::uint8_t>(random_());
        }
        if (below(30) == 0)
            bytes.resize(below(static_cast<std::uint32_t>(bytes.size())));
        return bytes;
    }

private:
    std::uint32_t below(std::uint32_t limit)
    {
        return std::uniform_int_distribution<std::uint32_t>(0, limit - 1)(random_);
    }

    void addItem(RawContainer& raw)
    {
        const int type =
            below(10) == 0 ? static_cast<int>(below(256)) : static_cast<int>(1 + below(10));
        const bool isNumber = type == 2 || type == 4 || type == 8 || type == 9 || type == 10;
        auto flags = static_cast<std::uint8_t>(below(12) == 0 ? random_() : 0);
        if (type == 1 && below(3) == 0)
            flags = static_cast<std::uint8_t>(below(4));
        std::size_t length = isNumber && below(12) != 0 ? 8 : below(20);
        Bytes data(length);
        for (std::uint8_t& byte : data)
            byte = static_cast<std::uint8_t>(below(3) == 0 ? random_() : 'a' + below(26));
        if (type == 10 && length == 8) {
            const std::uint64_t codePages[] = {1252, 65001, 932, 12, 65001};
            data = littleEndian(codePages[below(5)]);
        }
        if (below(60) == 0)
            length += below(30);
        raw.item(type, data, flags, length);
    }

    std::mt19937 random_;
};

} // namespace

TEST(DecodedMessage, AWholeContainerGivesEveryField)
{
    const DecodedMessage message = decode(RawContainer()
                                              .header(1, 2, 3)
                                              .number(2, 4)
                                              .text(3, "module")
                                              .number(4, 8)
                                              .number(9, 5)
                                              .number(8, 6)
                                              .text(5, "group")
                                              .number(10, 1252)
                                              .text(1, "caf\xE9")
                                              .text(6, "p\xC3\xB6s")
                                              .build());
    EXPECT_EQ(message.sourceMsgId, 1U);
    EXPECT_EQ(message.senderMsgId, 2U);
    EXPECT_EQ(message.serviceMsgId, 3U);
    EXPECT_EQ(message.timestamp, 4U);
    EXPECT_EQ(message.logLevel, 8U);
    EXPECT_EQ(message.threadId, 5U);
    EXPECT_EQ(message.processId, 6U);
    EXPECT_EQ(message.module, u"module");
    EXPECT_EQ(message.groupName, u"group");
    EXPECT_EQ(message.logMessage, u"caf\u00E9");
    EXPECT_EQ(message.logPos, u"p\u00F6s");
}

TEST(DecodedMessage, AContainerWithoutProcessAndThreadItemsGivesZeroForBoth)
{
    const DecodedMessage message = decode(RawContainer().number(2, 4).text(1, "text").build());
    EXPECT_EQ(message.processId, 0U);
    EXPECT_EQ(message.threadId, 0U);
    EXPECT_EQ(message.logMessage, u"text");
}

TEST(DecodedMessage, AContainerWithoutItemsGivesItsNumbersOnly)
{
    const DecodedMessage message = decode(RawContainer().header(1, 2, 3).build());
    DecodedMessage expected;
    expected.sourceMsgId = 1;
    expected.senderMsgId = 2;
    expected.serviceMsgId = 3;
    EXPECT_EQ(fieldsOf(message), fieldsOf(expected));
}

TEST(DecodedMessage, AFieldOfTheMessageBeforeDoesNotStay)
{
    const ExactBytes full(RawContainer()
                              .header(1, 2, 3)
                              .number(2, 4)
                              .number(4, 8)
                              .number(8, 5)
                              .number(9, 6)
                              .text(1, "m")
                              .text(3, "o")
                              .text(5, "g")
                              .text(6, "p")
                              .build());
    const ExactBytes empty(RawContainer().build());
    const ExactBytes flagged(RawContainer()
                                 .number(2, 4, 1)
                                 .number(4, 8, 1)
                                 .number(8, 5, 1)
                                 .number(9, 6, 1)
                                 .text(1, "m", 4)
                                 .text(3, "o", 1)
                                 .text(5, "g", 1)
                                 .text(6, "p", 1)
                                 .build());
    for (const ExactBytes* second : {&empty, &flagged}) {
        DecodedMessage message;
        message.assign(viewOf(full));
        message.assign(viewOf(*second));
        EXPECT_EQ(fieldsOf(message), fieldsOf(DecodedMessage()));
    }
}

TEST(DecodedMessage, TheServiceNumberOfTheViewIsNotTheMessagesOwn)
{
    const ExactBytes bytes(RawContainer().header(1, 2, 3).build());
    LogMessageContainerView view = viewOf(bytes);
    view.serviceNumber = 99;
    DecodedMessage message;
    message.assign(view);
    EXPECT_EQ(message.serviceMsgId, 3U);
}

TEST(DecodedMessage, AContainerOfTheSecondKindIsDecodedAlike)
{
    EXPECT_EQ(decode(RawContainer().containerFlags(4).text(1, "text").build()).logMessage, u"text");
}

TEST(DecodedMessage, TextsNoLongerThanTheOnesBeforeKeepTheirMemory)
{
    const ExactBytes bytes(RawContainer()
                               .text(1, "a message text of some length")
                               .text(3, "a module of some length")
                               .text(5, "a group of some length")
                               .text(6, "a position of some length")
                               .build());
    DecodedMessage message;
    message.assign(viewOf(bytes));
    const auto memory = [&] {
        return std::make_tuple(message.logMessage.data(), message.module.data(),
                               message.groupName.data(), message.logPos.data());
    };
    const auto before = memory();
    message.assign(viewOf(bytes));
    EXPECT_EQ(memory(), before);
}

TEST(DecodedMessage, ABrokenEndIsNoMatterWhenEveryFieldAndTheCodePageStandBeforeIt)
{
    RawContainer raw;
    raw.number(2, 4).number(4, 8).number(8, 5).number(9, 6).text(3, "o").text(5, "g").text(6, "p");
    RawContainer withoutCodePage = raw;
    EXPECT_EQ(decode(raw.number(10, 65001).text(1, "m").raw(Bytes(3)).build()).logMessage, u"m");
    // The look-up of the code page, which is not there, finds the broken end.
    RawContainer utf16 = withoutCodePage;
    EXPECT_THROW(decode(withoutCodePage.text(1, "m").raw(Bytes(3)).build()), LogSvcError);
    EXPECT_EQ(decode(utf16.item(1, {'m', 0}, 1).raw(Bytes(3)).build()).logMessage, u"m");
}

TEST(DecodedMessage, AnItemThatRunsPastTheEndMattersOnlyAsTheFirstOfATypeThatIsSought)
{
    const auto complete = [] {
        RawContainer raw;
        raw.number(2, 4).number(4, 8).number(8, 5).number(9, 6);
        raw.text(3, "o").text(5, "g").text(6, "p").text(1, "");
        return raw;
    };
    EXPECT_EQ(decode(complete().item(2, {}, 0, 100).build()).timestamp, 4U);
    EXPECT_EQ(decode(complete().item(10, {}, 0, 100).build()).timestamp, 4U);
    EXPECT_EQ(decode(complete().item(99, {}, 0, 100).build()).timestamp, 4U);
    EXPECT_THROW(decode(RawContainer().item(2, {}, 0, 100).build()), LogSvcError);
}

TEST(DecodedMessage, AnEmptyTextNeedsNoCodePage)
{
    EXPECT_EQ(decode(RawContainer().item(10, Bytes(3)).text(1, "").build()).logMessage, u"");
    EXPECT_THROW(decode(RawContainer().item(10, Bytes(3)).text(1, "a").build()), LogSvcError);
}

TEST(DecodedMessage, ManyRandomContainersGiveAndRefuseWhatLookUpsWould)
{
    constexpr int count = 200'000;
    RandomContainers containers(42);
    DecodedMessage message; // used for all of them, so that what stays behind is seen
    int accepted = 0;
    int texts = 0;
    for (int i = 0; i < count; ++i) {
        const ExactBytes bytes(containers.next());
        bool expectedThrow = false;
        DecodedMessage expected;
        try {
            expected = test::lookedUp({bytes.data(), bytes.size()});
        } catch (const LogSvcError&) {
            expectedThrow = true;
        }
        bool thrown = false;
        try {
            message.assign(viewOf(bytes));
        } catch (const LogSvcError&) {
            thrown = true;
        }
        ASSERT_EQ(thrown, expectedThrow) << "container " << i;
        if (thrown)
            continue;
        ASSERT_EQ(fieldsOf(message), fieldsOf(expected)) << "container " << i;
        ++accepted;
        texts += message.logMessage.empty() ? 0 : 1;
    }
    // Both outcomes were met often enough to say something.
    EXPECT_GT(accepted, count / 5);
    EXPECT_LT(accepted, count * 4 / 5);
    EXPECT_GT(texts, count / 20);
}
