#pragma once

#include "platform/SharedMemory.h"
#include "service/LogService.h"

namespace zuLogging::test {

/// A log service inside the test process, published under the process's private name.
class RunningService
{
public:
    /// `sinks` get every message directly, with nothing between that could lose one.
    /// `folder`: where the service keeps its configuration; nowhere when it is empty.
    explicit RunningService(SinkList sinks = {}, const std::string& folder = {},
                            TransferBuffers::Clock clock = &std::chrono::steady_clock::now,
                            std::shared_ptr<LogLedger> ledger = nullptr);

    SocketAddress address() const { return service_.boundAddress(); }

private:
    LogService service_;
    platform::SharedMemoryPublisher publisher_;
};

} // namespace zuLogging::test
