#include "logging/RuleAttribute.h"

#include "logging/LogSvcError.h"

#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

namespace zuLogging {

namespace {

using Operator = RuleAttribute::Operator;
using Subject = RuleAttribute::Subject;

// Not by logLevelName: this file is part of libzulog, which does without Qt.
constexpr std::array<std::pair<std::string_view, LogLevel>, 7> ruleLevels{{
    {"none", LogLevel::None},
    {"fatal", LogLevel::Fatal},
    {"err", LogLevel::Err},
    {"warn", LogLevel::Warn},
    {"info", LogLevel::Info},
    {"trace", LogLevel::Trace},
    {"debug", LogLevel::Debug},
}};
constexpr std::array<std::pair<std::string_view, RuleDestination>, 3> ruleDestinations{{
    {"none", RuleDestination::None},
    {"logsvc", RuleDestination::LogService},
    {"file", RuleDestination::File},
}};
constexpr std::array<std::pair<std::string_view, Subject>, 2> ruleSubjects{{
    {"module", Subject::Module},
    {"process", Subject::Process},
}};
constexpr std::array<std::pair<std::string_view, Operator>, 3> ruleOperators{{
    {"eq", Operator::Equal},
    {"sub", Operator::Substring},
    {"in", Operator::Member},
}};

/// How much of an unknown name goes into the text of the error.
constexpr std::size_t shownRuleName = 40;

[[noreturn]] void refuseRule(const char* what, const std::string& name)
{
    throw LogSvcError(std::string("Unknown ") + what + " '" + name.substr(0, shownRuleName) +
                      "' in the logging configuration");
}

/// Only a member that has a text and nothing else can be one of the known names.
template <typename Known>
auto readRuleName(const PropertyTree& node, const Known& known, const char* what)
{
    if (!node.empty())
        refuseRule(what, "{}");
    for (const auto& [name, meaning] : known)
        if (node.data() == name)
            return meaning;
    refuseRule(what, node.data());
}

} // namespace

RuleAttribute readRuleAttribute(const PropertyTree& attribute)
{
    RuleAttribute read;
    for (const auto& [key, node] : attribute) {
        // An editor adds attributes before they are filled in.
        if (node.empty() && node.data().empty())
            continue;
        if (key == "id")
            read.subject = readRuleName(node, ruleSubjects, "attribute id");
        else if (key == "op")
            read.op = readRuleName(node, ruleOperators, "attribute op");
        else if (key == "value")
            read.value = node.data();
    }
    return read;
}

LogLevel readRuleLevel(const PropertyTree& node)
{
    return readRuleName(node, ruleLevels, "level");
}

RuleDestination readRuleDestination(const PropertyTree& node)
{
    return readRuleName(node, ruleDestinations, "destination");
}

} // namespace zuLogging
