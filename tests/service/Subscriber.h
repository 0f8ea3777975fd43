#pragma once

#include "logging/DecodedMessage.h"
#include "logging/LogMessageSecondaryListener.h"

#include <memory>
#include <mutex>
#include <vector>

namespace zuLogging::test {

/// Keeps what it is given.
class CollectingSink final : public LogMessageSink
{
public:
    void consume(const LogMessageContainerView& container) override;

    std::vector<DecodedMessage> messages() const;
    std::size_t count() const;
    std::size_t unreadable() const;
    /// Sizes of the containers, in bytes, added up.
    std::size_t bytes() const;

private:
    mutable std::mutex mutex_;
    std::vector<DecodedMessage> messages_;
    std::size_t unreadable_ = 0;
    std::size_t bytes_ = 0;
};

/// Subscribes at the service that the connection info names and collects what it forwards.
class Subscriber
{
public:
    Subscriber()
        : sink_(std::make_shared<CollectingSink>())
        , listener_({sink_}, false)
    {
    }

    const CollectingSink& received() const { return *sink_; }
    /// Waits for `count` messages (limit 30 s) and returns all that there are.
    std::vector<DecodedMessage> waitForMessages(std::size_t count) const;

private:
    std::shared_ptr<CollectingSink> sink_;
    LogMessageSecondaryListener listener_;
};

} // namespace zuLogging::test
