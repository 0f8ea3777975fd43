#include "logging/LogMessageSinkForwarder.h"

#include "logging/SocketAddressText.h"

namespace zuLogging {

LogMessageSinkForwarder::LogMessageSinkForwarder(std::string_view addressText,
                                                 std::uint32_t containerOperatingMode)
    : LogMessageSink(containerOperatingMode)
    , client_(parseSocketAddress(addressText))
{
}

void LogMessageSinkForwarder::consume(const LogMessageContainerView& container)
{
    client_.forward(container);
}

void LogMessageSinkForwarder::consumeSecondary(const LogMessageContainerView& container)
{
    client_.forward(container);
}

bool LogMessageSinkForwarder::matches(std::string_view argumentText) const
{
    return socketAddressText(client_.server()) == argumentText;
}

std::string LogMessageSinkForwarder::argumentText() const
{
    return socketAddressText(client_.server());
}

} // namespace zuLogging
