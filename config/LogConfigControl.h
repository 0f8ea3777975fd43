#pragma once

#include "logging/LogClient.h"
#include "logging/PropertyTreeJson.h"

#include <memory>
#include <set>
#include <string>

namespace zuLogging {

/// Transfers the service's configuration and its list of modules. Every failure is a LogSvcError.
/// GUI thread only; each command of a transfer blocks it for at most 1 second.
///
/// Each transfer first looks where the service listens now, so that one that came back on another
/// port is found. While its record cannot be read, the last known address stays in use.
class LogConfigControl
{
public:
    /// Reads where the service listens. Throws LogSvcError when its record cannot be read, and
    /// "Failed to create the log client socket".
    LogConfigControl();
    virtual ~LogConfigControl();
    LogConfigControl(const LogConfigControl&) = delete;
    LogConfigControl& operator=(const LogConfigControl&) = delete;

    /// Replaces the configuration tree by the service's; keeps it on failure. Throws what the
    /// transfer throws and "Failed to deserialize the configuration tree downloaded from the
    /// server".
    virtual void downloadConfiguration();
    /// Sends the configuration tree. Throws what the transfer throws and "Failed to serialize the
    /// configuration tree for upload to the server".
    virtual void uploadConfiguration();
    /// The names of the modules that the service knows, in the order of their bytes.
    virtual std::set<std::string> downloadModuleNames();

    /// As last downloaded or saved.
    const PropertyTree& configurationTree() const { return configurationTree_; }

protected:
    void setConfigurationTree(PropertyTree tree);

private:
    LogClient& client();

    PropertyTree configurationTree_;
    std::unique_ptr<LogClient> client_;
};

} // namespace zuLogging
