// What `zulog tail` does with a message once it is there: out of the queue, to a line, to a file.
// Each figure of ours stands beside what the obvious way costs: streams, a line a message.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Scale.h"
#include "logging/DecodedMessage.h"
#include "logging/LogMessage.h"
#include "logging/LogMessageSinkFormatter.h"
#include "platform/OutputChannel.h"
#include "tools/DemoTraffic.h"
#include "tools/TailJsonSink.h"
#include "tools/TailQueue.h"
#include "tools/TailTextSink.h"

#include <benchmark/benchmark.h>

#include <QJsonDocument>
#include <QJsonObject>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <memory>
#include <string>
#include <vector>

namespace zuLogging {
namespace {

using benchmarks::scaled;

const std::size_t messageCount = scaled<std::size_t>(100000, 2000);
constexpr std::size_t writeSize = 64 * 1024;

using Containers = std::vector<std::vector<std::uint8_t>>;

Containers traffic()
{
    DemoTraffic demo(1);
    Containers containers;
    for (std::size_t i = 0; i < messageCount; ++i)
        containers.push_back(demo.next().build());
    return containers;
}

LogMessageContainerView viewOf(const std::vector<std::uint8_t>& bytes)
{
    LogMessageContainerView view;
    view.data = bytes.data();
    view.length = bytes.size();
    return view;
}

/// Of this thread.
double processorTime()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

std::unique_ptr<LogMessageSink> formatFor(bool json, std::string& out)
{
    if (json)
        return std::make_unique<TailJsonSink>(out);
    return std::make_unique<TailTextSink>(out);
}

/// All of what the writing thread and the receiving thread do with a message beyond receiving it.
double ours(const Containers& containers, bool json, std::FILE* file)
{
    platform::OutputChannel out(::fileno(file));
    TailQueue queue(std::size_t{1} << 30, [] {});
    std::string text;
    const auto format = formatFor(json, text);
    TailQueue::Batch batch;
    const double begin = processorTime();
    for (const auto& bytes : containers)
        queue.push(viewOf(bytes));
    queue.take(batch);
    LogMessageContainerView view;
    while (batch.left() > 0) {
        text.clear();
        while (text.size() < writeSize && batch.next(view))
            format->consume(view);
        std::string_view left = text;
        if (out.write(left) != platform::OutputChannel::Result::Done)
            std::abort();
    }
    return processorTime() - begin;
}

/// A line a message through the standard library's stream.
double textByStream(const Containers& containers, std::ostream& stream)
{
    const auto column = [&stream](int width, const std::string& text) {
        stream << std::setw(width) << text;
    };
    const double begin = processorTime();
    for (const auto& bytes : containers) {
        const LogMessageContainer items(bytes.data(), bytes.size());
        const auto text = [&items](ItemType type, TextMode mode) {
            return toQString(items.text(type, mode).value_or(u"")).toStdString();
        };
        const auto number = [&items](ItemType type) {
            return std::to_string(items.number(type).value_or(0));
        };
        column(20, text(ItemType::Module, TextMode::Plain));
        column(20, number(ItemType::Timestamp));
        column(20, number(ItemType::ThreadID));
        column(8, number(ItemType::LogLevel));
        column(1, text(ItemType::LogMessage, TextMode::Text));
        stream << std::endl;
    }
    return processorTime() - begin;
}

/// A line a message by the library's JSON document.
double jsonByStream(const Containers& containers, std::ostream& stream)
{
    const double begin = processorTime();
    DecodedMessage message;
    for (const auto& bytes : containers) {
        message.assign(viewOf(bytes));
        const auto number = [](std::uint64_t value) { return QString::number(value); };
        const QJsonObject object{{"ServiceMsgID", number(message.serviceMsgId)},
                                 {"SourceMsgID", number(message.sourceMsgId)},
                                 {"SenderMsgID", number(message.senderMsgId)},
                                 {"Timestamp", number(message.timestamp)},
                                 {"LogLevel", logLevelNameText(message.logLevel)},
                                 {"LogLevel [Hex]", logLevelCodeText(message.logLevel)},
                                 {"ProcessID", number(message.processId)},
                                 {"ThreadID", number(message.threadId)},
                                 {"Module", toQString(message.module)},
                                 {"GroupName", toQString(message.groupName)},
                                 {"LogPos", toQString(message.logPos)},
                                 {"LogMessage", toQString(message.logMessage)}};
        stream << QJsonDocument(object).toJson(QJsonDocument::Compact).constData() << std::endl;
    }
    return processorTime() - begin;
}

void compare(benchmark::State& state, bool json, const char* path, const char* work)
{
    const Containers containers = traffic();
    double oursTotal = 0;
    double streamTotal = 0;
    for (auto _ : state) {
        std::FILE* file = path != nullptr ? std::fopen(path, "w") : std::tmpfile();
        if (file == nullptr)
            std::abort();
        const double mine = ours(containers, json, file);
        std::fclose(file);
        state.SetIterationTime(mine);
        oursTotal += mine;

        char name[] = "tail_benchmark.out";
        std::ofstream stream(path != nullptr ? path : name);
        streamTotal += json ? jsonByStream(containers, stream) : textByStream(containers, stream);
        stream.close();
        if (path == nullptr)
            std::remove(name);
    }
    const auto total = static_cast<double>(state.iterations()) * static_cast<double>(messageCount);
    state.SetItemsProcessed(static_cast<std::int64_t>(total));
    state.counters["us_a_message"] = oursTotal / total * 1e6;
    state.counters["stream_us"] = streamTotal / total * 1e6;
    state.counters["times_faster"] = streamTotal / oursTotal;
    benchmarks::report({work, oursTotal / total * 1e6, "us", "by streams",
                        streamTotal / total * 1e6, benchmarks::Goal::Kind::Shown, 0});
}

BENCHMARK_CAPTURE(compare, text_to_null, false, "/dev/null",
                  "tail: a message to a line, to nowhere")
    ->UseManualTime()
    ->Iterations(scaled(10, 1))
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compare, text_to_file, false, nullptr, "tail: a message to a line, to a file")
    ->UseManualTime()
    ->Iterations(scaled(10, 1))
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compare, json_to_null, true, "/dev/null", "tail: a message to JSON, to nowhere")
    ->UseManualTime()
    ->Iterations(scaled(10, 1))
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compare, json_to_file, true, nullptr, "tail: a message to JSON, to a file")
    ->UseManualTime()
    ->Iterations(scaled(10, 1))
    ->Unit(benchmark::kMillisecond);

} // namespace
} // namespace zuLogging

int main(int argc, char** argv)
{
    return zuLogging::benchmarks::runBenchmarks(argc, argv);
}
