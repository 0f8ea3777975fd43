#include "logging/LogMessageSinkForwarder.h"

#include "logging/SocketAddressText.h"
#include "platform/Trace.h"

#include <exception>
#include <utility>

namespace zuLogging {

LogMessageSinkForwarder::LogMessageSinkForwarder(std::string_view addressText,
                                                 std::uint32_t containerOperatingMode)
    : LogMessageSink(containerOperatingMode)
    , client_(parseSocketAddress(addressText))
{
}

void LogMessageSinkForwarder::consume(const LogMessageContainerView& container)
{
    forward(container);
}

void LogMessageSinkForwarder::consumeSecondary(const LogMessageContainerView& container)
{
    forward(container);
}

void LogMessageSinkForwarder::forward(const LogMessageContainerView& container)
{
    try {
        client_.forward(container);
    } catch (...) {
        ++failedCount_;
        if (!std::exchange(isFailing_, true))
            tellFailure();
        throw;
    }
    isFailing_ = false;
    ++sentCount_;
}

/// The error itself says nothing of where it was to go.
void LogMessageSinkForwarder::tellFailure() const noexcept
{
    try {
        platform::trace("Messages cannot be forwarded to " + argumentText() + "\n");
    } catch (const std::exception&) {
    }
}

bool LogMessageSinkForwarder::matches(std::string_view argumentText) const
{
    return socketAddressText(client_.server()) == argumentText;
}

std::string LogMessageSinkForwarder::argumentText() const
{
    return socketAddressText(client_.server());
}

bool LogMessageSinkForwarder::isDestinationGone() const
{
    const Packet nothing =
        makeRequest(magicLogMessage, static_cast<std::uint16_t>(LogMessageCommand::NoOperation),
                    nullptr, 0, flagNoAcknowledge);
    return platform::isNobodyThere(client_.server(), nothing.bytes(), nothing.size());
}

} // namespace zuLogging
