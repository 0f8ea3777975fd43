#include "tools/DemoCommand.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogClient.h"
#include "logging/LogSvcError.h"
#include "platform/Process.h"
#include "tools/CommandOptions.h"
#include "tools/DemoTraffic.h"
#include "tools/PacedSender.h"

#include <chrono>
#include <iomanip>
#include <limits>
#include <ostream>
#include <sstream>

namespace zuLogging {

namespace {

namespace po = boost::program_options;

std::string seconds(std::chrono::nanoseconds duration)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(3) << std::chrono::duration<double>(duration).count();
    return text.str();
}

} // namespace

ToolExit runDemoCommand(const std::vector<std::string>& words, Console& console)
{
    po::options_description options("Options");
    // clang-format off
    options.add_options()
        ("rate", po::value<std::string>()->default_value("100")->value_name("N"),
         "messages a second, 1 to 200000")
        ("count", po::value<std::string>()->value_name("N"),
         "end after so many messages; without it, at SIGINT or SIGTERM")
        ("seed", po::value<std::string>()->default_value("1")->value_name("N"),
         "one seed always makes the same messages")
        ("reliable", "wait for the service's acknowledge of each message")
        ("help,h", "show this text and end");
    // clang-format on
    const po::variables_map values = parseCommandLine(words, options, {});
    if (values.count("help") != 0) {
        console.out << "Usage: zulog demo [OPTION...]\n\n"
                       "Sends made-up messages of several applications to the log service at an "
                       "even rate.\nTheir SourceMsgID runs from 1.\n\n"
                    << options;
        return ToolExit::Done;
    }
    constexpr std::uint64_t noLimit = std::numeric_limits<std::uint64_t>::max();
    const auto text = [&values](const char* name) { return values[name].as<std::string>(); };
    const std::uint64_t rate =
        parseNumber("--rate", text("rate"), PacedSender::lowestRate, PacedSender::highestRate);
    const std::uint64_t count =
        values.count("count") != 0 ? parseNumber("--count", text("count"), 1, noLimit) : 0;
    DemoTraffic traffic(parseNumber("--seed", text("seed"), 0, noLimit));
    const bool reliable = values.count("reliable") != 0;

    StoppableClock clock;
    const platform::TerminationWatcher watcher([&clock] { clock.stop(); });
    LogClient client(readConnectionInfo());

    std::uint64_t failed = 0;
    const auto send = [&](std::uint64_t) {
        const std::vector<std::uint8_t> bytes = traffic.next().build();
        LogMessageContainerView container;
        container.data = bytes.data();
        container.length = bytes.size();
        if (reliable) {
            client.deliver(container);
            return;
        }
        try {
            client.forward(container);
        } catch (const LogSvcError&) {
            // An application does not stop working because one log message is lost.
            ++failed;
        }
    };
    const PacedSender::Result result = PacedSender(rate, clock).run(count, send);

    console.err << result.sent - failed << " messages in " << seconds(result.duration) << " s\n";
    if (failed > 0) {
        console.err << "zulog: " << failed << " messages could not be sent\n";
        return ToolExit::Failed;
    }
    return ToolExit::Done;
}

} // namespace zuLogging
