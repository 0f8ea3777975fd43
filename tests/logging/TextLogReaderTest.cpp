#include "logging/TextLogReader.h"

#include "logging/LogMessageContainerBuilder.h"
#include "logging/LogMessageSinkFile.h"
#include "platform/CodePage.h"

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <boost/date_time/posix_time/posix_time.hpp>

#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace zuLogging {
namespace {

using Messages = std::vector<std::shared_ptr<LogMessage>>;

Messages read(const std::string& text, const TextLogLimits& limits = {})
{
    QByteArray bytes(text.data(), static_cast<int>(text.size()));
    QBuffer device(&bytes);
    EXPECT_TRUE(device.open(QIODevice::ReadOnly | QIODevice::Unbuffered));
    Messages messages;
    EXPECT_TRUE(readTextLog(device, u"lines.log", messages, 1, limits));
    return messages;
}

std::vector<std::u16string> textsOf(const Messages& messages)
{
    std::vector<std::u16string> texts;
    for (const auto& message : messages)
        texts.emplace_back(message->logMessage());
    return texts;
}

using Texts = std::vector<std::u16string>;

std::uint64_t timeOf(const std::string& line)
{
    std::uint64_t time = 0;
    EXPECT_TRUE(readIsoTimestamp(line, time)) << line;
    return time;
}

bool hasTime(const std::string& line)
{
    std::uint64_t time = 0;
    return readIsoTimestamp(line, time);
}

QString timeText(const std::string& line)
{
    return timestampText(timeOf(line));
}

// --- Lines

TEST(TextLogReader, AnEmptyTextGivesNoRecord)
{
    EXPECT_TRUE(read("").empty());
}

TEST(TextLogReader, OneByteIsOneRecord)
{
    EXPECT_EQ(textsOf(read("a")), Texts{u"a"});
    EXPECT_EQ(textsOf(read("\n")), Texts{u""});
    EXPECT_EQ(textsOf(read("\r")), Texts{u""});
    EXPECT_EQ(textsOf(read("\xC3")), Texts{u"\xFFFD"});
}

TEST(TextLogReader, EachLineIsARecordAndALastLineNeedsNoEnd)
{
    const Texts expected{u"one", u"", u"two", u"three"};
    EXPECT_EQ(textsOf(read("one\n\ntwo\nthree\n")), expected);
    EXPECT_EQ(textsOf(read("one\n\ntwo\nthree")), expected);
}

TEST(TextLogReader, ACarriageReturnBeforeTheEndOfALineGoesAndOthersStay)
{
    EXPECT_EQ(textsOf(read("one\r\ntw\ro\r\r\nthree\r")), (Texts{u"one", u"tw\ro\r", u"three"}));
}

TEST(TextLogReader, AByteOrderMarkAtTheBeginningGoesAndOthersStay)
{
    EXPECT_EQ(textsOf(read("\xEF\xBB\xBFone\n\xEF\xBB\xBFtwo")), (Texts{u"one", u"\xFEFFtwo"}));
    EXPECT_TRUE(read("\xEF\xBB\xBF").empty());
    EXPECT_EQ(textsOf(read("\xEF\xBB")), Texts{u"\xFFFD"});
    EXPECT_EQ(textsOf(read("a\n")), Texts{u"a"});
    EXPECT_EQ(textsOf(read("\n\n")), (Texts{u"", u""}));
    TextLogLimits slow;
    slow.read = 1;
    EXPECT_EQ(textsOf(read("\xEF\xBB\xBFone\n", slow)), Texts{u"one"});
    EXPECT_EQ(textsOf(read("a\n", slow)), Texts{u"a"});
}

TEST(TextLogReader, InvalidBytesBecomeReplacementCharactersAndNulBytesStay)
{
    using namespace std::string_literals;
    EXPECT_EQ(textsOf(read("a\xFFz\n\xC3\xA4\xF0\x9F\x93\x9C\nn\0l\n"s)),
              (Texts{u"a\xFFFDz", u"\xE4\xD83D\xDCDC", u"n\0l"s}));
}

TEST(TextLogReader, RecordsAreNumberedFromOneAndCarryTheModule)
{
    const Messages messages = read("a\nb\nc\n");
    ASSERT_EQ(messages.size(), 3U);
    for (std::size_t i = 0; i < messages.size(); ++i) {
        EXPECT_EQ(messages[i]->serviceMsgId(), i + 1);
        EXPECT_EQ(messages[i]->module(), u"lines.log");
        EXPECT_EQ(messages[i]->logLevel(), 0U);
        EXPECT_EQ(messages[i]->sourceMsgId(), 0U);
        EXPECT_EQ(messages[i]->processId(), 0U);
        EXPECT_EQ(messages[i]->threadId(), 0U);
        EXPECT_EQ(messages[i]->logPos(), u"");
        EXPECT_EQ(messages[i]->groupName(), u"");
    }
}

TEST(TextLogReader, ALineThatIsTooLongGoesOnInFurtherRecordsCutBetweenCharacters)
{
    TextLogLimits limits;
    limits.line = 8;
    EXPECT_EQ(textsOf(read("12345678\n123456789\n", limits)),
              (Texts{u"12345678", u"12345678", u"9"}));
    EXPECT_EQ(textsOf(read("12345678\r\n12345678\r", limits)), (Texts{u"12345678", u"12345678"}));
    EXPECT_EQ(textsOf(read("1234567\xC3\xA4"
                           "9\n",
                           limits)),
              (Texts{u"1234567", u"\xE4"
                                 u"9"}));
    EXPECT_EQ(textsOf(read("12345\xF0\x9F\x93\x9Cz\n", limits)),
              (Texts{u"12345", u"\xD83D\xDCDCz"}));
    // No text at all: cut where the room ends.
    EXPECT_EQ(read(std::string(20, '\x80'), limits).size(), 3U);
}

TEST(TextLogReader, TheFurtherRecordsOfALineHaveItsTime)
{
    TextLogLimits limits;
    limits.line = 24;
    const Messages messages = read("2026-03-04 17:05:09 12342026-03-05 17:05:09 abc\n", limits);
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[1]->logMessage().substr(0, 10), u"2026-03-05");
    EXPECT_EQ(messages[1]->timestamp(), timeOf("2026-03-04 17:05:09"));
    EXPECT_EQ(messages[1]->serviceMsgId(), 2U);
}

TEST(TextLogReader, ALineOfAMebibyteIsOneRecordAndALongerOneIsNot)
{
    const std::size_t mebibyte = std::size_t{1} << 20;
    const Messages messages =
        read(std::string(mebibyte, 'x') + "\r\n" + std::string(3 * mebibyte + 1, 'y') + "\nend");
    ASSERT_EQ(messages.size(), 6U);
    EXPECT_EQ(messages[0]->logMessage().size(), mebibyte);
    EXPECT_EQ(messages[3]->logMessage().size(), mebibyte);
    EXPECT_EQ(messages[4]->logMessage(), u"y");
    EXPECT_EQ(messages[5]->logMessage(), u"end");
}

TEST(TextLogReader, TheNumbersBeginWhereTheyAreToldTo)
{
    QByteArray bytes("a\nb\n");
    QBuffer device(&bytes);
    ASSERT_TRUE(device.open(QIODevice::ReadOnly));
    Messages messages;
    ASSERT_TRUE(readTextLog(device, u"m", messages, 41));
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[1]->serviceMsgId(), 42U);
}

// --- Against a plain reader

Texts plainly(const std::string& text, std::size_t longest, bool validOnly)
{
    std::string_view left = text;
    if (left.substr(0, 3) == "\xEF\xBB\xBF")
        left.remove_prefix(3);
    Texts texts;
    const auto add = [&](std::string_view line) {
        if (validOnly) {
            texts.push_back(
                QString::fromUtf8(line.data(), static_cast<int>(line.size())).toStdU16String());
            return;
        }
        texts.emplace_back();
        platform::multiByteToUtf16(line, platform::codePageUtf8, texts.back());
    };
    while (!left.empty()) {
        const std::size_t end = left.find('\n');
        std::string_view line = left.substr(0, end);
        left.remove_prefix(end == std::string_view::npos ? left.size() : end + 1);
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        while (line.size() > longest) {
            std::size_t cut = longest;
            while (cut > longest - 4 && (line[cut] & 0xC0) == 0x80)
                --cut;
            if (cut == longest - 4)
                cut = longest;
            add(line.substr(0, cut));
            line.remove_prefix(cut);
        }
        add(line);
    }
    return texts;
}

TEST(TextLogReader, RandomTextGivesWhatAPlainReaderGivesWhereverTheBufferEnds)
{
    const std::vector<std::string> valid = {"a",
                                            "\n",
                                            "\r\n",
                                            "\r",
                                            "some words ",
                                            "\xC3\xA4",
                                            "\xE2\x82\xAC",
                                            "\xF0\x9F\x93\x9C",
                                            "\t",
                                            "0123456789abcdefghijklmnopqrstuvwxyz"};
    const std::vector<std::string> invalid = {
        "\xFF",         "\x80",     "\xE2\x82",    "\xC3", std::string(1, '\0'),
        "\xED\xA0\x80", "\xF0\x9F", "\xEF\xBB\xBF"};
    std::mt19937 random(7);
    std::size_t records = 0;
    for (int round = 0; round < 6000; ++round) {
        const bool validOnly = round % 2 == 0;
        std::string text;
        for (auto parts = random() % 60; parts > 0; --parts) {
            const auto& from = validOnly || random() % 3 != 0 ? valid : invalid;
            text += from[random() % from.size()];
        }
        if (random() % 8 == 0)
            text.insert(0, "\xEF\xBB\xBF");
        TextLogLimits limits;
        limits.read = 1 + random() % 40;
        limits.line = 4 + random() % 60;
        const Texts expected = plainly(text, limits.line, validOnly);
        ASSERT_EQ(textsOf(read(text, limits)), expected) << "round " << round;
        records += expected.size();
    }
    EXPECT_GT(records, 20000U);
}

// --- Times

TEST(TextLogReader, ATimeOfEachFormIsRead)
{
    EXPECT_EQ(timeText("2026-03-04 17:05:09"), QStringLiteral("2026-Mar-04 17:05:09"));
    EXPECT_EQ(timeText("2026-03-04T17:05:09Z more"), QStringLiteral("2026-Mar-04 17:05:09"));
    EXPECT_EQ(timeText("2026-03-04T17:05:09.120034 x"),
              QStringLiteral("2026-Mar-04 17:05:09.120034"));
    EXPECT_EQ(timeText("2026-03-04 17:05:09,5"), QStringLiteral("2026-Mar-04 17:05:09.500000"));
    EXPECT_EQ(timeText("2026-03-04 17:05:09.1234567890123"),
              QStringLiteral("2026-Mar-04 17:05:09.123456"));
    EXPECT_EQ(timeText("2026-03-04T00:05:09.25+01:30"),
              QStringLiteral("2026-Mar-03 22:35:09.250000"));
    EXPECT_EQ(timeText("2026-03-04T23:05:09-01:00 x"), QStringLiteral("2026-Mar-05 00:05:09"));
    EXPECT_EQ(timeText("2016-12-31T23:59:60Z"), QStringLiteral("2017-Jan-01 00:00:00"));
    EXPECT_EQ(timeText("2026-03-04 17:05:09. x"), QStringLiteral("2026-Mar-04 17:05:09"));
    EXPECT_EQ(timeOf("1400-01-01 00:00:00"), 0U);
}

TEST(TextLogReader, WhatIsNoTimeIsNotReadAsOne)
{
    for (const char* line : {"",
                             "2026-03-04",
                             "2026-03-04 17:05:0",
                             "2026-03-04 17:05:0x",
                             "2026-03-04 17:05:091",
                             "2026-13-04 17:05:09",
                             "2026-00-04 17:05:09",
                             "2026-02-29 17:05:09",
                             "2026-03-32 17:05:09",
                             "2026-03-00 17:05:09",
                             "2026-03-04 24:05:09",
                             "2026-03-04 17:60:09",
                             "2026-03-04 17:05:61",
                             "2026-03-04_17:05:09",
                             "2026-03-04 17.05:09",
                             "2026-03-04 17:05.09",
                             "2026/03/04 17:05:09",
                             " 2026-03-04 17:05:09",
                             "202x-03-04 17:05:09",
                             "1399-12-31 23:59:59",
                             "0000-01-01 00:00:00",
                             "1400-01-01 00:00:00+00:01",
                             "-026-03-04 17:05:09"})
        EXPECT_FALSE(hasTime(line)) << line;
    EXPECT_TRUE(hasTime("2024-02-29 17:05:09"));
    EXPECT_FALSE(hasTime("2100-02-29 17:05:09"));
    EXPECT_TRUE(hasTime("2000-02-29 17:05:09"));
}

TEST(TextLogReader, EveryDayOfTheCalendarIsWhatTheDateLibraryMakesOfIt)
{
    using namespace boost::gregorian;
    const date first(1400, 1, 1);
    int days = 0;
    for (date day = first; day < date(9999, 12, 31); day += date_duration(1), ++days) {
        const auto parts = day.year_month_day();
        char line[64];
        std::snprintf(line, sizeof line, "%04d-%02d-%02d 01:02:03", static_cast<int>(parts.year),
                      static_cast<int>(parts.month), static_cast<int>(parts.day));
        std::uint64_t time = 0;
        ASSERT_TRUE(readIsoTimestamp(line, time)) << line;
        ASSERT_EQ(time,
                  static_cast<std::uint64_t>((day - first).days()) * 86400000000U + 3723000000U)
            << line;
    }
    EXPECT_GT(days, 3000000);
}

TEST(TextLogReader, ALineWithoutATimeHasThatOfTheLineBefore)
{
    const Messages messages = read("no time yet\n"
                                   "2026-03-04 17:05:09.5 begin\n"
                                   "    at the next line\n"
                                   "\n"
                                   "2026-03-04 17:05:08.25 earlier\n"
                                   "2026-03-04 17:06:08 later\n"
                                   "2026-03-04 17:06:x8 none\n");
    ASSERT_EQ(messages.size(), 7U);
    EXPECT_EQ(messages[0]->timestamp(), 0U);
    EXPECT_EQ(messages[0]->timestampText(), QString());
    const QString begin = QStringLiteral("2026-Mar-04 17:05:09.500000");
    for (const std::size_t row : {1U, 2U, 3U})
        EXPECT_EQ(messages[row]->timestampText(), begin) << row;
    EXPECT_EQ(messages[4]->timestampText(), QStringLiteral("2026-Mar-04 17:05:08.250000"));
    EXPECT_EQ(messages[5]->timestampText(), QStringLiteral("2026-Mar-04 17:06:08"));
    EXPECT_EQ(messages[6]->timestampText(), QStringLiteral("2026-Mar-04 17:06:08"));
    EXPECT_EQ(messages[1]->logMessage(), u"2026-03-04 17:05:09.5 begin");
}

// --- Lines of the file sink

/// What the sink writes for messages, read back.
class TextLogOfTheFileSink : public ::testing::Test
{
protected:
    void write(const LogMessageContainerBuilder& message)
    {
        const std::vector<std::uint8_t> bytes = message.build();
        LogMessageContainerView view;
        view.data = bytes.data();
        view.length = bytes.size();
        sink_.consume(view);
    }
    Messages readBack()
    {
        QFile file(path_);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        Messages messages;
        EXPECT_TRUE(readTextLog(file, u"lines.log", messages));
        return messages;
    }

    QTemporaryDir directory_;
    QString path_ = directory_.filePath(QStringLiteral("lines.log"));
    LogMessageSinkFile sink_{path_.toStdString(), 0, SinkSource::StartupFile};
};

TEST_F(TextLogOfTheFileSink, AreTakenApartIntoTheFieldsThatWereWritten)
{
    std::mt19937 random(5);
    const std::vector<std::string> letters = {
        "a", "b", "Z", "0", "7", " x", "\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x93\x9C", "."};
    const auto text = [&](std::uint64_t parts) {
        std::string made = parts > 0 ? "m" : "";
        for (std::uint64_t i = 0; i + 1 < parts; ++i)
            made += letters[random() % letters.size()];
        return made;
    };
    std::vector<LogMessageContainerBuilder> written;
    for (int i = 0; i < 3000; ++i) {
        LogMessageContainerBuilder message;
        message.timestamp = random() % 20 == 0 ? random() : 19000000000000000U + random();
        if (random() % 10 == 0)
            message.timestamp = std::numeric_limits<std::uint64_t>::max() - random() % 3;
        message.module = text(random() % 45);
        if (random() % 5 != 0)
            message.threadId = random() % 3 == 0 ? std::numeric_limits<std::uint64_t>::max()
                                                 : std::uint64_t{random()};
        if (random() % 5 != 0)
            message.logLevel = std::uint64_t{1} << random() % 6;
        message.logMessage = (random() % 4 == 0 ? "  " : "") + text(random() % 30);
        write(message);
        written.push_back(message);
    }
    const Messages messages = readBack();
    ASSERT_EQ(messages.size(), written.size());
    for (std::size_t i = 0; i < messages.size(); ++i) {
        const LogMessage& read = *messages[i];
        const LogMessageContainerBuilder& message = written[i];
        EXPECT_EQ(read.serviceMsgId(), i + 1);
        ASSERT_EQ(toQString(read.module()).toStdString(), *message.module) << i;
        ASSERT_EQ(toQString(read.logMessage()).toStdString(), *message.logMessage) << i;
        ASSERT_EQ(read.timestamp(), *message.timestamp) << i;
        ASSERT_EQ(read.threadId(), message.threadId.value_or(0)) << i;
        ASSERT_EQ(read.logLevel(), message.logLevel.value_or(0)) << i;
    }
}

TEST_F(TextLogOfTheFileSink, AMessageOfSeveralLinesGoesOnAtItsOwnTime)
{
    LogMessageContainerBuilder message;
    message.timestamp = 19000000000000000U;
    message.module = "worker";
    message.threadId = 7;
    message.logLevel = 2;
    message.logMessage = "first\nsecond";
    write(message);
    const Messages messages = readBack();
    ASSERT_EQ(messages.size(), 2U);
    EXPECT_EQ(messages[0]->logMessage(), u"first");
    EXPECT_EQ(messages[0]->module(), u"worker");
    EXPECT_EQ(messages[1]->logMessage(), u"second");
    EXPECT_EQ(messages[1]->module(), u"lines.log");
    EXPECT_EQ(messages[1]->timestamp(), 19000000000000000U);
    EXPECT_EQ(messages[1]->threadId(), 0U);
    EXPECT_EQ(messages[1]->logLevel(), 0U);
}

TEST_F(TextLogOfTheFileSink, AreLookedForInTheFirstLinesOnly)
{
    LogMessageContainerBuilder message;
    message.timestamp = 19000000000000000U;
    message.module = "worker";
    message.logMessage = "text";
    write(message);
    QFile file(path_);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const std::string line = file.readAll().toStdString();
    EXPECT_EQ(read(std::string(15, '\n') + line).back()->module(), u"worker");
    EXPECT_EQ(read(std::string(16, '\n') + line).back()->module(), u"lines.log");
    EXPECT_EQ(read(line + std::string(100, '\n') + line).back()->module(), u"worker");
}

TEST(TextLogReader, ALineThatOnlyResemblesTheFileSinksStaysWhole)
{
    const std::string line = std::string(14, ' ') + "worker" + "   19000000000000000" +
                             std::string(19, ' ') + "7" + std::string(7, ' ') + "8" + "text";
    ASSERT_EQ(read(line)[0]->logMessage(), u"text");
    for (const std::size_t at : {25U, 39U, 45U, 59U, 62U, 67U}) {
        std::string other = line;
        other[at] = 'x';
        EXPECT_EQ(read(other)[0]->logMessage().size(), line.size()) << at;
    }
    // A number beyond 64 bits, and one with a blank in it.
    std::string tooLarge = line;
    tooLarge.replace(20, 20, "18446744073709551616");
    EXPECT_EQ(read(tooLarge)[0]->logMessage().size(), line.size());
    tooLarge.replace(20, 20, "18446744073709551615");
    EXPECT_EQ(read(tooLarge)[0]->timestamp(), std::numeric_limits<std::uint64_t>::max());
    std::string parted = line;
    parted[30] = ' ';
    EXPECT_EQ(read(parted)[0]->logMessage().size(), line.size());
    EXPECT_EQ(read(line.substr(0, 68))[0]->logMessage().size(), 68U);
}

// --- Limits

TEST(TextLogReader, ItGivesUpBeforeTheSystemRunsOutOfMemory)
{
    std::string text;
    for (int i = 0; i < 1000; ++i)
        text += std::string(1000, 'x') + '\n';
    QByteArray bytes = QByteArray::fromStdString(text);
    int looks = 0;
    TextLogLimits limits;
    limits.memoryStep = 100000;
    limits.memoryReserve = 1000;
    limits.availableMemory = [&] { return ++looks < 5 ? 1000U : 999U; };
    QBuffer device(&bytes);
    ASSERT_TRUE(device.open(QIODevice::ReadOnly));
    Messages messages;
    EXPECT_THROW(readTextLog(device, u"m", messages, 1, limits), std::bad_alloc);
    EXPECT_EQ(looks, 5);
    EXPECT_TRUE(messages.empty());
    // Some 2,200 bytes a record: it looked about every 46 records.
    limits.availableMemory = [&] { return ++looks, std::uint64_t{1} << 40; };
    looks = 0;
    ASSERT_TRUE(device.seek(0));
    ASSERT_TRUE(readTextLog(device, u"m", messages, 1, limits));
    EXPECT_EQ(messages.size(), 1000U);
    EXPECT_GE(looks, 15);
    EXPECT_LE(looks, 25);
}

class FailingDevice : public QIODevice
{
public:
    FailingDevice() { open(QIODevice::ReadOnly | QIODevice::Unbuffered); }
    bool isSequential() const override { return true; }

private:
    qint64 readData(char* out, qint64) override
    {
        if (given_)
            return -1;
        given_ = true;
        std::memcpy(out, "one\n", 4);
        return 4;
    }
    qint64 writeData(const char*, qint64) override { return -1; }
    bool given_ = false;
};

TEST(TextLogReader, ADeviceThatFailsGivesNothing)
{
    FailingDevice device;
    Messages messages;
    TextLogLimits limits;
    limits.read = 4; // a buffer that one read fills
    EXPECT_FALSE(readTextLog(device, u"m", messages, 1, limits));
    EXPECT_TRUE(messages.empty());
}

TEST(TextLogReader, ControlCharactersTellWhatIsNoText)
{
    using namespace std::string_literals;
    EXPECT_TRUE(looksLikeText(""));
    EXPECT_TRUE(looksLikeText("\0"s));
    EXPECT_TRUE(looksLikeText(std::string(4096, 'x') + std::string(4096, '\0')));
    EXPECT_TRUE(looksLikeText("\x1B[31mred\x1B[0m\r\n\ttext\f\n"));
    EXPECT_TRUE(looksLikeText(std::string(100, '\xE4')));
    EXPECT_FALSE(looksLikeText(std::string(5, '\0')));
    EXPECT_FALSE(looksLikeText("\x7F"
                               "ELF\2\1\1\0\0\0\0\0\0\0\0\0"s));
    std::mt19937 random(3); // like a compressed file
    std::string noise;
    for (int i = 0; i < 4096; ++i)
        noise += static_cast<char>(random());
    EXPECT_FALSE(looksLikeText(noise));
}

} // namespace
} // namespace zuLogging
