#include "logging/LogMessageSinkTrace.h"

#include "platform/Trace.h"

namespace zuLogging {

void LogMessageSinkTrace::write(std::u16string_view line)
{
    platform::trace(line);
}

} // namespace zuLogging
