#include "store/MessageFilter.h"

#include "store/PreparedFilter.h"

namespace zuLogging {

bool MessageFilter::passes(const LogMessage& message) const
{
    return PreparedFilter(*this).passes(message);
}

} // namespace zuLogging
