#pragma once

#include "logging/LogMessageListener.h"
#include "service/ClientCommandServer.h"

#include <cstddef>

namespace zuLogging {

/// The log service's socket: takes messages from every application of the machine, numbers them and
/// hands them to its sinks; adds and removes forwarders; answers the log client protocol on the same
/// socket, the two being told apart by their magic.
///
/// Serves from its construction to its destruction. The base class tells where (`boundAddress`);
/// telling other programs is the business of whoever runs the service.
class LogService final : public LogMessageListener
{
public:
    /// Forwarders beyond this number are refused: each costs a descriptor and sends for every
    /// message, and anybody on the machine may ask for one.
    static constexpr std::size_t maximumForwarders = 256;

    /// Throws LogSvcError when there is no socket to be had.
    explicit LogService(SinkList sinks = {});
    ~LogService() override;

protected:
    void process(const Packet& request, std::size_t length, Packet& acknowledge) override;
    bool processForeign(const Packet& request, std::size_t length, Packet& acknowledge) override;
    bool assignsServiceIds() const override { return true; }

private:
    void checkNewForwarder(std::string_view addressText) const;

    ClientCommandServer clientCommands_;
    SocketAddress ownAddress_;
};

} // namespace zuLogging
