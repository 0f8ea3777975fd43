#pragma once

#include "logging/LogMessageContainer.h"
#include "service/LoggingRules.h"
#include "service/ProcessNames.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace zuLogging {

/// Answers for each message what the rules say about its module and process. The rules are gone
/// through once for each pair of these; after that it is a look-up.
///
/// No lock: the receiving thread's own.
class DecisionCache
{
public:
    /// Messages name modules as they like: so many decisions are remembered, then all are forgotten
    /// and the remembering starts anew.
    static constexpr std::size_t maximumCount = 4096;

    /// `onNewName` is called with a module's name before the first decision about it, and perhaps
    /// again after its decisions were forgotten.
    explicit DecisionCache(std::function<void(std::u16string_view module)> onNewName = {},
                           ProcessNames processNames = ProcessNames());

    /// Puts other rules in force and forgets the decisions.
    void setRules(std::shared_ptr<const LoggingRules> rules);
    const LoggingRules& rules() const { return *rules_; }

    /// What happens to a message; nothing when it is dropped. A field that cannot be read counts as
    /// one that is not there.
    std::optional<LoggingDecision> decide(const LogMessageContainerView& message);

    /// A process is looked up only if a rule names one.
    LoggingDecision decide(std::u16string_view module, std::uint64_t processId);

private:
    std::function<void(std::u16string_view)> onNewName_;
    ProcessNames processNames_;
    std::shared_ptr<const LoggingRules> rules_;
    std::unordered_map<std::u16string, LoggingDecision> decisions_;
    std::u16string key_; ///< module, or module, NUL and process; kept for its memory
};

} // namespace zuLogging
