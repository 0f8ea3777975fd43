// What it costs to turn a container into a record, and to write its time stamp. Each figure of ours
// stands beside what the obvious way costs.

#include "logging/DecodedMessage.h"
#include "logging/LogMessage.h"
#include "logging/LogMessageContainerBuilder.h"
#include "logging/TimestampText.h"
#include "platform/CodePage.h"

#include <boost/date_time/posix_time/posix_time.hpp>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace {

using namespace zuLogging;

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
        const LogMessageContainer container(bytes.data(), bytes.size());
        DecodedMessage message;
        message.serviceMsgId = container.serviceMsgId();
        message.sourceMsgId = container.sourceMsgId();
        message.senderMsgId = container.senderMsgId();
        message.timestamp = container.number(ItemType::Timestamp).value_or(0);
        message.logLevel = container.number(ItemType::LogLevel).value_or(0);
        message.processId = container.number(ItemType::ProcessID).value_or(0);
        message.threadId = container.number(ItemType::ThreadID).value_or(0);
        message.logPos = container.text(ItemType::LogPos, TextMode::Plain).value_or(u"");
        message.module = container.text(ItemType::Module, TextMode::Plain).value_or(u"");
        message.groupName = container.text(ItemType::GroupName, TextMode::Plain).value_or(u"");
        message.logMessage = container.text(ItemType::LogMessage, TextMode::Text).value_or(u"");
        benchmark::DoNotOptimize(message);
    }
}
BENCHMARK(decodeByLookUps);

/// From the container to the record as the table holds it, and its end.
void containerToRecord(benchmark::State& state)
{
    const std::vector<std::uint8_t> bytes = sampleContainer();
    DecodedMessage fields;
    for (auto _ : state) {
        fields.assign(viewOf(bytes));
        auto record = std::make_shared<LogMessage>(
            fields.serviceMsgId, fields.sourceMsgId, fields.senderMsgId, fields.timestamp,
            fields.logLevel, std::u16string_view(fields.logPos), std::u16string_view(fields.module),
            std::u16string_view(fields.groupName), std::u16string_view(fields.logMessage),
            fields.processId, fields.threadId);
        record->renderTimestamp();
        benchmark::DoNotOptimize(record);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(containerToRecord);

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
