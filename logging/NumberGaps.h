#pragma once

#include "logging/LogLedger.h"
#include "logging/SocketAddressText.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace zuLogging {

/// Finds messages that were lost on their way by the numbers that senders give them: each sender
/// counts its messages of either kind from 1. What is missing and what came twice goes to a ledger.
///
/// A sender is a socket. One that begins anew has a smaller number than before, and is taken as it
/// is, as every first number is; so a replay, which is sent from a socket of its own, makes no gap.
/// 0 is no number.
///
/// Bounded in memory. No lock: the receiving thread's own.
class NumberGaps
{
public:
    /// So many senders are kept in mind; one more makes all forgotten, whose next numbers are first
    /// ones then.
    static constexpr std::size_t maximumSenders = 256;
    /// A step of so many or more is a new beginning. Nobody can have sent that many in between, and
    /// any program of the machine could make the count of what is missing senseless with one
    /// message.
    static constexpr std::uint64_t longestGap = std::uint64_t{1} << 32;

    /// The ledger must outlive this.
    explicit NumberGaps(LogLedger& ledger) noexcept
        : ledger_(ledger)
    {
    }

    /// A message with that number came. `secondary`: one of the second kind.
    void note(const SocketAddress& sender, bool secondary, std::uint64_t number) noexcept;

    std::size_t senderCount() const noexcept { return count_; }

private:
    struct Sender
    {
        std::uint64_t key = 0;               ///< 0: this place is free
        std::array<std::uint64_t, 2> last{}; ///< of either kind; 0: none has come
    };
    /// Half of them stay free, so that the search is short.
    static constexpr std::size_t places = 2 * maximumSenders;

    Sender& senderAt(const SocketAddress& address) noexcept;

    LogLedger& ledger_;
    std::array<Sender, places> senders_{};
    std::size_t count_ = 0;
};

} // namespace zuLogging
