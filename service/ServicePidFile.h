#pragma once

#include <string>

namespace zuLogging {

/// The file ZULogSvc.pid in the runtime directory, by which other programs see that the service
/// runs. Holds this process's number for as long as the object lives.
class ServicePidFile
{
public:
    /// Replaces the file; `error` tells why when that fails.
    ServicePidFile();
    /// Removes the file, unless another process has written its own number there meanwhile.
    ~ServicePidFile();
    ServicePidFile(const ServicePidFile&) = delete;
    ServicePidFile& operator=(const ServicePidFile&) = delete;

    static std::string path();

    /// Empty when the file was written.
    const std::string& error() const { return error_; }

private:
    std::string path_;
    std::string error_;
};

} // namespace zuLogging
