#include "logging/JsonLogWriter.h"

#include "store/LogTableModel.h"
#include "tests/store/StoreTestSupport.h"
#include "tests/support/JsonLogDocument.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <sys/resource.h>

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

std::unique_ptr<LogMessage> message(std::uint64_t number, std::u16string_view text)
{
    return std::make_unique<LogMessage>(
        number, number + 1, number + 2, number * 1000, 8U, std::u16string_view(u"main.cpp:1"),
        std::u16string_view(u"module"), text, text, std::uint64_t{7}, ~std::uint64_t{0});
}

TEST(JsonLogWriter, AnEmptyLogIsAnEmptyArray)
{
    EXPECT_EQ(written({}), test::writtenByDocument(Messages{}));
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
    EXPECT_EQ(written(messages), test::writtenByDocument(messages));
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
    EXPECT_EQ(written(messages), test::writtenByDocument(messages));
}

TEST(JsonLogWriter, EveryLevelIsWrittenAsTheLibrarysDocumentWritesIt)
{
    Messages messages;
    for (int bit = 0; bit <= 64; ++bit) {
        const std::uint64_t level = bit == 64 ? ~std::uint64_t{0} : std::uint64_t{1} << bit;
        for (const std::uint64_t value : {level, level - 1})
            messages.push_back(std::make_unique<LogMessage>(value, value, value, value, value, u"",
                                                            u"", u"", u"", value, value));
    }
    EXPECT_EQ(written(messages), test::writtenByDocument(messages));
}

TEST(JsonLogWriter, LongTextsAreWrittenWholeWhateverTheirLength)
{
    // Pieces of a text end anywhere, also inside a pair.
    Messages messages;
    for (std::size_t length = 0; length < 1200; ++length) {
        std::u16string text(length, u'\0');
        text += u"\U0001F600";
        messages.push_back(message(length, text));
    }
    for (const char16_t unit : {u'x', u'\0', u'\u0416', u'\u4E2D', u'\xD800', u'\xDC00'})
        messages.push_back(message(unit, std::u16string(300000, unit)));
    std::u16string pairs;
    for (int i = 0; i < 100000; ++i)
        pairs += u"\U0001F600";
    messages.push_back(message(1, pairs));
    messages.push_back(message(2, u"\"" + pairs));
    EXPECT_EQ(written(messages), test::writtenByDocument(messages));
}

/// A place that is full after a number of bytes.
class LimitedDevice : public QIODevice
{
public:
    explicit LimitedDevice(qint64 room)
        : room_(room)
    {
        open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }

    qint64 largest = 0; ///< bytes written at a time
    int failures = 0;

private:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char*, qint64 size) override
    {
        largest = std::max(largest, size);
        const qint64 taken = std::min(size, room_);
        room_ -= taken;
        failures += taken < size ? 1 : 0;
        return taken;
    }

    qint64 room_;
};

TEST(JsonLogWriter, ADeviceThatIsFullOnTheWayIsReportedAndLeftAlone)
{
    const Messages messages = [] {
        Messages made;
        for (std::uint64_t i = 0; i < 2000; ++i)
            made.push_back(message(i, u"text"));
        return made;
    }();
    const int whole = written(messages).size();
    for (const int room : {0, 1, 70000, whole / 2, whole - 1, whole}) {
        LimitedDevice device(room);
        JsonLogWriter writer(device);
        for (const auto& each : messages)
            writer.add(*each);
        EXPECT_EQ(writer.failed(), room < whole - 60000) << room;
        EXPECT_EQ(writer.finish(), room == whole) << room;
        EXPECT_EQ(writer.failed(), room != whole) << room;
        EXPECT_EQ(device.failures, room == whole ? 0 : 1) << room;
    }
}

TEST(JsonLogWriter, ATextOfAnyLengthTakesASmallBuffer)
{
    LimitedDevice device(qint64{1} << 40);
    JsonLogWriter writer(device);
    writer.add(*message(1, std::u16string(3000000, u'\0')));
    EXPECT_TRUE(writer.finish());
    EXPECT_LT(device.largest, 100000);
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

// --- The table's file

class JsonLogSave : public testing::Test
{
protected:
    JsonLogSave()
    {
        for (std::uint64_t i = 1; i <= 2500; ++i)
            model.addMessage(test::makeMessage(i));
    }

    QString path(const QString& name) const { return directory_.filePath(name); }
    QStringList files() const
    {
        return QDir(directory_.path())
            .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System);
    }
    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
    static void write(const QString& path, const QByteArray& text)
    {
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(text), text.size());
    }

    LogTableModel model{std::make_shared<test::QuietStore>()};

private:
    QTemporaryDir directory_;
};

TEST_F(JsonLogSave, TheFileHoldsEveryMessageInItsOrderAsTheLibrarysDocumentWritesIt)
{
    Messages copies;
    for (const auto& each : model.messagesFrom(0, model.rowCount()))
        copies.push_back(std::make_unique<LogMessage>(
            each->serviceMsgId(), each->sourceMsgId(), each->senderMsgId(), each->timestamp(),
            each->logLevel(), each->logPos(), each->module(), each->groupName(), each->logMessage(),
            each->processId(), each->threadId()));
    ASSERT_EQ(copies.size(), 2500U);
    EXPECT_TRUE(model.saveToJson(path("log.json")));
    EXPECT_EQ(contents(path("log.json")), test::writtenByDocument(copies));
    EXPECT_EQ(files(), QStringList{"log.json"});
}

TEST_F(JsonLogSave, AnEmptyTableIsAnEmptyArray)
{
    model.clear();
    EXPECT_TRUE(model.saveToJson(path("log.json")));
    EXPECT_EQ(contents(path("log.json")), test::writtenByDocument(Messages{}));
}

TEST_F(JsonLogSave, APresentFileIsReplaced)
{
    write(path("log.json"), QByteArray(5000000, 'x'));
    EXPECT_TRUE(model.saveToJson(path("log.json")));
    EXPECT_TRUE(contents(path("log.json")).startsWith("[\n"));
    EXPECT_TRUE(contents(path("log.json")).endsWith("]\n"));
    EXPECT_EQ(files(), QStringList{"log.json"});
}

TEST_F(JsonLogSave, AnUnwritablePlaceIsAFailureAndNothingIsLeftBehind)
{
    QDir(path("")).mkdir("folder");
    write(path("file"), "text");
    EXPECT_FALSE(model.saveToJson(path("missing/log.json")));
    EXPECT_FALSE(model.saveToJson(path("file/log.json")));
    EXPECT_FALSE(model.saveToJson(path("folder")));
    EXPECT_FALSE(model.saveToJson(QString()));
    EXPECT_EQ(files(), (QStringList{"file", "folder"}));
    EXPECT_EQ(contents(path("file")), "text");
}

/// Files may not grow beyond a size while this lives, as if the disk was full.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t size)
        : handler_(std::signal(SIGXFSZ, SIG_IGN))
    {
        getrlimit(RLIMIT_FSIZE, &before_);
        const rlimit limit{size, before_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &before_);
        std::signal(SIGXFSZ, handler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit before_{};
    void (*handler_)(int);
};

TEST_F(JsonLogSave, AFullDiskIsAFailureAndTheFileBeforeStays)
{
    write(path("log.json"), "before");
    for (const rlim_t size : {0, 1000, 100000}) {
        const FileSizeLimit limit(size);
        EXPECT_FALSE(model.saveToJson(path("log.json"))) << size;
        EXPECT_FALSE(model.saveToJson(path("new.json"))) << size;
    }
    EXPECT_EQ(contents(path("log.json")), "before");
    EXPECT_EQ(files(), QStringList{"log.json"});
}

} // namespace
} // namespace zuLogging
