#include "tools/ConfigCommand.h"

#include <stdexcept>

namespace zuLogging {

ToolExit runConfigCommand(const std::vector<std::string>&, Console&)
{
    throw std::runtime_error("not there yet");
}

} // namespace zuLogging
