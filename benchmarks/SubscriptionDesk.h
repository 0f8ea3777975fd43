#pragma once

#include "logging/LogMessageListener.h"
#include "platform/SharedMemory.h"

#include <atomic>
#include <cstdint>

namespace zuLogging::benchmarks {

/// The service that the viewer subscribes at. It only takes note of the viewer's address; the
/// messages come from a traffic process. Publishes itself under the connection-info name of the
/// environment.
class SubscriptionDesk final : public LogMessageListener
{
public:
    SubscriptionDesk();
    ~SubscriptionDesk() override;

    SocketAddress subscriber() const { return {platform::loopbackAddress, subscriberPort_.load()}; }

protected:
    bool assignsServiceIds() const override { return true; }
    void process(const Packet& request, std::size_t length, Packet& acknowledge) override;

private:
    platform::SharedMemoryPublisher publisher_;
    std::atomic<std::uint16_t> subscriberPort_{0};
};

} // namespace zuLogging::benchmarks
