#include "store/TimeReferences.h"

#include "store/LogTableModel.h"

#include <algorithm>

namespace zuLogging {

TimeReferences::TimeReferences(const LogTableModel& model, const LogContainer* store,
                               const Messages& messages)
    : model_(&model)
    , store_(store)
    , messages_(messages)
{
}

void TimeReferences::add(int row, int startRow)
{
    rows_.append(row);
    if (!userHasSet_) {
        remove(startRow);
        userHasSet_ = true;
    }
    std::sort(rows_.begin(), rows_.end());
}

void TimeReferences::remove(int row)
{
    rows_.removeOne(row);
}

QString TimeReferences::cellText(const LogMessage& message, int storedRow) const
{
    if (!showSeconds())
        return message.timestampText();
    float seconds = 0;
    switch (findSeconds(message, storedRow, seconds)) {
    case Reference::Itself:
        return toQString(itself);
    case Reference::Other:
        return QString::number(static_cast<double>(seconds), 'f', 6);
    case Reference::None:
        break;
    }
    return toQString(none);
}

float TimeReferences::secondsOf(const LogMessage& message, int storedRow) const
{
    float seconds = 0;
    findSeconds(message, storedRow, seconds);
    return seconds;
}

TimeReferences::Reference TimeReferences::findSeconds(const LogMessage& message, int storedRow,
                                                      float& seconds) const
{
    if (rows_.isEmpty())
        return Reference::None;
    int row = rows_.first();
    const LogMessage* reference = at(row);
    for (int i = rows_.size() - 1; i > 0; --i) {
        const LogMessage* const candidate = at(rows_.at(i));
        if (candidate && candidate->timestamp() <= message.timestamp()) {
            row = rows_.at(i);
            reference = candidate;
            break;
        }
    }
    if (!reference)
        return Reference::None;
    std::uint64_t from = reference->timestamp();
    if (row == 0 && store_) {
        // Counted from the first message present, also where a filter hides it.
        const LogTableModel* const full = store_->fullModel();
        if (full && full != model_)
            full->firstTimestamp(from);
    }
    if (row == storedRow)
        return Reference::Itself;
    // Single precision on purpose: what is shown is what is sorted by.
    seconds = static_cast<float>(static_cast<std::int64_t>(message.timestamp() - from)) / 1e6F;
    return Reference::Other;
}

const LogMessage* TimeReferences::at(int row) const
{
    return row >= 0 && row < static_cast<int>(messages_.size())
               ? messages_[static_cast<std::size_t>(row)].get()
               : nullptr;
}

} // namespace zuLogging
