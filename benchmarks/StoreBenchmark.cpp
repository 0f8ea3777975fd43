// What the store costs: queue to models below the limit and at it, unsorted, sorted and filtered;
// sorting, announcing and searching a million rows.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Scale.h"
#include "benchmarks/StoreAccess.h"
#include "logging/DecodedMessage.h"
#include "store/LogField.h"
#include "store/LogTableModel.h"

#include <QString>

#include <algorithm>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <malloc.h>

namespace zuLogging {
namespace {

using namespace benchmarks;

const int million = scaled(1000000, 5000);
const int limitRows = scaled(100000, 2000);
constexpr int idColumn = 0;
constexpr int messageColumn = 11;

enum Mode : int
{
    Unsorted,
    Sorted,
    Filtered,
    FilteredAndSorted
};

struct Desk
{
    Desk()
        : store(std::make_shared<LogContainer>())
        , full(store)
        , filtered(store)
    {
        store->setModels(&full, &filtered);
        LogContainerAccess::setActive(*store);
        fields.module = u"OrderService";
        fields.groupName = u"Network";
        fields.logPos = u"OrderService.cpp:1234";
        fields.logLevel = 8;
    }
    ~Desk() { store->setModels(nullptr, nullptr); }

    DecodedMessage nextFields()
    {
        fields.serviceMsgId = ++lastId;
        fields.timestamp = 19000000000000000ULL + lastId * 100;
        fields.module = u"OrderService";
        fields.module += static_cast<char16_t>(u'0' + random() % 10);
        fields.logMessage =
            (random() % 2 == 0 ? u"Order accepted, " : u"Client refused, ") +
            QString::number(random()).toStdU16String() +
            u" is what it was called by those who sent it on its long way to this place";
        return fields;
    }
    void add(int count)
    {
        for (int i = 0; i < count; ++i) {
            nextFields();
            store->addMessage(fields);
        }
    }
    void prepare(int count)
    {
        prepared.clear();
        for (int i = 0; i < count; ++i)
            prepared.push_back(nextFields());
    }
    void addPrepared(int first, int count)
    {
        for (int i = first; i < first + count; ++i)
            store->addMessage(prepared[static_cast<std::size_t>(i)]);
    }
    void fill(int rows, Mode mode = Unsorted)
    {
        if (mode == Filtered || mode == FilteredAndSorted)
            store->setFilter({QStringLiteral("accepted")}, {}, {}, true, true);
        store->setMaximumMessages(rows);
        add(rows);
        LogContainerAccess::drain(*store);
        if (mode == Sorted || mode == FilteredAndSorted) {
            full.sort(messageColumn, Qt::AscendingOrder);
            filtered.sort(messageColumn, Qt::AscendingOrder);
        }
    }

    std::shared_ptr<LogContainer> store;
    LogTableModel full;
    LogTableModel filtered;
    DecodedMessage fields;
    std::vector<DecodedMessage> prepared;
    std::uint64_t lastId = 0;
    std::mt19937 random{1};
};

/// The receiving thread's part: from the fields to the queue.
void addMessage(benchmark::State& state)
{
    Desk desk;
    desk.store->setMaximumMessages(100000);
    desk.fields.logMessage = u"Order accepted after 12 ms and passed on to the next one in line";
    for (auto _ : state) {
        ++desk.fields.serviceMsgId;
        desk.store->addMessage(desk.fields);
    }
    state.SetItemsProcessed(state.iterations());
}

/// The worker's part at a limit of `rows`: bursts of `burst` records leave and enter.
void moveAtTheLimit(benchmark::State& state)
{
    const auto mode = static_cast<Mode>(state.range(0));
    const int rows = static_cast<int>(state.range(1));
    const int burst = static_cast<int>(state.range(2));
    Desk desk;
    desk.fill(rows, mode);
    for (auto _ : state) {
        state.PauseTiming();
        desk.add(burst);
        state.ResumeTiming();
        LogContainerAccess::drain(*desk.store);
    }
    if (desk.full.rowCount() != rows)
        fail(state, "the row count left the limit");
    state.SetItemsProcessed(state.iterations() * burst);
    constexpr const char* names[] = {"unsorted", "sorted", "filtered", "filtered and sorted"};
    state.SetLabel(names[mode]);
}

void moveBelowTheLimit(benchmark::State& state)
{
    const int burst = static_cast<int>(state.range(0));
    Desk desk;
    desk.store->setMaximumMessages(100 * million);
    for (auto _ : state) {
        state.PauseTiming();
        if (desk.full.rowCount() > million)
            desk.store->clearModels();
        desk.add(burst);
        state.ResumeTiming();
        LogContainerAccess::drain(*desk.store);
    }
    state.SetItemsProcessed(state.iterations() * burst);
}

/// The model's whole sort of a million rows, keys included, by column.
void sortModel(benchmark::State& state)
{
    static Desk* const desk = [] {
        auto* made = new Desk; // kept for all columns
        made->fill(million);
        return made;
    }();
    const int column = static_cast<int>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        desk->full.sort(-1, Qt::AscendingOrder);
        state.ResumeTiming();
        desk->full.sort(column, Qt::AscendingOrder);
    }
    for (int row = 1; row < million; row += std::max(million / 1000, 1)) {
        const QVariant before = desk->full.sortKey(desk->full.storedRow(row - 1), column);
        const QVariant key = desk->full.sortKey(desk->full.storedRow(row), column);
        if (!require(state,
                     before.type() == QVariant::String
                         ? QString::compare(before.toString(), key.toString()) <= 0
                         : before.toULongLong() <= key.toULongLong(),
                     "the rows are sorted"))
            break;
    }
    state.SetLabel(logFieldName(defaultColumnOrder().at(column)).toStdString());
}

/// An announcement over a million rows without a view; refresh_benchmark has one.
void announce(benchmark::State& state)
{
    Desk desk;
    desk.fill(million);
    for (auto _ : state) {
        state.PauseTiming();
        desk.add(800);
        LogContainerAccess::drain(*desk.store);
        state.ResumeTiming();
        desk.full.announceChanges();
    }
}

/// A search through a million rows for what is not there.
void findNothing(benchmark::State& state)
{
    Desk desk;
    desk.fill(million);
    const auto rule = state.range(0) == 0 ? Qt::CaseInsensitive : Qt::CaseSensitive;
    for (auto _ : state)
        benchmark::DoNotOptimize(
            desk.full.findNext(desk.full.index(0, 0), QStringLiteral("nowhere"), true, rule));
    state.SetLabel(rule == Qt::CaseSensitive ? "with case" : "without case");
}

/// Elapsed time of std::sort over the column's keys, without what it takes to make them.
double secondsOfStandardSort(const Desk& desk, int column)
{
    if (desk.full.sortKey(0, column).type() != QVariant::String) {
        std::vector<quint64> keys;
        for (int row = 0; row < million; ++row)
            keys.push_back(desk.full.sortKey(row, column).toULongLong());
        return secondsOf([&] { std::sort(keys.begin(), keys.end()); });
    }
    std::vector<QString> keys;
    for (int row = 0; row < million; ++row)
        keys.push_back(desk.full.sortKey(row, column).toString());
    return secondsOf([&] { std::sort(keys.begin(), keys.end()); });
}

/// One record's whole way, from its fields to the row, in processor time: below the limit, where
/// nothing leaves, and at it, where the oldest leaves and is freed. Turn by turn. Below the limit a
/// record takes memory that the system gives for the first time, which costs more than the rest; so
/// the same is shown in memory that was used before.
void oneRecord(benchmark::State& state)
{
    const int burst = static_cast<int>(state.range(0));
    // Many steps to a measurement: reading the processor time takes longer than a step of one.
    const int steps = std::max(1000 / burst, 1);
    const int turns = std::max(scaled(200000, 2000) / (steps * burst), 1);
    const auto perRecord = [&](Desk& desk) {
        double used = 0;
        for (int turn = 0; turn < turns; ++turn) {
            desk.prepare(steps * burst);
            const double before = processorSeconds();
            for (int step = 0; step < steps; ++step) {
                desk.addPrepared(step * burst, burst);
                LogContainerAccess::drain(*desk.store);
            }
            used += processorSeconds() - before;
        }
        return used * 1e6 / (static_cast<double>(turns) * steps * burst);
    };
    struct Case
    {
        Mode mode;
        const char* name;
        double bound;
    };
    for (auto _ : state) {
        for (const Case& asked : {Case{Unsorted, "unsorted", 1.2}, Case{Sorted, "sorted", 1.5},
                                  Case{Filtered, "filtered", 1.5}}) {
            std::vector<double> below;
            std::vector<double> belowAgain;
            std::vector<double> at;
            for (int round = 0; round < scaled(3, 1); ++round) {
                malloc_trim(0); // what the round before has used goes back to the system
                {
                    Desk desk;
                    desk.store->setMaximumMessages(std::numeric_limits<int>::max());
                    below.push_back(perRecord(desk));
                    require(state, desk.full.rowCount() == turns * steps * burst,
                            "every record is in the table");
                    desk.store->clearModels();
                    belowAgain.push_back(perRecord(desk));
                }
                Desk desk;
                desk.fill(limitRows, asked.mode);
                at.push_back(perRecord(desk));
                require(state, desk.full.rowCount() == limitRows, "the table is at its limit");
            }
            const std::string name = std::string("one record at the row limit, ") + asked.name +
                                     ", " + std::to_string(burst) + " a step";
            state.counters[asked.name] = median(at);
            state.counters["below"] = median(below);
            report({name, median(at), "us", "below the limit", median(below),
                    Goal::Kind::AtMostTimes, asked.bound});
            report({name, median(at), "us", "below the limit, memory used before",
                    median(belowAgain), Goal::Kind::Shown, 0});
        }
    }
}

/// The model's sort with its keys, beside the same keys sorted in one array.
void sortGoals(benchmark::State& state)
{
    struct Case
    {
        const char* name;
        int column;
        double bound;
    };
    const Case cases[] = {{"message text", messageColumn, 0.6},
                          {"a column of few values", 7, 0.1},
                          {"numbers", idColumn, 0.1}};
    for (auto _ : state) {
        Desk desk;
        desk.fill(million);
        for (const Case& asked : cases) {
            std::vector<double> ours;
            std::vector<double> limit;
            for (int round = 0; round < scaled(3, 1); ++round) {
                limit.push_back(secondsOfStandardSort(desk, asked.column));
                desk.full.sort(-1, Qt::AscendingOrder);
                ours.push_back(
                    secondsOf([&] { desk.full.sort(asked.column, Qt::AscendingOrder); }));
            }
            report({std::string("sort 1,000,000 rows: ") + asked.name, median(ours), "s",
                    "std::sort of the keys alone", median(limit), Goal::Kind::AtMost, asked.bound});
        }
    }
}

BENCHMARK(oneRecord)->ArgName("burst")->Arg(1)->Arg(50)->Arg(1000)->Iterations(1)->Unit(
    benchmark::kSecond);
BENCHMARK(sortGoals)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(addMessage);
BENCHMARK(moveBelowTheLimit)->Arg(1)->Arg(1000);
BENCHMARK(moveAtTheLimit)
    ->ArgNames({"", "rows", "burst"})
    ->ArgsProduct({{Unsorted, Sorted, Filtered, FilteredAndSorted}, {limitRows}, {1, 50, 1000}});
BENCHMARK(moveAtTheLimit)
    ->ArgNames({"", "rows", "burst"})
    ->ArgsProduct({{Unsorted, FilteredAndSorted}, {million}, {1000}})
    ->Iterations(scaled(200, 2));
BENCHMARK(sortModel)
    ->Arg(idColumn)
    ->Arg(3)
    ->Arg(5)
    ->Arg(7)
    ->Arg(messageColumn)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(announce)->Iterations(scaled(200, 2))->Unit(benchmark::kMicrosecond);
BENCHMARK(findNothing)->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace zuLogging

int main(int argc, char** argv)
{
    return zuLogging::benchmarks::runBenchmarks(argc, argv);
}
