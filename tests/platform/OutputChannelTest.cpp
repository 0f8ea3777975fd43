#include "platform/OutputChannel.h"

#include "platform/Process.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

namespace {

using namespace zuLogging::platform;
using namespace std::chrono_literals;
using Event = OutputChannel::Event;
using Result = OutputChannel::Result;

constexpr std::size_t mebibyte = 1024 * 1024;

/// Two ends of something; what is written at one is read at the other.
class Ends
{
public:
    enum Kind
    {
        Pipe,
        /// A pipe to which no second way can be opened.
        PipeAsItIs,
        Socket,
        Terminal
    };

    explicit Ends(Kind kind)
        : kind_(kind)
    {
        ignoreBrokenPipes();
        std::array<int, 2> ends{-1, -1};
        switch (kind) {
        case Pipe:
        case PipeAsItIs:
            EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
            break;
        case Socket:
            EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
            break;
        case Terminal: {
            ends[0] = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
            EXPECT_EQ(::grantpt(ends[0]), 0);
            EXPECT_EQ(::unlockpt(ends[0]), 0);
            std::array<char, 64> name{};
            EXPECT_EQ(::ptsname_r(ends[0], name.data(), name.size()), 0);
            ends[1] = ::open(name.data(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
            break;
        }
        }
        reader_ = ends[0];
        writer_ = ends[1];
        EXPECT_GE(writer_, 0);
    }
    ~Ends()
    {
        closeReader();
        ::close(writer_);
    }

    std::unique_ptr<OutputChannel> channel() const
    {
        if (kind_ != PipeAsItIs)
            return std::make_unique<OutputChannel>(writer_);
        rlimit before{};
        EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
        rlimit none = before;
        none.rlim_cur = 0;
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
        auto made = std::make_unique<OutputChannel>(writer_);
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
        return made;
    }

    void closeReader()
    {
        if (reader_ >= 0)
            ::close(reader_);
        reader_ = -1;
    }
    /// Reads `count` bytes, waiting for them.
    std::string read(std::size_t count) const
    {
        std::string all(count, '\0');
        std::size_t got = 0;
        while (got < count) {
            const ssize_t more = ::read(reader_, all.data() + got, count - got);
            if (more <= 0)
                break;
            got += static_cast<std::size_t>(more);
        }
        all.resize(got);
        return all;
    }
    int writer() const { return writer_; }

private:
    Kind kind_;
    int reader_ = -1;
    int writer_ = -1;
};

/// Every kind of stream with a reader.
class OutputChannelTo : public ::testing::TestWithParam<Ends::Kind>
{
protected:
    const WakeSignal wake_;
};

TEST_P(OutputChannelTo, WhatIsWrittenArrives)
{
    const Ends ends(GetParam());
    const auto channel = ends.channel();
    EXPECT_TRUE(channel->isOpen());
    EXPECT_EQ(channel->isTerminal(), GetParam() == Ends::Terminal);
    std::string_view text = "hello";
    EXPECT_EQ(channel->write(text), Result::Done);
    EXPECT_TRUE(text.empty());
    EXPECT_EQ(ends.read(5), "hello");
}

TEST_P(OutputChannelTo, AReaderThatTakesNothingIsNotWaitedFor)
{
    const Ends ends(GetParam());
    const auto channel = ends.channel();
    const std::string much(4 * mebibyte, 'x');
    std::string_view left = much;
    EXPECT_EQ(channel->write(left), Result::Full);
    EXPECT_FALSE(left.empty());
    EXPECT_LT(left.size(), much.size());
    // A terminal takes some more, little by little; but soon there is no end of it.
    int rounds = 0;
    while (channel->wait(50ms, wake_, true) == Event::Room && ++rounds < 100) {
        EXPECT_EQ(channel->write(left), Result::Full);
        EXPECT_FALSE(left.empty());
    }
    EXPECT_LT(rounds, 100);

    // With room again it goes on, and every byte comes once.
    std::thread reader([&] { EXPECT_EQ(ends.read(much.size()), much); });
    while (!left.empty()) {
        EXPECT_EQ(channel->wait(10s, wake_, true), Event::Room);
        const Result result = channel->write(left);
        EXPECT_TRUE(result == Result::Done || result == Result::Full);
    }
    reader.join();
}

TEST_P(OutputChannelTo, AReaderThatHasGoneIsNoticedWithoutAWrite)
{
    Ends ends(GetParam());
    const auto channel = ends.channel();
    EXPECT_EQ(channel->wait(10ms, wake_, false), Event::TimedOut);
    std::thread closer([&] { ends.closeReader(); });
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(channel->wait(10s, wake_, false), Event::Closed);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
    closer.join();
    EXPECT_EQ(channel->wait(10s, wake_, true), Event::Closed);
    std::string_view text = "x";
    EXPECT_EQ(channel->write(text), Result::Closed);
}

TEST_P(OutputChannelTo, TheWakeSignalEndsAWait)
{
    const Ends ends(GetParam());
    const auto channel = ends.channel();
    WakeSignal wake;
    wake.raise();
    EXPECT_EQ(channel->wait(10s, wake, false), Event::Woken);
    EXPECT_EQ(channel->wait(10s, wake, true), Event::Woken);
    wake.lower();
    EXPECT_EQ(channel->wait(10s, wake, true), Event::Room);
}

TEST_P(OutputChannelTo, OtherWritersOfTheStreamStillWait)
{
    const Ends ends(GetParam());
    const auto channel = ends.channel();
    EXPECT_EQ(::fcntl(ends.writer(), F_GETFL) & O_NONBLOCK, 0);
}

INSTANTIATE_TEST_SUITE_P(Streams, OutputChannelTo,
                         ::testing::Values(Ends::Pipe, Ends::PipeAsItIs, Ends::Socket,
                                           Ends::Terminal));

TEST(OutputChannel, ATerminalThatTakesNothingIsNotTriedAgainAndAgain)
{
    const Ends ends(Ends::Terminal);
    const auto channel = ends.channel();
    std::string lines; // each end takes two bytes of a terminal
    for (std::size_t i = 0; i < mebibyte; ++i)
        lines += "a\n";
    std::string_view left = lines;
    const WakeSignal wake;
    int rounds = 0;
    do
        EXPECT_EQ(channel->write(left), Result::Full);
    while (++rounds < 100 && channel->wait(50ms, wake, true) == Event::Room);
    EXPECT_LT(rounds, 100);
}

TEST(OutputChannel, AFileIsWrittenOnWhereItWas)
{
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    const int handle = ::fileno(file);
    ASSERT_EQ(::write(handle, "ab", 2), 2);
    OutputChannel channel(handle);
    const std::string more(mebibyte, 'c');
    std::string_view text = more;
    EXPECT_EQ(channel.write(text), Result::Done);
    EXPECT_EQ(channel.wait(10s, WakeSignal(), true), Event::Room);
    EXPECT_EQ(channel.wait(1ms, WakeSignal(), false), Event::TimedOut);
    std::string all(mebibyte + 2, '\0');
    ASSERT_EQ(::pread(handle, all.data(), all.size(), 0), static_cast<ssize_t>(all.size()));
    EXPECT_EQ(all, "ab" + more);
    std::fclose(file);
}

TEST(OutputChannel, ADiskWithoutRoomIsAFailureWithTheSystemsText)
{
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(full, 0);
    OutputChannel channel(full);
    std::string_view text = "x";
    EXPECT_EQ(channel.write(text), Result::Failed);
    EXPECT_EQ(channel.error(), "No space left on device");
    EXPECT_EQ(text, "x");
    ::close(full);
}

TEST(OutputChannel, AStreamThatIsNotThereIsNotOpenAndFailsEveryWrite)
{
    OutputChannel channel(-1);
    EXPECT_FALSE(channel.isOpen());
    EXPECT_FALSE(channel.isTerminal());
    std::string_view text = "x";
    EXPECT_EQ(channel.write(text), Result::Failed);
    EXPECT_EQ(channel.error(), "Bad file descriptor");
    EXPECT_EQ(channel.wait(1ms, WakeSignal(), false), Event::TimedOut);
    EXPECT_EQ(channel.wait(10s, WakeSignal(), true), Event::Room);
}

} // namespace
