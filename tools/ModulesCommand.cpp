#include "tools/ModulesCommand.h"

#include <stdexcept>

namespace zuLogging {

ToolExit runModulesCommand(const std::vector<std::string>&, Console&)
{
    throw std::runtime_error("not there yet");
}

} // namespace zuLogging
