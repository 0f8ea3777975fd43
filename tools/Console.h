#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace zuLogging {

/// The three streams of a command. Owns nothing.
struct Console
{
    std::istream& in;
    std::ostream& out;
    std::ostream& err;
};

/// Exit statuses of the command line.
enum class ToolExit : int
{
    Done = 0,
    Failed = 1, ///< refused, or it could not be done
    Usage = 2
};

/// One sub-command: `words` are the command line behind its name. Throws UsageError for a command
/// line that it does not understand, and any other std::exception for what could not be done;
/// whoever calls it turns both into one line on the error stream.
using CommandFunction = ToolExit (*)(const std::vector<std::string>& words, Console& console);

} // namespace zuLogging
