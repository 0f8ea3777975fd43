#include "store/PreparedFilter.h"

#include "logging/LogLevel.h"

#include <algorithm>

namespace zuLogging {

namespace {

std::vector<LogMessageMatcher> matchersFor(const QStringList& texts, Qt::CaseSensitivity caseRule)
{
    std::vector<LogMessageMatcher> matchers;
    matchers.reserve(static_cast<std::size_t>(texts.size()));
    for (const QString& text : texts)
        matchers.emplace_back(text, caseRule);
    return matchers;
}

bool anyFoundIn(const std::vector<LogMessageMatcher>& matchers, const LogMessage& message)
{
    return std::any_of(matchers.begin(), matchers.end(),
                       [&](const LogMessageMatcher& matcher) { return matcher.foundIn(message); });
}

bool anyFoundInLevel(const std::vector<LogMessageMatcher>& matchers, std::uint64_t level)
{
    // Nobody can ask for the level "none": a filter by level leaves such messages out, whatever
    // texts a settings file holds.
    return level != static_cast<std::uint64_t>(LogLevel::None) &&
           std::any_of(matchers.begin(), matchers.end(), [&](const LogMessageMatcher& matcher) {
               return matcher.foundInLevelName(level);
           });
}

} // namespace

PreparedFilter::PreparedFilter(const MessageFilter& filter)
    : levels_(matchersFor(filter.levels, Qt::CaseInsensitive))
    , include_(matchersFor(filter.include, filter.includeCase))
    , exclude_(matchersFor(filter.exclude, filter.excludeCase))
{
}

bool PreparedFilter::passes(const LogMessage& message) const
{
    return (levels_.empty() || anyFoundInLevel(levels_, message.logLevel())) &&
           (include_.empty() || anyFoundIn(include_, message)) && !anyFoundIn(exclude_, message);
}

} // namespace zuLogging
