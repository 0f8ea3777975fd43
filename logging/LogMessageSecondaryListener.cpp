#include "logging/LogMessageSecondaryListener.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogSvcError.h"
#include "logging/ScopeCleaner.h"
#include "logging/SinkFactory.h"

#include <boost/thread/exceptions.hpp>

#include <exception>
#include <string>
#include <utility>

namespace zuLogging {

namespace {

Packet messageRequest(LogMessageCommand command, const std::string& payload)
{
    return makeRequest(magicLogMessage, static_cast<std::uint16_t>(command), payload.data(),
                       payload.size());
}

/// Start or stop forwarding to `addressText`.
Packet forwardingRequest(LogMessageCommand command, const std::string& addressText)
{
    std::uint8_t type[sizeof(std::uint32_t)];
    storeU32(type, static_cast<std::uint32_t>(SinkType::Forwarder));
    return messageRequest(command,
                          std::string(reinterpret_cast<char*>(type), sizeof type) + addressText);
}

} // namespace

LogMessageSecondaryListener::LogMessageSecondaryListener(SinkList sinks, bool replay,
                                                         std::shared_ptr<LogLedger> ledger)
    : LogMessageListener(std::move(sinks), 0, ListenerLimits::careful(), std::move(ledger))
{
    letStreamsGather();
    // Before the subscription: the first messages may come before its acknowledge does.
    try {
        start();
    } catch (const boost::thread_exception& error) {
        throw LogSvcError(error.what());
    }
    ScopeCleaner<LogProtoServer<LogMsgProtocol>> cleaner(*this);

    client_.emplace(readConnectionInfo());
    const std::string addressText = socketAddressText(boundAddress());
    client_->command(replay ? messageRequest(LogMessageCommand::ReplayAndForward, addressText)
                            : forwardingRequest(LogMessageCommand::StartForwarding, addressText));
    cleaner.dismiss();
}

void LogMessageSecondaryListener::requestReplay()
{
    const ReplayRequest everything = ReplayRequest::everything();
    client_->command(messageRequest(LogMessageCommand::Replay,
                                    std::string(everything.bytes.begin(), everything.bytes.end()) +
                                        socketAddressText(boundAddress())));
}

LogMessageSecondaryListener::~LogMessageSecondaryListener()
{
    try {
        client_->command(forwardingRequest(LogMessageCommand::StopForwarding,
                                           socketAddressText(boundAddress())));
    } catch (const std::exception&) {
        // A service that is gone forwards nothing any more.
    }
    stop();
}

} // namespace zuLogging
