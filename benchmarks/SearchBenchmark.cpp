// Filtering a million messages and searching a million rows of twelve columns. Each figure stands
// beside its limit and beside what QString::contains over every field takes in the same run.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Scale.h"
#include "store/LogContainer.h"
#include "store/LogField.h"
#include "store/LogTableModel.h"

#include <QString>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <random>
#include <thread>
#include <utility>
#include <vector>

namespace zuLogging {
namespace {

using namespace benchmarks;

const int million = scaled(1000000, 4000);
constexpr std::size_t messageLength = 80;
const int searchedNaively = scaled(20000, 400);

using Messages = std::vector<std::shared_ptr<LogMessage>>;

/// A million messages of 80 characters; one in a hundred holds "Gearbox".
struct Desk
{
    Desk()
        : store(std::make_shared<LogContainer>())
        , full(store)
        , filtered(store)
    {
        store->setModels(&full, &filtered);
        constexpr const char16_t* words[] = {
            u"order", u"Accepted", u"client", u"refused", u"The",  u"is", u"request",  u"Timeout",
            u"after", u"ms",       u"drive",  u"ready",   u"axis", u"in", u"Position", u"error"};
        std::mt19937 random(1);
        Messages messages;
        for (std::uint64_t id = 1; id <= static_cast<std::uint64_t>(million); ++id) {
            std::u16string text;
            while (text.size() < messageLength) {
                text += words[random() % 16];
                text += u' ';
                if (random() % 8 == 0)
                    text += QString::number(random() % 1000).toStdU16String() + u" ";
            }
            text.resize(messageLength);
            if (id % 100 == 0)
                text.replace(30, 7, u"Gearbox");
            messages.push_back(std::make_shared<LogMessage>(
                id, id, id + 17, 19600000000000000ULL + id * 137, 8, u"OrderService.cpp:1234",
                u"OrderService", u"Network", text, 4711, 815));
            messages.back()->renderTimestamp();
        }
        full.addMessages(messages);
    }
    ~Desk() { store->setModels(nullptr, nullptr); }

    std::shared_ptr<LogContainer> store;
    LogTableModel full;
    LogTableModel filtered;
};

Desk& desk()
{
    static Desk made;
    return made;
}

bool naivelyContains(std::u16string_view field, const QString& text, Qt::CaseSensitivity rule)
{
    return QString::fromRawData(reinterpret_cast<const QChar*>(field.data()),
                                static_cast<int>(field.size()))
        .contains(text, rule);
}

bool naivelyContains(const LogMessage& message, const QString& text, Qt::CaseSensitivity rule)
{
    const auto number = [&](std::uint64_t value) {
        return QString::number(static_cast<qulonglong>(value)).contains(text, rule);
    };
    return naivelyContains(message.logMessage(), text, rule) ||
           naivelyContains(message.module(), text, rule) ||
           naivelyContains(message.groupName(), text, rule) ||
           message.levelName().contains(text, rule) || number(message.serviceMsgId()) ||
           number(message.sourceMsgId()) || number(message.senderMsgId()) ||
           message.timestampText().contains(text, rule) || number(message.processId()) ||
           number(message.threadId()) || naivelyContains(message.logPos(), text, rule);
}

struct Question
{
    const char* name;
    QStringList include;
    QStringList exclude;
    double bound; ///< in seconds; 0: no goal
};

const Question& question(std::int64_t number)
{
    static const Question questions[] = {
        {"no match", {QStringLiteral("nowhere")}, {}, 0.2},
        {"1 % match", {QStringLiteral("gearBOX")}, {}, 0},
        {"digits, no match", {QStringLiteral("77777777")}, {}, 0.5},
        {"one character, no match", {QStringLiteral("%")}, {}, 0},
        {"four includes, three excludes",
         {QStringLiteral("gearbox"), QStringLiteral("nowhere"), QStringLiteral("drive is"),
          QStringLiteral("99999")},
         {QStringLiteral("refused request"), QStringLiteral("neverland"), QStringLiteral("000")},
         0},
        {"outside ASCII, no match",
         {QString::fromUtf8("stra\xC3\x9F"
                            "e")},
         {},
         0},
    };
    return questions[number];
}

bool naivelyPasses(const LogMessage& message, const Question& asked)
{
    const auto matches = [&](const QStringList& texts) {
        return std::any_of(texts.begin(), texts.end(), [&](const QString& text) {
            return naivelyContains(message, text, Qt::CaseInsensitive);
        });
    };
    return (asked.include.isEmpty() || matches(asked.include)) && !matches(asked.exclude);
}

/// From the new filter to the filled model, as the window waits for it.
void filterMillion(benchmark::State& state)
{
    const Question& asked = question(state.range(0));
    Desk& desk = zuLogging::desk();
    int naiveRows = 0;
    const double naive = secondsOf([&] {
        LogTableModel rows(desk.store);
        for (const auto& message : desk.full.messagesFrom(0, million)) {
            if (naivelyPasses(*message, asked))
                rows.addMessage(message);
        }
        naiveRows = rows.rowCount();
    });
    double slowest = 0;
    double total = 0;
    for (auto _ : state) {
        state.PauseTiming();
        desk.store->setFilter({}, {}, {}, false, false);
        state.ResumeTiming();
        const double seconds = secondsOf(
            [&] { desk.store->setFilter(asked.include, {}, asked.exclude, false, false); });
        slowest = std::max(slowest, seconds);
        total += seconds;
    }
    if (desk.filtered.rowCount() != naiveRows)
        fail(state, "the rows are not those of the naive filter");
    state.counters["rows"] = naiveRows;
    state.counters["slowest_s"] = slowest;
    state.counters["naive_s"] = naive;
    state.counters["times_naive"] = naive * static_cast<double>(state.iterations()) / total;
    state.SetLabel(asked.name);
    desk.store->setFilter({}, {}, {}, false, false);
    if (asked.bound > 0)
        report({std::string("filter of 1,000,000 messages, ") + asked.name,
                total / static_cast<double>(state.iterations()), "s",
                "QString::contains on each field", naive, Goal::Kind::AtMost, asked.bound});
}

enum Shown : int
{
    DateAndTime,
    Seconds,
    SortedByMessage
};

/// Find-next through every cell, and the naive search's time for so many cells.
void findNothing(benchmark::State& state, const QString& text)
{
    const auto shown = static_cast<Shown>(state.range(0));
    Desk& desk = zuLogging::desk();
    desk.store->setTimeDisplayMode(shown == Seconds ? 1 : 0);
    desk.full.sort(shown == SortedByMessage ? 11 : -1, Qt::AscendingOrder);
    const double naive =
        secondsOf([&] {
            int found = 0;
            for (int row = 0; row < searchedNaively; ++row) {
                for (int column = 0; column < 12; ++column)
                    found += desk.full.cellText(row, column).contains(text, Qt::CaseInsensitive);
            }
            benchmark::DoNotOptimize(found);
        }) *
        (million / searchedNaively);
    double slowest = 0;
    double total = 0;
    for (auto _ : state) {
        const double seconds = secondsOf([&] {
            if (desk.full.findNext(desk.full.index(0, 0), text, true, Qt::CaseInsensitive)
                    .isValid())
                fail(state, "found what is not there");
        });
        slowest = std::max(slowest, seconds);
        total += seconds;
    }
    state.counters["slowest_s"] = slowest;
    state.counters["naive_s"] = naive;
    state.counters["times_naive"] = naive * static_cast<double>(state.iterations()) / total;
    constexpr const char* names[] = {"date and time", "seconds", "sorted by message"};
    state.SetLabel(names[shown]);
    desk.store->setTimeDisplayMode(0);
    report({"find-next without a match, 1,000,000 rows of 12 columns, " + text.toStdString() +
                ", " + names[shown],
            total / static_cast<double>(state.iterations()), "s", "QString::contains on each cell",
            naive, Goal::Kind::AtMost, 0.5});
}

/// The longest that another thread, as the store's worker is one, waits for the model's lock while
/// a search goes through every cell.
void workerBesideFindNext(benchmark::State& state)
{
    Desk& desk = zuLogging::desk();
    desk.full.sort(state.range(0) == SortedByMessage ? 11 : -1, Qt::AscendingOrder);
    std::atomic<bool> end{false};
    double longest = 0;
    std::int64_t turns = 0;
    std::thread worker([&] {
        while (!end) {
            longest = std::max(longest, secondsOf([&] {
                                   std::uint64_t timestamp = 0;
                                   desk.full.firstTimestamp(timestamp);
                               }));
            ++turns;
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
    });
    for (auto _ : state)
        desk.full.findNext(desk.full.index(0, 0), QStringLiteral("nowhere"), true,
                           Qt::CaseInsensitive);
    end = true;
    worker.join();
    state.counters["longest_wait_ms"] = longest * 1000;
    state.counters["turns"] = static_cast<double>(turns) / static_cast<double>(state.iterations());
}

/// The limit of the filter: one look at every character of every message where it stands.
void bareScan(benchmark::State& state)
{
    const Desk& desk = zuLogging::desk();
    const Messages messages = desk.full.messagesFrom(0, million);
    std::vector<double> seconds;
    for (auto _ : state) {
        seconds.push_back(secondsOf([&] {
            std::size_t found = 0;
            for (const auto& message : messages)
                for (const char16_t unit : message->texts())
                    found += (unit | 0x20) == u'q' ? 1 : 0;
            benchmark::DoNotOptimize(found);
        }));
    }
    report({"limit of the filter: one look at each character", median(seconds), "s", "", 0,
            Goal::Kind::Shown, 0});
}

BENCHMARK(bareScan)->Iterations(scaled(5, 1))->Unit(benchmark::kMillisecond);
BENCHMARK(filterMillion)->DenseRange(0, 5)->Iterations(scaled(5, 1))->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(findNothing, letters, QStringLiteral("nowhere"))
    ->Arg(DateAndTime)
    ->Arg(Seconds)
    ->Arg(SortedByMessage)
    ->Iterations(scaled(3, 1))
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(findNothing, digits, QStringLiteral("77777777"))
    ->Arg(DateAndTime)
    ->Arg(Seconds)
    ->Iterations(scaled(3, 1))
    ->Unit(benchmark::kMillisecond);
BENCHMARK(workerBesideFindNext)
    ->Arg(DateAndTime)
    ->Arg(SortedByMessage)
    ->Iterations(scaled(5, 1))
    ->Unit(benchmark::kMillisecond);

} // namespace
} // namespace zuLogging

int main(int argc, char** argv)
{
    return zuLogging::benchmarks::runBenchmarks(argc, argv);
}
