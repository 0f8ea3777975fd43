#include "logging/NumberGaps.h"

namespace zuLogging {

void NumberGaps::note(const SocketAddress& sender, bool secondary, std::uint64_t number) noexcept
{
    if (number == 0)
        return;
    std::uint64_t& last = senderAt(sender).last[secondary ? 1 : 0];
    if (last != 0 && number >= last) {
        const std::uint64_t step = number - last;
        if (step == 0)
            ledger_.add(LogCount::RepeatedNumbers);
        else if (step > 1 && step < longestGap)
            ledger_.add(LogCount::MissingNumbers, step - 1);
    }
    last = number;
}

NumberGaps::Sender& NumberGaps::senderAt(const SocketAddress& address) noexcept
{
    // The highest bit keeps the key of no address from being that of a free place.
    const std::uint64_t key =
        std::uint64_t{1} << 63 | std::uint64_t{address.address} << 16 | address.port;
    // Spreads ports that follow one another; who makes all meet finds 256 to be the worst.
    auto place = static_cast<std::size_t>((key * 0x9E3779B97F4A7C15U) >> 32) % places;
    while (senders_[place].key != key && senders_[place].key != 0)
        place = (place + 1) % places;
    if (senders_[place].key == key)
        return senders_[place];

    if (count_ == maximumSenders) {
        senders_ = {};
        count_ = 0;
        return senderAt(address);
    }
    ++count_;
    senders_[place].key = key;
    return senders_[place];
}

} // namespace zuLogging
