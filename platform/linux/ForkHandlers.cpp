#include "platform/ForkHandlers.h"

#include <pthread.h>

namespace zuLogging::platform {

bool callAroundFork(void (*before)(), void (*inParent)(), void (*inChild)()) noexcept
{
    return ::pthread_atfork(before, inParent, inChild) == 0;
}

} // namespace zuLogging::platform
