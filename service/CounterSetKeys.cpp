#include "service/CounterSetKeys.h"

#include "platform/Trace.h"

#include <string_view>

namespace zuLogging {

void CounterSetKeys::add(const std::vector<std::uint64_t>& keys)
{
    bool isFull = false;
    for (const std::uint64_t key : keys) {
        if (keys_.size() < maximumCount)
            keys_.insert(key);
        else if (keys_.count(key) == 0)
            isFull = true;
    }
    if (isFull)
        platform::trace(std::string_view(
            "Dropping counter-set keys: as many as are kept have been reported already\n"));
}

} // namespace zuLogging
