#pragma once

#include "logging/LogMessageListener.h"
#include "service/ClientCommandServer.h"

namespace zuLogging {

/// The log service's socket: takes messages from every application of the machine, numbers them and
/// hands them to its sinks; adds and removes forwarders; answers the log client protocol on the
/// same socket, the two being told apart by their magic.
///
/// Serves from its construction to its destruction. The base class tells where (`boundAddress`);
/// telling other programs is the business of whoever runs the service.
class LogService final : public LogMessageListener
{
public:
    /// Throws LogSvcError when there is no socket to be had.
    explicit LogService(SinkList sinks = {});
    ~LogService() override;

protected:
    bool processForeign(const Packet& request, std::size_t length, Packet& acknowledge) override;
    bool assignsServiceIds() const override { return true; }

private:
    ClientCommandServer clientCommands_;
};

} // namespace zuLogging
