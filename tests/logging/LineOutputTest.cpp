#include "logging/LineOutput.h"

#include "logging/LineBuffer.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zuLogging {
namespace {

/// A stream with two ends, of which the test reads one when it likes.
class Ends
{
public:
    enum class Kind
    {
        Pipe,
        Socket ///< what a service manager gives
    };
    explicit Ends(Kind kind)
    {
        const int made = kind == Kind::Pipe
                             ? ::pipe2(ends_.data(), O_CLOEXEC)
                             : ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_.data());
        if (made != 0)
            throw std::runtime_error("the test needs a pipe");
        ::signal(SIGPIPE, SIG_IGN);
    }
    ~Ends()
    {
        closeReader();
        ::close(ends_[1]);
    }
    Ends(const Ends&) = delete;
    Ends& operator=(const Ends&) = delete;

    int writer() const { return ends_[1]; }
    void closeReader()
    {
        if (ends_[0] >= 0)
            ::close(ends_[0]);
        ends_[0] = -1;
    }
    /// What is there, up to `limit` bytes.
    std::string read(std::size_t limit)
    {
        std::string bytes(limit, '\0');
        const int flags = ::fcntl(ends_[0], F_GETFL);
        ::fcntl(ends_[0], F_SETFL, flags | O_NONBLOCK);
        std::size_t filled = 0;
        while (filled < limit) {
            const auto got = ::read(ends_[0], &bytes[filled], limit - filled);
            if (got <= 0)
                break;
            filled += static_cast<std::size_t>(got);
        }
        ::fcntl(ends_[0], F_SETFL, flags);
        bytes.resize(filled);
        return bytes;
    }
    /// Waits for something.
    std::string readSome()
    {
        std::string bytes(5000, '\0');
        const auto got = ::read(ends_[0], &bytes[0], bytes.size());
        bytes.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
        return bytes;
    }
    std::string readAll() { return read(std::size_t{1} << 24); }

private:
    std::array<int, 2> ends_{-1, -1};
};

/// Longer than what a pipe takes whole or not at all.
std::string line(int number)
{
    return "line " + std::to_string(number) + " " + std::string(6000, 'x') + "\n";
}

class LineOutputTo : public ::testing::TestWithParam<Ends::Kind>
{
protected:
    /// Writes lines until one is lost; returns how many were not.
    int fill()
    {
        int written = 0;
        while (output_->write(line(written)) == LineOutput::Result::Written)
            ++written;
        return written;
    }

    Ends ends_{GetParam()};
    std::unique_ptr<LineOutput> output_ = std::make_unique<LineOutput>(ends_.writer());
};

TEST_P(LineOutputTo, LinesComeAsTheyAre)
{
    EXPECT_EQ(output_->write("one\n"), LineOutput::Result::Written);
    EXPECT_EQ(output_->write("two\nthree\n"), LineOutput::Result::Written);
    EXPECT_EQ(ends_.readAll(), "one\ntwo\nthree\n");
}

TEST_P(LineOutputTo, AReaderThatDoesNotReadHoldsTheWriterOnceAndLinesAreLostWhole)
{
    const auto before = std::chrono::steady_clock::now();
    const int written = fill();
    EXPECT_GT(written, 10);
    // Clocks of different grain: nearly so long.
    EXPECT_GE(std::chrono::steady_clock::now() - before, LineOutput::patience * 9 / 10);

    // From now on there is no waiting: 200 more would take 20 seconds with it.
    const auto stuck = std::chrono::steady_clock::now();
    for (int i = 0; i < 200; ++i)
        ASSERT_EQ(output_->write(line(999)), LineOutput::Result::Lost);
    EXPECT_LT(std::chrono::steady_clock::now() - stuck, std::chrono::seconds(5));

    std::string read = ends_.readAll();
    EXPECT_EQ(output_->write("there again\n"), LineOutput::Result::Written);
    read += ends_.readAll();
    std::string expected;
    for (int i = 0; i < written; ++i)
        expected += line(i);
    EXPECT_TRUE(read == expected + "there again\n") << read.size() << " bytes";
}

TEST_P(LineOutputTo, AReaderThatReadsWithinThePatienceLosesNothing)
{
    std::string read;
    constexpr int count = 500;
    std::thread reader([&] {
        const std::string last = line(count - 1);
        while (read.size() < last.size() ||
               read.compare(read.size() - last.size(), last.size(), last) != 0)
            read += ends_.readSome();
    });
    std::string expected;
    int lost = 0;
    for (int i = 0; i < count; ++i) {
        // A reader that the machine does not let run for longer than that is no failure of ours.
        while (output_->write(line(i)) != LineOutput::Result::Written)
            ++lost;
        expected += line(i);
    }
    reader.join();
    EXPECT_TRUE(read == expected) << read.size() << " bytes";
    EXPECT_LT(lost, count);
}

TEST_P(LineOutputTo, AReaderThatIsGoneIsTold)
{
    ends_.closeReader();
    EXPECT_EQ(output_->write("one\n"), LineOutput::Result::Closed);
    EXPECT_EQ(output_->write("two\n"), LineOutput::Result::Closed);
}

TEST_P(LineOutputTo, AReaderThatGoesWhileItIsWaitedForIsTold)
{
    fill();
    ends_.closeReader();
    EXPECT_EQ(output_->write("two\n"), LineOutput::Result::Closed);
}

INSTANTIATE_TEST_SUITE_P(Streams, LineOutputTo,
                         ::testing::Values(Ends::Kind::Pipe, Ends::Kind::Socket));

TEST(LineOutput, AStreamThatIsNotThereFails)
{
    LineOutput output(1000);
    EXPECT_EQ(output.write("one\n"), LineOutput::Result::Failed);
    EXPECT_NE(output.error(), "");
}

TEST(LineBuffer, HandsOnWholeLinesWhenItIsFlushed)
{
    std::vector<std::wstring> calls;
    LineBuffer<wchar_t> buffer([&](std::wstring_view lines) { calls.emplace_back(lines); });
    std::wostream stream(&buffer);
    stream << L"one";
    stream << std::flush;
    EXPECT_TRUE(calls.empty());
    stream << L" more\ntwo\nhalf" << std::flush << std::flush;
    stream.put(L'\x20AC');
    stream << std::endl;
    EXPECT_EQ(calls, (std::vector<std::wstring>{L"one more\ntwo\n", L"half\x20AC\n"}));
    EXPECT_TRUE(stream.good());
}

} // namespace
} // namespace zuLogging
