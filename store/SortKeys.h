#pragma once

#include "store/LogField.h"
#include "store/SortedList.h"
#include "store/TimeReferences.h"

#include <QVariant>

#include <memory>

namespace zuLogging {

/// What the keys of a sort index are made of. One index holds one kind, also when the time display
/// has changed since it was built. A plain value without a lock: whoever adds keys holds that of
/// the model whose messages they are of.
struct SortKeys
{
    int field = FieldNone;
    bool inSeconds = false; ///< time stamps

    /// That of one message, in a stored row; invalid for a field that there is not.
    QVariant of(const LogMessage& message, int storedRow, const TimeReferences& references) const;

    /// Makes room for the keys of so many rows.
    void reserve(SortedList& index, int count) const;
    /// Adds the key of the message in a stored row.
    void add(SortedList& index, const std::shared_ptr<LogMessage>& message, int storedRow,
             const TimeReferences& references) const;
    /// Adds those of the stored rows from `first` to before `last`. None for a field that there is
    /// not.
    void add(SortedList& index, const TimeReferences::Messages& messages, int first, int last,
             const TimeReferences& references) const;

private:
    bool isField() const;
    void addTexts(SortedList& index, const TimeReferences::Messages& messages, int first,
                  int last) const;
};

} // namespace zuLogging
