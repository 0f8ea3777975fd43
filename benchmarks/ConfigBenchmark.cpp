// A configuration of 10,000 specializations, about 2 MB: what the window does with it while the
// person waits. The limit is 2 seconds for each; "of_limit" is the part of it that was taken.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/Scale.h"
#include "config/LogConfigData.h"
#include "config/LogConfigView.h"
#include "config/TableModel.h"
#include "config/TreeModel.h"
#include "config/TreeNode.h"
#include "logging/ConnectionInfo.h"
#include "logging/PropertyTreeJson.h"
#include "platform/SharedMemory.h"
#include "service/LogService.h"

#include <QApplication>
#include <QDockWidget>
#include <QMainWindow>
#include <QString>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>

#include <unistd.h>

namespace {

using namespace zuLogging;
using namespace zuLogging::benchmarks;

const int specializations = scaled(10000, 100);
const int middle = specializations / 2;
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
        state, [] { return middle; },
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
            kept->tree.insertNode(middle, QStringLiteral("+"), QString(), parent);
            kept->tree.rebuildTable();
            kept->tree.removeRows(middle, 1, kept->tree.indexOf(parent));
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
        // Its own, so that no other run and no service of the machine is met.
        const QByteArray name = "zuLogBenchmark-" + QByteArray::number(getpid());
        qputenv("ZULOG_CONNECTION_INFO", name);
        if (publisher_.publish(name.toStdString(), encodeConnectionInfo(service_.boundAddress())) !=
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

/// The dock in a window that is painted, with the document above in it.
class Dock
{
public:
    explicit Dock(int mode)
    {
        LogConfigData& data = *LogConfigData::instance();
        data.treeModel()->setupModelData(readPropertyTree(document()), nullptr);
        stopOnFailure(data.saveConfiguration());
        stopOnFailure(data.loadConfiguration({}));
        window_.resize(1200, 800);
        view_ = new LogConfigView(&window_);
        window_.addDockWidget(Qt::RightDockWidgetArea, view_->dock());
        view_->setMode(mode);
        view_->dock()->show();
        window_.show();
        paint();
    }

    LogConfigView& view() { return *view_; }
    static void paint() { QApplication::processEvents(); }

private:
    Service service_;
    QMainWindow window_;
    LogConfigView* view_;
};

void rereadAndShow(benchmark::State& state)
{
    Dock dock(static_cast<int>(state.range(0)));
    measure(
        state, [&] { return &dock; },
        [](Dock* shown) {
            shown->view().updateConfigClicked();
            Dock::paint();
        });
}

void switchTheMode(benchmark::State& state)
{
    Dock dock(LogConfigView::User);
    measure(
        state, [&] { return &dock; },
        [](Dock* shown) {
            shown->view().setMode(LogConfigView::Expert);
            Dock::paint();
            shown->view().setMode(LogConfigView::User);
            Dock::paint();
        });
}

void editShownTable(benchmark::State& state)
{
    Dock dock(LogConfigView::User);
    measure(
        state, [] { return LogConfigData::instance()->tableModel(); },
        [](TableModel* table) {
            table->addModuleRow(1, QStringLiteral("added"), QStringLiteral("err"));
            Dock::paint();
            table->modifyRow(table->rowCount() - 1, QStringLiteral("renamed"),
                             QStringLiteral("warn"));
            Dock::paint();
            table->removeModuleRow(table->rowObject(table->rowCount() - 1));
            Dock::paint();
        });
}

void editShownTree(benchmark::State& state)
{
    Dock dock(LogConfigView::Expert);
    measure(
        state, [] { return LogConfigData::instance()->treeModel(); },
        [](TreeModel* tree) {
            TreeNode* list = tree->root()->childWithKey(QStringLiteral("specializations"));
            tree->insertNode(1, QStringLiteral("+"), QString(), list);
            tree->rebuildTable();
            Dock::paint();
            tree->removeRows(1, 1, tree->indexOf(list));
            tree->rebuildTable();
            Dock::paint();
        });
}

void resetShown(benchmark::State& state)
{
    const auto mode = static_cast<int>(state.range(0));
    measure(
        state, [mode] { return std::make_unique<Dock>(mode); },
        [](const std::unique_ptr<Dock>& shown) {
            shown->view().resetConfiguration();
            Dock::paint();
        });
}

BENCHMARK(parseAndModels)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(walk)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(addModifyAndRemoveOneRow)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(editTheTree)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(removeEveryRow)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(convertAndSerialise)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(downloadAndModels)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(convertAndUpload)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(rereadAndShow)
    ->ArgName("expert")
    ->Arg(0)
    ->Arg(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(switchTheMode)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(editShownTable)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(editShownTree)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(resetShown)
    ->ArgName("expert")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(scaled(3, 1))
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    return runBenchmarks(argc, argv);
}
