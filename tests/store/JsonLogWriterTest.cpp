#include "store/JsonLogWriter.h"

#include <QBuffer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

namespace zuLogging {
namespace {

using Messages = std::vector<std::unique_ptr<LogMessage>>;

QByteArray written(const Messages& messages)
{
    QBuffer file;
    file.open(QIODevice::WriteOnly);
    JsonLogWriter writer(file);
    for (const auto& message : messages)
        writer.add(*message);
    EXPECT_TRUE(writer.finish());
    return file.data();
}

/// The same by the library's own document, which holds everything in memory.
QByteArray writtenByDocument(const Messages& messages)
{
    QJsonArray array;
    for (const auto& message : messages) {
        QJsonObject object;
        object.insert("ServiceMsgID", QString::number(message->serviceMsgId()));
        object.insert("SourceMsgID", QString::number(message->sourceMsgId()));
        object.insert("SenderMsgID", QString::number(message->senderMsgId()));
        object.insert("ProcessID", QString::number(message->processId()));
        object.insert("ThreadID", QString::number(message->threadId()));
        object.insert("Timestamp", QString::number(message->timestamp()));
        object.insert("LogLevel [Hex]", message->levelCodeText());
        object.insert("LogLevel", message->levelName());
        object.insert("LogPos", toQString(message->logPos()));
        object.insert("Module", toQString(message->module()));
        object.insert("GroupName", toQString(message->groupName()));
        object.insert("LogMessage", toQString(message->logMessage()));
        array.append(object);
    }
    return QJsonDocument(array).toJson(QJsonDocument::Indented);
}

std::unique_ptr<LogMessage> message(std::uint64_t number, std::u16string_view text)
{
    return std::make_unique<LogMessage>(
        number, number + 1, number + 2, number * 1000, 8U, std::u16string_view(u"main.cpp:1"),
        std::u16string_view(u"module"), text, text, std::uint64_t{7}, ~std::uint64_t{0});
}

TEST(JsonLogWriter, AnEmptyLogIsAnEmptyArray)
{
    EXPECT_EQ(written({}), writtenByDocument({}));
}

TEST(JsonLogWriter, OneMessageReadsAsItsFileFormatSays)
{
    Messages messages;
    messages.push_back(std::make_unique<LogMessage>(
        1U, 2U, 3U, 4U, 8U, std::u16string_view(u"f.cpp:1"), std::u16string_view(u"m"),
        std::u16string_view(u"g"), std::u16string_view(u"a \"b\""), 5U, 6U));
    EXPECT_EQ(written(messages), QByteArray("[\n"
                                            "    {\n"
                                            "        \"GroupName\": \"g\",\n"
                                            "        \"LogLevel\": \"info\",\n"
                                            "        \"LogLevel [Hex]\": \"0x08\",\n"
                                            "        \"LogMessage\": \"a \\\"b\\\"\",\n"
                                            "        \"LogPos\": \"f.cpp:1\",\n"
                                            "        \"Module\": \"m\",\n"
                                            "        \"ProcessID\": \"5\",\n"
                                            "        \"SenderMsgID\": \"3\",\n"
                                            "        \"ServiceMsgID\": \"1\",\n"
                                            "        \"SourceMsgID\": \"2\",\n"
                                            "        \"ThreadID\": \"6\",\n"
                                            "        \"Timestamp\": \"4\"\n"
                                            "    }\n"
                                            "]\n"));
}

TEST(JsonLogWriter, EveryUnitOfTextIsWrittenAsTheLibrarysDocumentWritesIt)
{
    Messages messages;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit)
        messages.push_back(message(unit, std::u16string{u'a', static_cast<char16_t>(unit), u'z'}));
    EXPECT_EQ(written(messages), writtenByDocument(messages));
}

TEST(JsonLogWriter, RandomTextsAreWrittenAsTheLibrarysDocumentWritesThem)
{
    std::mt19937 random(1);
    const std::vector<char16_t> units{u'a',  u'"',  u'\\',  u'\n',  0,      0x1F,   0x7F,   0x80,
                                      0x7FF, 0x800, 0xD83D, 0xDE00, 0xD800, 0xDC00, 0xFFFD, 0xFFFF};
    Messages messages;
    for (std::uint64_t i = 0; i < 5000; ++i) {
        std::u16string text(random() % 40, u' ');
        for (char16_t& unit : text)
            unit = units[random() % units.size()];
        messages.push_back(message(i, text));
    }
    EXPECT_EQ(written(messages), writtenByDocument(messages));
}

TEST(JsonLogWriter, ADeviceThatTakesNothingIsReported)
{
    class Full final : public QIODevice
    {
        qint64 readData(char*, qint64) override { return -1; }
        qint64 writeData(const char*, qint64) override { return -1; }
    } full;
    full.open(QIODevice::WriteOnly);
    JsonLogWriter writer(full);
    writer.add(*message(1, u"text"));
    EXPECT_FALSE(writer.finish());
}

} // namespace
} // namespace zuLogging
