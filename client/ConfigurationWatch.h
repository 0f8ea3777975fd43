#pragma once

#include "logging/LogClient.h"
#include "logging/PropertyTreeJson.h"

#include <chrono>
#include <optional>
#include <string>

namespace zuLogging::client {

/// Looks at the service's configuration now and then, and tells when it is another one. One thread.
class ConfigurationWatch
{
public:
    using Clock = std::chrono::steady_clock;

    explicit ConfigurationWatch(std::chrono::milliseconds interval)
        : interval_(interval)
    {
    }

    Clock::time_point nextLook() const { return nextLook_; }
    /// There is another service.
    void lookAtOnce() { nextLook_ = Clock::time_point(); }

    /// The configuration, if it is another than at the last look. Throws LogSvcError if the service
    /// does not tell, and boost::property_tree::ptree_error for a text that is no configuration,
    /// once for each such text. Waits for the service's answers.
    std::optional<PropertyTree> look(const SocketAddress& service);

private:
    std::optional<std::string> changedText(LogClient& service) const;

    std::chrono::milliseconds interval_;
    Clock::time_point nextLook_;
    std::optional<std::string> text_;
};

} // namespace zuLogging::client
