#pragma once

#include "logging/RecordedLog.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace zuLogging {

/// The most recent containers, in slots that all exist from the start: storing never allocates.
/// One thread at a time; no lock.
class RecordRing
{
public:
    using Snapshot = std::shared_ptr<const std::vector<RecordedLog>>;

    /// `capacity` slots, at least one. Throws std::bad_alloc or std::length_error.
    explicit RecordRing(std::size_t capacity);

    /// Copies the container and its number over the oldest record.
    void store(const LogMessageContainerView& container) noexcept;

    std::size_t capacity() const noexcept { return slots_.size(); }
    /// Records held.
    std::size_t size() const noexcept { return wrapped_ ? slots_.size() : writeIndex_; }
    /// The record in slot `index`, below `size`; slots are not in the order of age once the ring
    /// has wrapped.
    const RecordedLog& slot(std::size_t index) const noexcept { return slots_[index]; }

    /// Copies of all records, the oldest first. Throws std::bad_alloc.
    Snapshot snapshot() const;

private:
    std::vector<RecordedLog> slots_;
    std::size_t writeIndex_ = 0;
    bool wrapped_ = false;
};

} // namespace zuLogging
