#include "config/LogConfigControl.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogSvcError.h"

#include <boost/property_tree/exceptions.hpp>

#include <algorithm>
#include <utility>

namespace zuLogging {

LogConfigControl::LogConfigControl()
    : client_(std::make_unique<LogClient>(readConnectionInfo()))
{
}

LogConfigControl::~LogConfigControl() = default;

void LogConfigControl::downloadConfiguration()
{
    const std::string text = client().download(LogClientCommand::GetConfiguration);
    try {
        configurationTree_ = readPropertyTreeObject(text);
    } catch (const boost::property_tree::ptree_error&) {
        throw LogSvcError(
            "Failed to deserialize the configuration tree downloaded from the server");
    }
}

void LogConfigControl::uploadConfiguration()
{
    std::string text;
    try {
        text = writePropertyTree(configurationTree_, JsonForm::Compact);
    } catch (const boost::property_tree::ptree_error&) {
        throw LogSvcError("Failed to serialize the configuration tree for upload to the server");
    }
    client().upload(text.empty() ? nullptr : text.data(), text.size());
}

std::set<std::string> LogConfigControl::downloadModuleNames()
{
    const std::string bytes = client().download(LogClientCommand::GetModules);
    std::set<std::string> names;
    for (auto start = bytes.begin(); start != bytes.end();) {
        const auto end = std::find(start, bytes.end(), '\0');
        if (end != start)
            names.emplace(start, end);
        start = end == bytes.end() ? end : end + 1;
    }
    return names;
}

void LogConfigControl::setConfigurationTree(PropertyTree tree)
{
    configurationTree_ = std::move(tree);
}

LogClient& LogConfigControl::client()
{
    SocketAddress address = client_->server();
    try {
        address = readConnectionInfo();
    } catch (const LogSvcError&) {
        // The service may still be there; if not, the transfer tells.
    }
    if (address != client_->server())
        client_ = std::make_unique<LogClient>(address);
    return *client_;
}

} // namespace zuLogging
