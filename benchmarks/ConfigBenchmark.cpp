// A configuration of 10,000 specializations, about 2 MB: what the window does with it while the
// person waits. The limit is 2 seconds for each; "of_limit" is the part of it that was taken.

#include "config/LogConfigData.h"
#include "config/TableModel.h"
#include "config/TreeModel.h"
#include "config/TreeNode.h"
#include "logging/ConnectionInfo.h"
#include "logging/PropertyTreeJson.h"
#include "platform/SharedMemory.h"
#include "service/LogService.h"

#include <benchmark/benchmark.h>

#include <QCoreApplication>
#include <QString>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using namespace zuLogging;

constexpr int specializations = 10000;
constexpr double limitSeconds = 2.0;

const std::string& document()
{
    static const std::string text = [] {
        std::string json = R"({"parameters":{"level":"warn"},"specializations":[)";
        for (int i = 0; i < specializations; ++i) {
            if (i > 0)
                json += ',';
            json += R"({"#":"Written for the benchmark, number )" + std::to_string(i) +
                    R"(","attributes":[{"id":"module","op":"eq","value":"Module)" +
                    std::to_string(i) +
                    R"("}],"parameters":{"level":"info","destination":"file","file":"logs/module)" +
                    std::to_string(i) + R"(.log"}})";
        }
        return json + "]}";
    }();
    return text;
}

struct Models
{
    Models()
        : table(&tree)
    {
        tree.setupModelData(readPropertyTree(document()), &table);
    }

    TreeModel tree;
    TableModel table;
};

// Measures `action`, once for each iteration, after `prepare`, in wall time as a person waits.
template <typename Prepare, typename Action>
void measure(benchmark::State& state, Prepare prepare, Action action)
{
    using Seconds = std::chrono::duration<double>;
    double all = 0;
    for (auto _ : state) {
        auto prepared = prepare();
        const auto start = std::chrono::steady_clock::now();
        action(prepared);
        const double taken = Seconds(std::chrono::steady_clock::now() - start).count();
        state.SetIterationTime(taken);
        all += taken;
    }
    state.counters["of_limit"] = all / static_cast<double>(state.iterations()) / limitSeconds;
    state.counters["bytes"] = static_cast<double>(document().size());
}

std::unique_ptr<Models> models()
{
    return std::make_unique<Models>();
}

void parseAndModels(benchmark::State& state)
{
    document();
    measure(
        state, [] { return std::unique_ptr<Models>(); },
        [](std::unique_ptr<Models>& made) { made = models(); });
}

// Asks for the row of every specialization, as a view that shows all of them does.
void walk(benchmark::State& state)
{
    const auto kept = models();
    const TreeNode* list = kept->tree.root()->child(1);
    measure(
        state, [&] { return list; },
        [&](const TreeNode*) {
            for (int row = 0; row < list->childCount(); ++row) {
                const QModelIndex index = kept->tree.indexOf(list->child(row)->child(0));
                benchmark::DoNotOptimize(kept->tree.parent(index).row());
            }
        });
}

void addModifyAndRemoveOneRow(benchmark::State& state)
{
    const auto kept = models();
    TableModel& table = kept->table;
    measure(
        state, [] { return 5000; },
        [&](int row) {
            table.addModuleRow(row, QStringLiteral("Added"), QStringLiteral("err"));
            table.modifyRow(row, QStringLiteral("Changed"), QStringLiteral("trace"));
            table.removeModuleRow(table.rowObject(table.rowCount() - 1));
        });
}

// With what it costs the table, which is built anew after each step.
void editTheTree(benchmark::State& state)
{
    const auto kept = models();
    TreeNode* list = kept->tree.root()->child(1);
    measure(
        state, [&] { return list; },
        [&](TreeNode* parent) {
            kept->tree.insertNode(5000, QStringLiteral("+"), QString(), parent);
            kept->tree.rebuildTable();
            kept->tree.removeRows(5000, 1, kept->tree.indexOf(parent));
            kept->tree.rebuildTable();
        });
}

void removeEveryRow(benchmark::State& state)
{
    measure(state, models, [](std::unique_ptr<Models>& fresh) {
        TableModel& table = fresh->table;
        while (table.rowCount() > 1)
            table.removeModuleRow(table.rowObject(table.rowCount() - 1));
    });
}

void convertAndSerialise(benchmark::State& state)
{
    const auto kept = models();
    measure(
        state, [&] { return kept.get(); },
        [](const Models* both) {
            PropertyTree tree;
            both->tree.toPropertyTree(both->tree.root(), tree);
            benchmark::DoNotOptimize(writePropertyTree(tree, JsonForm::Compact).size());
        });
}

// The whole way over the socket, from and to a service in this process.
class Service
{
public:
    Service()
    {
        qputenv("ZULOG_CONNECTION_INFO", "configBenchmark");
        if (publisher_.publish("configBenchmark", encodeConnectionInfo(service_.boundAddress())) !=
            platform::SharedMemoryPublisher::Result::Published)
            throw std::runtime_error(publisher_.error());
    }

private:
    LogService service_;
    platform::SharedMemoryPublisher publisher_;
};

void stopOnFailure(const QString& failure)
{
    if (!failure.isEmpty())
        throw std::runtime_error(failure.toStdString());
}

void downloadAndModels(benchmark::State& state)
{
    const Service service;
    LogConfigData data;
    data.treeModel()->setupModelData(readPropertyTree(document()), nullptr);
    stopOnFailure(data.saveConfiguration());
    measure(
        state, [&] { return &data; },
        [](LogConfigData* target) { stopOnFailure(target->loadConfiguration({})); });
}

void convertAndUpload(benchmark::State& state)
{
    const Service service;
    LogConfigData data;
    data.treeModel()->setupModelData(readPropertyTree(document()), nullptr);
    measure(
        state, [&] { return &data; },
        [](LogConfigData* source) { stopOnFailure(source->saveConfiguration()); });
}

BENCHMARK(parseAndModels)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(walk)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(addModifyAndRemoveOneRow)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(editTheTree)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(removeEveryRow)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(convertAndSerialise)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(downloadAndModels)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(convertAndUpload)->UseManualTime()->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
