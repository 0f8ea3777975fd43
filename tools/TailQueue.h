#pragma once

#include "logging/LogMessageContainer.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace zuLogging {

/// Containers on their way from the thread that receives them to the one that writes them out.
/// Bounded in bytes; what comes when it is full is dropped and counted.
///
/// `push` never waits for the other thread: the lock is held for a copy of one container, or for an
/// exchange of two pointers.
class TailQueue
{
public:
    /// Memory is taken in pieces of this size and used again.
    static constexpr std::size_t pieceSize = 256 * 1024;

    /// What `take` gives: containers one after the other, each behind its length in two bytes.
    class Batch
    {
    public:
        /// The next container, valid until the batch is filled again; false when there is none.
        bool next(LogMessageContainerView& container);
        bool isEmpty() const { return left_ == 0; }
        /// Containers not yet given.
        std::uint64_t left() const { return left_; }

    private:
        friend class TailQueue;

        std::vector<std::vector<std::uint8_t>> pieces_;
        std::size_t piece_ = 0;
        std::size_t position_ = 0;
        std::uint64_t left_ = 0;
    };

    /// `limit` in bytes, counting the lengths. `onFirst` is called by `push` when what it brings is
    /// all that there is.
    TailQueue(std::size_t limit, std::function<void()> onFirst);

    /// Any thread. A container is at most maximumContainer bytes.
    void push(const LogMessageContainerView& container);
    /// Counts a container that could not be queued at all. Any thread.
    void countBroken();

    /// Moves everything to `batch`, whose own containers are forgotten. False when there is
    /// nothing. One thread.
    bool take(Batch& batch);

    /// All that came, dropped or not.
    std::uint64_t received() const;
    std::uint64_t dropped() const;
    std::uint64_t broken() const;

private:
    const std::size_t limit_;
    const std::function<void()> onFirst_;

    mutable std::mutex mutex_;
    std::vector<std::vector<std::uint8_t>> pieces_;
    std::vector<std::vector<std::uint8_t>> spares_;
    std::size_t size_ = 0;
    std::uint64_t count_ = 0;
    std::uint64_t received_ = 0;
    std::uint64_t dropped_ = 0;
    std::uint64_t broken_ = 0;
};

} // namespace zuLogging
