#include "service/LoggingRules.h"

#include <QHash>
#include <QStringList>

#include <algorithm>
#include <iterator>

namespace zuLogging {

namespace {

constexpr std::uint64_t knownLevels = 63;

QString folded(const std::string& text)
{
    return QString::fromStdString(text).toCaseFolded();
}

} // namespace

bool LoggingDecision::lets(std::uint64_t messageLevel) const
{
    if (level == LogLevel::None)
        return false;
    const std::uint64_t known = messageLevel & knownLevels;
    const std::uint64_t mostSevere = known & (~known + 1);
    return mostSevere <= static_cast<std::uint64_t>(level);
}

LoggingRules::LoggingRules(const PropertyTree& document)
{
    addScope(document, nullptr);
    std::sort(moduleNames_.begin(), moduleNames_.end());
    moduleNames_.erase(std::unique(moduleNames_.begin(), moduleNames_.end()), moduleNames_.end());
}

/// Reads what stands in a scope but its nested specializations, then those. `rule` is nothing for
/// the global scope, whose attributes, should it have any, are no conditions.
void LoggingRules::addScope(const PropertyTree& scope, Rule* rule)
{
    Settings settings;
    std::vector<Condition> conditions;
    for (const auto& [key, node] : scope) {
        if (key == "parameters") {
            addSettings(node, settings);
        } else if (key == "attributes") {
            for (const auto& attribute : node)
                conditions.push_back(readCondition(attribute.second));
        }
    }
    if (rule == nullptr) {
        global_ = settings;
    } else {
        rule->firstCondition = conditions_.size();
        std::move(conditions.begin(), conditions.end(), std::back_inserter(conditions_));
        rule->endOfConditions = conditions_.size();
        rule->settings = settings;
    }
    for (const auto& [key, node] : scope)
        if (key == "specializations")
            for (const auto& specialization : node)
                addSpecialization(specialization.second);
}

void LoggingRules::addSpecialization(const PropertyTree& scope)
{
    // The rules move in memory while nested ones are added: the place is kept by number.
    const std::size_t number = rules_.size();
    rules_.emplace_back();
    addScope(scope, &rules_[number]);
    rules_[number].next = rules_.size();
}

void LoggingRules::addSettings(const PropertyTree& parameters, Settings& settings)
{
    for (const auto& [key, node] : parameters) {
        if (key == "level")
            settings.level = readRuleLevel(node);
        else if (key == "destination")
            settings.destination = readRuleDestination(node);
        else if (key == "file")
            settings.file =
                node.data().empty() ? LoggingDecision::noFile : numberOfFile(node.data());
    }
}

LoggingRules::Condition LoggingRules::readCondition(const PropertyTree& attribute)
{
    const RuleAttribute read = readRuleAttribute(attribute);
    const std::string& value = read.value;
    Condition condition;
    condition.subject = read.subject;
    condition.op = read.op;
    std::vector<std::string> names;
    if (condition.op == Operator::Member) {
        const QStringList items = QString::fromStdString(value).split(QLatin1Char(','));
        for (const QString& item : items) {
            const QString name = item.trimmed();
            if (name.isEmpty())
                continue;
            condition.values.push_back(name.toCaseFolded());
            names.push_back(name.toStdString());
        }
    } else if (!value.empty()) {
        condition.value = folded(value);
        condition.hash = qHash(condition.value);
        names.push_back(value);
    }
    if (names.empty())
        condition.subject = Subject::Nothing;
    if (condition.subject == Subject::Module)
        std::move(names.begin(), names.end(), std::back_inserter(moduleNames_));
    namesProcesses_ = namesProcesses_ || condition.subject == Subject::Process;
    return condition;
}

std::size_t LoggingRules::numberOfFile(const std::string& file)
{
    const auto found = fileNumbers_.find(file);
    if (found != fileNumbers_.end())
        return found->second;
    files_.push_back(file);
    fileNumbers_.emplace(file, files_.size() - 1);
    return files_.size() - 1;
}

LoggingDecision LoggingRules::decide(const QString& module, const QString& process) const
{
    LoggingDecision decision;
    const auto apply = [&decision](const Settings& settings) {
        decision.level = settings.level.value_or(decision.level);
        decision.destination = settings.destination.value_or(decision.destination);
        decision.file = settings.file.value_or(decision.file);
    };
    apply(global_);
    const Name moduleName = nameToMatch(module);
    const Name processName = nameToMatch(process);
    for (std::size_t i = 0; i < rules_.size();) {
        const Rule& rule = rules_[i];
        if (matches(rule, moduleName, processName)) {
            apply(rule.settings);
            ++i;
        } else {
            i = rule.next;
        }
    }
    return decision;
}

LoggingRules::Name LoggingRules::nameToMatch(const QString& name)
{
    const QString folded = name.toCaseFolded();
    return {folded, qHash(folded)};
}

bool LoggingRules::matches(const Rule& rule, const Name& module, const Name& process) const
{
    for (std::size_t i = rule.firstCondition; i < rule.endOfConditions; ++i) {
        const Condition& condition = conditions_[i];
        if (condition.subject == Subject::Nothing)
            return false;
        const Name& name = condition.subject == Subject::Module ? module : process;
        bool matched = false;
        switch (condition.op) {
        case Operator::Equal:
            matched = name.hash == condition.hash && name.folded == condition.value;
            break;
        case Operator::Substring:
            matched = name.folded.contains(condition.value);
            break;
        case Operator::Member:
            matched = std::find(condition.values.begin(), condition.values.end(), name.folded) !=
                      condition.values.end();
            break;
        }
        if (!matched)
            return false;
    }
    return true;
}

} // namespace zuLogging
