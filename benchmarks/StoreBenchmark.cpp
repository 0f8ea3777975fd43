// What the store costs: queue to models below the limit and at it, unsorted, sorted and filtered;
// sorting, announcing and searching a million rows.

#include "logging/DecodedMessage.h"
#include "store/LogContainer.h"
#include "store/LogField.h"
#include "store/LogTableModel.h"

#include <benchmark/benchmark.h>

#include <QString>

#include <memory>
#include <random>
#include <vector>

namespace zuLogging {

/// Runs the worker's steps on the benchmark's thread.
struct LogContainerAccess
{
    static void setActive(LogContainer& store) { store.active_ = true; }
    static void drain(LogContainer& store)
    {
        while (store.queueSize() > 0)
            store.moveMessages();
    }
};

namespace {

constexpr int million = 1000000;
constexpr int idColumn = 0;
constexpr int messageColumn = 11;

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

    void add(int count)
    {
        for (int i = 0; i < count; ++i) {
            fields.serviceMsgId = ++lastId;
            fields.timestamp = 19000000000000000ULL + lastId * 100;
            fields.logMessage =
                (random() % 2 == 0 ? u"Order accepted, " : u"Client refused, ") +
                QString::number(random()).toStdU16String() +
                u" is what it was called by those who sent it on its long way to this place";
            store->addMessage(fields);
        }
    }
    void fill(int rows)
    {
        store->setMaximumMessages(rows);
        add(rows);
        LogContainerAccess::drain(*store);
    }

    std::shared_ptr<LogContainer> store;
    LogTableModel full;
    LogTableModel filtered;
    DecodedMessage fields;
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

enum Mode : int
{
    Unsorted,
    Sorted,
    Filtered,
    FilteredAndSorted
};

/// The worker's part at a limit of `rows`: bursts of `burst` records leave and enter.
void moveAtTheLimit(benchmark::State& state)
{
    const auto mode = static_cast<Mode>(state.range(0));
    const int rows = static_cast<int>(state.range(1));
    const int burst = static_cast<int>(state.range(2));
    Desk desk;
    if (mode == Filtered || mode == FilteredAndSorted)
        desk.store->setFilter({QStringLiteral("accepted")}, {}, {}, true, true);
    desk.fill(rows);
    if (mode == Sorted || mode == FilteredAndSorted) {
        desk.full.sort(messageColumn, Qt::AscendingOrder);
        desk.filtered.sort(messageColumn, Qt::AscendingOrder);
    }
    for (auto _ : state) {
        state.PauseTiming();
        desk.add(burst);
        state.ResumeTiming();
        LogContainerAccess::drain(*desk.store);
    }
    if (desk.full.rowCount() != rows)
        state.SkipWithError("the row count left the limit");
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

BENCHMARK(addMessage);
BENCHMARK(moveBelowTheLimit)->Arg(1)->Arg(1000);
BENCHMARK(moveAtTheLimit)
    ->ArgNames({"", "rows", "burst"})
    ->ArgsProduct({{Unsorted, Sorted, Filtered, FilteredAndSorted}, {100000}, {1, 50, 1000}});
BENCHMARK(moveAtTheLimit)
    ->ArgNames({"", "rows", "burst"})
    ->ArgsProduct({{Unsorted, FilteredAndSorted}, {million}, {1000}})
    ->Iterations(200);
BENCHMARK(sortModel)
    ->Arg(idColumn)
    ->Arg(3)
    ->Arg(5)
    ->Arg(messageColumn)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(announce)->Iterations(200)->Unit(benchmark::kMicrosecond);
BENCHMARK(findNothing)->Arg(0)->Arg(1)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace zuLogging
