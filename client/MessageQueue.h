#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace zuLogging::client {

/// A ring of memory into which any number of threads write records and from which one thread takes
/// them, in the order in which their room was reserved. Nobody ever waits for anybody: a writer
/// that finds no room is told so.
///
/// A record that is reserved and not yet committed holds back those behind it.
class MessageQueue
{
public:
    static constexpr std::size_t minimumBytes = std::size_t{64} << 10;
    static constexpr std::size_t maximumBytes = std::size_t{1} << 30;
    /// The largest record's payload.
    static constexpr std::size_t maximumPayload = 4096;

    MessageQueue() = default;
    ~MessageQueue() { release(); }
    MessageQueue(const MessageQueue&) = delete;
    MessageQueue& operator=(const MessageQueue&) = delete;

    /// `bytes` between the two bounds, rounded up to a power of two. False: no memory.
    bool allocate(std::size_t bytes) noexcept;
    /// Gives the memory back. Nobody may be using it.
    void release() noexcept;
    std::size_t capacity() const noexcept { return capacity_; }

    /// Room for `size` bytes, aligned to 8; nothing when the queue is full. Any thread.
    std::uint8_t* reserve(std::size_t size) noexcept;
    /// Hands a reserved record over. Sequentially consistent: who commits and then finds that the
    /// reader has lain down to sleep must wake it, and then the reader saw the record or is woken.
    void commit(std::uint8_t* payload) noexcept;

    /// Where the next record will begin: positions only grow. Any thread.
    std::uint64_t end() const noexcept { return head_.load(std::memory_order_acquire); }
    /// Everything before it has been given back. Any thread.
    std::uint64_t begin() const noexcept { return tail_.load(std::memory_order_acquire); }
    bool isMoreThanHalfFull() const noexcept { return end() - begin() > capacity_ / 2; }

    struct Record
    {
        const std::uint8_t* payload;
        std::size_t size;
        std::uint64_t next; ///< the position behind it
    };
    /// The record at `position`, if it has been committed. The reading thread.
    std::optional<Record> at(std::uint64_t position) const noexcept;
    /// Gives back everything before `position`. The reading thread.
    void giveBack(std::uint64_t position) noexcept;

private:
    std::uint8_t* place(std::uint64_t position) const noexcept
    {
        return bytes_ + (position & (capacity_ - 1));
    }

    std::uint8_t* bytes_ = nullptr;
    std::size_t capacity_ = 0;
    // Writers share the one, the reader owns the other: on lines of their own.
    alignas(64) std::atomic<std::uint64_t> head_{0};
    alignas(64) std::atomic<std::uint64_t> tail_{0};
};

} // namespace zuLogging::client
