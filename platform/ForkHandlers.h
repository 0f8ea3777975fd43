#pragma once

namespace zuLogging::platform {

/// From now on `before` is called on the thread that forks, then `inParent` in the process that
/// forked and `inChild` in the new one, on its only thread. False: the system has no room for more.
bool callAroundFork(void (*before)(), void (*inParent)(), void (*inChild)()) noexcept;

} // namespace zuLogging::platform
