#include "tools/SendCommand.h"

#include "logging/ConnectionInfo.h"
#include "logging/LogClient.h"
#include "logging/LogMessageContainerBuilder.h"
#include "logging/TimestampText.h"
#include "platform/Process.h"
#include "tools/CommandOptions.h"
#include "tools/LineReader.h"

#include <istream>
#include <optional>
#include <ostream>
#include <stdexcept>

namespace zuLogging {

namespace {

namespace po = boost::program_options;

/// More of a line than a packet can hold, so that where it is cut depends on the packet alone.
constexpr std::size_t lineLimit = maximumContainer + 16;

/// Sends one text after the other, all with the same other fields.
class TextSender
{
public:
    explicit TextSender(const LogMessageContainerBuilder& fields)
        : fields_(fields)
    {
        fields_.logMessage.emplace();
        fields_.timestamp = 0;
        fields_.processId = platform::currentProcessId();
        fields_.threadId = platform::currentThreadId();
        if (fields_.size() > maximumContainer)
            throw UsageError("module, group and position together do not fit into one packet");
    }

    /// Throws LogSvcError when there is no service.
    void connect() { client_.emplace(readConnectionInfo()); }

    /// `dropped`: bytes of the text that its reader left out. Throws LogSvcError when the message
    /// was not taken.
    void send(const std::string& text, std::uint64_t dropped)
    {
        fields_.logMessage->assign(text);
        const bool isCut = fields_.cutMessageToFit() + dropped > 0;
        fields_.timestamp = currentTimestamp();
        ++fields_.sourceMsgId;

        const std::vector<std::uint8_t> bytes = fields_.build();
        LogMessageContainerView container;
        container.data = bytes.data();
        container.length = bytes.size();
        client_->deliver(container);
        if (isCut)
            ++cut_;
    }

    /// Messages so far whose text was too long.
    std::uint64_t cut() const { return cut_; }

private:
    LogMessageContainerBuilder fields_;
    std::optional<LogClient> client_;
    std::uint64_t cut_ = 0;
};

void sendLines(TextSender& sender, std::istream& in)
{
    LineReader lines(in, lineLimit);
    const auto next = [&lines] {
        try {
            return lines.next();
        } catch (const std::ios::failure&) {
            throw std::runtime_error("cannot read standard input");
        }
    };
    while (next())
        sender.send(lines.text(), lines.dropped());
}

} // namespace

ToolExit runSendCommand(const std::vector<std::string>& words, Console& console)
{
    po::options_description options("Options");
    // clang-format off
    options.add_options()
        ("module", po::value<std::string>()->default_value("zulog")->value_name("M"),
         "module that the messages come from")
        ("level", po::value<std::string>()->default_value("info")->value_name("L"),
         "none, fatal, err, warn, info, trace or debug")
        ("group", po::value<std::string>()->value_name("G"), "log group")
        ("pos", po::value<std::string>()->value_name("P"), "source position")
        ("help,h", "show this text and end");
    // clang-format on
    po::options_description all;
    all.add(options).add_options()("text", po::value<std::string>());
    po::positional_options_description positional;
    positional.add("text", 1);

    const po::variables_map values = parseCommandLine(words, all, positional);
    if (values.count("help") != 0) {
        console.out << "Usage: zulog send [OPTION...] [TEXT]\n\n"
                       "Sends TEXT to the log service as one message; without TEXT, each line of "
                       "standard\ninput as one. Every message is acknowledged by the service.\n\n"
                    << options;
        return ToolExit::Done;
    }

    LogMessageContainerBuilder fields;
    fields.logLevel = parseLogLevel(values["level"].as<std::string>());
    fields.module = values["module"].as<std::string>();
    if (values.count("group") != 0)
        fields.groupName = values["group"].as<std::string>();
    if (values.count("pos") != 0)
        fields.logPos = values["pos"].as<std::string>();

    TextSender sender(fields);
    sender.connect();
    const auto reportCut = [&] {
        if (sender.cut() > 0)
            console.err << "zulog: warning: " << sender.cut()
                        << (sender.cut() == 1 ? " message was" : " messages were")
                        << " too long for one packet and cut\n";
    };
    try {
        if (values.count("text") != 0)
            sender.send(values["text"].as<std::string>(), 0);
        else
            sendLines(sender, console.in);
    } catch (...) {
        reportCut();
        throw;
    }
    reportCut();
    return ToolExit::Done;
}

} // namespace zuLogging
