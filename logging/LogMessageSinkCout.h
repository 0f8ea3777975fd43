#pragma once

#include "logging/LogMessageSinkFormatter.h"

namespace zuLogging {

/// Writes every message to the wide standard output stream. A character that the stream's encoding
/// does not have (in the "C" locale: everything beyond ASCII) is written as a question mark;
/// the programs give the stream an encoding that has all of them (ProgramStreams). The stream
/// belongs to the program: nobody else may write to it while the sink's listener runs.
class LogMessageSinkCout : public LogMessageSinkFormatter
{
public:
    using LogMessageSinkFormatter::LogMessageSinkFormatter;

protected:
    void write(std::u16string_view line) override;
};

} // namespace zuLogging
