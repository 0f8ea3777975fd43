// Sorting a million rows by text: the sort index beside std::sort over the same keys in one array;
// input that is made against it: time and stack.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Scale.h"
#include "store/MedianQuickSort.h"
#include "store/SortedList.h"
#include "tests/store/SortAdversary.h"

#include <QString>

#include <algorithm>
#include <functional>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <pthread.h>
#include <sys/mman.h>

namespace {

using namespace zuLogging;
using namespace zuLogging::benchmarks;

const int rows = scaled(1000000, 5000);

enum Input : int
{
    RandomTexts,
    LogTexts,
    NearlySorted,
    Descending,
    EqualTexts
};

const char* nameOf(Input input)
{
    constexpr const char* names[] = {"random texts", "log texts with a common beginning",
                                     "sorted, 1 % appended", "descending", "ten different texts"};
    return names[input];
}

QString randomText(std::mt19937& random)
{
    QString text(12, QLatin1Char(' '));
    for (QChar& unit : text)
        unit = QChar(static_cast<ushort>('a' + random() % 26));
    return text;
}

const std::vector<QString>& keysOf(Input input)
{
    static std::vector<QString> kept[5];
    std::vector<QString>& keys = kept[input];
    if (!keys.empty())
        return keys;
    std::mt19937 random(42);
    for (int i = 0; i < rows; ++i) {
        if (input == LogTexts)
            keys.push_back(QStringLiteral("Request %1 done").arg(random()));
        else if (input == EqualTexts)
            keys.push_back(QStringLiteral("Module%1").arg(random() % 10));
        else
            keys.push_back(randomText(random));
    }
    if (input == NearlySorted)
        std::sort(keys.begin(), keys.end() - rows / 100);
    if (input == Descending)
        std::sort(keys.rbegin(), keys.rend());
    return keys;
}

void sortIndex(benchmark::State& state)
{
    const auto input = static_cast<Input>(state.range(0));
    const std::vector<QString>& keys = keysOf(input);
    for (auto _ : state) {
        state.PauseTiming();
        SortedList list;
        for (int row = 0; row < rows; ++row)
            list.insertText(keys[static_cast<std::size_t>(row)], row);
        state.ResumeTiming();
        list.sort(Qt::AscendingOrder);
        benchmark::DoNotOptimize(list.indexAt(0));
        state.PauseTiming();
        list.clear();
        state.ResumeTiming();
    }
    state.SetLabel(nameOf(input));
}

void standardSort(benchmark::State& state)
{
    const auto input = static_cast<Input>(state.range(0));
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<QString> keys = keysOf(input);
        state.ResumeTiming();
        std::sort(keys.begin(), keys.end());
        benchmark::DoNotOptimize(keys.front());
        state.PauseTiming();
        keys = {};
        state.ResumeTiming();
    }
    state.SetLabel(nameOf(input));
}

void buildIndex(benchmark::State& state)
{
    const std::vector<QString>& keys = keysOf(RandomTexts);
    for (auto _ : state) {
        SortedList list;
        for (int row = 0; row < rows; ++row)
            list.insertText(keys[static_cast<std::size_t>(row)], row);
        benchmark::DoNotOptimize(list.size());
    }
}

// --- Input made against the sort

/// The sort gives up before a million of them are all bad: as far as it goes, and a bit further,
/// each choice of a pivot is the worst.
const std::vector<int>& hostileKeys()
{
    static const std::vector<int> kept =
        test::hostileSortKeys(rows, std::size_t{1600} * static_cast<std::size_t>(rows));
    return kept;
}

/// Calls `work` on a thread with a stack of its own; how many bytes of that were written to.
std::size_t stackOf(const std::function<void()>& work)
{
    constexpr std::size_t size = std::size_t{64} * 1024 * 1024;
    void* stack = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (stack == MAP_FAILED)
        return 0;
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack, size);
    pthread_t thread;
    const auto run = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    if (pthread_create(&thread, &attributes, run,
                       const_cast<std::function<void()>*>(&work)) == 0) // NOLINT
        pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    const char* const bytes = static_cast<const char*>(stack);
    std::size_t untouched = 0;
    while (untouched < size && bytes[untouched] == 0)
        ++untouched;
    munmap(stack, size);
    return size - untouched;
}

/// Notes from where it is called: each level of the sort has a frame of its own.
__attribute__((noinline)) bool compareAndNote(int a, int b, std::set<const void*>& frames)
{
    frames.insert(__builtin_frame_address(0));
    return a < b;
}

struct Hostile
{
    const char* name;
    std::function<void(SortedList&)> fill;
};

QString number(int value)
{
    return QString::number(value).rightJustified(7, QLatin1Char('0'));
}

std::vector<Hostile> hostileInputs()
{
    const auto texts = [](const std::function<QString(int)>& text) {
        return [text](SortedList& list) {
            const std::vector<int>& keys = hostileKeys();
            for (int row = 0; row < rows; ++row)
                list.insertText(text(keys[static_cast<std::size_t>(row)]), row);
        };
    };
    const auto numbers = [](const std::function<int(int, int)>& key) {
        return [key](SortedList& list) {
            const std::vector<int>& keys = hostileKeys();
            for (int row = 0; row < rows; ++row)
                list.insertNumber(
                    static_cast<quint64>(key(row, keys[static_cast<std::size_t>(row)])), row);
        };
    };
    return {
        {"numbers against the pivot", numbers([](int, int key) { return key; })},
        {"the same, each key twice", numbers([](int, int key) { return key / 2; })},
        {"the same, each key 100 times", numbers([](int, int key) { return key / 100; })},
        {"numbers up and down again",
         numbers([](int row, int) { return std::min(row, rows - row); })},
        {"numbers sorted, 1 % appended",
         numbers([](int row, int key) { return row < rows / 100 * 99 ? row : key; })},
        {"equal numbers", numbers([](int, int) { return 7; })},
        {"reals against the pivot",
         [](SortedList& list) {
             const std::vector<int>& keys = hostileKeys();
             for (int row = 0; row < rows; ++row)
                 list.insertReal(static_cast<float>(keys[static_cast<std::size_t>(row)]), row);
         }},
        {"texts against the pivot", texts([](int key) { return number(key); })},
        {"the same, each text twice", texts([](int key) { return number(key / 2); })},
        {"the same, behind 200 equal characters",
         texts([beginning = QString(200, QLatin1Char('x'))](int key) {
             return beginning + number(key);
         })},
        {"equal texts of 200 characters",
         texts([text = QString(200, QLatin1Char('x'))](int) { return text; })},
    };
}

/// Every row once?
bool isPermutation(const SortedList& list)
{
    std::vector<bool> seen(static_cast<std::size_t>(rows), false);
    for (int position = 0; position < rows; ++position) {
        const int row = list.indexAt(position);
        if (row < 0 || row >= rows || seen[static_cast<std::size_t>(row)])
            return false;
        seen[static_cast<std::size_t>(row)] = true;
    }
    return list.size() == rows;
}

void hostileInput(benchmark::State& state)
{
    for (auto _ : state) {
        double slowest = 0;
        std::string slowestName;
        std::size_t stack = 0;
        for (const Hostile& input : hostileInputs()) {
            for (const Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
                SortedList list;
                input.fill(list);
                double seconds = 0;
                stack = std::max(stack,
                                 stackOf([&] { seconds = secondsOf([&] { list.sort(order); }); }));
                require(state, isPermutation(list), std::string("no row is lost: ") + input.name);
                std::printf("%-40s %-10s %.3f s\n", input.name,
                            order == Qt::AscendingOrder ? "ascending" : "descending", seconds);
                if (seconds > slowest) {
                    slowest = seconds;
                    slowestName = input.name;
                }
            }
        }
        std::vector<int> random(static_cast<std::size_t>(rows));
        std::iota(random.begin(), random.end(), 0);
        std::shuffle(random.begin(), random.end(), std::mt19937(1));
        std::size_t deepest = 0;
        const std::vector<int>* const inputs[] = {&random, &hostileKeys()};
        for (const std::vector<int>* input : inputs) {
            std::vector<int> keys = *input;
            std::set<const void*> frames;
            std::size_t work = std::size_t{1344} * keys.size();
            medianQuickSort(
                keys.data(), keys.data() + keys.size(),
                [&](int a, int b) { return compareAndNote(a, b, frames); }, work);
            deepest = std::max(deepest, frames.size());
            std::sort(keys.begin(), keys.end());
            require(state, std::adjacent_find(keys.begin(), keys.end()) == keys.end(),
                    "the sort that gives up loses nothing");
        }
        report({"sort 1,000,000 rows, the slowest of the hostile inputs: " + slowestName, slowest,
                "s", "", 0, Goal::Kind::AtMost, 2});
        report({"sort, stack depth", static_cast<double>(deepest), "levels", "", 0,
                Goal::Kind::AtMost, 64});
        report({"sort, the whole stack of a thread that sorts", static_cast<double>(stack) / 1024,
                "KiB", "", 0, Goal::Kind::Shown, 0});
    }
}

/// Beside the standard library's sort, which orders equal keys in its own way.
void appendedGoal(benchmark::State& state)
{
    const std::vector<QString>& keys = keysOf(NearlySorted);
    for (auto _ : state) {
        SortedList list;
        for (int row = 0; row < rows; ++row)
            list.insertText(keys[static_cast<std::size_t>(row)], row);
        const double ours = secondsOf([&] { list.sort(Qt::AscendingOrder); });
        std::vector<QString> array = keys;
        const double standard = secondsOf([&] { std::sort(array.begin(), array.end()); });
        for (int position = 0; position < rows; position += std::max(rows / 1000, 1))
            require(state,
                    keys[static_cast<std::size_t>(list.indexAt(position))] ==
                        array[static_cast<std::size_t>(position)],
                    "the texts are in order");
        report({"sort 1,000,000 rows: sorted, 1 % appended", ours, "s", "std::sort of the keys",
                standard, Goal::Kind::AtMost, 2});
    }
}

} // namespace

BENCHMARK(standardSort)->DenseRange(RandomTexts, EqualTexts)->Unit(benchmark::kMillisecond);
BENCHMARK(sortIndex)->DenseRange(RandomTexts, EqualTexts)->Unit(benchmark::kMillisecond);
BENCHMARK(buildIndex)->Unit(benchmark::kMillisecond);
BENCHMARK(appendedGoal)->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK(hostileInput)->Iterations(1)->Unit(benchmark::kSecond);

int main(int argc, char** argv)
{
    return zuLogging::benchmarks::runBenchmarks(argc, argv);
}
