// Does one write of the programs, as they do it: write_driver WRITER PATH. The new content is the
// same at each run. Ends with 0 when the writer says (or does not deny) that it has written, with 3
// when it says that it has not, with 2 when there is no such writer.

#include "logging/ConnectionInfo.h"
#include "logging/LogMessageContainerBuilder.h"
#include "logging/LogMessageSinkFile.h"
#include "logging/LogSvcError.h"
#include "platform/SharedMemory.h"
#include "platform/StoredFile.h"
#include "platform/Trace.h"
#include "service/LogFiles.h"
#include "service/ModuleRegistry.h"
#include "service/ServiceConfiguration.h"
#include "service/ServicePidFile.h"
#include "service/StartupFile.h"
#include "store/LogContainer.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"
#include "tests/faults/DriverSupport.h"

#include <QCoreApplication>
#include <QFile>

#include <unistd.h>

#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace zuLogging {
namespace {

// Enough that every one of them is written in several pieces.
constexpr int messageCount = 600;

bool writeSettings(const QString& path)
{
    ViewSettings settings;
    settings.maximumLogMessages = 4711;
    settings.filterInclude = QStringList{QStringLiteral("new")};
    settings.setColumnLayout({3, 4, 5});
    return settings.writeTo(path);
}

bool writeJsonLog(const QString& path)
{
    const auto store = std::make_shared<LogContainer>();
    LogTableModel model(store);
    test::fillLog(model, messageCount);
    return model.saveToJson(path);
}

bool writeConfiguration(const QString& path)
{
    ServiceConfiguration configuration(path.toStdString());
    try {
        configuration.replace(R"({"parameters":{"level":"err","destination":"logsvc"}})");
    } catch (const LogSvcError&) {
        return false;
    }
    return true;
}

/// For writers that tell of a failure by a line to the trace.
bool isSilent(const std::function<void()>& action)
{
    bool hasSpoken = false;
    const platform::TraceHandler before =
        platform::setTraceHandler([&hasSpoken](std::string_view) { hasSpoken = true; });
    action();
    platform::setTraceHandler(before);
    return !hasSpoken;
}

bool writeModules(const QString& path)
{
    ModuleRegistry modules(path.toStdString());
    for (const char16_t* name : {u"new one", u"new two"})
        modules.note(name);
    return isSilent([&modules] { modules.save(); });
}

bool writeStartupFile(const QString& path)
{
    return isSilent([&path] { const StartupFile file(path.toStdString()); });
}

bool writePidFile(const QString&)
{
    const auto file = std::make_unique<ServicePidFile>();
    const bool isWritten = file->error().empty();
    // It stays, as it does when the service is killed.
    ::_exit(isWritten ? 0 : test::refused);
}

bool publishRecord(const QString&)
{
    platform::SharedMemoryPublisher publisher;
    const auto publish = [&publisher](const std::vector<std::uint8_t>& bytes) {
        return publisher.publish(connectionInfoName(), bytes) ==
               platform::SharedMemoryPublisher::Result::Published;
    };
    const bool isPublished = publish(std::vector<std::uint8_t>(connectionInfoSize)) &&
                             publish(encodeConnectionInfo({platform::loopbackAddress, 4711}));
    if (isPublished)
        ::_exit(0); // the record stays, as it does when the service is killed
    return false;
}

bool makeFolder(const QString& path)
{
    std::string error;
    return platform::makeFolder(path.toStdString() + "/a/b", error);
}

/// One line for each of three messages.
void writeLines(const std::function<void(const LogMessageContainerView&)>& write)
{
    for (int i = 0; i < 3; ++i) {
        LogMessageContainerBuilder builder;
        builder.logMessage = "new";
        const std::vector<std::uint8_t> bytes = builder.build();
        LogMessageContainerView view;
        view.data = bytes.data();
        view.length = bytes.size();
        write(view);
    }
}

bool writeLogFile(const QString& path)
{
    const QString folder = path.section(QLatin1Char('/'), 0, -2);
    const QString name = path.section(QLatin1Char('/'), -1);
    return isSilent([&] {
        LogFiles files(folder.toStdString());
        writeLines(
            [&](const LogMessageContainerView& view) { files.write(name.toStdString(), view); });
    });
}

bool writeSinkFile(const QString& path)
{
    const QString name = path.section(QLatin1Char('/'), -1);
    bool isMade = true;
    const bool silent = isSilent([&] {
        try {
            LogMessageSinkFile sink(name.toStdString(), 0, SinkSource::Request);
            writeLines([&](const LogMessageContainerView& view) { sink.consume(view); });
        } catch (const LogSvcError&) {
            isMade = false;
        }
    });
    return silent && isMade;
}

using Writer = bool (*)(const QString& path);

const std::map<std::string, Writer>& writers()
{
    static const std::map<std::string, Writer> all{
        {"configuration", writeConfiguration},
        {"folder", makeFolder},
        {"json-log", writeJsonLog},
        {"log-file", writeLogFile},
        {"modules", writeModules},
        {"pid-file", writePidFile},
        {"record", publishRecord},
        {"settings", writeSettings},
        {"sink-file", writeSinkFile},
        {"startup-file", writeStartupFile},
    };
    return all;
}

} // namespace
} // namespace zuLogging

int main(int argc, char** argv)
{
    using namespace zuLogging;
    ::alarm(test::longestRun);
    const auto writer = argc == 3 ? writers().find(argv[1]) : writers().end();
    if (writer == writers().end()) {
        std::cerr << "write_driver WRITER PATH\n";
        return 2;
    }
    const QCoreApplication application(argc, argv);
    return writer->second(QFile::decodeName(argv[2])) ? 0 : test::refused;
}
