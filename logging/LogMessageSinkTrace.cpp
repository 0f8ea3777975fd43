#include "logging/LogMessageSinkTrace.h"

#include "logging/UnlimitedTrace.h"
#include "platform/Trace.h"

namespace zuLogging {

void LogMessageSinkTrace::write(std::u16string_view line)
{
    const UnlimitedTrace unlimited;
    platform::trace(line);
}

} // namespace zuLogging
