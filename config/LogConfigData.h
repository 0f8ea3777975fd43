#pragma once

#include <QString>

namespace zuLogging {

/// The process's one configuration object: what the service was told to log, and whether it was
/// changed here since. GUI thread only.
///
/// Documents are not transferred yet; what stands is the contact with the service at start-up and
/// the modified flag that the window asks about before it closes.
class LogConfigData
{
public:
    /// Made on first use and kept until the process ends. Never throws.
    static LogConfigData* instance();

    LogConfigData() = default;
    LogConfigData(const LogConfigData&) = delete;
    LogConfigData& operator=(const LogConfigData&) = delete;

    /// With an empty path the configuration is the service's: finds out where the service listens,
    /// afresh on every call. Throws LogSvcError when its connection info cannot be read. Files
    /// cannot be read yet: any other path gives the error text. Returns an empty text on success.
    QString loadConfiguration(const QString& path);

    bool isModified() const { return modified_; }
    void setModified(bool modified) { modified_ = modified; }

private:
    bool modified_ = false;
};

} // namespace zuLogging
