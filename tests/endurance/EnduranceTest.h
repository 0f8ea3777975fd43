#pragma once

#include "logging/LogLedger.h"
#include "logging/ServiceStatus.h"
#include "logging/SocketAddressText.h"
#include "tests/e2e/WindowTest.h"
#include "tests/endurance/AnswerWatch.h"
#include "tests/endurance/ProcessUse.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/UdpPeer.h"

#include <cstdlib>
#include <iostream>
#include <optional>

namespace zuLogging::test {

/// The real window beside a real service, under what a machine can do to them.
class EnduranceTest : public WindowTest
{
protected:
    LogContainer& store() { return *window_->messageStore(); }
    std::uint64_t counted(LogCount which) { return store().ledger()->count(which); }

    /// What the service tells of itself; nothing when it does not answer.
    static std::optional<ServiceStatus> serviceStatus()
    {
        const ProgramRun run = runProgram(QStringLiteral("zulog"),
                                          {QStringLiteral("status"), QStringLiteral("--json")});
        if (run.status != 0)
            return std::nullopt;
        return ServiceStatus::fromJson(run.out.toStdString());
    }

    /// Where the window's listener is, as the service knows it.
    static std::optional<platform::SocketAddress> listenerAddress()
    {
        const std::optional<ServiceStatus> status = serviceStatus();
        if (!status)
            return std::nullopt;
        for (const ServiceStatus::Sink& sink : status->sinks)
            if (sink.type == "forward")
                return parseSocketAddress(sink.argument);
        return std::nullopt;
    }

    void stop()
    {
        stopButton()->click();
        EXPECT_TRUE(waitFor([this] { return isStopped(); }, 60000));
    }

    /// At rest every sum has to be right, whatever came before.
    void expectBalance()
    {
        const LogCounts counts = store().ledger()->counts();
        EXPECT_EQ(counts[LogCount::Received],
                  counts.refused() + counts[LogCount::Requests] + counts[LogCount::Messages]);
        EXPECT_EQ(counts[LogCount::Messages],
                  counts[LogCount::Unwanted] + counts[LogCount::Ignored] +
                      counts[LogCount::Unreadable] + counts[LogCount::NotActive] +
                      counts[LogCount::Queued]);
        EXPECT_EQ(counts[LogCount::Queued], counts[LogCount::DroppedFromQueue] +
                                                counts[LogCount::Moved] + store().queueSize());
        EXPECT_EQ(counts[LogCount::Moved] + counts[LogCount::Loaded],
                  static_cast<std::uint64_t>(model().messageCount()) +
                      counts[LogCount::RemovedAtLimit] + counts[LogCount::Cleared]);
    }

    static void note(const std::string& what, double figure)
    {
        ::testing::Test::RecordProperty(what, std::to_string(figure));
        std::cout << "    " << what << ": " << figure << std::endl;
    }

    ServiceProcess service_;
};

} // namespace zuLogging::test
