#include "tools/StatusCommand.h"

#include <stdexcept>

namespace zuLogging {

ToolExit runStatusCommand(const std::vector<std::string>&, Console&)
{
    throw std::runtime_error("not there yet");
}

} // namespace zuLogging
