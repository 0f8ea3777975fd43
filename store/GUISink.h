#pragma once

#include "logging/DecodedMessage.h"
#include "logging/LogMessageSink.h"

namespace zuLogging {

class LogContainer;

/// Takes each container apart and hands its fields to the message store. A container that cannot be
/// read is dropped and counted as unreadable in the store's ledger: a bad message never stops the
/// receiving thread. Runs on the receiving thread; does not own the store, which outlives it.
class GUISink final : public LogMessageSink
{
public:
    explicit GUISink(LogContainer* container);

    void consume(const LogMessageContainerView& container) override;
    /// The window does not show messages of the second kind.
    void consumeSecondary(const LogMessageContainerView& container) override;

private:
    LogContainer* container_;
    DecodedMessage decoded_; ///< kept from message to message so that its buffers are used again
};

} // namespace zuLogging
