#include "logging/RecordRing.h"

#include <algorithm>

namespace zuLogging {

RecordRing::RecordRing(std::size_t capacity)
    : slots_(std::max<std::size_t>(capacity, 1))
{
}

void RecordRing::store(const LogMessageContainerView& container) noexcept
{
    RecordedLog& record = slots_[writeIndex_];
    std::copy_n(container.data, std::min(container.length, record.bytes.size()),
                record.bytes.begin());
    record.serviceNumber = container.serviceNumber;
    if (++writeIndex_ == slots_.size()) {
        writeIndex_ = 0;
        wrapped_ = true;
    }
}

RecordRing::Snapshot RecordRing::snapshot() const
{
    const auto records = std::make_shared<std::vector<RecordedLog>>();
    records->reserve(size());
    const auto newest = slots_.begin() + static_cast<std::ptrdiff_t>(writeIndex_);
    if (wrapped_)
        records->insert(records->end(), newest, slots_.end());
    records->insert(records->end(), slots_.begin(), newest);
    return records;
}

} // namespace zuLogging
