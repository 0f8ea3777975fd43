#include "platform/Memory.h"

#include <features.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace zuLogging::platform {

void avoidAllocationStalls()
{
#ifdef __GLIBC__
    mallopt(M_MXFAST, 0);
#endif
}

} // namespace zuLogging::platform
