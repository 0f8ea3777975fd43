#include "tools/ZulogProgram.h"

#include "platform/Desktop.h"
#include "platform/Process.h"
#include "platform/StandardStreams.h"
#include "tools/CommandOptions.h"
#include "tools/ConfigCommand.h"
#include "tools/DemoCommand.h"
#include "tools/ModulesCommand.h"
#include "tools/SendCommand.h"
#include "tools/StatusCommand.h"
#include "tools/TailCommand.h"

#include <algorithm>
#include <array>
#include <exception>
#include <iomanip>
#include <iostream>

namespace zuLogging {

namespace {

struct Command
{
    std::string_view name;
    std::string_view summary;
    CommandFunction run;
};

constexpr std::array<Command, 6> commands{{
    {"send", "send a message, or each line of standard input as one", &runSendCommand},
    {"tail", "show messages as they come", &runTailCommand},
    {"config", "read or replace the configuration of the service", &runConfigCommand},
    {"modules", "list the modules that the service knows", &runModulesCommand},
    {"status", "tell how the service is doing", &runStatusCommand},
    {"demo", "send realistic traffic at an even rate", &runDemoCommand},
}};

void writeHelp(std::ostream& out)
{
    out << "Usage: zulog COMMAND [OPTION...]\n"
           "       zulog --help | --version\n\n"
           "Talks to the log service of this machine.\n\n"
           "Commands:\n";
    for (const Command& command : commands)
        out << "  " << std::left << std::setw(9) << command.name << command.summary << '\n';
    out << "\n'zulog COMMAND --help' tells more about one.\n"
           "Exit status: 0 done, 1 refused or failed, 2 wrong usage.\n";
}

const Command* commandCalled(std::string_view name)
{
    const auto* command = std::find_if(commands.begin(), commands.end(),
                                       [&](const Command& c) { return c.name == name; });
    return command == commands.end() ? nullptr : command;
}

ToolExit dispatch(const std::vector<std::string>& arguments, Console& console)
{
    if (arguments.size() < 2)
        throw UsageError("no command given");
    const std::string& name = arguments[1];
    if (name == "--help" || name == "-h") {
        writeHelp(console.out);
        return ToolExit::Done;
    }
    if (name == "--version") {
        console.out << "zulog " << platform::productVersion() << '\n';
        return ToolExit::Done;
    }
    const Command* command = commandCalled(name);
    if (command == nullptr)
        throw UsageError(
            (name.compare(0, 1, "-") == 0 ? "unrecognised option '" : "there is no command '") +
            name + "'");
    return command->run({arguments.begin() + 2, arguments.end()}, console);
}

/// What the user typed may hold line ends, or what a terminal obeys; the message is one line all
/// the same.
std::string oneLine(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char c) { return (c >= 0 && c < 0x20) || c == 0x7F; }, ' ');
    return text;
}

/// Where a wrong command line is explained.
std::string helpFor(const std::vector<std::string>& arguments)
{
    const bool isKnown = arguments.size() > 1 && commandCalled(arguments[1]) != nullptr;
    return "zulog " + (isKnown ? arguments[1] + ' ' : std::string()) + "--help";
}

} // namespace

int runZulogProgram(const std::vector<std::string>& arguments, Console& console)
{
    const bool isStandardOutput = &console.out == &std::cout;
    if (isStandardOutput)
        platform::ignoreBrokenPipes();
    ToolExit status = ToolExit::Failed;
    try {
        status = dispatch(arguments, console);
        console.out.flush();
        // Whoever reads only the first lines of the output has got what he wanted.
        const bool isUnread =
            isStandardOutput && platform::isClosedPipe(platform::StandardStream::Output);
        if (!console.out && !isUnread) {
            console.err << "zulog: cannot write to standard output\n";
            status = ToolExit::Failed;
        }
    } catch (const UsageError& error) {
        console.err << "zulog: " << oneLine(error.what()) << "; try '" << helpFor(arguments)
                    << "'\n";
        status = ToolExit::Usage;
    } catch (const std::exception& error) {
        console.err << "zulog: " << oneLine(error.what()) << '\n';
    }
    console.err.flush();
    return static_cast<int>(status);
}

} // namespace zuLogging
