#include "benchmarks/BenchmarkRun.h"
#include "benchmarks/BusyPrograms.h"
#include "benchmarks/Goals.h"
#include "benchmarks/Peers.h"
#include "benchmarks/Scale.h"
#include "tests/support/TestEnvironment.h"

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace zuLogging::benchmarks {
namespace {

/// Sets an environment variable for as long as this lives.
class Variable
{
public:
    Variable(const char* name, const QByteArray& value)
        : name_(name)
    {
        qputenv(name, value);
    }
    ~Variable() { qunsetenv(name_); }

private:
    const char* name_;
};

TEST(BenchmarkScale, TheVariableAsksForAShortRunUnlessItIsEmptyOrNought)
{
    EXPECT_FALSE(isShortRun());
    EXPECT_EQ(scaled(1000, 3), 1000);
    for (const char* no : {"", "0"}) {
        const Variable variable("LOGDESK_BENCHMARK_SHORT", no);
        EXPECT_FALSE(isShortRun()) << no;
    }
    const Variable variable("LOGDESK_BENCHMARK_SHORT", "1");
    EXPECT_TRUE(isShortRun());
    EXPECT_EQ(scaled(1000, 3), 3);
}

TEST(BenchmarkGoals, AGoalIsReachedUpToItsBound)
{
    EXPECT_TRUE((Goal{"w", 0.2, "s", "", 0, Goal::Kind::AtMost, 0.2}.isReached()));
    EXPECT_FALSE((Goal{"w", 0.21, "s", "", 0, Goal::Kind::AtMost, 0.2}.isReached()));
    EXPECT_TRUE((Goal{"w", 3, "us", "limit", 2, Goal::Kind::AtMostTimes, 1.5}.isReached()));
    EXPECT_FALSE((Goal{"w", 3.1, "us", "limit", 2, Goal::Kind::AtMostTimes, 1.5}.isReached()));
    // Nothing lost where the limit loses nothing.
    EXPECT_TRUE((Goal{"w", 0, "lost", "limit", 0, Goal::Kind::AtMostTimes, 1}.isReached()));
    EXPECT_FALSE((Goal{"w", 1, "lost", "limit", 0, Goal::Kind::AtMostTimes, 1}.isReached()));
}

TEST(BenchmarkGoals, TheLineHasFigureLimitRatioGoalAndVerdict)
{
    EXPECT_EQ((Goal{"work", 3, "us", "limit", 2, Goal::Kind::AtMostTimes, 1.5}.line()),
              "work\t3 us\t2 us, limit\t1.50\tat most 1.50 times\treached");
    EXPECT_EQ((Goal{"work", 812.4, "ms", "", 0, Goal::Kind::AtMost, 50}.line()),
              "work\t812 ms\t-\t-\tat most 50 ms\tNOT REACHED");
    EXPECT_EQ((Goal{"work", 0.5, "s", "", 0, Goal::Kind::Shown, 0}.line()),
              "work\t0.500 s\t-\t-\t-\t-");
    const Variable variable("LOGDESK_BENCHMARK_SHORT", "1");
    EXPECT_EQ((Goal{"work", 812.4, "ms", "", 0, Goal::Kind::AtMost, 50}.line()),
              "work\t812 ms\t-\t-\tat most 50 ms\tshort run");
}

TEST(BenchmarkGoals, EachReportIsOneLineMoreInTheFile)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("goals"));
    const Variable variable("LOGDESK_BENCHMARK_GOALS", path.toLocal8Bit());
    const Goal goal{"work", 1, "s", "", 0, Goal::Kind::Shown, 0};
    report(goal);
    report(goal);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll().toStdString(), goal.line() + "\n" + goal.line() + "\n");
}

TEST(BenchmarkGoals, TheMedianIsTheOneInTheMiddle)
{
    EXPECT_EQ(median({3}), 3);
    EXPECT_EQ(median({9, 1, 5}), 5);
    EXPECT_EQ(median({4, 1, 3, 2}), 3);
}

TEST(BenchmarkPeers, OnlyProgramsThatWereMeasuredHaveAFigure)
{
    EXPECT_FALSE(peerSeconds("lnav"));
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("peers"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("lnav\t1.25\nglogg-open\t0.5\n");
    file.close();
    const Variable variable("LOGDESK_BENCHMARK_PEERS", path.toLocal8Bit());
    EXPECT_EQ(peerSeconds("lnav"), 1.25);
    EXPECT_EQ(peerSeconds("glogg-open"), 0.5);
    EXPECT_FALSE(peerSeconds("glogg-search"));
}

TEST(BenchmarkPeers, EachLineOfTheTextLogIs180BytesLongAndHasNotTheTextThatIsSought)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("lines"));
    ASSERT_TRUE(writeTextLog(path.toStdString(), 500));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    int lines = 0;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        ASSERT_EQ(line.size(), 180);
        ASSERT_FALSE(line.contains(textInNoLine));
        ++lines;
    }
    EXPECT_EQ(lines, 500);
    EXPECT_FALSE(writeTextLog(folder.filePath(QStringLiteral("no/lines")).toStdString(), 1));
}

void passing(benchmark::State& state)
{
    for (auto _ : state) {
    }
}

void failing(benchmark::State& state)
{
    for (auto _ : state)
        require(state, false, "what is said when a benchmark fails");
}

BENCHMARK(passing)->Iterations(1);
BENCHMARK(failing)->Iterations(1);

/// In a process of its own, since the library keeps what it was given.
int exitCodeOf(std::string option)
{
    const pid_t child = fork();
    if (child == 0) {
        std::string program = "test";
        char* arguments[] = {program.data(), option.data(), nullptr};
        std::_Exit(runBenchmarks(2, arguments));
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(BenchmarkRun, AProgramWhoseBenchmarkFailsOrThatRunsNoneEndsWithOne)
{
    EXPECT_EQ(exitCodeOf("--benchmark_filter=passing"), 0);
    EXPECT_EQ(exitCodeOf("--benchmark_filter=failing"), 1);
    EXPECT_EQ(exitCodeOf("--benchmark_filter=none"), 1);
    EXPECT_EQ(exitCodeOf("--no-such-option"), 1);
}

TEST(BenchmarkBusyPrograms, TheyTakeProcessorTimeUntilTheyAreEnded)
{
    const auto childrenSeconds = [] {
        rusage usage{};
        getrusage(RUSAGE_CHILDREN, &usage);
        return static_cast<double>(usage.ru_utime.tv_sec) +
               static_cast<double>(usage.ru_utime.tv_usec) * 1e-6;
    };
    const double before = childrenSeconds();
    {
        const BusyPrograms busy(1, 20);
        const double begin = processorSeconds();
        while (processorSeconds() < begin + 0.05) {
        }
    }
    EXPECT_GT(childrenSeconds(), before); // counted once they have been waited for
}

} // namespace
} // namespace zuLogging::benchmarks
