#pragma once

#include "logging/LogMessageSink.h"
#include "logging/LogProtoServer.h"

#include <cstdint>
#include <string_view>

namespace zuLogging {

/// The server that understands the log message protocol: hands every container to its sinks, adds
/// and removes forwarders, passes replay requests on.
///
/// The sink list is changed on the receiving thread only, after construction, and so needs no lock.
class LogMessageListener : public LogProtoServer<LogMsgProtocol>
{
public:
    /// `firstNumber` is the number before that of the first container, for tests of the wrap.
    explicit LogMessageListener(SinkList sinks, std::uint64_t firstNumber = 0);
    ~LogMessageListener() override;

protected:
    void process(const Packet& request, std::size_t length, Packet& acknowledge) override;
    void idle() override;

    /// True for a log service, which numbers the messages it hands on.
    virtual bool assignsServiceIds() const = 0;

    /// Receiving thread, or before `start`. True if a sink was added.
    bool addSink(std::uint32_t typeCode, std::string_view argumentText);
    /// Receiving thread. True if a sink was removed.
    bool removeSink(std::uint32_t typeCode, std::string_view argumentText);

    const SinkList& sinks() const { return sinks_; }

private:
    void deliver(const Packet& request, bool secondary, bool numbered);
    void replay(const ReplayRequest& request, std::string_view addressText);

    SinkList sinks_;
    std::uint64_t counter_; ///< containers so far; 0 is never handed out, not even after a wrap
};

} // namespace zuLogging
