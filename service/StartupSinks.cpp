#include "service/StartupSinks.h"

#include "logging/ListenerLimits.h"
#include "logging/LogSvcError.h"
#include "platform/Trace.h"

#include <algorithm>
#include <exception>
#include <string>
#include <typeinfo>

namespace zuLogging {

namespace {

constexpr std::size_t longestShownType = 40;

/// Somebody else's text: it stays on one line, and short.
std::string shownType(const std::string& name)
{
    std::string shown = name.substr(0, longestShownType);
    std::replace_if(
        shown.begin(), shown.end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '?');
    return shown;
}

void addTo(SinkList& sinks, const StartupSink& wanted)
{
    if (!wanted.error.empty())
        throw LogSvcError(wanted.error);
    const auto typeCode = static_cast<std::uint32_t>(wanted.type);
    const std::type_index identity = sinkTypeIdentity(typeCode);
    for (const std::shared_ptr<LogMessageSink>& sink : sinks) {
        const LogMessageSink& other = *sink;
        if (identity != typeid(other))
            continue;
        if (other.matches(wanted.description.argumentText))
            throw LogSvcError("there is one already");
    }
    if (sinks.size() >= ListenerLimits::careful().sinks)
        throw LogSvcError("there are " + std::to_string(sinks.size()) + " sinks already");
    sinks.push_back(makeSink(typeCode, wanted.description));
}

} // namespace

SinkList makeStartupSinks(const std::vector<StartupSink>& wanted)
{
    SinkList sinks;
    for (const StartupSink& one : wanted) {
        try {
            addTo(sinks, one);
        } catch (const std::exception& error) {
            platform::trace("Failed to make start-up sink " + std::to_string(one.number) + " ('" +
                            shownType(one.typeName) + "'): " + error.what() + "\n");
        }
    }
    return sinks;
}

} // namespace zuLogging
