#pragma once

#include "logging/LogMessageListener.h"
#include "tools/TailQueue.h"

namespace zuLogging {

/// Receives messages, from its construction to `stop` or its destruction, and does no more than
/// queue them. Messages of the second kind are taken and not shown, as in the window.
///
/// It takes no requests but messages: whoever can send a datagram must not have it write files, or
/// texts past the queue to the terminal.
class TailListener final : public LogMessageListener
{
public:
    /// The queue must outlive the listener. Throws LogSvcError.
    explicit TailListener(TailQueue& queue);
    ~TailListener() override;

protected:
    void process(const Packet& request, std::size_t length, Packet& acknowledge) override;
    bool assignsServiceIds() const override { return false; }

private:
    TailQueue& queue_;
};

} // namespace zuLogging
