#pragma once

#include "platform/SharedMemory.h"
#include "service/LogService.h"

namespace zuLogging::test {

/// A log service inside the test process, published under the process's private name.
class RunningService
{
public:
    /// `sinks` get every message directly, with nothing between that could lose one.
    explicit RunningService(SinkList sinks = {});

    SocketAddress address() const { return service_.boundAddress(); }

private:
    LogService service_;
    platform::SharedMemoryPublisher publisher_;
};

} // namespace zuLogging::test
