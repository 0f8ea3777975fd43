#pragma once

#include "logging/ListenerLimits.h"
#include "logging/LogLedger.h"
#include "logging/LogMessageSink.h"
#include "logging/LogProtoServer.h"
#include "logging/NumberGaps.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace zuLogging {

/// The server that understands the log message protocol: hands every container to its sinks, adds
/// and removes forwarders, passes replay requests on.
///
/// A sink that fails does not keep a message, a replay request or an idle call from the sinks
/// behind it; the first failure is reported when all have been called.
///
/// What becomes of a datagram, as it is counted: a container of the right size is a message, also
/// when a sink fails with it; one of another size is refused; the command that does nothing,
/// forwarders that were to be added or removed and were, or needed not be, and replays that were
/// passed on are requests; what raised an error is a refused request.
///
/// The sink list is changed on the receiving thread only, after construction, and so needs no lock.
class LogMessageListener : public LogProtoServer<LogMsgProtocol>
{
public:
    /// `firstNumber` is the number before that of the first container, for tests of the wrap.
    /// `limits` are what the owner allows those who send requests; what goes beyond fails with "The
    /// command packet data are out of range". What happens to messages is counted in `ledger`;
    /// without one, in the listener's own.
    explicit LogMessageListener(SinkList sinks, std::uint64_t firstNumber = 0,
                                ListenerLimits limits = {},
                                std::shared_ptr<LogLedger> ledger = nullptr);
    ~LogMessageListener() override;

protected:
    void process(const Packet& request, std::size_t length, Packet& acknowledge) override;
    void idle() override;

    /// True for a log service, which numbers the messages it hands on.
    virtual bool assignsServiceIds() const = 0;

    /// False: the message is acknowledged, but goes to no sink and uses no number up. Called once
    /// for each container of the right size, before any sink gets it.
    virtual bool isWanted(const LogMessageContainerView& /*container*/) { return true; }

    /// Receiving thread, or before `start`. True if a sink was added; false if one of that class
    /// matches already. Throws LogSvcError: what the factory throws, an unknown type, or what goes
    /// beyond the limits: too many sinks, a forwarder to this very listener.
    bool addSink(std::uint32_t typeCode, std::string_view argumentText);
    /// Receiving thread. True if a sink was removed. Throws LogSvcError for an unknown type, unless
    /// there are no sinks at all.
    bool removeSink(std::uint32_t typeCode, std::string_view argumentText);

    /// Receiving thread, or before `start`: puts a sink that is made already at the end of the
    /// list. Throws LogSvcError for a forwarder to this very listener, unless that is allowed. The
    /// number of sinks is the owner's own business here.
    void appendSink(std::shared_ptr<LogMessageSink> sink);

    const SinkList& sinks() const { return sinks_; }
    /// Receiving thread. Requests of which a recorder in the list still sends messages.
    std::size_t replaysUnderWay() const;

    /// Passes a replay request on to every sink. `command` is the one with which it came: Replay or
    /// ReplayAndForward. Throws LogSvcError for what goes beyond the limits (too many replays under
    /// way, one to this very listener), or what a sink throws.
    virtual void replay(LogMessageCommand command, const ReplayRequest& request,
                        std::string_view addressText);

    /// Called for each sink that is about to leave the list.
    virtual void removing(const LogMessageSink& /*sink*/) {}

private:
    void handleCommand(LogMessageCommand command, const std::uint8_t* payload, std::size_t length,
                       bool numbered);
    void deliver(const std::uint8_t* payload, std::size_t length, bool secondary, bool numbered);
    void deliverToSinks(const LogMessageContainerView& container, bool secondary);
    bool removeForwardersToNobody();
    bool isOwnAddress(std::string_view addressText) const;

    const ListenerLimits limits_;
    NumberGaps gaps_;
    SinkList sinks_;
    std::uint64_t counter_; ///< containers so far; 0 is never handed out, not even after a wrap
};

} // namespace zuLogging
