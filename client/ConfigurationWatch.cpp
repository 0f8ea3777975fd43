#include "client/ConfigurationWatch.h"

#include <algorithm>
#include <utility>

namespace zuLogging::client {

namespace {

/// A configuration of megabytes takes its time: looking at it must not become this thread's work.
constexpr int restPerWork = 100;

} // namespace

std::optional<PropertyTree> ConfigurationWatch::look(const SocketAddress& service)
{
    const Clock::time_point begin = Clock::now();
    // Also if this look fails.
    nextLook_ = begin + interval_;
    LogClient client(service);
    std::optional<std::string> text = changedText(client);
    const Clock::time_point end = Clock::now();
    nextLook_ = end + std::max<Clock::duration>(interval_, restPerWork * (end - begin));
    if (!text)
        return std::nullopt;
    text_ = std::move(text);
    return readPropertyTreeObject(*text_);
}

/// The one place that asks whether there is something new: the service tells no version, so the
/// texts are compared.
std::optional<std::string> ConfigurationWatch::changedText(LogClient& service) const
{
    std::string text = service.download(LogClientCommand::GetConfiguration);
    if (text_ == text)
        return std::nullopt;
    return text;
}

} // namespace zuLogging::client
