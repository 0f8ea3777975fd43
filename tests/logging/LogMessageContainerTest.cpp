#include "logging/LogMessageContainer.h"
#include "logging/LogSvcError.h"
#include "tests/logging/RawContainer.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

constexpr const char* inconsistentStructure =
    "Inconsistent log message container structure detected while parsing it";
constexpr const char* unexpectedSize =
    "The data value present in the log message container has unexpected size";
constexpr const char* unexpectedCounterSize = "The buffer with counter sets present in the log "
                                              "message container has unexpected size";
constexpr const char* inconsistentData =
    "Constructing an output log message container from inconsistent data";

constexpr int typeLogMessage = 1;
constexpr int typeTimestamp = 2;
constexpr int typeModule = 3;
constexpr int typeLogLevel = 4;
constexpr int typeCounterSets = 7;
constexpr int typeCodePage = 10;
constexpr int typeUnknown = 200;

/// The text of the error that `action` throws; empty if it throws none.
std::string errorOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const LogSvcError& error) {
        return error.what();
    }
    return {};
}

std::string constructionError(const Bytes& bytes)
{
    const ExactBytes exact(bytes);
    return errorOf([&] { LogMessageContainer(exact.data(), exact.size()); });
}

std::optional<std::uint64_t> numberIn(const Bytes& bytes, ItemType type)
{
    const ExactBytes exact(bytes);
    return LogMessageContainer(exact.data(), exact.size()).number(type);
}

std::optional<std::u16string> textIn(const Bytes& bytes, ItemType type = ItemType::LogMessage,
                                     TextMode mode = TextMode::Text)
{
    const ExactBytes exact(bytes);
    return LogMessageContainer(exact.data(), exact.size()).text(type, mode);
}

std::optional<std::vector<CounterSet>> counterSetsIn(const Bytes& bytes)
{
    const ExactBytes exact(bytes);
    return LogMessageContainer(exact.data(), exact.size()).counterSets();
}

std::string numberError(const Bytes& bytes, ItemType type)
{
    return errorOf([&] { numberIn(bytes, type); });
}

std::string textError(const Bytes& bytes, ItemType type = ItemType::LogMessage,
                      TextMode mode = TextMode::Text)
{
    return errorOf([&] { textIn(bytes, type, mode); });
}

Bytes utf16(std::initializer_list<std::uint16_t> units)
{
    Bytes bytes;
    for (const std::uint16_t unit : units) {
        const Bytes two = littleEndian(unit, 2);
        bytes.insert(bytes.end(), two.begin(), two.end());
    }
    return bytes;
}

Bytes utf32(std::initializer_list<std::uint32_t> codePoints)
{
    Bytes bytes;
    for (const std::uint32_t codePoint : codePoints) {
        const Bytes four = littleEndian(codePoint, 4);
        bytes.insert(bytes.end(), four.begin(), four.end());
    }
    return bytes;
}

} // namespace

TEST(LogMessageContainer, TheHeaderFieldsStandAtTheirOffsets)
{
    Bytes bytes(containerHeaderSize);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i);
    bytes[0] = 28;
    bytes[1] = 0;
    const LogMessageContainer container(bytes.data(), bytes.size());
    EXPECT_EQ(container.size(), 28U);
    EXPECT_EQ(container.flags(), 2U);
    EXPECT_EQ(container.sourceMsgId(), 0x0B0A090807060504U);
    EXPECT_EQ(container.senderMsgId(), 0x131211100F0E0D0CU);
    EXPECT_EQ(container.serviceMsgId(), 0x1B1A191817161514U);
}

TEST(LogMessageContainer, BitTwoOfTheFlagsMarksAMessageOfTheSecondKind)
{
    for (int flags = 0; flags < 256; ++flags) {
        const Bytes bytes = RawContainer().containerFlags(static_cast<std::uint8_t>(flags)).build();
        const LogMessageContainer container(bytes.data(), bytes.size());
        EXPECT_EQ(container.isSecondary(), (flags & 4) != 0) << flags;
    }
}

TEST(LogMessageContainer, ASizeFieldBelow28IsRefused)
{
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{27}})
        EXPECT_EQ(constructionError(RawContainer().buildWithSize(size)), inconsistentData) << size;
}

TEST(LogMessageContainer, ASizeFieldAboveTheBytesAvailableIsRefused)
{
    EXPECT_EQ(constructionError(RawContainer().buildWithSize(29)), inconsistentData);
    EXPECT_EQ(constructionError(RawContainer().buildWithSize(65535)), inconsistentData);
}

TEST(LogMessageContainer, FewerBytesThanAHeaderAreRefused)
{
    for (std::size_t available = 0; available < containerHeaderSize; ++available) {
        Bytes bytes = RawContainer().build();
        bytes.resize(available);
        EXPECT_EQ(constructionError(bytes), inconsistentData) << available;
    }
}

TEST(LogMessageContainer, BytesBehindTheSizeFieldAreNotPartOfTheContainer)
{
    const Bytes bytes = RawContainer().number(typeTimestamp, 5).buildWithSize(28);
    EXPECT_EQ(constructionError(bytes), "");
    EXPECT_EQ(numberIn(bytes, ItemType::Timestamp), std::nullopt);
}

TEST(LogMessageContainer, AContainerOfExactly28BytesHasNoItems)
{
    const Bytes bytes = RawContainer().build();
    for (int type = 0; type < 256; ++type) {
        EXPECT_EQ(numberIn(bytes, static_cast<ItemType>(type)), std::nullopt);
        EXPECT_EQ(textIn(bytes, static_cast<ItemType>(type), TextMode::Plain), std::nullopt);
        EXPECT_EQ(textIn(bytes, static_cast<ItemType>(type), TextMode::Text), std::nullopt);
    }
    EXPECT_EQ(counterSetsIn(bytes), std::nullopt);
}

TEST(LogMessageContainer, AContainerOf29To31BytesIsInconsistent)
{
    for (std::size_t extra = 1; extra <= 3; ++extra) {
        const Bytes bytes = RawContainer().raw(Bytes(extra)).build();
        EXPECT_EQ(numberError(bytes, ItemType::Timestamp), inconsistentStructure);
        EXPECT_EQ(textError(bytes), inconsistentStructure);
        EXPECT_EQ(errorOf([&] { counterSetsIn(bytes); }), inconsistentStructure);
    }
}

TEST(LogMessageContainer, AContainerOf32BytesHoldsOneEmptyItem)
{
    const Bytes bytes = RawContainer().item(typeModule, {}).build();
    ASSERT_EQ(bytes.size(), 32U);
    EXPECT_EQ(textIn(bytes, ItemType::Module, TextMode::Plain), u"");
    EXPECT_EQ(numberIn(bytes, ItemType::Timestamp), std::nullopt);
}

TEST(LogMessageContainer, AnItemThatRunsPastTheSizeIsInconsistentWhenItIsSought)
{
    const Bytes bytes = RawContainer().item(typeTimestamp, Bytes(8), 0, 9).build();
    EXPECT_EQ(numberError(bytes, ItemType::Timestamp), inconsistentStructure);
}

TEST(LogMessageContainer, AnItemThatRunsPastTheSizeIsInconsistentWhenTheScanReachesIt)
{
    const Bytes bytes =
        RawContainer().number(typeTimestamp, 7).item(typeModule, Bytes(3), 0, 4).build();
    EXPECT_EQ(numberError(bytes, ItemType::LogLevel), inconsistentStructure);
}

TEST(LogMessageContainer, AMatchBeforeAnItemThatRunsPastTheSizeIsReturned)
{
    const Bytes bytes =
        RawContainer().number(typeTimestamp, 7).item(typeModule, Bytes(3), 0, 65535).build();
    EXPECT_EQ(numberIn(bytes, ItemType::Timestamp), 7U);
}

TEST(LogMessageContainer, BytesTooFewForAnItemHeaderAreInconsistentOnlyWhenTheScanReachesThem)
{
    for (std::size_t extra = 1; extra <= 3; ++extra) {
        const Bytes bytes = RawContainer().number(typeTimestamp, 7).raw(Bytes(extra, 4)).build();
        EXPECT_EQ(numberIn(bytes, ItemType::Timestamp), 7U);
        EXPECT_EQ(numberError(bytes, ItemType::LogLevel), inconsistentStructure);
    }
}

TEST(LogMessageContainer, AnItemHeaderRightAtTheEndIsRead)
{
    const Bytes bytes = RawContainer().number(typeTimestamp, 7).item(typeModule, {}).build();
    EXPECT_EQ(textIn(bytes, ItemType::Module, TextMode::Plain), u"");
}

TEST(LogMessageContainer, TheFirstItemOfATypeDecides)
{
    const Bytes bytes = RawContainer()
                            .number(typeUnknown, 1)
                            .number(typeTimestamp, 7)
                            .number(typeTimestamp, 8)
                            .build();
    EXPECT_EQ(numberIn(bytes, ItemType::Timestamp), 7U);
    const Bytes flagged =
        RawContainer().number(typeTimestamp, 7, 1).number(typeTimestamp, 8).build();
    EXPECT_EQ(numberIn(flagged, ItemType::Timestamp), std::nullopt);
}

TEST(LogMessageContainer, UnknownItemTypesAreSkipped)
{
    RawContainer raw;
    for (int type = 11; type < 256; ++type)
        raw.item(type, Bytes(static_cast<std::size_t>(type % 5)), static_cast<std::uint8_t>(type));
    const Bytes bytes = raw.item(0, Bytes(3)).number(typeLogLevel, 8).build();
    EXPECT_EQ(numberIn(bytes, ItemType::LogLevel), 8U);
}

TEST(LogMessageContainer, ANumberIsReadLittleEndianAtAnyAddress)
{
    for (std::size_t shift = 0; shift < 8; ++shift) {
        const Bytes bytes = RawContainer()
                                .item(typeUnknown, Bytes(shift))
                                .number(typeTimestamp, 0x0102030405060708)
                                .build();
        EXPECT_EQ(numberIn(bytes, ItemType::Timestamp), 0x0102030405060708U);
    }
}

TEST(LogMessageContainer, ALevelItemOfLength4HasAnUnexpectedSize)
{
    EXPECT_EQ(numberError(RawContainer().item(typeLogLevel, Bytes(4)).build(), ItemType::LogLevel),
              unexpectedSize);
}

TEST(LogMessageContainer, ALevelItemOfLength4WithFlags1GivesNoValue)
{
    EXPECT_EQ(numberIn(RawContainer().item(typeLogLevel, Bytes(4), 1).build(), ItemType::LogLevel),
              std::nullopt);
}

TEST(LogMessageContainer, ANumberOfAnyLengthBut8HasAnUnexpectedSize)
{
    for (std::size_t length = 0; length < 20; ++length) {
        const Bytes bytes = RawContainer().item(typeTimestamp, Bytes(length)).build();
        EXPECT_EQ(numberError(bytes, ItemType::Timestamp), length == 8 ? "" : unexpectedSize);
    }
}

TEST(LogMessageContainer, EveryFlagOfANumberGivesNoValue)
{
    for (int flags = 1; flags < 256; ++flags) {
        const Bytes bytes =
            RawContainer().number(typeTimestamp, 7, static_cast<std::uint8_t>(flags)).build();
        EXPECT_EQ(numberIn(bytes, ItemType::Timestamp), std::nullopt);
    }
}

TEST(LogMessageContainer, EveryFlagOfAPlainTextGivesNoValue)
{
    for (int flags = 1; flags < 256; ++flags) {
        const Bytes bytes =
            RawContainer().text(typeModule, "abcd", static_cast<std::uint8_t>(flags)).build();
        EXPECT_EQ(textIn(bytes, ItemType::Module, TextMode::Plain), std::nullopt);
        const Bytes empty =
            RawContainer().text(typeModule, "", static_cast<std::uint8_t>(flags)).build();
        EXPECT_EQ(textIn(empty, ItemType::Module, TextMode::Plain), std::nullopt);
    }
}

TEST(LogMessageContainer, AnyFlagButTheTwoOfTheEncodingMakesAMessageTextUnusable)
{
    for (int flags = 0; flags < 256; ++flags) {
        const Bytes bytes =
            RawContainer().text(typeLogMessage, "abcd", static_cast<std::uint8_t>(flags)).build();
        EXPECT_EQ(textIn(bytes).has_value(), flags < 4) << flags;
    }
}

TEST(LogMessageContainer, ATextOfLengthZeroIsTheEmptyString)
{
    for (std::uint8_t flags = 0; flags < 4; ++flags)
        EXPECT_EQ(textIn(RawContainer().text(typeLogMessage, "", flags).build()), u"");
}

TEST(LogMessageContainer, APlainTextIsUtf8WhateverTheCodePageItemSays)
{
    const Bytes bytes =
        RawContainer().number(typeCodePage, 1252).text(typeModule, "M\xC3\xBCller").build();
    EXPECT_EQ(textIn(bytes, ItemType::Module, TextMode::Plain), u"M\u00FCller");
    const Bytes broken =
        RawContainer().item(typeCodePage, Bytes(3)).text(typeModule, "M\xC3\xBCller").build();
    EXPECT_EQ(textIn(broken, ItemType::Module, TextMode::Plain), u"M\u00FCller");
}

TEST(LogMessageContainer, AUtf16TextIsCopiedUnitByUnit)
{
    const Bytes bytes =
        RawContainer()
            .item(typeLogMessage, utf16({'a', 0x00E4, 0xD83D, 0xDE00, 0xD800, 0}), 1)
            .build();
    EXPECT_EQ(textIn(bytes), std::u16string({u'a', 0x00E4, 0xD83D, 0xDE00, 0xD800, 0}));
}

TEST(LogMessageContainer, AnOddTrailingByteOfAUtf16TextIsIgnored)
{
    Bytes data = utf16({'a', 'b'});
    data.push_back('c');
    EXPECT_EQ(textIn(RawContainer().item(typeLogMessage, data, 1).build()), u"ab");
    EXPECT_EQ(textIn(RawContainer().item(typeLogMessage, Bytes(1), 1).build()), u"");
}

TEST(LogMessageContainer, AUtf16TextStandsAtAnyAddress)
{
    for (std::size_t shift = 0; shift < 4; ++shift) {
        const Bytes bytes = RawContainer()
                                .item(typeUnknown, Bytes(shift))
                                .item(typeLogMessage, utf16({'a', 0x1234}), 1)
                                .build();
        EXPECT_EQ(textIn(bytes), u"a\u1234");
    }
}

TEST(LogMessageContainer, AMessageItemWithFlags3IsDecodedAsUtf16)
{
    EXPECT_EQ(textIn(RawContainer().item(typeLogMessage, utf16({'a', 'b', 'c', 'd'}), 3).build()),
              u"abcd");
}

TEST(LogMessageContainer, AUtf32TextBecomesUtf16)
{
    const Bytes bytes =
        RawContainer()
            .item(typeLogMessage, utf32({'a', 0xD7FF, 0xE000, 0xFFFF, 0x10000, 0x1F600, 0x10FFFF}),
                  2)
            .build();
    EXPECT_EQ(textIn(bytes), std::u16string({u'a', 0xD7FF, 0xE000, 0xFFFF, 0xD800, 0xDC00, 0xD83D,
                                             0xDE00, 0xDBFF, 0xDFFF}));
}

TEST(LogMessageContainer, AUtf32TextLosesExactlySurrogatesAndValuesAboveTheHighestCodePoint)
{
    const Bytes bytes =
        RawContainer()
            .item(typeLogMessage,
                  utf32({'a', 0xD800, 'b', 1'114'112, 'c', 0xDFFF, 0xFFFFFFFF, 'd'}), 2)
            .build();
    EXPECT_EQ(textIn(bytes), u"abcd");
    EXPECT_EQ(textIn(RawContainer().item(typeLogMessage, utf32({0xD800}), 2).build()), u"");
}

TEST(LogMessageContainer, BytesTooFewForACodePointAreIgnored)
{
    Bytes data = utf32({'a'});
    data.insert(data.end(), 3, 'b');
    EXPECT_EQ(textIn(RawContainer().item(typeLogMessage, data, 2).build()), u"a");
    EXPECT_EQ(textIn(RawContainer().item(typeLogMessage, Bytes(3, 'b'), 2).build()), u"");
}

TEST(LogMessageContainer, AMultiByteTextIsUtf8WithoutACodePageItem)
{
    EXPECT_EQ(textIn(RawContainer().text(typeLogMessage, "\xE2\x82\xAC").build()), u"\u20AC");
}

TEST(LogMessageContainer, TheCodePageItemSuppliesTheCodePageOfAMultiByteText)
{
    const Bytes before =
        RawContainer().number(typeCodePage, 1252).text(typeLogMessage, "\x80").build();
    EXPECT_EQ(textIn(before), u"\u20AC");
    const Bytes behind =
        RawContainer().text(typeLogMessage, "\x80").number(typeCodePage, 1252).build();
    EXPECT_EQ(textIn(behind), u"\u20AC");
}

TEST(LogMessageContainer, ACodePageItemWithFlagsLeavesUtf8)
{
    const Bytes bytes =
        RawContainer().number(typeCodePage, 1252, 1).text(typeLogMessage, "\xC3\xA4").build();
    EXPECT_EQ(textIn(bytes), u"\u00E4");
    const Bytes wrongLength =
        RawContainer().item(typeCodePage, Bytes(2), 1).text(typeLogMessage, "\xC3\xA4").build();
    EXPECT_EQ(textIn(wrongLength), u"\u00E4");
}

TEST(LogMessageContainer, ACodePageItemOfLength4HasAnUnexpectedSize)
{
    const Bytes bytes =
        RawContainer().text(typeLogMessage, "a").item(typeCodePage, Bytes(4)).build();
    EXPECT_EQ(textError(bytes), unexpectedSize);
}

TEST(LogMessageContainer, TheCodePageItemIsNotLookedAtForUtf16Utf32AndEmptyTexts)
{
    for (std::uint8_t flags = 1; flags < 4; ++flags) {
        const Bytes bytes =
            RawContainer().text(typeLogMessage, "a", flags).item(typeCodePage, Bytes(4)).build();
        EXPECT_EQ(textIn(bytes), u"");
    }
    const Bytes empty =
        RawContainer().text(typeLogMessage, "").item(typeCodePage, Bytes(4)).build();
    EXPECT_EQ(textIn(empty), u"");
}

TEST(LogMessageContainer, TheSearchForTheCodePageItemReachesTheEnd)
{
    const Bytes bytes = RawContainer().text(typeLogMessage, "a").raw(Bytes(2)).build();
    EXPECT_EQ(textError(bytes), inconsistentStructure);
    const Bytes plain = RawContainer().text(typeModule, "a").raw(Bytes(2)).build();
    EXPECT_EQ(textIn(plain, ItemType::Module, TextMode::Plain), u"a");
}

TEST(LogMessageContainer, AnUnknownCodePageGivesNoValue)
{
    const Bytes bytes =
        RawContainer().number(typeCodePage, 4'000'000'000).text(typeLogMessage, "a").build();
    EXPECT_EQ(textIn(bytes), std::nullopt);
}

TEST(LogMessageContainer, CounterSetsAreCopiedOneByOne)
{
    Bytes data(2 * counterSetSize);
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<std::uint8_t>(i * 7);
    const auto sets = counterSetsIn(RawContainer().item(typeCounterSets, data).build());
    ASSERT_TRUE(sets.has_value());
    ASSERT_EQ(sets->size(), 2U);
    for (std::size_t i = 0; i < data.size(); ++i)
        ASSERT_EQ((*sets)[i / counterSetSize][i % counterSetSize], data[i]);
}

TEST(LogMessageContainer, ACounterSetItemMustBeAMultipleOf264Bytes)
{
    for (const std::size_t length : {std::size_t{1}, std::size_t{263}, std::size_t{265}}) {
        const Bytes bytes = RawContainer().item(typeCounterSets, Bytes(length)).build();
        EXPECT_EQ(errorOf([&] { counterSetsIn(bytes); }), unexpectedCounterSize);
    }
}

TEST(LogMessageContainer, ACounterSetItemOfLengthZeroHoldsNoSets)
{
    const auto sets = counterSetsIn(RawContainer().item(typeCounterSets, {}).build());
    ASSERT_TRUE(sets.has_value());
    EXPECT_TRUE(sets->empty());
}

TEST(LogMessageContainer, ACounterSetItemWithFlagsGivesNoValue)
{
    EXPECT_EQ(counterSetsIn(RawContainer().item(typeCounterSets, Bytes(5), 1).build()),
              std::nullopt);
}

TEST(LogMessageContainer, ACounterSetItemThatRunsPastTheSizeIsInconsistent)
{
    const Bytes bytes = RawContainer().item(typeCounterSets, Bytes(10), 0, counterSetSize).build();
    EXPECT_EQ(errorOf([&] { counterSetsIn(bytes); }), inconsistentStructure);
}
