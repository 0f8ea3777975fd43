#pragma once

#include "logging/LogMessageSink.h"
#include "tools/TailQueue.h"

namespace zuLogging {

/// Queues containers for whoever writes them out. The queue must outlive the sink.
class TailSink final : public LogMessageSink
{
public:
    explicit TailSink(TailQueue& queue)
        : queue_(queue)
    {
    }

    void consume(const LogMessageContainerView& container) override { queue_.push(container); }

private:
    TailQueue& queue_;
};

} // namespace zuLogging
