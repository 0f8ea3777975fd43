#pragma once

#include "logging/LogClient.h"
#include "logging/LogLedger.h"
#include "logging/LogMessageListener.h"

#include <memory>
#include <optional>

namespace zuLogging {

/// A listener that asks the machine's log service to forward every message to it, from its
/// construction to its destruction.
class LogMessageSecondaryListener final : public LogMessageListener
{
public:
    /// Subscribes at the service that the connection info names; with `replay`, the service first
    /// sends what it has recorded. Throws LogSvcError when the service cannot be found or does not
    /// acknowledge; nothing stays running then. Blocks for at most 1 second.
    /// What happens to messages on their way is counted in `ledger`; without one, in its own.
    LogMessageSecondaryListener(SinkList sinks, bool replay,
                                std::shared_ptr<LogLedger> ledger = nullptr);
    /// Unsubscribes (a service that is gone is no error; at most 1 second) and ends the thread.
    ~LogMessageSecondaryListener() override;

    /// Asks the service to send what it has recorded. One thread at a time. Throws LogSvcError
    /// "Failed to query the port number bound to the log server socket" and what the command
    /// throws. Blocks for at most 1 second.
    void requestReplay();

protected:
    bool assignsServiceIds() const override { return false; }

private:
    std::optional<LogClient> client_;
};

} // namespace zuLogging
