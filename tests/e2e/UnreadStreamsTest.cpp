// The program on a virtual display while nobody reads what it writes to its standard streams.

#include "logging/LogClient.h"
#include "logging/ServiceStatus.h"
#include "logging/SinkFactory.h"
#include "logging/SocketAddressText.h"
#include "tests/e2e/WindowRun.h"
#include "tests/service/RawPeer.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/VirtualDisplay.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <array>
#include <optional>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zuLogging {
namespace {

using test::RawPeer;
using test::ServiceProcess;
using test::VirtualDisplay;
using test::waitFor;
using test::WindowRun;

/// A named pipe, and the end of it that is read.
class Pipe
{
public:
    explicit Pipe(const QString& path)
        : path_(path)
    {
        if (::mkfifo(QFile::encodeName(path).constData(), 0600) != 0)
            throw std::runtime_error("the test needs a pipe");
        reader_ = open(O_RDONLY);
    }
    ~Pipe() { closeReader(); }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    const QString& path() const { return path_; }
    void closeReader()
    {
        if (reader_ >= 0)
            ::close(reader_);
        reader_ = -1;
    }
    /// To the last byte.
    void fill()
    {
        const int writer = open(O_WRONLY);
        const std::array<char, 4096> rubbish{};
        for (const std::size_t size : {rubbish.size(), std::size_t{1}})
            while (::write(writer, rubbish.data(), size) > 0) {
            }
        ::close(writer);
    }
    /// All that there is and was.
    const QByteArray& text()
    {
        std::array<char, 4096> piece;
        for (;;) {
            const auto got = ::read(reader_, piece.data(), piece.size());
            if (got <= 0)
                return text_;
            text_.append(piece.data(), static_cast<int>(got));
        }
    }

private:
    int open(int mode) const
    {
        const int handle =
            ::open(QFile::encodeName(path_).constData(), mode | O_NONBLOCK | O_CLOEXEC);
        if (handle < 0)
            throw std::runtime_error("the test needs a pipe");
        return handle;
    }

    QString path_;
    int reader_ = -1;
    QByteArray text_;
};

/// The window, which logs, with a pipe for each of its streams.
class UnreadStreams : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_FALSE(display_.name().isEmpty()) << "no Xvfb";
        ASSERT_TRUE(service_.start());
        window_.emplace(display_.name(), output_.path(), error_.path());
        ASSERT_TRUE(window_->isOpen());
        // The first entry of the menu "Log": "Start logging". A key that comes before the window
        // has the focus is lost.
        bool logs = false;
        for (int tries = 0; tries < 2 && !logs; ++tries) {
            window_->type({QStringLiteral("alt+l"), QStringLiteral("Return")});
            logs = waitFor([this] { return findListener(); });
        }
        ASSERT_TRUE(logs) << "the window does not log";
    }

    /// Where the service forwards to.
    bool findListener()
    {
        const ServiceStatus status = ServiceStatus::fromJson(
            LogClient(service_.address()).download(LogClientCommand::GetServiceStatus));
        for (const ServiceStatus::Sink& sink : status.sinks)
            if (sink.type == "forward") {
                listener_ = parseSocketAddress(sink.argument);
                return true;
            }
        return false;
    }

    /// Whether the thread that receives acknowledges a request.
    bool ask(LogMessageCommand command, std::string_view payload = {})
    {
        const auto header =
            peer_.ask(listener_, magicLogMessage, static_cast<std::uint16_t>(command), payload);
        return header && header->status == 0;
    }
    bool answers() { return ask(LogMessageCommand::NoOperation); }
    bool addSink(SinkType type)
    {
        return ask(LogMessageCommand::StartForwarding,
                   test::sinkPayload(static_cast<std::uint32_t>(type), ""));
    }
    bool deliver(std::uint64_t number, const std::string& text)
    {
        const auto container = test::sampleContainer(number, text);
        return ask(LogMessageCommand::Message,
                   {reinterpret_cast<const char*>(container.data()), container.size()});
    }
    void sendRubbish()
    {
        const std::string text = "hello";
        peer_.send(std::vector<std::uint8_t>(text.begin(), text.end()), listener_);
    }

    /// As a person does; what became of the program.
    std::string closeWindow()
    {
        window_->type({QStringLiteral("ctrl+w")});
        return window_->waitForEnd();
    }

    const VirtualDisplay display_;
    const QTemporaryDir folder_;
    Pipe output_{folder_.filePath(QStringLiteral("output"))};
    Pipe error_{folder_.filePath(QStringLiteral("error"))};
    ServiceProcess service_;
    std::optional<WindowRun> window_;
    platform::SocketAddress listener_;
    RawPeer peer_;
};

enum class Reader
{
    Gone,
    Idle
};

class StreamsWhoseReaderIs : public UnreadStreams, public ::testing::WithParamInterface<Reader>
{
protected:
    void SetUp() override
    {
        UnreadStreams::SetUp();
        for (Pipe* pipe : {&output_, &error_})
            if (GetParam() == Reader::Gone)
                pipe->closeReader();
            else
                pipe->fill();
    }
};

TEST_P(StreamsWhoseReaderIs, DoNotLetARefusedDatagramEndTheWindowOrKeepItOpen)
{
    sendRubbish();
    EXPECT_TRUE(answers());
    EXPECT_EQ(closeWindow(), "status 0");
}

TEST_P(StreamsWhoseReaderIs, DoNotLetMessagesForThemEndTheWindowOrKeepItOpen)
{
    ASSERT_TRUE(addSink(SinkType::Cout));
    ASSERT_TRUE(addSink(SinkType::Trace));
    for (std::uint64_t i = 1; i <= 300; ++i)
        ASSERT_TRUE(deliver(i, "message")) << i;
    EXPECT_EQ(closeWindow(), "status 0");
}

INSTANTIATE_TEST_SUITE_P(Readers, StreamsWhoseReaderIs,
                         ::testing::Values(Reader::Gone, Reader::Idle), [](const auto& param) {
                             return param.param == Reader::Gone ? "Gone" : "Idle";
                         });

TEST_F(UnreadStreams, AreWrittenAgainOnceTheyAreReadAndTellWhatWasLost)
{
    ASSERT_TRUE(addSink(SinkType::Trace));
    error_.fill();
    for (std::uint64_t i = 1; i <= 3; ++i)
        ASSERT_TRUE(deliver(i, "lost " + std::to_string(i))) << i;
    error_.text();
    ASSERT_TRUE(deliver(4, "read again"));
    EXPECT_TRUE(waitFor([this] { return error_.text().endsWith("read again\n"); }));
    EXPECT_TRUE(error_.text().contains("logdesk: lost 3 lines here, which nobody read\n"))
        << error_.text().right(300).constData();
    EXPECT_EQ(closeWindow(), "status 0");
}

TEST_F(UnreadStreams, WhenTheyAreReadHaveEveryLineAsItIs)
{
    const std::string text = "gr\u00fc\u00dfe \u20ac \U0001F600";
    ASSERT_TRUE(addSink(SinkType::Cout));
    ASSERT_TRUE(deliver(1, text));
    sendRubbish();
    ASSERT_TRUE(answers());
    EXPECT_TRUE(
        waitFor([&] { return output_.text().endsWith(QByteArray::fromStdString(text) + "\n"); }));
    EXPECT_EQ(output_.text().count('\n'), 1) << output_.text().constData();
    EXPECT_TRUE(waitFor([this] {
        return error_.text().contains("Error while processing log protocol requests");
    })) << error_.text().constData();
    EXPECT_FALSE(error_.text().contains("logdesk:"));
    EXPECT_EQ(closeWindow(), "status 0");
}

} // namespace
} // namespace zuLogging
