// A long run at the row limit: filter and sort changed every second by a script.

#include "tests/endurance/EnduranceTest.h"

#include <QProcess>

#include <algorithm>

namespace zuLogging {
namespace {

using test::ProcessUse;
using test::waitFor;

constexpr int rate = 20000;
constexpr int rowLimit = 100000;

/// Sanitizers keep a shadow of what was ever used, and what was freed for a while.
#if defined(LOGDESK_ADDRESS_SANITIZER) || defined(LOGDESK_THREAD_SANITIZER)
constexpr std::int64_t tolerableGrowthKib = 256 * 1024;
#else
constexpr std::int64_t tolerableGrowthKib = 64 * 1024;
#endif

/// LOGDESK_SOAK_SECONDS; the form for every test run is a minute.
int soakSeconds()
{
    const int asked = qEnvironmentVariableIntValue("LOGDESK_SOAK_SECONDS");
    return asked > 0 ? asked : 60;
}

class Soak : public test::EnduranceTest
{
};

TEST_F(Soak, MemoryThreadsAndDescriptorsStayAndNothingIsLostThatIsNotCounted)
{
    const int seconds = soakSeconds();
    ASSERT_TRUE(service_.start());
    ASSERT_TRUE(openWindow());
    store().setMaximumMessages(rowLimit);
    startButton()->click();
    ASSERT_TRUE(isLogging());

    QProcess traffic;
    const std::uint64_t all = std::uint64_t{rate} * static_cast<std::uint64_t>(seconds);
    traffic.start(test::programPath(QStringLiteral("zulog")),
                  {QStringLiteral("demo"), QStringLiteral("--rate"), QString::number(rate),
                   QStringLiteral("--count"), QString::number(all)});
    ASSERT_TRUE(traffic.waitForStarted());

    test::AnswerWatch watch;
    ProcessUse settled;
    ProcessUse largest;
    const QStringList filters[] = {{QStringLiteral("e")},
                                   {},
                                   {QStringLiteral("nowhere")},
                                   {QStringLiteral("a"), QStringLiteral("77")}};
    // A step for each second of traffic, counted in messages: what a slow machine takes longer for
    // it does all the same.
    for (int step = 1; step <= seconds; ++step) {
        const std::uint64_t goal = std::uint64_t{rate} * static_cast<std::uint64_t>(step);
        const auto came = [&] {
            return counted(LogCount::Moved) + counted(LogCount::LostInSocket) +
                   counted(LogCount::DroppedFromQueue);
        };
        ASSERT_TRUE(waitFor(
            [&] { return came() >= goal || traffic.state() == QProcess::NotRunning; }, 60000))
            << came();
        store().setFilter(filters[step % 4], {}, {}, false, false);
        model().sort(step % 12, step % 2 == 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
        const ProcessUse now = test::useOf(QCoreApplication::applicationPid());
        if (step == std::max(1, std::min(60, seconds / 3)))
            settled = largest = now;
        largest.residentKib = std::max(largest.residentKib, now.residentKib);
        largest.threads = std::max(largest.threads, now.threads);
        largest.descriptors = std::max(largest.descriptors, now.descriptors);
    }
    ASSERT_TRUE(waitFor([&] { return traffic.state() == QProcess::NotRunning; }, 120000));
    ASSERT_EQ(traffic.exitCode(), 0);
    const double longest = watch.longest().count();
    stop();

    const std::optional<ServiceStatus> status = serviceStatus();
    ASSERT_TRUE(status);
    std::uint64_t failed = 0;
    for (const ServiceStatus::Sink& sink : status->sinks)
        failed += sink.failed;
    note("messages", static_cast<double>(all));
    note("taken_by_the_service", static_cast<double>(status->taken));
    note("forwarded", static_cast<double>(status->forwarded));
    note("messages_in_the_window", static_cast<double>(counted(LogCount::Messages)));
    note("lost_in_socket", static_cast<double>(counted(LogCount::LostInSocket)));
    note("missing_numbers", static_cast<double>(counted(LogCount::MissingNumbers)));
    note("longest_answer_ms", longest);
    note("memory_settled_kib", static_cast<double>(settled.residentKib));
    note("memory_growth_kib", static_cast<double>(largest.residentKib - settled.residentKib));
    note("threads", settled.threads);
    note("descriptors", settled.descriptors);

    // What the service sent on came, or is counted as lost.
    EXPECT_EQ(status->forwarded, counted(LogCount::Messages) + counted(LogCount::LostInSocket));
    EXPECT_LE(counted(LogCount::MissingNumbers), counted(LogCount::LostInSocket));
    EXPECT_LT(largest.residentKib - settled.residentKib, tolerableGrowthKib);
    EXPECT_LE(largest.threads, settled.threads + 2);
    EXPECT_LE(largest.descriptors, settled.descriptors + 2);
    EXPECT_EQ(model().messageCount(), rowLimit);
    expectBalance();
}

} // namespace
} // namespace zuLogging
