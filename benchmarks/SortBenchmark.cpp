// Sorting a million rows by text: the sort index beside std::sort over the same keys in one array,
// which is its limit (at most 1.2 times as long on random texts).

#include "store/SortedList.h"

#include <benchmark/benchmark.h>

#include <QString>

#include <algorithm>
#include <random>
#include <vector>

namespace {

using zuLogging::SortedList;

constexpr int rows = 1000000;

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

} // namespace

BENCHMARK(standardSort)->DenseRange(RandomTexts, EqualTexts)->Unit(benchmark::kMillisecond);
BENCHMARK(sortIndex)->DenseRange(RandomTexts, EqualTexts)->Unit(benchmark::kMillisecond);
BENCHMARK(buildIndex)->Unit(benchmark::kMillisecond);
