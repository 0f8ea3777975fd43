#include "platform/Memory.h"

#include <fstream>
#include <limits>
#include <string>

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

std::uint64_t availableMemory()
{
    std::ifstream file("/proc/meminfo");
    std::string word;
    while (file >> word) {
        std::uint64_t kibibytes = 0;
        if (word == "MemAvailable:" && file >> kibibytes)
            return kibibytes * 1024;
    }
    return std::numeric_limits<std::uint64_t>::max();
}

} // namespace zuLogging::platform
