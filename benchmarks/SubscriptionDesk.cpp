#include "benchmarks/SubscriptionDesk.h"

#include "logging/ConnectionInfo.h"
#include "logging/SocketAddressText.h"

#include <string>

namespace zuLogging::benchmarks {

SubscriptionDesk::SubscriptionDesk()
    : LogMessageListener({})
{
    start();
    const auto record = encodeConnectionInfo(boundAddress());
    publisher_.publish(connectionInfoName(), record);
}

SubscriptionDesk::~SubscriptionDesk()
{
    stop();
}

void SubscriptionDesk::process(const Packet& request, std::size_t, Packet& acknowledge)
{
    if (request.header().command ==
        static_cast<std::uint16_t>(LogMessageCommand::StartForwarding)) {
        const std::string text(reinterpret_cast<const char*>(request.payload()) + 4,
                               request.header().payloadLength - 4U);
        subscriberPort_ = parseSocketAddress(text).port;
    }
    acknowledge.setHeader(acknowledgeOf(request.header(), PacketStatus::Success));
}

} // namespace zuLogging::benchmarks
