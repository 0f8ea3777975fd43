// A log of a million messages, 80 characters each, to a JSON file and back, beside the library's
// own document in the same run: time, and memory beyond what the table holds. Memory is measured in
// processes of their own: the program starts itself.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Scale.h"
#include "store/LogTableModel.h"
#include "tests/support/JsonLogDocument.h"

#include <QCoreApplication>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSaveFile>
#include <QTemporaryDir>

#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zuLogging {

namespace {

using namespace benchmarks;

const int million = scaled(1000000, 3000);
constexpr int messageLength = 80;

using Messages = std::vector<std::shared_ptr<LogMessage>>;

std::unique_ptr<LogTableModel> emptyModel()
{
    return std::make_unique<LogTableModel>(nullptr);
}

std::unique_ptr<LogTableModel> filledModel()
{
    auto model = emptyModel();
    for (std::uint64_t id = 1; id <= static_cast<std::uint64_t>(million); ++id) {
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
    const QByteArray text = test::writtenByDocument(model.messagesFrom(0, million));
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

/// In a process of its own: prints what `work` of `way` took. The work "hold" only fills a table.
int measureMemory(const QString& work, const Way& way, const QString& path)
{
    const double before = peakMemory();
    auto model = work == "load" ? emptyModel() : filledModel();
    if ((work == "load" && !way.load(*model, path)) ||
        (work == "save" && !way.save(*model, path)) || model->rowCount() != million)
        return 1;
    std::printf("%.0f\n", peakMemory() - before);
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

constexpr double mebibyte = 1024 * 1024;

double secondsOfWork(const std::function<bool()>& work, benchmark::State& state)
{
    bool done = false;
    const double seconds = secondsOf([&] { done = work(); });
    require(state, done, "the file was written or read");
    return seconds;
}

struct Memory
{
    double table;
    double ours;     ///< beyond the table
    double document; ///< beyond the table
};

/// Ours is the time of the benchmark; the document's stands in its counters.
Memory compare(benchmark::State& state, const QString& work, const QString& path,
               const std::function<double(const Way&)>& seconds, double& ourSeconds,
               double& documentSeconds)
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
    ourSeconds = oursTotal / static_cast<double>(state.iterations());
    documentSeconds = documentTotal / static_cast<double>(state.iterations());
    state.counters["document_s"] = documentSeconds;
    state.counters["times_faster"] = documentTotal / oursTotal;
    const double held = memoryOf("hold", ours, path);
    const double mine = memoryOf(work, ours, path);
    const double theirs = memoryOf(work, document, path);
    require(state, held > 0 && mine > 0 && theirs > 0, "the memory was measured");
    state.counters["table_MiB"] = held / mebibyte;
    state.counters["beyond_MiB"] = (mine - held) / mebibyte;
    state.counters["document_beyond_MiB"] = (theirs - held) / mebibyte;
    return {held, mine - held, theirs - held};
}

/// The limit: the file's bytes read into memory, or written from there to another file.
double secondsToRead(const QString& path, QByteArray& bytes)
{
    return secondsOf([&] {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly))
            bytes = file.readAll();
    });
}

double secondsToWrite(const QString& path, const QByteArray& bytes)
{
    return secondsOf([&] {
        QSaveFile file(path);
        if (file.open(QIODevice::WriteOnly)) {
            file.write(bytes);
            file.commit();
        }
    });
}

void save(benchmark::State& state)
{
    const QTemporaryDir directory;
    const auto model = filledModel();
    const QString path = directory.filePath("log.json");
    double mine = 0;
    double theirs = 0;
    const Memory memory = compare(
        state, "save", path,
        [&](const Way& way) {
            return secondsOfWork([&] { return way.save(*model, path); }, state);
        },
        mine, theirs);
    require(state, model->saveToJson(path), "the file was written");
    QByteArray bytes;
    secondsToRead(path, bytes);
    const double bare = secondsToWrite(directory.filePath("bytes"), bytes);
    state.counters["file_MB"] = static_cast<double>(bytes.size()) / 1e6;
    const auto again = emptyModel();
    require(state, again->loadFromJson(path) && again->rowCount() == million,
            "the file holds every message");
    report({"JSON export of 1,000,000 messages", mine, "s", "QJsonDocument", theirs,
            Goal::Kind::AtMost, 1.2});
    report({"JSON export, beside its bytes alone", mine, "s", "the same bytes written", bare,
            Goal::Kind::Shown, 0});
    report({"JSON export, memory beyond the table", memory.ours / mebibyte, "MiB", "QJsonDocument",
            memory.document / mebibyte, Goal::Kind::AtMost, 16});
}

void load(benchmark::State& state)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath("log.json");
    require(state, filledModel()->saveToJson(path), "the file was written");
    double mine = 0;
    double theirs = 0;
    const Memory memory = compare(
        state, "load", path,
        [&](const Way& way) {
            const auto model = emptyModel(); // its end is not timed
            const double seconds = secondsOfWork([&] { return way.load(*model, path); }, state);
            require(state, model->rowCount() == million, "every message was read");
            return seconds;
        },
        mine, theirs);
    QByteArray bytes;
    const double bare = secondsToRead(path, bytes);
    report({"JSON import of 1,000,000 messages", mine, "s", "QJsonDocument", theirs,
            Goal::Kind::AtMost, 1.3});
    report({"JSON import, beside its bytes alone", mine, "s", "the same bytes read", bare,
            Goal::Kind::Shown, 0});
    report({"JSON import, all memory", (memory.table + memory.ours) / mebibyte, "MiB",
            "the table alone", memory.table / mebibyte, Goal::Kind::AtMostTimes, 1.2});
    report({"JSON import, all memory of QJsonDocument", (memory.table + memory.document) / mebibyte,
            "MiB", "the table alone", memory.table / mebibyte, Goal::Kind::Shown, 0});
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
    return zuLogging::benchmarks::runBenchmarks(argc, argv);
}
