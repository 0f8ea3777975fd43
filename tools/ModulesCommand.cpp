#include "tools/ModulesCommand.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogClient.h"
#include "tools/CommandOptions.h"
#include "tools/EscapedText.h"

#include <algorithm>
#include <ostream>
#include <set>
#include <string_view>

namespace zuLogging {

namespace {

namespace po = boost::program_options;

/// The list that a service sends: names, each with a NUL byte behind it.
std::set<std::string_view> namesIn(std::string_view list)
{
    std::set<std::string_view> names;
    while (!list.empty()) {
        const std::string_view name = list.substr(0, list.find('\0'));
        if (!name.empty())
            names.insert(name);
        list.remove_prefix(std::min(name.size() + 1, list.size()));
    }
    return names;
}

} // namespace

ToolExit runModulesCommand(const std::vector<std::string>& words, Console& console)
{
    po::options_description options("Options");
    options.add_options()("help,h", "show this text and end");
    const po::variables_map values = parseCommandLine(words, options, {});
    if (values.count("help") != 0) {
        console.out << "Usage: zulog modules [OPTION...]\n\n"
                       "Lists the modules that the log service knows, one a line, in the order of\n"
                       "their bytes. A control character in a name is written as \\xHH, a "
                       "backslash\nas two.\n\n"
                    << options;
        return ToolExit::Done;
    }
    LogClient client(readConnectionInfo());
    const std::string list = client.download(LogClientCommand::GetModules);
    for (const std::string_view name : namesIn(list))
        console.out << escapedText(name) << '\n';
    return ToolExit::Done;
}

} // namespace zuLogging
