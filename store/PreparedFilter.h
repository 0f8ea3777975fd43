#pragma once

#include "logging/LogMessageMatcher.h"
#include "store/MessageFilter.h"

#include <vector>

namespace zuLogging {

/// A filter made ready to look at many messages. A plain value; `passes` may be called from any
/// number of threads.
class PreparedFilter
{
public:
    explicit PreparedFilter(const MessageFilter& filter);

    /// What MessageFilter::passes says.
    bool passes(const LogMessage& message) const;

private:
    std::vector<LogMessageMatcher> levels_;
    std::vector<LogMessageMatcher> include_;
    std::vector<LogMessageMatcher> exclude_;
};

} // namespace zuLogging
