// The built program zulogsvc with the sinks of its start-up file.

#include "logging/LogClient.h"
#include "logging/LogMessageContainer.h"
#include "logging/LogMessageContainerBuilder.h"
#include "logging/ServiceStatus.h"
#include "tests/service/ProgramRun.h"
#include "tests/service/RawPeer.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/TestEnvironment.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <stdexcept>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace zuLogging {
namespace {

using test::RawPeer;
using test::ServiceProcess;
using namespace std::chrono_literals;

/// The reading end of a stream that a test gives the program. Reads only when it is told to.
class Reader
{
public:
    explicit Reader(int handle)
        : handle_(handle)
    {
        if (handle < 0)
            throw std::runtime_error("the test needs a stream");
    }
    ~Reader() { ::close(handle_); }
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// All that there is and was.
    const QByteArray& text()
    {
        std::array<char, 4096> piece;
        for (;;) {
            const auto got = ::read(handle_, piece.data(), piece.size());
            if (got <= 0)
                return text_;
            text_.append(piece.data(), static_cast<int>(got));
        }
    }
    int handle() const { return handle_; }

private:
    int handle_;
    QByteArray text_;
};

class ZulogsvcSinks : public ::testing::Test
{
protected:
    ZulogsvcSinks() { QDir(data_.path()).mkpath(QStringLiteral("log")); }

    QString logFile(const char* name) const
    {
        return data_.filePath(QStringLiteral("log/") + QString::fromUtf8(name));
    }
    void writeStartupFile(const QByteArray& sinks)
    {
        QFile file(logFile("LogSvcConf.json"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("{\"startup_sinks\":[" + sinks + "]}");
    }
    static QByteArray contents(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }
    bool start(const QString& locale = QStringLiteral("C"))
    {
        return service_.start(
            {QStringLiteral("ARZDATA=") + data_.path(), QStringLiteral("LC_ALL=") + locale});
    }

    /// Sends a message and waits for its acknowledge.
    bool deliver(const std::string& text)
    {
        LogMessageContainerBuilder builder;
        builder.module = "Mod";
        builder.timestamp = 123456;
        builder.threadId = 7;
        builder.logLevel = 8;
        builder.logMessage = text;
        const auto container = builder.build();
        const auto header =
            peer_.ask(service_.address(), magicLogMessage, 257,
                      {reinterpret_cast<const char*>(container.data()), container.size()});
        return header && header->status == 0;
    }
    /// What a formatting sink makes of it.
    static QByteArray lineOf(const std::string& text)
    {
        return QByteArray("Mod").rightJustified(20) + QByteArray("123456").rightJustified(20) +
               QByteArray("7").rightJustified(20) + QByteArray("8").rightJustified(8) +
               QByteArray::fromStdString(text) + "\n";
    }
    ServiceStatus status() const
    {
        return ServiceStatus::fromJson(
            LogClient(service_.address()).download(LogClientCommand::GetServiceStatus));
    }
    static int received(RawPeer& peer)
    {
        int count = 0;
        while (peer.receive(0ms))
            ++count;
        return count;
    }
    /// Asks for the history and counts what comes.
    int replayed()
    {
        RawPeer viewer;
        const auto header =
            peer_.ask(service_.address(), magicLogMessage, 292, viewer.addressText());
        EXPECT_TRUE(header && header->status == 0);
        int count = 0;
        do
            count += viewer.receive(1ms) ? 1 : 0;
        while (status().recorders.at(0).replays != 0);
        peer_.ask(service_.address(), magicLogMessage, 290,
                  test::sinkPayload(4, viewer.addressText()));
        return count + received(viewer);
    }

    QTemporaryDir data_;
    ServiceProcess service_;
    RawPeer peer_;
};

// Two bytes, three bytes, and two units of UTF-16.
const std::string wideText = "gr\u00fc\u00dfe \u20ac \U0001F600 ";

TEST_F(ZulogsvcSinks, AllSixKindsWorkAndABrokenOneAmongThemIsToldWhileManyMessagesArrive)
{
    for (const char* locale : {"C", "C.UTF-8", "no such locale"}) {
        RawPeer listener;
        writeStartupFile(R"({"type":"cout"}, {"type":"record","media_size":"2000"},
            {"type":"file","path":"not-there/x.log"}, {"type":"trace"},
            {"type":"file","path":"all.log"}, {"type":"cerr"},
            {"type":"forward","address":")" +
                         QByteArray::fromStdString(listener.addressText()) + R"("})");
        ASSERT_TRUE(start(QString::fromUtf8(locale)));
        constexpr int count = 1000;
        QByteArray once;
        QByteArray twice;
        int forwarded = 0;
        for (int i = 0; i < count; ++i) {
            // Most of them are the same again and again.
            const std::string text = wideText + std::to_string(i / 100);
            ASSERT_TRUE(deliver(text)) << i;
            once += lineOf(text);
            twice += lineOf(text) + lineOf(text);
            forwarded += received(listener);
            if (i % 20 == 0)
                QCoreApplication::processEvents(); // empties the pipes
        }
        EXPECT_TRUE(test::waitFor([&] { return (forwarded += received(listener)) == count; }))
            << forwarded;
        EXPECT_EQ(contents(logFile("all.log")), once);
        EXPECT_EQ(replayed(), count);
        EXPECT_EQ(status().taken, static_cast<std::uint64_t>(count));

        EXPECT_EQ(service_.terminate(), 0);
        EXPECT_TRUE(service_.outputText().toUtf8() == twice) << locale;
        EXPECT_TRUE(service_.errorText().toUtf8() ==
                    "zulogsvc: Failed to make start-up sink 3 ('file'): Failed to instantiate a "
                    "file sink No such file or directory\n" +
                        once)
            << locale;
    }
}

TEST_F(ZulogsvcSinks, TheReadyLineAndTheMessagesShareAFile)
{
    writeStartupFile(R"({"type":"cout"})");
    const QString path = data_.filePath(QStringLiteral("out.txt"));
    service_.sendOutputTo(path);
    ASSERT_TRUE(start());
    QByteArray lines;
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(deliver(wideText + std::to_string(i)));
        lines += lineOf(wideText + std::to_string(i));
    }
    EXPECT_EQ(service_.terminate(), 0);
    QByteArray text = contents(path);
    const QByteArray ready =
        "zulogsvc: listening on 127.0.0.1:" + QByteArray::number(service_.address().port) + "\n";
    // It may come after a message, but as a line of its own.
    EXPECT_TRUE(text.startsWith(ready) || text.contains("\n" + ready));
    text.remove(text.indexOf(ready), ready.size());
    EXPECT_EQ(text, lines);
}

TEST_F(ZulogsvcSinks, TheReadyLineAndTheMessagesShareATerminal)
{
    Reader terminal(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
    ASSERT_EQ(::grantpt(terminal.handle()), 0);
    ASSERT_EQ(::unlockpt(terminal.handle()), 0);
    const QString path = QString::fromLocal8Bit(::ptsname(terminal.handle()));
    // Open as long as the test: the other end of a terminal that nobody has open reads as broken.
    const int kept = ::open(path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(kept, 0);
    termios settings{};
    ::tcgetattr(kept, &settings);
    ::cfmakeraw(&settings);
    ::tcsetattr(kept, TCSANOW, &settings);

    writeStartupFile(R"({"type":"cerr"})");
    service_.sendOutputTo(path);
    ASSERT_TRUE(start());
    QByteArray expected =
        "zulogsvc: listening on 127.0.0.1:" + QByteArray::number(service_.address().port) + "\n";
    ASSERT_TRUE(test::waitFor([&] { return terminal.text() == expected; }));
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(deliver(wideText + std::to_string(i)));
        expected += lineOf(wideText + std::to_string(i));
        terminal.text();
    }
    EXPECT_TRUE(test::waitFor([&] { return terminal.text() == expected; }));
    EXPECT_EQ(service_.terminate(), 0);
    ::close(kept);
}

/// How many lines `text` tells: itself, and those that were held back.
int countTold(const QString& text, const QString& beginning)
{
    int told = 0;
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        if (!line.startsWith(beginning))
            continue;
        const QString count = line.section(QLatin1Char('('), -1).section(QLatin1Char(' '), 0, 0);
        if (!line.endsWith(QLatin1String("since the last line)")))
            ++told;
        else if (count == QLatin1String("and"))
            told += 1 + line.section(QLatin1Char('('), -1).section(QLatin1Char(' '), 1, 1).toInt();
        else
            told += count.toInt();
    }
    return told;
}

TEST_F(ZulogsvcSinks, APipeThatNobodyEmptiesDoesNotHoldTheServiceAndWhatItCostsIsTold)
{
    const QString path = data_.filePath(QStringLiteral("pipe"));
    ASSERT_EQ(::mkfifo(path.toLocal8Bit().constData(), 0600), 0);
    Reader pipe(::open(path.toLocal8Bit().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    writeStartupFile(R"({"type":"cout"})");
    service_.sendOutputTo(path);
    ASSERT_TRUE(start());

    constexpr int count = 3000;
    const auto before = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i)
        ASSERT_TRUE(deliver("message " + std::to_string(i))) << i;
    EXPECT_LT(std::chrono::steady_clock::now() - before, 30s);
    EXPECT_EQ(status().taken, static_cast<std::uint64_t>(count));

    // What is there is whole lines, and there is room for others again.
    const int kept = pipe.text().count('\n');
    EXPECT_LT(kept, count);
    ASSERT_TRUE(deliver("the last"));
    EXPECT_TRUE(test::waitFor([&] { return pipe.text().endsWith(lineOf("the last")); }));
    const QList<QByteArray> lines = pipe.text().split('\n');
    int next = 0;
    int written = 0;
    for (const QByteArray& line : lines) {
        if (line.isEmpty() || line.startsWith("zulogsvc:") || line.endsWith("the last"))
            continue;
        const int number = line.mid(line.lastIndexOf(' ') + 1).toInt();
        EXPECT_EQ(line + "\n", lineOf("message " + std::to_string(number)));
        EXPECT_GE(number, next);
        next = number + 1;
        ++written;
    }
    EXPECT_EQ(service_.terminate(), 0);
    EXPECT_EQ(written + countTold(service_.errorText(),
                                  QStringLiteral("zulogsvc: Lost a line for standard output, which "
                                                 "nobody reads now")),
              count);
}

TEST_F(ZulogsvcSinks, AStandardErrorThatNobodyEmptiesDoesNotHoldTheService)
{
    const QString path = data_.filePath(QStringLiteral("pipe"));
    ASSERT_EQ(::mkfifo(path.toLocal8Bit().constData(), 0600), 0);
    Reader pipe(::open(path.toLocal8Bit().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    writeStartupFile(R"({"type":"trace"})");
    service_.sendErrorsTo(path);
    ASSERT_TRUE(start());
    constexpr int count = 3000;
    for (int i = 0; i < count; ++i)
        ASSERT_TRUE(deliver("message " + std::to_string(i))) << i;
    const int written = pipe.text().count('\n');
    EXPECT_LT(written, count);
    ASSERT_TRUE(deliver("the last"));
    EXPECT_TRUE(test::waitFor([&] { return pipe.text().endsWith(lineOf("the last")); }));
    EXPECT_TRUE(pipe.text().contains("\nzulogsvc: lost " + QByteArray::number(count - written) +
                                     " lines here, which nobody read\n"))
        << pipe.text().right(300).constData();
    EXPECT_EQ(service_.terminate(), 0);
}

TEST_F(ZulogsvcSinks, ASecondInstanceDoesNotTouchTheFilesOfTheFirst)
{
    writeStartupFile(R"({"type":"file","path":"all.log"})");
    ASSERT_TRUE(start());
    ASSERT_TRUE(deliver("mine"));
    const test::ProgramRun second =
        test::runProgram(QStringLiteral("zulogsvc"), {}, {},
                         {QStringLiteral("ARZDATA=") + data_.path(), QStringLiteral("LC_ALL=C")});
    EXPECT_EQ(second.status, 1);
    EXPECT_TRUE(second.err.startsWith(QStringLiteral("zulogsvc: a log service is running already")))
        << second.err.toStdString();
    EXPECT_EQ(contents(logFile("all.log")), lineOf("mine"));
    ASSERT_TRUE(deliver("mine too"));
    EXPECT_EQ(contents(logFile("all.log")), lineOf("mine") + lineOf("mine too"));
}

TEST_F(ZulogsvcSinks, TheHistoryBeginsAnewWithTheService)
{
    writeStartupFile(R"({"type":"record","media_size":20})");
    ASSERT_TRUE(start());
    for (int i = 0; i < 21; ++i)
        ASSERT_TRUE(deliver("before"));
    EXPECT_EQ(replayed(), 20);
    service_.kill();

    ASSERT_TRUE(start());
    EXPECT_EQ(replayed(), 0);
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(deliver("after"));
    EXPECT_EQ(replayed(), 3);
    EXPECT_EQ(status().taken, 3U);
    EXPECT_EQ(service_.terminate(), 0);
}

TEST_F(ZulogsvcSinks, WithoutAStartUpFileThereIsAMemoryOf10000MessagesAndTheFileIsMade)
{
    ASSERT_TRUE(start());
    ServiceStatus status = this->status();
    ASSERT_EQ(status.recorders.size(), 1U);
    EXPECT_EQ(status.recorders[0].capacity, 10000U);
    EXPECT_EQ(status.recorders[0].secondaryCapacity, 100U);
    EXPECT_TRUE(status.sinks.empty());
    EXPECT_EQ(status.processId, static_cast<std::uint64_t>(service_.processId()));
    EXPECT_EQ(status.version, "3.1.26");
    const QByteArray made = contents(logFile("LogSvcConf.json"));
    EXPECT_TRUE(made.contains("\"media_size\": \"10000\"")) << made.constData();
    EXPECT_EQ(service_.terminate(), 0);

    // What is there is read and never written.
    ASSERT_TRUE(start());
    EXPECT_EQ(this->status().recorders.at(0).capacity, 10000U);
    EXPECT_EQ(contents(logFile("LogSvcConf.json")), made);
    EXPECT_EQ(service_.terminate(), 0);
    EXPECT_EQ(service_.errorText(), QString());
}

TEST_F(ZulogsvcSinks, WhatIsRefusedIsToldOnceASecondAndCountedToTheLast)
{
    writeStartupFile("");
    ASSERT_TRUE(start());
    constexpr int count = 1000;
    for (int i = 0; i < count; ++i) {
        peer_.send(std::vector<std::uint8_t>{1, 2, 3}, service_.address());
        // So that none of it is lost in the socket's buffer.
        if (i % 50 == 0) {
            ASSERT_TRUE(deliver("x"));
        }
    }
    ASSERT_TRUE(deliver("x"));
    EXPECT_EQ(service_.terminate(), 0);
    const QString errors = service_.errorText();
    EXPECT_LT(errors.count(QLatin1Char('\n')), 30);
    EXPECT_EQ(countTold(errors, QStringLiteral("zulogsvc: Error while processing log protocol "
                                               "requests (process_client_cmd): Received malformed "
                                               "input packet")),
              count);
}

} // namespace
} // namespace zuLogging
