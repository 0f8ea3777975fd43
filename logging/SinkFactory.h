#pragma once

#include "logging/LogMessageSink.h"
#include "logging/SinkSource.h"

#include <cstdint>
#include <memory>
#include <string>
#include <typeindex>

namespace zuLogging {

/// The numbers by which sinks are named on the wire and in the service's start-up file.
enum class SinkType : std::uint32_t
{
    Trace = 0,
    Cout = 1,
    Cerr = 2,
    File = 3,
    Forwarder = 4,
    Recorder = 5
};

struct SinkDescription
{
    std::string argumentText; ///< forwarder: a socket address text; file: its path
    std::uint32_t containerOperatingMode = 0;
    std::uint64_t firstNumber = 0;  ///< file: line limit; recorder: size, 0 for the default
    std::uint64_t secondNumber = 0; ///< recorder: size for the second kind, 0 for the default
    SinkSource source = SinkSource::Request; ///< file: which paths are taken
};

/// Makes a sink. Throws LogSvcError "Attempt to create a message sink of an unsupported type", or
/// what the sink's constructor throws.
std::shared_ptr<LogMessageSink> makeSink(std::uint32_t typeCode,
                                         const SinkDescription& description);

/// The class that a type code stands for, to be compared with a sink's dynamic type. Throws
/// LogSvcError "Attempt to create a message sink type info of an unsupported type".
std::type_index sinkTypeIdentity(std::uint32_t typeCode);

} // namespace zuLogging
