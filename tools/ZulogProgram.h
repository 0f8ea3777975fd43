#pragma once

#include "tools/Console.h"

#include <string>
#include <vector>

namespace zuLogging {

/// The program `zulog`: finds the sub-command on the command line (program path first, UTF-8), runs
/// it and returns the exit status (see ToolExit). What went wrong is one line "zulog: ..." on the
/// error stream. To be called before any other thread is started.
int runZulogProgram(const std::vector<std::string>& arguments, Console& console);

} // namespace zuLogging
