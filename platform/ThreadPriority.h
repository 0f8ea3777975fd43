#pragma once

namespace zuLogging::platform {

/// Raises the calling thread to the highest priority that the system gives an ordinary user's
/// program: on Linux the lowest real-time round-robin priority where the user may have it, else
/// the best nice value allowed. Returns whether it goes before the threads of other programs now;
/// that it does not is no error.
bool raiseCurrentThreadPriority();

} // namespace zuLogging::platform
