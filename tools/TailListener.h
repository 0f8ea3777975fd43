#pragma once

#include "logging/LogMessageListener.h"
#include "tools/TailQueue.h"

#include <memory>

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
    /// What becomes of datagrams is counted in `ledger`; without one, in the listener's own.
    explicit TailListener(TailQueue& queue, std::shared_ptr<LogLedger> ledger = nullptr);
    ~TailListener() override;

protected:
    void process(const Packet& request, std::size_t length, Packet& acknowledge) override;
    bool assignsServiceIds() const override { return false; }

private:
    TailQueue& queue_;
};

} // namespace zuLogging
