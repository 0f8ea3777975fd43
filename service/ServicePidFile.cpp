#include "service/ServicePidFile.h"

#include "platform/Process.h"

#include <cstdio>

namespace zuLogging {

std::string ServicePidFile::path()
{
    return platform::runtimeDirectory() + "/ZULogSvc.pid";
}

ServicePidFile::ServicePidFile()
    : path_(path())
{
    if (!platform::writePidFile(path_, error_) && error_.empty())
        error_ = "Unknown error";
}

ServicePidFile::~ServicePidFile()
{
    if (error_.empty() && platform::readPidFile(path_) == platform::currentProcessId())
        std::remove(path_.c_str());
}

} // namespace zuLogging
