// A program of its own: it replaces the allocation functions of all code in it.

#include "logging/LogMessageSinkRecorder.h"

#include "logging/LogSvcError.h"
#include "tests/support/TestContainer.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/UdpPeer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

std::atomic<std::size_t> allocations{0};
/// Allocations of this size and more fail.
std::atomic<std::size_t> failingSize{std::numeric_limits<std::size_t>::max()};

void* allocate(std::size_t size)
{
    ++allocations;
    void* memory = size < failingSize ? std::malloc(size == 0 ? 1 : size) : nullptr;
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

} // namespace

void* operator new(std::size_t size)
{
    return allocate(size);
}
void* operator new[](std::size_t size)
{
    return allocate(size);
}
void operator delete(void* memory) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory) noexcept
{
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace zuLogging::test {
namespace {

class FailingAllocations
{
public:
    explicit FailingAllocations(std::size_t size) { failingSize = size; }
    ~FailingAllocations() { failingSize = std::numeric_limits<std::size_t>::max(); }
};

TEST(LogMessageSinkRecorderMemory, StoringNeverAllocates)
{
    LogMessageSinkRecorder recorder(10, 3);
    const TestContainer small = TestContainer().text(1, "text");
    const TestContainer large = TestContainer().padTo(1388).setSizeField(1388);
    LogMessageContainerView numbered = large.view();
    numbered.serviceNumber = 5;
    const std::size_t before = allocations;
    for (int i = 0; i < 100; ++i) {
        recorder.consume(small.view());
        recorder.consume(numbered);
        recorder.consumeSecondary(small.view());
        recorder.consumeSecondary(numbered);
    }
    EXPECT_EQ(allocations, before);
    recorder.primaryRing().snapshot();
    EXPECT_GT(allocations, before); // they are counted
}

TEST(LogMessageSinkRecorderMemory, ARecorderThatFindsNoMemoryForARingIsNotMade)
{
    const std::uint64_t capacities[][2] = {{1000, 1}, {1, 1000}};
    for (const auto& capacity : capacities) {
        const FailingAllocations failing(1000 * maximumContainer);
        try {
            const LogMessageSinkRecorder recorder(capacity[0], capacity[1]);
            ADD_FAILURE();
        } catch (const LogSvcError& error) {
            EXPECT_STREQ(error.what(),
                         "Failed to instantiate log recording queue, not enough memory ");
        }
    }
}

TEST(LogMessageSinkRecorderMemory, AReplayThatFindsNoMemoryIsDroppedAndTraced)
{
    const TraceCapture trace;
    UdpPeer destination;
    LogMessageSinkRecorder recorder(100, 10);
    const TestContainer container = TestContainer().ids(4, 0, 0);
    const TestContainer other = TestContainer(containerFlagSecondary).ids(5, 0, 0);
    for (int i = 0; i < 100; ++i)
        recorder.consume(container.view());
    recorder.consumeSecondary(other.view());
    {
        const FailingAllocations failing(100 * maximumContainer);
        EXPECT_NO_THROW(
            recorder.replay(ReplayRequest::everything(), socketAddressText(destination.address())));
    }
    EXPECT_EQ(trace.calls(),
              (std::vector<std::string>{"Failed to replay recorded logs due to insufficient memory",
                                        "\n"}));
    // The other ring's goes on.
    EXPECT_EQ(recorder.replayCount(), 1U);
    const std::optional<Bytes> packet = destination.receive();
    ASSERT_TRUE(packet.has_value());
    EXPECT_EQ(readPacketHeader(packet->data()).command, 258);
    EXPECT_TRUE(waitFor([&] {
        recorder.idle();
        return recorder.replayCount() == 0;
    }));
}

} // namespace
} // namespace zuLogging::test
