#include "logging/LogMessageSink.h"

#include "logging/Packet.h"

namespace zuLogging {

LogMessageSink::~LogMessageSink() = default;

ReplayRequest ReplayRequest::everything()
{
    ReplayRequest request;
    storeU32(request.bytes.data(), 256);
    return request;
}

} // namespace zuLogging
