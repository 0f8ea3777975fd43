#include "client/MessageQueue.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace zuLogging::client {

namespace {

/// In front of each record. Memory that is free holds zeros, so a place at which nobody has
/// committed anything reads as Open.
struct RecordHeader
{
    std::atomic<std::uint32_t> state;
    std::uint32_t size; ///< of the payload, as it was asked for
};
static_assert(sizeof(RecordHeader) == 8);

enum State : std::uint32_t
{
    Open = 0,
    Message = 1,
    Filler = 2 ///< the rest of the ring's end, too short for the record that came then
};

constexpr std::size_t alignment = 8;

std::size_t roomFor(std::size_t size)
{
    return (sizeof(RecordHeader) + size + alignment - 1) & ~(alignment - 1);
}

RecordHeader* headerAt(std::uint8_t* place)
{
    return reinterpret_cast<RecordHeader*>(place);
}

} // namespace

bool MessageQueue::allocate(std::size_t bytes) noexcept
{
    const std::size_t wanted = std::clamp(bytes, minimumBytes, maximumBytes);
    std::size_t capacity = minimumBytes;
    while (capacity < wanted)
        capacity *= 2;
    // The system gives zeros, and the memory itself when it is first written to.
    bytes_ = static_cast<std::uint8_t*>(std::calloc(capacity, 1));
    capacity_ = bytes_ != nullptr ? capacity : 0;
    return bytes_ != nullptr;
}

void MessageQueue::release() noexcept
{
    std::free(bytes_);
    bytes_ = nullptr;
    capacity_ = 0;
}

std::uint8_t* MessageQueue::reserve(std::size_t size) noexcept
{
    if (size > maximumPayload || bytes_ == nullptr)
        return nullptr;
    const std::size_t room = roomFor(size);
    std::uint64_t position = head_.load(std::memory_order_relaxed);
    std::size_t filler = 0;
    do {
        const std::size_t toTheEnd = capacity_ - (position & (capacity_ - 1));
        filler = room > toTheEnd ? toTheEnd : 0;
        // What the reader gave back is zeroed before it says so.
        const std::uint64_t used = position + filler + room - tail_.load(std::memory_order_acquire);
        // Less than nothing is used where `position` is an old one; the exchange tells.
        if (static_cast<std::int64_t>(used) > static_cast<std::int64_t>(capacity_))
            return nullptr;
    } while (!head_.compare_exchange_weak(position, position + filler + room,
                                          std::memory_order_acq_rel, std::memory_order_relaxed));
    if (filler != 0) {
        RecordHeader* header = headerAt(place(position));
        header->size = static_cast<std::uint32_t>(filler - sizeof(RecordHeader));
        header->state.store(Filler, std::memory_order_release);
        position += filler;
    }
    std::uint8_t* start = place(position);
    headerAt(start)->size = static_cast<std::uint32_t>(size);
    return start + sizeof(RecordHeader);
}

void MessageQueue::commit(std::uint8_t* payload) noexcept
{
    headerAt(payload - sizeof(RecordHeader))->state.store(Message, std::memory_order_seq_cst);
}

std::optional<MessageQueue::Record> MessageQueue::at(std::uint64_t position) const noexcept
{
    for (;;) {
        if (bytes_ == nullptr || position - begin() >= capacity_)
            return std::nullopt; // beyond a ring that is full lies its own beginning
        std::uint8_t* start = place(position);
        RecordHeader* header = headerAt(start);
        const std::uint32_t state = header->state.load(std::memory_order_seq_cst);
        if (state == Open)
            return std::nullopt;
        const std::uint64_t next = position + roomFor(header->size);
        if (state == Message)
            return Record{start + sizeof(RecordHeader), header->size, next};
        position = next;
    }
}

void MessageQueue::giveBack(std::uint64_t position) noexcept
{
    const std::uint64_t from = tail_.load(std::memory_order_relaxed);
    const std::uint64_t count = position - from;
    const std::size_t toTheEnd = capacity_ - (from & (capacity_ - 1));
    const std::size_t first = std::min<std::size_t>(count, toTheEnd);
    std::memset(place(from), 0, first);
    std::memset(bytes_, 0, count - first);
    tail_.store(position, std::memory_order_release);
}

} // namespace zuLogging::client
