#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace zuLogging {

/// Exit statuses of the service's program.
enum class ServiceExit : int
{
    Done = 0,
    Failed = 1,
    Usage = 2
};

/// The program `zulogsvc`: reads the command line (program path first, UTF-8), runs the service in
/// the foreground until the system asks the process to end (SIGTERM, SIGINT) and returns the exit
/// status. Writes one line with its endpoint to `out` when it can be used, and one line to `err`
/// for what went wrong. To be called before any other thread is started.
int runServiceProgram(const std::vector<std::string>& arguments, std::ostream& out,
                      std::ostream& err);

} // namespace zuLogging
