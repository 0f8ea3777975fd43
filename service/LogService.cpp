#include "service/LogService.h"

#include <utility>

namespace zuLogging {

LogService::LogService(SinkList sinks)
    : LogMessageListener(std::move(sinks))
{
    start();
}

LogService::~LogService()
{
    stop();
}

bool LogService::processForeign(const Packet& request, std::size_t length, Packet& acknowledge)
{
    if (request.header().magic != magicLogClient)
        return LogMessageListener::processForeign(request, length, acknowledge);
    clientCommands_.answer(request, length, acknowledge);
    return true;
}

} // namespace zuLogging
