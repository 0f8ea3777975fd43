#pragma once

#include "logging/LogMessageSinkCout.h"

namespace zuLogging {

/// The sink that is named for the standard error stream. It writes where the standard output sink
/// writes, with that one's writer: programs that use it rely on finding their lines there.
class LogMessageSinkCerr final : public LogMessageSinkCout
{
public:
    using LogMessageSinkCout::LogMessageSinkCout;
};

} // namespace zuLogging
