#pragma once

#include "logging/LogLevel.h"
#include "logging/PropertyTreeJson.h"

#include <string>

namespace zuLogging {

/// An attribute of a specialization, as the logging configuration states it: what the service and
/// those who send it messages read alike, though each compares names in its own way.
struct RuleAttribute
{
    enum class Subject
    {
        Nothing, ///< there is no "id": matches nothing
        Module,
        Process
    };
    enum class Operator
    {
        Equal, ///< also without an "op"
        Substring,
        Member
    };

    Subject subject = Subject::Nothing;
    Operator op = Operator::Equal;
    std::string value; ///< UTF-8, as it stands there; of a membership a list with commas
};

/// Where messages go.
enum class RuleDestination
{
    None,       ///< dropped
    LogService, ///< handed to the sinks
    File        ///< handed to the sinks and written to a file
};

// All three throw LogSvcError for a name that is none of the known ones. Any thread.

/// An empty member counts as one that is not there.
RuleAttribute readRuleAttribute(const PropertyTree& attribute);
/// The member "level" of a parameter set.
LogLevel readRuleLevel(const PropertyTree& node);
/// Its member "destination".
RuleDestination readRuleDestination(const PropertyTree& node);

} // namespace zuLogging
