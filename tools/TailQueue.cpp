#include "tools/TailQueue.h"

#include "logging/Packet.h"

#include <array>
#include <utility>

namespace zuLogging {

namespace {

constexpr std::size_t lengthSize = 2;
/// Pieces that are kept for later: what a burst has taken beyond them is given back.
constexpr std::size_t spareLimit = 8;

} // namespace

bool TailQueue::Batch::next(LogMessageContainerView& container)
{
    if (left_ == 0)
        return false;
    if (position_ == pieces_[piece_].size()) {
        ++piece_;
        position_ = 0;
    }
    const std::uint8_t* entry = pieces_[piece_].data() + position_;
    container = LogMessageContainerView();
    container.length = loadU16(entry);
    container.data = entry + lengthSize;
    position_ += lengthSize + container.length;
    --left_;
    return true;
}

TailQueue::TailQueue(std::size_t limit, std::function<void()> onFirst)
    : limit_(limit)
    , onFirst_(std::move(onFirst))
{
}

void TailQueue::push(const LogMessageContainerView& container)
{
    const std::size_t needed = lengthSize + container.length;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        ++received_;
        if (needed > limit_ - size_) {
            ++dropped_;
            return;
        }
        if (pieces_.empty() || pieces_.back().size() + needed > pieceSize) {
            if (spares_.empty()) {
                pieces_.emplace_back().reserve(pieceSize);
            } else {
                pieces_.push_back(std::move(spares_.back()));
                spares_.pop_back();
            }
        }
        std::vector<std::uint8_t>& piece = pieces_.back();
        std::array<std::uint8_t, lengthSize> length{};
        storeU16(length.data(), static_cast<std::uint16_t>(container.length));
        piece.insert(piece.end(), length.begin(), length.end());
        piece.insert(piece.end(), container.data, container.data + container.length);
        size_ += needed;
        if (++count_ > 1)
            return;
    }
    onFirst_();
}

void TailQueue::countBroken()
{
    const std::lock_guard<std::mutex> lock(mutex_);
    ++broken_;
}

bool TailQueue::take(Batch& batch)
{
    std::vector<std::vector<std::uint8_t>> used;
    used.swap(batch.pieces_);
    batch.piece_ = 0;
    batch.position_ = 0;
    batch.left_ = 0;
    for (std::vector<std::uint8_t>& piece : used)
        piece.clear();
    if (used.size() > spareLimit)
        used.resize(spareLimit);

    const std::lock_guard<std::mutex> lock(mutex_);
    while (!used.empty() && spares_.size() < spareLimit) {
        spares_.push_back(std::move(used.back()));
        used.pop_back();
    }
    batch.pieces_.swap(pieces_);
    batch.left_ = std::exchange(count_, 0);
    size_ = 0;
    return batch.left_ > 0;
}

std::uint64_t TailQueue::received() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

std::uint64_t TailQueue::dropped() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return dropped_;
}

std::uint64_t TailQueue::broken() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return broken_;
}

} // namespace zuLogging
