#pragma once

#include "logging/ConnectionInfo.h"
#include "logging/LogClient.h"
#include "logging/LogMessageContainerBuilder.h"
#include "logging/LogMessageListener.h"
#include "platform/SharedMemory.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace zuLogging::test {

/// A log service in small: takes messages, numbers them, hands them to whoever subscribes, and
/// tells the machine (under this test's private name) where it listens.
class ServiceStandIn final : public LogMessageListener
{
public:
    ServiceStandIn()
        : LogMessageListener(SinkList{})
    {
        start();
        EXPECT_EQ(publisher_.publish(connectionInfoName(), encodeConnectionInfo(boundAddress())),
                  platform::SharedMemoryPublisher::Result::Published)
            << publisher_.error();
    }
    ~ServiceStandIn() override { stop(); }

protected:
    bool assignsServiceIds() const override { return true; }

private:
    platform::SharedMemoryPublisher publisher_;
};

/// An application that logs through the service: each message is acknowledged.
class Sender
{
public:
    explicit Sender(const SocketAddress& service)
        : client_(service)
    {
    }

    void send(std::uint64_t sourceNumber)
    {
        LogMessageContainerBuilder builder;
        builder.sourceMsgId = sourceNumber;
        builder.timestamp = 208188ULL * 86400ULL * 1000000ULL + sourceNumber;
        builder.logLevel = 8;
        builder.module = "sender";
        builder.logMessage = "message " + std::to_string(sourceNumber);
        const std::vector<std::uint8_t> bytes = builder.build();
        LogMessageContainerView view;
        view.data = bytes.data();
        view.length = bytes.size();
        view.capacity = bytes.size();
        client_.deliver(view);
    }

private:
    LogClient client_;
};

} // namespace zuLogging::test
