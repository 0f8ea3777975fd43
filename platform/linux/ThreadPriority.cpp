#include "platform/ThreadPriority.h"

#include "platform/Process.h"

#include <sched.h>
#include <sys/resource.h>

#include <cerrno>

namespace zuLogging::platform {

bool raiseCurrentThreadPriority()
{
    const int policy = ::sched_getscheduler(0) & ~SCHED_RESET_ON_FORK;
    if (policy == SCHED_RR || policy == SCHED_FIFO)
        return true;

    // For this thread alone: what it starts is not to inherit a real-time priority.
    sched_param realTime{};
    realTime.sched_priority = ::sched_get_priority_min(SCHED_RR);
    if (::sched_setscheduler(0, SCHED_RR | SCHED_RESET_ON_FORK, &realTime) == 0)
        return true;

    // Linux keeps a nice value for each thread, under the thread's own number.
    const auto thread = static_cast<id_t>(currentThreadId());
    errno = 0;
    int nice = ::getpriority(PRIO_PROCESS, thread);
    if (nice == -1 && errno != 0)
        return false;
    for (int better = -20; better < nice; ++better) {
        if (::setpriority(PRIO_PROCESS, thread, better) == 0)
            nice = better;
    }
    return nice < 0;
}

} // namespace zuLogging::platform
