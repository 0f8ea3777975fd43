#pragma once

#include <cstdint>

namespace zuLogging::platform {

/// Asks the memory manager to put freed pieces back to the free memory one by one. Left to itself
/// it may keep small ones aside and put them back all at once, in the middle of some later
/// allocation: after a table of a million messages was freed that allocation takes 40 milliseconds,
/// and when the receiving thread makes it, messages are lost. To be called before other threads are
/// started.
void avoidAllocationStalls();

/// Bytes that the system can still give to programs without taking memory away from others; the
/// largest number when it does not say. Any thread.
std::uint64_t availableMemory();

} // namespace zuLogging::platform
