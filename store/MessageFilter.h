#pragma once

#include "logging/LogMessage.h"

#include <QStringList>

namespace zuLogging {

/// Which messages pass: by level, by texts that a message must contain (any of them) and by texts
/// that it must not contain (none of them). A plain value; `passes` may be called from any thread.
/// To ask many messages, make a PreparedFilter once.
struct MessageFilter
{
    QStringList include;
    QStringList levels;
    QStringList exclude;
    Qt::CaseSensitivity includeCase = Qt::CaseInsensitive;
    Qt::CaseSensitivity excludeCase = Qt::CaseInsensitive;

    bool isEmpty() const { return include.isEmpty() && levels.isEmpty() && exclude.isEmpty(); }
    bool passes(const LogMessage& message) const;

    friend bool operator==(const MessageFilter& a, const MessageFilter& b)
    {
        return a.include == b.include && a.levels == b.levels && a.exclude == b.exclude &&
               a.includeCase == b.includeCase && a.excludeCase == b.excludeCase;
    }
};

} // namespace zuLogging
