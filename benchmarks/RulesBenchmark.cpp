// What a message costs the log service when its configuration has 10,000 specializations (about
// 2 MB): the look-up of its decision beside a bare look-up in a hash table of as many entries with
// the same keys; the same with the reading of module and level from the message's container; and
// what is paid once: the first decision about a module, and reading a document.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/Scale.h"
#include "logging/LogMessageContainerBuilder.h"
#include "logging/PropertyTreeJson.h"
#include "logging/TimestampText.h"
#include "service/DecisionCache.h"
#include "service/ServiceConfiguration.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace {

using namespace zuLogging;
using namespace zuLogging::benchmarks;

const int specializations = scaled(10000, 200);
constexpr int modulesInUse = 100;

std::string documentOf(int count)
{
    std::string text = R"({"parameters":{"level":"info","destination":"logsvc"})";
    text += R"(,"specializations":[)";
    for (int i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        text += (i == 0 ? "" : ",");
        text += R"({"#":"Comment on the specialization with the number )" + number +
                R"(","attributes":[{"id":"module","op":"eq","value":"Company.Product.Module)" +
                number + R"("}],"parameters":{"level":"warn","destination":"logsvc","file":"log)" +
                number + R"(.txt"}})";
    }
    return text + "]}";
}

std::vector<std::u16string> modules()
{
    std::vector<std::u16string> names;
    for (int i = 0; i < modulesInUse; ++i)
        names.push_back(QStringLiteral("Company.Product.Module%1").arg(i * 97).toStdU16String());
    return names;
}

std::shared_ptr<const LoggingRules> rules()
{
    static const auto made =
        std::make_shared<const LoggingRules>(readPropertyTree(documentOf(specializations)));
    return made;
}

void bareHashLookUp(benchmark::State& state)
{
    const std::vector<std::u16string> names = modules();
    std::unordered_map<std::u16string, LoggingDecision> table;
    for (const std::u16string& name : names)
        table.emplace(name, LoggingDecision());
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(table.find(names[i])->second.level);
        i = (i + 1) % names.size();
    }
}

void decisionAfterTheFirst(benchmark::State& state)
{
    const std::vector<std::u16string> names = modules();
    DecisionCache cache;
    cache.setRules(rules());
    for (const std::u16string& name : names)
        cache.decide(name, 0);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(cache.decide(names[i], 0));
        i = (i + 1) % names.size();
    }
}

void decisionAboutAMessage(benchmark::State& state)
{
    DecisionCache cache;
    cache.setRules(rules());
    LogMessageContainerBuilder builder;
    builder.timestamp = currentTimestamp();
    builder.module = "Company.Product.Module97";
    builder.logLevel = 2;
    builder.threadId = 1;
    builder.processId = 2;
    builder.logMessage = "A message of the usual length, that is about so many characters.";
    const std::vector<std::uint8_t> bytes = builder.build();
    LogMessageContainerView message;
    message.data = bytes.data();
    message.length = bytes.size();
    for (auto _ : state)
        benchmark::DoNotOptimize(cache.decide(message));
}

void firstDecision(benchmark::State& state)
{
    const auto module = QStringLiteral("Company.Product.Module5000");
    const std::shared_ptr<const LoggingRules> made = rules();
    for (auto _ : state)
        benchmark::DoNotOptimize(made->decide(module, QString()));
}

void readDocument(benchmark::State& state)
{
    const std::string text = documentOf(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        ServiceConfiguration configuration;
        configuration.replace(text);
        benchmark::DoNotOptimize(configuration.current().rules.get());
        if (!require(state, configuration.current().rules != nullptr, "the document was taken"))
            break;
    }
    state.counters["MB"] = static_cast<double>(text.size()) / 1e6;
}

} // namespace

BENCHMARK(bareHashLookUp);
BENCHMARK(decisionAfterTheFirst);
BENCHMARK(decisionAboutAMessage);
BENCHMARK(firstDecision)->Unit(benchmark::kMicrosecond);
BENCHMARK(readDocument)
    ->Arg(specializations)
    ->Arg(scaled(74000, 500))
    ->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    return zuLogging::benchmarks::runBenchmarks(argc, argv);
}
