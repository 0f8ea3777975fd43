#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace zuLogging {

/// What is counted on a message's way from the socket to its row.
enum class LogCount : std::size_t
{
    // The server, for each datagram.
    Received,         ///< taken from the socket
    LostInSocket,     ///< dropped by the system because the socket's buffer was full; not received
    RefusedSize,      ///< shorter than a packet's header, or longer than a packet may be
    RefusedMagic,     ///< of no protocol that is spoken here
    RefusedLength,    ///< the header's payload length is impossible, or is not the datagram's
    RefusedFlags,     ///< flags that are not known
    RefusedCommand,   ///< a command that is not known
    RefusedRequest,   ///< a request, no message, that could not be carried out
    RefusedContainer, ///< a message whose container has not the size it says
    Requests,         ///< carried out, and no messages
    Messages,         ///< containers of the right size

    // The numbers that senders count their messages with.
    MissingNumbers,  ///< numbers that never came
    RepeatedNumbers, ///< messages that came again: a sender that got no answer sends once more

    // The listener and its sinks, for each message.
    Unwanted,   ///< kept from the sinks by the service's configuration
    SinkFailed, ///< at least one sink raised an error; it may have reached others
    Ignored,    ///< of the second kind, which the window does not show
    Unreadable, ///< the window's sink could not take the container apart
    NotActive,  ///< came to the store while no logging was under way
    Queued,     ///< appended to the store's queue

    // The store's worker and the models, for each record.
    DroppedFromQueue, ///< the oldest, when the queue was full
    Moved,            ///< from the queue to the model of all messages
    PassedFilter,     ///< of those moved while a filter was set
    FailedFilter,     ///< of those moved while a filter was set
    Loaded,           ///< rows that came from a file
    RemovedAtLimit,   ///< rows that made room for new ones
    Cleared,          ///< rows that the user removed: clear, or a lower limit

    NumberOfCounts
};

/// A copy of all counts. Those that different threads raise may be a moment apart; at rest the sums
/// balance:
///
///     Received = the seven Refused + Requests + Messages
///     Messages = Unwanted + Ignored + Unreadable + NotActive + Queued   (one store, no other sink)
///     Queued = DroppedFromQueue + Moved + what the queue holds
///     Moved + Loaded = rows of the full model + RemovedAtLimit + Cleared
class LogCounts
{
public:
    std::uint64_t operator[](LogCount which) const noexcept
    {
        return counts_[static_cast<std::size_t>(which)];
    }
    std::uint64_t& operator[](LogCount which) noexcept
    {
        return counts_[static_cast<std::size_t>(which)];
    }

    /// All datagrams that were refused.
    std::uint64_t refused() const noexcept;

    /// What was counted since `before`, an earlier copy of the same ledger.
    LogCounts since(const LogCounts& before) const noexcept;

private:
    std::array<std::uint64_t, static_cast<std::size_t>(LogCount::NumberOfCounts)> counts_{};
};

/// The one set of counters of a message's way, so that a person can say of every message that was
/// sent where it is. Owned jointly by those who count; it outlives listeners that come and go.
///
/// Any thread may count and read. Counts only grow, and hold for 2^64 messages.
class LogLedger
{
public:
    void add(LogCount which, std::uint64_t count = 1) noexcept
    {
        // No other memory hangs on a count: relaxed is enough.
        counts_[static_cast<std::size_t>(which)].fetch_add(count, std::memory_order_relaxed);
    }

    std::uint64_t count(LogCount which) const noexcept
    {
        return counts_[static_cast<std::size_t>(which)].load(std::memory_order_relaxed);
    }

    LogCounts counts() const noexcept;

private:
    std::array<std::atomic<std::uint64_t>, static_cast<std::size_t>(LogCount::NumberOfCounts)>
        counts_{};
};

} // namespace zuLogging
