#pragma once

namespace zuLogging {

/// Who asks for a sink, and so how far its argument is trusted.
enum class SinkSource
{
    Request,    ///< a datagram: anybody on this machine
    StartupFile ///< the service's start-up file: who runs the service
};

} // namespace zuLogging
