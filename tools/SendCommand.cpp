#include "tools/SendCommand.h"

#include "logging/JsonLogReader.h"
#include "logging/LogSvcError.h"
#include "logging/TimestampText.h"
#include "platform/Process.h"
#include "platform/StandardStreams.h"
#include "tools/CommandOptions.h"
#include "tools/InputBytes.h"
#include "tools/JsonTextReader.h"
#include "tools/LineReader.h"
#include "tools/MessageSender.h"

#include <QByteArray>

#include <atomic>
#include <iostream>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace zuLogging {

namespace {

namespace po = boost::program_options;

/// More of a line than a packet can hold, so that where it is cut depends on the packet alone.
constexpr std::size_t lineLimit = maximumContainer + 16;
/// Of one JSON object: a packet's worth of text as escapes, and as much of what is not known.
constexpr std::size_t jsonLimit = std::size_t{16} << 20;

constexpr char tooLongFields[] = "module, group and position together do not fit into one packet";

/// The options that a JSON object's members would contradict.
constexpr const char* fieldOptions[] = {"module", "level", "group", "pos", "pid", "tid", "time"};

std::string countOfMessages(std::uint64_t count)
{
    return std::to_string(count) + (count == 1 ? " message" : " messages");
}

/// Sends what there is to send and keeps count of what was wrong with it.
class SendRun
{
public:
    SendRun(MessageSender::Acknowledge acknowledge, Console& console)
        : sender_(acknowledge)
        , acknowledge_(acknowledge)
        , console_(console)
    {
    }

    /// False when the fields that are not the text are too long. `isCut`: the text was cut before.
    bool send(LogMessageContainerBuilder& message, bool isCut)
    {
        return sender_.send(message, isCut);
    }

    /// `place`: which object it is, for the user.
    void sendJson(std::string_view json, const std::string& place)
    {
        const std::shared_ptr<LogMessage> message = readJsonMessage(json);
        if (!message)
            refuse(place + " is no JSON object");
        else if (LogMessageContainerBuilder container = containerOf(*message);
                 !send(container, false))
            refuse(place + ": " + tooLongFields);
    }

    void refuse(const std::string& what)
    {
        console_.err << "zulog: " << what << '\n';
        hasRefused_ = true;
    }

    void flush() { sender_.flush(); }

    /// Calls `work`, which sends; then says what there is to say about it.
    template <class Work>
    ToolExit run(const Work& work)
    {
        try {
            work();
            sender_.flush();
        } catch (const LogSvcError& error) {
            reportCut();
            if (acknowledge_ == MessageSender::Acknowledge::Some)
                throw;
            throw std::runtime_error(error.what() + std::string(" (") +
                                     countOfMessages(sender_.sent()) +
                                     (sender_.sent() == 1 ? " was" : " were") + " taken before)");
        } catch (...) {
            reportCut();
            throw;
        }
        reportCut();
        return hasRefused_ ? ToolExit::Failed : ToolExit::Done;
    }

    /// For who has ended it by hand.
    void reportSent()
    {
        sender_.flush();
        if (&console_.err == &std::cerr && platform::isTerminal(platform::StandardStream::Error))
            console_.err << countOfMessages(sender_.sent()) << " sent\n";
    }

private:
    static std::optional<std::string> textItem(std::u16string_view text)
    {
        if (text.empty())
            return std::nullopt;
        return toQString(text).toUtf8().toStdString();
    }

    static std::optional<std::uint64_t> numberItem(std::uint64_t number)
    {
        return number == 0 ? std::nullopt : std::make_optional(number);
    }

    /// What is 0 or empty takes no room, so that what came out of one packet goes into one.
    static LogMessageContainerBuilder containerOf(const LogMessage& message)
    {
        LogMessageContainerBuilder container;
        container.sourceMsgId = message.sourceMsgId();
        container.timestamp = numberItem(message.timestamp());
        container.logLevel = numberItem(message.logLevel());
        container.processId = numberItem(message.processId());
        container.threadId = numberItem(message.threadId());
        container.module = textItem(message.module());
        container.groupName = textItem(message.groupName());
        container.logPos = textItem(message.logPos());
        container.logMessage = textItem(message.logMessage());
        return container;
    }

    void reportCut()
    {
        if (sender_.cut() > 0)
            console_.err << "zulog: warning: " << countOfMessages(sender_.cut())
                         << (sender_.cut() == 1 ? " was" : " were")
                         << " too long for one packet and cut\n";
    }

    MessageSender sender_;
    MessageSender::Acknowledge acknowledge_;
    Console& console_;
    bool hasRefused_ = false;
};

/// What is the same in all messages made of plain text.
struct PlainFields
{
    LogMessageContainerBuilder container;
    bool hasTime = false;

    void sendText(SendRun& run, const std::string& text, bool isCut)
    {
        container.logMessage->assign(text);
        if (!hasTime)
            container.timestamp = currentTimestamp();
        ++container.sourceMsgId;
        run.send(container, isCut);
    }
};

PlainFields plainFields(const po::variables_map& values)
{
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    const auto text = [&values](const char* name) -> std::optional<std::string> {
        if (values.count(name) == 0)
            return std::nullopt;
        return values[name].as<std::string>();
    };
    const auto number = [&text](const std::string& name, std::uint64_t otherwise) {
        const std::optional<std::string> value = text(name.c_str());
        return value ? parseNumber("--" + name, *value, 0, largest) : otherwise;
    };
    PlainFields fields;
    LogMessageContainerBuilder& container = fields.container;
    container.module = text("module");
    container.logLevel = parseLogLevel(*text("level"));
    container.groupName = text("group");
    container.logPos = text("pos");
    container.processId = number("pid", platform::currentProcessId());
    container.threadId = number("tid", platform::currentThreadId());
    fields.hasTime = text("time").has_value();
    container.timestamp = fields.hasTime ? parseTime("--time", *text("time")) : 0;
    container.logMessage.emplace();
    if (container.size() > maximumContainer)
        throw UsageError(tooLongFields);
    return fields;
}

void sendLines(SendRun& run, PlainFields& fields, InputBytes& input,
               const std::atomic<bool>& stopped)
{
    LineReader lines(input, lineLimit);
    // What had no end when the user ended it is no line.
    while (lines.next() && !stopped)
        fields.sendText(run, lines.text(), lines.dropped() > 0);
}

void sendJsonTexts(SendRun& run, InputBytes& input, const std::atomic<bool>& stopped)
{
    JsonTextReader texts(input, jsonLimit);
    while (texts.next() && !stopped) {
        const std::string place = "line " + std::to_string(texts.line());
        if (texts.isTooLong())
            run.refuse(place + ": the JSON object is longer than 16 MiB");
        else
            run.sendJson(texts.text(), place);
    }
    if (!texts.error().empty() && !stopped)
        run.refuse("line " + std::to_string(texts.line()) + ": " + texts.error());
}

/// `sendAll` takes the input apart; it may look whether the user has ended it.
template <class SendAll>
ToolExit sendInput(SendRun& run, Console& console, const SendAll& sendAll)
{
    std::atomic<bool> stopped{false};
    platform::WakeSignal wake;
    const platform::TerminationWatcher watcher([&] {
        stopped = true;
        wake.raise();
    });
    const bool isStandardInput = &console.in == &std::cin;
    InputBytes input(
        console.in,
        [&] {
            // Nobody knows when more comes, so what has come is seen through first.
            run.flush();
            return !isStandardInput || platform::waitForStandardInput(wake);
        },
        &stopped);
    return run.run([&] {
        sendAll(input, stopped);
        if (stopped)
            run.reportSent();
        else if (input.failed()) {
            run.flush();
            throw std::runtime_error("cannot read standard input");
        }
    });
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
        ("pid", po::value<std::string>()->value_name("N"),
         "process number; without it, this process's")
        ("tid", po::value<std::string>()->value_name("N"),
         "thread number; without it, this thread's")
        ("time", po::value<std::string>()->value_name("T"),
         "time stamp (UTC): microseconds since 1970, or as 2026-11-21T08:52:11.123456Z or "
         "\"2026-Nov-21 08:52:11.123456\"; without it, now")
        ("json", "each line, or TEXT, is a JSON object with the members of a JSON log, which take "
                 "the place of the options above")
        ("reliable", "wait for the service's acknowledge of each message, so that none is lost")
        ("help,h", "show this text and end");
    // clang-format on
    po::options_description all;
    all.add(options).add_options()("text", po::value<std::string>());
    po::positional_options_description positional;
    positional.add("text", 1);

    const po::variables_map values = parseCommandLine(words, all, positional);
    if (values.count("help") != 0) {
        console.out
            << "Usage: zulog send [OPTION...] [TEXT]\n\n"
               "Sends TEXT to the log service as one message; without TEXT, each line of\n"
               "standard input as one, as soon as it is there. The service acknowledges TEXT,\n"
               "and of lines every "
            << MessageSender::acknowledgeInterval
            << "nd and the last one before a pause or the end, so that it\n"
               "is not overrun. Ends at the first message that the service does not take, and\n"
               "at Ctrl+C.\n\n"
               "With --json, standard input may also be an array of such objects, as LogDesk\n"
               "saves it. Their members: SourceMsgID, Timestamp (microseconds since 1400),\n"
               "\"LogLevel [Hex]\", LogPos, Module, GroupName, ProcessID, ThreadID, LogMessage;\n"
               "what is missing is 0 or empty. What is no such object is reported with its\n"
               "line, and the others are sent.\n\n"
            << options;
        return ToolExit::Done;
    }

    const bool isJson = values.count("json") != 0;
    for (const char* name : fieldOptions)
        if (isJson && values.count(name) != 0 && !values[name].defaulted())
            throw UsageError("--json and --" + std::string(name) + " do not go together");
    PlainFields fields = plainFields(values);
    SendRun run(values.count("reliable") != 0 ? MessageSender::Acknowledge::Every
                                              : MessageSender::Acknowledge::Some,
                console);
    if (values.count("text") != 0) {
        const std::string& text = values["text"].as<std::string>();
        return run.run([&] {
            if (isJson)
                run.sendJson(text, "the text");
            else
                fields.sendText(run, text, false);
        });
    }
    return sendInput(run, console, [&](InputBytes& input, const std::atomic<bool>& stopped) {
        if (isJson)
            sendJsonTexts(run, input, stopped);
        else
            sendLines(run, fields, input, stopped);
    });
}

} // namespace zuLogging
