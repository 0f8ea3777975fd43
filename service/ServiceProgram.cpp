#include "service/ServiceProgram.h"

#include "logging/ConnectionInfo.h"
#include "logging/LimitedTrace.h"
#include "logging/LogSvcError.h"
#include "logging/SocketAddressText.h"
#include "platform/Desktop.h"
#include "platform/Process.h"
#include "platform/SharedMemory.h"
#include "platform/StoredFile.h"
#include "platform/Trace.h"
#include "service/LogService.h"
#include "service/ServiceFiles.h"
#include "service/ServicePidFile.h"
#include "service/StartupFile.h"
#include "service/StartupSinks.h"

#include <boost/program_options.hpp>

#include <condition_variable>
#include <exception>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace zuLogging {

namespace {

constexpr const char* programName = "zulogsvc";

/// Set once, waited for once.
class Event
{
public:
    void set()
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        isSet_ = true;
        changed_.notify_all();
    }
    void wait()
    {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return isSet_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isSet_ = false;
};

/// What can be found out about the service that publishes the record already.
std::string runningServiceText()
{
    std::string text = "a log service is running already";
    try {
        text += " at " + socketAddressText(readConnectionInfo());
    } catch (const LogSvcError&) {
        // It is just starting or ending: there is no endpoint to be told.
    }
    const std::optional<std::uint64_t> pid = platform::readPidFile(ServicePidFile::path());
    if (pid && platform::isProcessAlive(*pid))
        text += " (process " + std::to_string(*pid) + ")";
    return text;
}

/// Where the service keeps its files; empty when there is no such place, which is said.
std::string usableLogFolder()
{
    std::string folder = logFolder();
    std::string error;
    if (folder.empty() || platform::makeFolder(folder, error))
        return folder;
    platform::trace("warning: cannot make the folder '" + folder +
                    "', the configuration is kept in memory only: " + error + "\n");
    return {};
}

int fail(std::ostream& err, ServiceExit status, const std::string& text)
{
    err << programName << ": " << text << std::endl;
    return static_cast<int>(status);
}

/// Throws when the record cannot be published, which another service does that runs already.
void publish(platform::SharedMemoryPublisher& publisher, const std::vector<std::uint8_t>& record)
{
    switch (publisher.publish(connectionInfoName(), record)) {
    case platform::SharedMemoryPublisher::Result::Published:
        return;
    case platform::SharedMemoryPublisher::Result::NameInUse:
        throw LogSvcError(runningServiceText());
    case platform::SharedMemoryPublisher::Result::Failed:
        throw LogSvcError("cannot publish the connection info: " + publisher.error());
    }
}

void serve(std::ostream& out, std::ostream& err)
{
    // Whoever started the service may stop reading what it says; sinks write there as well.
    platform::ignoreBrokenPipes();
    Event ending;
    const platform::TerminationWatcher watcher([&ending] { ending.set(); });
    const LimitedTrace trace(err, programName);

    // A record that leads nowhere keeps the name: the files of a service that runs already must not
    // be emptied by the sinks of this one.
    platform::SharedMemoryPublisher publisher;
    publish(publisher, std::vector<std::uint8_t>(connectionInfoSize));

    const std::string folder = usableLogFolder();
    const StartupFile startupFile(fileIn(folder, startupFileName));
    const LogService service(makeStartupSinks(startupFile.sinks()), folder);
    const SocketAddress address = service.boundAddress();
    publish(publisher, encodeConnectionInfo(address));

    const ServicePidFile pidFile;
    if (!pidFile.error().empty())
        platform::trace("warning: cannot write " + ServicePidFile::path() + ": " + pidFile.error() +
                        "\n");

    out << programName << ": listening on " << socketAddressText(address) << std::endl;
    ending.wait();
    // Before the service ends: nobody is to find one that is not there any more.
    publisher.withdraw();
}

} // namespace

int runServiceProgram(const std::vector<std::string>& arguments, std::ostream& out,
                      std::ostream& err)
{
    namespace po = boost::program_options;

    po::options_description options("Options");
    options.add_options()("help,h", "show this text and end")("version",
                                                              "show the version and end");
    po::variables_map values;
    try {
        const std::vector<std::string> words(
            arguments.empty() ? arguments.end() : arguments.begin() + 1, arguments.end());
        po::store(
            po::command_line_parser(words)
                .options(options)
                .positional(po::positional_options_description())
                .style(po::command_line_style::unix_style & ~po::command_line_style::allow_guessing)
                .run(),
            values);
        po::notify(values);
    } catch (const po::error& error) {
        return fail(err, ServiceExit::Usage,
                    std::string(error.what()) + "; try '" + programName + " --help'");
    }

    if (values.count("help") != 0) {
        out << "Usage: " << programName << " [--help] [--version]\n\n"
            << "Runs the log service in the foreground until it gets SIGTERM or SIGINT.\n\n"
            << options << std::flush;
        return static_cast<int>(out ? ServiceExit::Done : ServiceExit::Failed);
    }
    if (values.count("version") != 0) {
        out << programName << ' ' << platform::productVersion() << std::endl;
        return static_cast<int>(out ? ServiceExit::Done : ServiceExit::Failed);
    }

    try {
        serve(out, err);
        return static_cast<int>(ServiceExit::Done);
    } catch (const std::exception& error) {
        return fail(err, ServiceExit::Failed, error.what());
    }
}

} // namespace zuLogging
