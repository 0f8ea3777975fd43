#include "store/GUISink.h"

#include "store/LogContainer.h"

namespace zuLogging {

GUISink::GUISink(LogContainer* container)
    : container_(container)
{
}

void GUISink::consume(const LogMessageContainerView& container)
{
    try {
        decoded_.assign(container);
        container_->addMessage(decoded_);
    } catch (...) {
        // A message that cannot be read is lost without a word; the thread goes on with the next.
    }
}

} // namespace zuLogging
