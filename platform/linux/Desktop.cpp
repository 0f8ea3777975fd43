#include "platform/Desktop.h"

namespace zuLogging::platform {

std::vector<std::string> commandLineArguments(int argc, char** argv)
{
    return argc > 0 ? std::vector<std::string>(argv, argv + argc) : std::vector<std::string>();
}

void setProcessDpiAware() {}

std::string productVersion()
{
    return "3.1.26";
}

} // namespace zuLogging::platform
