#pragma once

#include "logging/PropertyTreeJson.h"
#include "logging/RuleAttribute.h"
#include <zulog/zulog.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zuLogging::client {

/// Up to which level the service lets a program's messages through, read out of the service's
/// configuration so that what is not wanted is not even sent.
///
/// The service itself decides by LoggingRules, which compares names with the case rules of all the
/// world's scripts and needs large tables for it. Here names of other characters than ASCII are
/// only known to be equal when they are the same; where they are not, both answers are thought
/// possible and the more verbose one is given. So a message too many may be sent, never one too
/// few.
///
/// Immutable once made: any thread.
class LevelRules
{
public:
    /// Lets everything through.
    LevelRules() = default;
    /// Throws LogSvcError for a level, destination, id or op that is none of the known names.
    explicit LevelRules(const PropertyTree& document);

    /// The most verbose level that may get through. `process` is the program's base name.
    zulog_level levelFor(std::string_view module, std::string_view process) const;

private:
    enum class Answer
    {
        No,
        Maybe,
        Yes
    };
    using Subject = RuleAttribute::Subject;
    using Operator = RuleAttribute::Operator;
    struct Condition
    {
        Subject subject = Subject::Nothing; ///< also of what is unfinished
        Operator op = Operator::Equal;
        std::vector<std::string> values; ///< one, but for a membership
    };
    struct Scope
    {
        std::vector<Condition> conditions;
        std::optional<zulog_level> level;
        std::optional<bool> isKept; ///< false: the destination is "none"
        std::vector<Scope> specializations;
    };
    struct Question;

    static Scope readScope(const PropertyTree& scope);
    static void readParameters(const PropertyTree& parameters, Scope& scope);
    static Condition readCondition(const PropertyTree& attribute);
    static Answer matches(const Scope& scope, const Question& question);
    static Answer matches(const Condition& condition, std::string_view name);
    static void apply(const Scope& scope, Answer answer, Question& question);

    Scope global_;
};

} // namespace zuLogging::client
