#include "tests/service/Subscriber.h"

#include "logging/LogSvcError.h"
#include "tests/support/TestEnvironment.h"

namespace zuLogging::test {

void CollectingSink::consume(const LogMessageContainerView& container)
{
    DecodedMessage message;
    const std::lock_guard<std::mutex> lock(mutex_);
    try {
        message.assign(container);
        messages_.push_back(std::move(message));
        bytes_ += container.length;
    } catch (const LogSvcError&) {
        ++unreadable_;
    }
}

std::vector<DecodedMessage> CollectingSink::messages() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return messages_;
}

std::size_t CollectingSink::count() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return messages_.size();
}

std::size_t CollectingSink::unreadable() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return unreadable_;
}

std::size_t CollectingSink::bytes() const
{
    const std::lock_guard<std::mutex> lock(mutex_);
    return bytes_;
}

std::vector<DecodedMessage> Subscriber::waitForMessages(std::size_t count) const
{
    waitFor([&] { return sink_->count() >= count; }, 30000);
    return sink_->messages();
}

} // namespace zuLogging::test
