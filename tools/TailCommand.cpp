#include "tools/TailCommand.h"

#include "platform/OutputChannel.h"
#include "platform/Process.h"
#include "platform/Trace.h"
#include "tools/CommandOptions.h"
#include "tools/LogTail.h"

#include <limits>
#include <optional>
#include <ostream>

namespace zuLogging {

namespace {

namespace po = boost::program_options;

/// While it lives nothing is traced: what is wrong with single datagrams would be told in the
/// middle of the messages, on a thread that has to receive.
class SilentTrace
{
public:
    SilentTrace()
        : previous_(platform::setTraceHandler([](std::string_view) {}))
    {
    }
    ~SilentTrace() { platform::setTraceHandler(previous_); }
    SilentTrace(const SilentTrace&) = delete;
    SilentTrace& operator=(const SilentTrace&) = delete;

private:
    platform::TraceHandler previous_;
};

constexpr char description[] =
    "Usage: zulog tail [OPTION...]\n\n"
    "Shows the messages of the log service as they come, one a line in UTF-8: module,\n"
    "time stamp (microseconds), thread, level code and text. Ends at SIGINT (Ctrl+C) or\n"
    "SIGTERM, when the terminal is closed, or when nobody reads standard output any more.\n"
    "Messages that had arrived are still written; a second Ctrl+C leaves them.\n\n"
    "Line ends and control characters in a text are shown as \\n, \\r, \\x1b or \\u2028;\n"
    "--json keeps texts exactly. Messages of the second kind are not shown. While the\n"
    "reader is slow up to 64 MiB of messages wait; more are dropped and counted on\n"
    "standard error. When the log service goes away, it is waited for.\n\n";

} // namespace

ToolExit runTailCommand(const std::vector<std::string>& words, Console& console)
{
    po::options_description options("Options");
    // clang-format off
    options.add_options()
        ("replay", "begin with what the service has recorded")
        ("json", "each message as a JSON object with the members of the window's JSON log")
        ("count", po::value<std::string>()->value_name("N"), "end after so many messages")
        ("help,h", "show this text and end");
    // clang-format on
    const po::variables_map values = parseCommandLine(words, options, {});
    if (values.count("help") != 0) {
        console.out << description << options;
        return ToolExit::Done;
    }
    LogTail::Options wanted;
    wanted.replay = values.count("replay") != 0;
    wanted.json = values.count("json") != 0;
    if (values.count("count") != 0)
        wanted.count = parseNumber("--count", values["count"].as<std::string>(), 1,
                                   std::numeric_limits<std::uint64_t>::max());

    console.out.flush();
    console.err.flush();
    platform::OutputChannel out(platform::OutputChannel::standardOutput);
    platform::OutputChannel err(platform::OutputChannel::standardError);
    platform::ignoreBrokenPipes();
    const SilentTrace silence;

    LogTail tail(wanted, out, err);
    std::optional<platform::TerminationWatcher> watcher(
        std::in_place, [&tail] { tail.stop(); }, true);
    tail.follow();
    watcher.emplace([&tail] { tail.abandon(); }, true);
    tail.finish();
    return ToolExit::Done;
}

} // namespace zuLogging
