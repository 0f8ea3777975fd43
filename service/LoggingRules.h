#pragma once

#include "logging/LogLevel.h"
#include "logging/PropertyTreeJson.h"
#include "logging/RuleAttribute.h"

#include <QString>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace zuLogging {

/// What happens to the messages of one module and process.
struct LoggingDecision
{
    using Destination = RuleDestination;

    static constexpr std::size_t noFile = static_cast<std::size_t>(-1);

    LogLevel level = LogLevel::Debug;
    Destination destination = Destination::LogService;
    std::size_t file = noFile; ///< number among LoggingRules::files()

    /// Whether a message of `messageLevel` is let through. Of several level bits the most severe
    /// one counts. A message without a level (0), or with none that is known, is let through: who
    /// wrote it did not say that it may be left out. With the level "none" nothing passes at all.
    bool lets(std::uint64_t messageLevel) const;
};

/// The rules that a logging configuration states, in a form that can be asked.
///
/// The global parameters come first, then every specialization whose attributes all match, in the
/// document's order, nested ones behind their parents and only if the parent matched; what comes
/// later replaces what came before. Names are compared without regard to case. A specialization
/// without attributes has no condition and always matches. An attribute without "op" asks for
/// equality; one without "id", or without a value, is unfinished and matches nothing. An empty
/// member of an attribute counts as one that is not there. Without a global level and
/// destination everything goes to the sinks.
///
/// Immutable once made: any thread.
class LoggingRules
{
public:
    /// Lets everything through.
    LoggingRules() = default;
    /// Throws LogSvcError for a level, destination, id or op that is none of the known names.
    explicit LoggingRules(const PropertyTree& document);

    LoggingDecision decide(const QString& module, const QString& process) const;

    bool hasSpecializations() const { return !rules_.empty(); }
    /// True if a decision can depend on the process.
    bool namesProcesses() const { return namesProcesses_; }
    /// The files that it names, each once.
    const std::vector<std::string>& files() const { return files_; }
    /// The modules that it names (UTF-8), sorted, each once.
    const std::vector<std::string>& moduleNames() const { return moduleNames_; }

private:
    using Subject = RuleAttribute::Subject;
    using Operator = RuleAttribute::Operator;
    struct Condition
    {
        Subject subject = Subject::Nothing; ///< also of what is unfinished
        Operator op = Operator::Equal;
        uint hash = 0;               ///< of the value: unequal ones need no look at the text
        QString value;               ///< folded
        std::vector<QString> values; ///< folded, of a membership
    };
    struct Settings
    {
        std::optional<LogLevel> level;
        std::optional<LoggingDecision::Destination> destination;
        std::optional<std::size_t> file;
    };
    struct Rule
    {
        std::size_t firstCondition = 0;
        std::size_t endOfConditions = 0;
        Settings settings;
        std::size_t next = 0; ///< the rule behind the nested ones
    };

    void addScope(const PropertyTree& scope, Rule* rule);
    void addSpecialization(const PropertyTree& scope);
    void addSettings(const PropertyTree& parameters, Settings& settings);
    Condition readCondition(const PropertyTree& attribute);
    std::size_t numberOfFile(const std::string& file);
    struct Name
    {
        QString folded;
        uint hash;
    };
    static Name nameToMatch(const QString& name);
    bool matches(const Rule& rule, const Name& module, const Name& process) const;

    std::vector<Rule> rules_;
    std::vector<Condition> conditions_;
    Settings global_;
    std::vector<std::string> files_;
    std::unordered_map<std::string, std::size_t> fileNumbers_;
    std::vector<std::string> moduleNames_;
    bool namesProcesses_ = false;
};

} // namespace zuLogging
