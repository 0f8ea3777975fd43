#include "store/MessageFilter.h"

#include <algorithm>

namespace zuLogging {

namespace {

bool matchesAny(const LogMessage& message, const QStringList& texts, Qt::CaseSensitivity caseRule)
{
    return std::any_of(texts.begin(), texts.end(),
                       [&](const QString& text) { return message.contains(text, caseRule); });
}

bool passesLevels(const LogMessage& message, const QStringList& levels)
{
    if (levels.isEmpty())
        return true;
    // Nobody can ask for the level "none": a filter by level leaves such messages out, whatever
    // texts a settings file holds.
    if (message.logLevel() == static_cast<std::uint64_t>(LogLevel::None))
        return false;
    const QString name = message.levelName();
    return std::any_of(levels.begin(), levels.end(), [&](const QString& level) {
        return name.contains(level, Qt::CaseInsensitive);
    });
}

} // namespace

bool MessageFilter::passes(const LogMessage& message) const
{
    return passesLevels(message, levels) &&
           (include.isEmpty() || matchesAny(message, include, includeCase)) &&
           !matchesAny(message, exclude, excludeCase);
}

} // namespace zuLogging
