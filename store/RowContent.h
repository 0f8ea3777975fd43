#pragma once

#include "logging/LogMessage.h"
#include "store/IdentifierList.h"
#include "store/SortedList.h"

#include <deque>
#include <memory>
#include <utility>

namespace zuLogging {

/// The rows of a table model: made beside it by long work, then exchanged for those that it has,
/// which may be freed where nobody waits for it.
struct RowContent
{
    void add(std::shared_ptr<LogMessage> message)
    {
        identifiers.append(message->serviceMsgId());
        messages.push_back(std::move(message));
    }

    std::deque<std::shared_ptr<LogMessage>> messages; ///< in order of arrival
    IdentifierList identifiers;                       ///< of the same rows
    SortedList sortIndex;                             ///< empty: unsorted
};

} // namespace zuLogging
