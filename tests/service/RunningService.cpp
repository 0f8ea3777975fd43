#include "tests/service/RunningService.h"

#include "logging/ConnectionInfo.h"

#include <stdexcept>
#include <utility>

namespace zuLogging::test {

RunningService::RunningService(SinkList sinks, const std::string& folder,
                               TransferBuffers::Clock clock, std::shared_ptr<LogLedger> ledger)
    : service_(std::move(sinks), folder, std::move(clock), std::move(ledger))
{
    if (publisher_.publish(connectionInfoName(), encodeConnectionInfo(service_.boundAddress())) !=
        platform::SharedMemoryPublisher::Result::Published)
        throw std::runtime_error("the test could not publish: " + publisher_.error());
}

} // namespace zuLogging::test
