// What it costs to turn a container into a record, and to write its time stamp. Each figure of ours
// stands beside what the obvious way costs.

#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Scale.h"
#include "logging/DecodedMessage.h"
#include "logging/LogMessage.h"
#include "logging/LogMessageContainerBuilder.h"
#include "logging/TimestampText.h"
#include "platform/CodePage.h"
#include "tests/support/LookedUpMessage.h"

#include <boost/date_time/posix_time/posix_time.hpp>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace zuLogging;
using namespace zuLogging::benchmarks;

constexpr std::uint64_t sampleTimestamp =
    unixEpochTimestamp + 1'583'341'509ULL * 1'000'000 + 120'034;

/// A container as applications send it: every field, 200 bytes in all.
std::vector<std::uint8_t> sampleContainer()
{
    LogMessageContainerBuilder builder;
    builder.sourceMsgId = 123'456;
    builder.senderMsgId = 234'567;
    builder.serviceMsgId = 345'678;
    builder.timestamp = sampleTimestamp;
    builder.logLevel = 8;
    builder.processId = 4711;
    builder.threadId = 815;
    builder.module = "motion-control";
    builder.groupName = "axis";
    builder.logPos = "control/Axis.cpp:321";
    builder.logMessage = "Position reached after 12.5 ms, deviation 3 \xC2\xB5m";
    builder.logMessage->resize(200 - builder.size() + builder.logMessage->size(), '.');
    std::vector<std::uint8_t> bytes = builder.build();
    if (bytes.size() != 200)
        std::abort();
    return bytes;
}

LogMessageContainerView viewOf(const std::vector<std::uint8_t>& bytes)
{
    LogMessageContainerView view;
    view.data = bytes.data();
    view.length = bytes.size();
    return view;
}

void decodeByOnePass(benchmark::State& state)
{
    const std::vector<std::uint8_t> bytes = sampleContainer();
    DecodedMessage message;
    for (auto _ : state) {
        message.assign(viewOf(bytes));
        benchmark::DoNotOptimize(message);
    }
}
BENCHMARK(decodeByOnePass);

void decodeByLookUps(benchmark::State& state)
{
    const std::vector<std::uint8_t> bytes = sampleContainer();
    for (auto _ : state) {
        const DecodedMessage message = test::lookedUp({bytes.data(), bytes.size()});
        benchmark::DoNotOptimize(message);
    }
}
BENCHMARK(decodeByLookUps);

std::shared_ptr<LogMessage> recordOf(const DecodedMessage& fields)
{
    auto record = std::make_shared<LogMessage>(
        fields.serviceMsgId, fields.sourceMsgId, fields.senderMsgId, fields.timestamp,
        fields.logLevel, std::u16string_view(fields.logPos), std::u16string_view(fields.module),
        std::u16string_view(fields.groupName), std::u16string_view(fields.logMessage),
        fields.processId, fields.threadId);
    record->renderTimestamp();
    return record;
}

/// From the container to the record as the table holds it, and its end.
void containerToRecord(benchmark::State& state)
{
    const std::vector<std::uint8_t> bytes = sampleContainer();
    DecodedMessage fields;
    for (auto _ : state) {
        fields.assign(viewOf(bytes));
        benchmark::DoNotOptimize(recordOf(fields));
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(containerToRecord);

/// The limit: one look at every byte, the texts widened into one block that is there already, the
/// numbers taken out, the time stamp's digits written. Nothing is checked, nothing is allocated.
std::size_t barePass(const std::uint8_t* bytes, std::size_t size, char16_t* to)
{
    const char16_t* const begin = to;
    std::uint64_t numbers = 0;
    for (std::size_t at = containerHeaderSize; at < size;) {
        const std::size_t length = bytes[at] | static_cast<std::size_t>(bytes[at + 1]) << 8;
        const std::uint8_t* data = bytes + at + containerItemHeaderSize;
        switch (static_cast<ItemType>(bytes[at + 2])) {
        case ItemType::LogMessage:
        case ItemType::Module:
        case ItemType::GroupName:
        case ItemType::LogPos:
            for (std::size_t i = 0; i < length; ++i)
                *to++ = data[i];
            break;
        default: {
            std::uint64_t number = 0;
            std::memcpy(&number, data, length < sizeof number ? length : sizeof number);
            numbers += number;
        }
        }
        at += containerItemHeaderSize + length;
    }
    for (int digit = 0; digit < 27; ++digit) {
        *to++ = static_cast<char16_t>(u'0' + numbers % 10);
        numbers /= 10;
    }
    return static_cast<std::size_t>(to - begin);
}

void recordGoal(benchmark::State& state)
{
    const std::vector<std::uint8_t> bytes = sampleContainer();
    const int turns = scaled(1000000, 1000);
    DecodedMessage fields;
    std::vector<char16_t> block(4096);
    for (auto _ : state) {
        std::vector<double> ours;
        std::vector<double> limit;
        std::size_t units = 0;
        for (int round = 0; round < scaled(5, 1); ++round) {
            limit.push_back(secondsOf([&] {
                                for (int turn = 0; turn < turns; ++turn) {
                                    benchmark::DoNotOptimize(
                                        barePass(bytes.data(), bytes.size(), block.data()));
                                    benchmark::ClobberMemory();
                                }
                            }) *
                            1e6 / turns);
            ours.push_back(secondsOf([&] {
                               for (int turn = 0; turn < turns; ++turn) {
                                   fields.assign(viewOf(bytes));
                                   const auto record = recordOf(fields);
                                   TimestampBuffer text;
                                   benchmark::DoNotOptimize(record->timestampText(text).data());
                                   units = record->texts().size();
                               }
                           }) *
                           1e6 / turns);
        }
        require(state,
                units == fields.logMessage.size() + fields.module.size() + fields.groupName.size() +
                             fields.logPos.size() &&
                    recordOf(fields)->timestampText() == timestampText(sampleTimestamp),
                "the record has every text");
        report({"container to record, with its time text", median(ours), "us",
                "one pass, nothing checked or allocated", median(limit), Goal::Kind::AtMost, 0.35});
    }
}
BENCHMARK(recordGoal)->Iterations(1)->Unit(benchmark::kSecond);

void timestampOurs(benchmark::State& state)
{
    std::uint64_t timestamp = sampleTimestamp;
    for (auto _ : state)
        benchmark::DoNotOptimize(timestampText(timestamp += 1'001));
}
BENCHMARK(timestampOurs);

void timestampByStringStream(benchmark::State& state)
{
    using namespace boost;
    const posix_time::ptime start(gregorian::date(1400, 1, 1));
    std::uint64_t timestamp = sampleTimestamp;
    for (auto _ : state) {
        const auto elapsed =
            posix_time::microseconds(static_cast<std::int64_t>(timestamp += 1'001));
        benchmark::DoNotOptimize(
            QString::fromStdString(posix_time::to_simple_string(start + elapsed)));
    }
}
BENCHMARK(timestampByStringStream);

const std::string& textOf(std::int64_t kind)
{
    static const std::string texts[] = {std::string(90, 'x'), [] {
                                            std::string text;
                                            while (text.size() < 90)
                                                text += "\xD0\xB4\xD0\xB2 ";
                                            return text;
                                        }()};
    return texts[kind];
}

/// 90 bytes; argument 0: ASCII, 1: mostly two-byte characters.
void utf8ByOurs(benchmark::State& state)
{
    const std::string& bytes = textOf(state.range(0));
    std::u16string text;
    for (auto _ : state) {
        platform::multiByteToUtf16(bytes, platform::codePageUtf8, text);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(utf8ByOurs)->Arg(0)->Arg(1);

void utf8ByQt(benchmark::State& state)
{
    const std::string& bytes = textOf(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(QString::fromUtf8(bytes.data(), static_cast<int>(bytes.size())));
}
BENCHMARK(utf8ByQt)->Arg(0)->Arg(1);

void codePageByIconv(benchmark::State& state)
{
    const std::string bytes(90, '\xE4');
    std::u16string text;
    for (auto _ : state) {
        platform::multiByteToUtf16(bytes, 1252, text);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(codePageByIconv);

void searchARecord(benchmark::State& state)
{
    LogMessage record(1, 2, 3, sampleTimestamp, 8, std::u16string_view(u"control/Axis.cpp:321"),
                      std::u16string_view(u"motion-control"), std::u16string_view(u"axis"),
                      std::u16string_view(u"Position reached after 12.5 ms, deviation 3 mm"), 4711,
                      815);
    record.renderTimestamp();
    const QString needle = QStringLiteral("nothing");
    const auto rule = state.range(0) != 0 ? Qt::CaseSensitive : Qt::CaseInsensitive;
    for (auto _ : state)
        benchmark::DoNotOptimize(record.contains(needle, rule));
}
BENCHMARK(searchARecord)->Arg(0)->Arg(1);

} // namespace

int main(int argc, char** argv)
{
    return zuLogging::benchmarks::runBenchmarks(argc, argv);
}
