#pragma once

#include "logging/LogMessageSinkFormatter.h"

namespace zuLogging {

/// Writes every message to the debugger trace.
class LogMessageSinkTrace final : public LogMessageSinkFormatter
{
public:
    using LogMessageSinkFormatter::LogMessageSinkFormatter;

protected:
    void write(std::u16string_view line) override;
};

} // namespace zuLogging
