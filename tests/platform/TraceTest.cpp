#include "platform/Trace.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace zuLogging::platform;

// Standard error for the time of a test: a pipe that keeps the bytes of each write together.
class StandardError
{
public:
    StandardError()
    {
        kept_ = ::dup(STDERR_FILENO);
        if (::pipe2(pipe_.data(), O_CLOEXEC | O_DIRECT | O_NONBLOCK) != 0)
            throw std::runtime_error("no pipe");
        ::dup2(pipe_[1], STDERR_FILENO);
    }
    ~StandardError()
    {
        ::dup2(kept_, STDERR_FILENO);
        ::close(kept_);
        ::close(pipe_[0]);
        ::close(pipe_[1]);
    }
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;

    std::vector<std::string> writes() const
    {
        std::vector<std::string> all;
        std::array<char, 4096> buffer{};
        for (;;) {
            const ssize_t length = ::read(pipe_[0], buffer.data(), buffer.size());
            if (length <= 0)
                return all;
            all.emplace_back(buffer.data(), static_cast<std::size_t>(length));
        }
    }

private:
    int kept_ = -1;
    std::array<int, 2> pipe_{};
};

class HandlerScope
{
public:
    explicit HandlerScope(TraceHandler handler)
        : before_(setTraceHandler(std::move(handler)))
    {
    }
    ~HandlerScope() { setTraceHandler(before_); }
    HandlerScope(const HandlerScope&) = delete;
    HandlerScope& operator=(const HandlerScope&) = delete;

private:
    TraceHandler before_;
};

TEST(Trace, EachCallIsOneWriteOfTheTextAsItIs)
{
    std::vector<std::string> writes;
    {
        const StandardError standardError;
        trace("first");
        trace(std::string(1000, 'x') + "\n");
        trace(u"wide");
        writes = standardError.writes();
    }
    EXPECT_EQ(writes, (std::vector<std::string>{"first", std::string(1000, 'x') + "\n", "wide"}));
}

TEST(Trace, Utf16TextComesAsUtf8)
{
    std::string seen;
    const HandlerScope scope([&](std::string_view text) { seen = text; });
    trace(u"a\u00FC\u20AC\U0001F600");
    EXPECT_EQ(seen, "a\xC3\xBC\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(Trace, ALoneSurrogateBecomesTheReplacementCharacter)
{
    std::string seen;
    const HandlerScope scope([&](std::string_view text) { seen = text; });
    const std::u16string text{0xD83D, u'a', 0xDE00, 0xD83D};
    trace(text);
    EXPECT_EQ(seen, "\xEF\xBF\xBD"
                    "a"
                    "\xEF\xBF\xBD\xEF\xBF\xBD");
}

TEST(Trace, AHandlerReplacesStandardErrorAndAnEmptyOneRestoresIt)
{
    std::vector<std::string> handled;
    std::vector<std::string> writes;
    {
        const StandardError standardError;
        const TraceHandler before =
            setTraceHandler([&](std::string_view text) { handled.emplace_back(text); });
        EXPECT_FALSE(before);
        trace("to the handler");
        EXPECT_TRUE(setTraceHandler({}));
        trace("to the system");
        writes = standardError.writes();
    }
    EXPECT_EQ(handled, (std::vector<std::string>{"to the handler"}));
    EXPECT_EQ(writes, (std::vector<std::string>{"to the system"}));
}

TEST(Trace, CallsOfTheHandlerComeOneAtATime)
{
    int count = 0; // no atomic: the calls must not overlap
    std::atomic<int> inside{0};
    std::atomic<bool> overlapped{false};
    const HandlerScope scope([&](std::string_view) {
        if (++inside != 1)
            overlapped = true;
        ++count;
        --inside;
    });
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int n = 0; n < 1000; ++n)
                trace("x");
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(overlapped);
    EXPECT_EQ(count, 4000);
}

} // namespace
