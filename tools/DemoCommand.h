#pragma once

#include "tools/Console.h"

namespace zuLogging {

/// `zulog demo`: sends realistic traffic at an even rate, without acknowledges as applications do
/// (with --reliable: waiting for each), until the count is reached or SIGINT or SIGTERM comes, and
/// then says on the error stream how much it was. To be called before any other thread is started.
ToolExit runDemoCommand(const std::vector<std::string>& words, Console& console);

} // namespace zuLogging
