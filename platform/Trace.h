#pragma once

// The debugger trace: where library code says what went wrong when nobody is there to be told.

#include <functional>
#include <string_view>

namespace zuLogging::platform {

/// Writes `text` as it is, in one write, to the debugger trace (standard error on Linux).
/// Any thread.
void trace(std::string_view text);

/// The same for UTF-16 text (as UTF-8 on Linux).
void trace(std::u16string_view text);

using TraceHandler = std::function<void(std::string_view)>;

/// Sends the trace elsewhere; an empty handler restores the system's. Returns the one before.
/// Any thread; calls of the handler come one at a time.
TraceHandler setTraceHandler(TraceHandler handler);

} // namespace zuLogging::platform
