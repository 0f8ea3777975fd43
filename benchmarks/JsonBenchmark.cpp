// A log of a million messages, 80 characters each, to a JSON file and back, beside the library's
// own document in the same run: time, and memory beyond what the table holds. Memory is measured in
// processes of their own: the program starts itself.

#include "store/LogTableModel.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSaveFile>
#include <QTemporaryDir>

#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zuLogging {

namespace {

constexpr int million = 1000000;
constexpr int messageLength = 80;

using Messages = std::vector<std::shared_ptr<LogMessage>>;
using Clock = std::chrono::steady_clock;

std::unique_ptr<LogTableModel> emptyModel()
{
    return std::make_unique<LogTableModel>(nullptr);
}

std::unique_ptr<LogTableModel> filledModel()
{
    auto model = emptyModel();
    for (std::uint64_t id = 1; id <= million; ++id) {
        std::u16string text =
            u"Order 4711 was accepted after 12 ms, \"late\"\tand passed on as number ";
        for (const char digit : std::to_string(id))
            text += static_cast<char16_t>(digit);
        text.resize(messageLength, u'.');
        auto message = std::make_shared<LogMessage>(
            id, id, id, 19000000000000000ULL + id * 100, 8, u"OrderService.cpp:1234",
            u"OrderService", u"Network", text, std::uint64_t{4711}, std::uint64_t{4712});
        message->renderTimestamp();
        model->addMessage(std::move(message));
    }
    return model;
}

bool saveByDocument(const LogTableModel& model, const QString& path)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text))
        return false;
    QJsonArray array;
    for (const auto& message : model.messagesFrom(0, million)) {
        QJsonObject object;
        object.insert("ServiceMsgID", QString::number(message->serviceMsgId()));
        object.insert("SourceMsgID", QString::number(message->sourceMsgId()));
        object.insert("SenderMsgID", QString::number(message->senderMsgId()));
        object.insert("ProcessID", QString::number(message->processId()));
        object.insert("ThreadID", QString::number(message->threadId()));
        object.insert("Timestamp", QString::number(message->timestamp()));
        object.insert("LogLevel [Hex]", message->levelCodeText());
        object.insert("LogLevel", message->levelName());
        object.insert("LogPos", toQString(message->logPos()));
        object.insert("Module", toQString(message->module()));
        object.insert("GroupName", toQString(message->groupName()));
        object.insert("LogMessage", toQString(message->logMessage()));
        array.append(object);
    }
    const QByteArray text = QJsonDocument(array).toJson(QJsonDocument::Indented);
    return file.write(text) == text.size() && file.commit();
}

bool loadByDocument(LogTableModel& model, const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    Messages messages;
    const QJsonArray array = QJsonDocument::fromJson(file.readAll()).array();
    for (const QJsonValue& value : array) {
        const QJsonObject object = value.toObject();
        const auto number = [&object](const char* key) {
            return object.value(QLatin1String(key)).toVariant().toULongLong();
        };
        const auto text = [&object](const char* key) {
            return object.value(QLatin1String(key)).toString();
        };
        auto message = std::make_shared<LogMessage>(
            number("ServiceMsgID"), number("SourceMsgID"), number("SenderMsgID"),
            number("Timestamp"), text("LogLevel [Hex]").toULongLong(nullptr, 16), text("LogPos"),
            text("Module"), text("GroupName"), text("LogMessage"), number("ProcessID"),
            number("ThreadID"));
        message->renderTimestamp();
        messages.push_back(std::move(message));
    }
    model.addMessages(messages);
    return true;
}

struct Way
{
    const char* name;
    bool (*save)(const LogTableModel&, const QString&);
    bool (*load)(LogTableModel&, const QString&);
};

const Way ours{
    "ours", [](const LogTableModel& model, const QString& path) { return model.saveToJson(path); },
    [](LogTableModel& model, const QString& path) { return model.loadFromJson(path); }};
const Way document{"document", &saveByDocument, &loadByDocument};

// --- Memory

/// What this process took at most, in bytes; -1 if the system does not tell. The figure of
/// getrusage will not do: it begins with what the process that started this one took.
double peak()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray name = "VmHWM:";
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith(name))
            return line.mid(name.size()).trimmed().split(' ').first().toDouble() * 1024;
    return -1;
}

/// In a process of its own: prints what `work` of `way` took. The work "hold" only fills a table.
int measureMemory(const QString& work, const Way& way, const QString& path)
{
    const double before = peak();
    auto model = work == "load" ? emptyModel() : filledModel();
    if ((work == "load" && !way.load(*model, path)) ||
        (work == "save" && !way.save(*model, path)) || model->rowCount() != million)
        return 1;
    std::printf("%.0f\n", peak() - before);
    return 0;
}

double memoryOf(const QString& work, const Way& way, const QString& path)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), {"--memory", work, way.name, path});
    if (!process.waitForFinished(600000) || process.exitCode() != 0)
        return -1;
    return process.readAllStandardOutput().toDouble();
}

// --- Time

double secondsOf(const std::function<bool()>& work, benchmark::State& state)
{
    const auto begin = Clock::now();
    if (!work())
        state.SkipWithError("failed");
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// Ours is the time of the benchmark; the document's stands in its counters.
void compare(benchmark::State& state, const QString& work, const QString& path,
             const std::function<double(const Way&)>& seconds)
{
    double oursTotal = 0;
    double documentTotal = 0;
    for (auto _ : state) {
        const double mine = seconds(ours);
        state.SetIterationTime(mine);
        oursTotal += mine;
        documentTotal += seconds(document);
    }
    state.SetItemsProcessed(state.iterations() * million);
    state.counters["document_s"] = documentTotal / static_cast<double>(state.iterations());
    state.counters["times_faster"] = documentTotal / oursTotal;
    constexpr double mebibyte = 1024 * 1024;
    const double held = memoryOf("hold", ours, path);
    state.counters["table_MiB"] = held / mebibyte;
    state.counters["beyond_MiB"] = (memoryOf(work, ours, path) - held) / mebibyte;
    state.counters["document_beyond_MiB"] = (memoryOf(work, document, path) - held) / mebibyte;
}

void save(benchmark::State& state)
{
    const QTemporaryDir directory;
    const auto model = filledModel();
    const QString path = directory.filePath("log.json");
    compare(state, "save", path, [&](const Way& way) {
        return secondsOf([&] { return way.save(*model, path); }, state);
    });
}

void load(benchmark::State& state)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath("log.json");
    if (!filledModel()->saveToJson(path))
        state.SkipWithError("no file");
    compare(state, "load", path, [&](const Way& way) {
        const auto model = emptyModel(); // its end is not timed
        return secondsOf([&] { return way.load(*model, path); }, state);
    });
}

BENCHMARK(save)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(load)->Iterations(1)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace
} // namespace zuLogging

int main(int argc, char** argv)
{
    using namespace zuLogging;
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--memory" && arguments.size() == 5)
        return measureMemory(arguments.at(2), arguments.at(3) == ours.name ? ours : document,
                             arguments.at(4));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
