#pragma once

#include "logging/LogLedger.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zuLogging {

/// What a log service tells about itself (LogClientCommand::GetServiceStatus). All counts are since
/// its start.
struct ServiceStatus
{
    struct Sink
    {
        std::string type; ///< as in the start-up file: "trace", "cout", "cerr", "file", "forward"
        std::string argument;     ///< file: its path; forward: a socket address text; else empty
        std::uint64_t sent = 0;   ///< forward: messages sent on
        std::uint64_t failed = 0; ///< forward: messages that could not be sent
    };
    /// How full a replay memory is, in messages.
    struct Recorder
    {
        std::uint64_t used = 0;
        std::uint64_t capacity = 0;
        std::uint64_t secondaryUsed = 0;
        std::uint64_t secondaryCapacity = 0;
        std::uint64_t replays = 0; ///< requests for a replay under way
    };

    /// What the service allows at once.
    struct Limits
    {
        std::uint64_t sinks = 0;
        std::uint64_t replays = 0;
        std::uint64_t transfers = 0;
    };

    std::string version; ///< of the service
    std::uint64_t processId = 0;
    std::uint64_t uptime = 0;    ///< in milliseconds
    std::uint64_t taken = 0;     ///< messages that arrived whole
    std::uint64_t dropped = 0;   ///< of these, kept from the sinks by the configuration
    std::uint64_t forwarded = 0; ///< sent to forwarders, those that have been removed included
    std::vector<Sink> sinks;     ///< in the order of the service, without recorders
    std::vector<Recorder> recorders;
    /// What became of datagrams: the counts of the server, of senders' numbers and of the listener,
    /// without the request that asked. Nothing from a service that does not tell.
    std::optional<LogCounts> ledger;
    std::uint64_t transfers = 0; ///< transfer buffers held
    Limits limits;
    std::vector<std::uint64_t> counterSetKeys; ///< reported to the service, ascending

    /// As a JSON text.
    std::string toJson() const;

    /// Reads what `toJson` wrote; members that are missing are 0 or empty, unknown ones skipped.
    /// Throws boost::property_tree::ptree_error for what is no JSON object, or has a member that is
    /// not what it should be.
    static ServiceStatus fromJson(std::string_view json);
};

} // namespace zuLogging
