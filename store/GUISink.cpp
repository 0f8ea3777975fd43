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
        // A message that cannot be read is counted only; the thread goes on with the next.
        container_->ledger()->add(LogCount::Unreadable);
    }
}

void GUISink::consumeSecondary(const LogMessageContainerView& /*container*/)
{
    container_->ledger()->add(LogCount::Ignored);
}

} // namespace zuLogging
