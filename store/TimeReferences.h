#pragma once

#include "store/LogContainer.h"

#include <QList>
#include <QString>

#include <cstdint>
#include <deque>
#include <memory>
#include <string_view>

namespace zuLogging {

class LogTableModel;

/// The rows of a table model from which the seconds of its time stamps are counted, and what its
/// time stamp cells say. Rows are stored rows. A message counts from the last reference that is not
/// after it, from the first one if all are.
///
/// No lock of its own: whoever calls holds that of the model. Beside it the lock of the store's
/// full model may be taken, for seconds from row 0 of a filtered table.
class TimeReferences
{
public:
    using Messages = std::deque<std::shared_ptr<LogMessage>>;

    // What a cell shows instead of seconds.
    static constexpr std::u16string_view itself = u"*REF*";
    static constexpr std::u16string_view none = u"-Invalid-";

    /// `messages` are those of `model`. All three outlive this; without a store no seconds are
    /// shown.
    TimeReferences(const LogTableModel& model, const LogContainer* store, const Messages& messages);

    /// The store's time display; any thread.
    bool showSeconds() const { return store_ && store_->timeDisplayMode() != 0; }

    /// Ascending.
    const QList<int>& rows() const { return rows_; }
    bool contains(int row) const { return rows_.contains(row); }
    /// Marks a row that is not marked. With the first one the entry that is there from the start
    /// goes, if it is `startRow`.
    void add(int row, int startRow);
    /// Nothing happens when it is not marked.
    void remove(int row);

    /// What the cell of a message in a row shows at present.
    QString cellText(const LogMessage& message, int storedRow) const;
    /// 0 for a reference itself, and when there is none to count from.
    float secondsOf(const LogMessage& message, int storedRow) const;

private:
    enum class Reference
    {
        None,
        Itself,
        Other
    };

    Reference findSeconds(const LogMessage& message, int storedRow, float& seconds) const;
    const LogMessage* at(int row) const;

    const LogTableModel* const model_;
    const LogContainer* const store_;
    const Messages& messages_;
    QList<int> rows_{0};
    bool userHasSet_ = false;
};

} // namespace zuLogging
