#include "tools/TailListener.h"

#include "logging/LogSvcError.h"
#include "tools/TailSink.h"

#include <boost/thread/exceptions.hpp>

#include <memory>
#include <utility>

namespace zuLogging {

TailListener::TailListener(TailQueue& queue, std::shared_ptr<LogLedger> ledger)
    : LogMessageListener({std::make_shared<TailSink>(queue)}, 0, ListenerLimits::careful(),
                         std::move(ledger))
    , queue_(queue)
{
    try {
        start();
    } catch (const boost::thread_exception& error) {
        throw LogSvcError(error.what());
    }
}

TailListener::~TailListener()
{
    stop();
}

void TailListener::process(const Packet& request, std::size_t length, Packet& acknowledge)
{
    switch (static_cast<LogMessageCommand>(request.header().command)) {
    case LogMessageCommand::Message:
        try {
            LogMessageListener::process(request, length, acknowledge);
        } catch (const LogSvcError&) {
            queue_.countBroken();
            throw;
        }
        return;
    case LogMessageCommand::SecondaryMessage:
    case LogMessageCommand::NoOperation:
        LogMessageListener::process(request, length, acknowledge);
        return;
    default:
        acknowledge.setHeader(acknowledgeOf(request.header(), PacketStatus::BadPacket));
    }
}

} // namespace zuLogging
