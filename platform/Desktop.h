#pragma once

#include <string>
#include <vector>

namespace zuLogging::platform {

/// The command line as UTF-8, program path first. `argc` and `argv` are what `main` got.
std::vector<std::string> commandLineArguments(int argc, char** argv);

/// Tells the window system that the program scales itself (nothing to do on Linux).
void setProcessDpiAware();

/// The product's version text: numbers separated by dots, major first.
std::string productVersion();

} // namespace zuLogging::platform
