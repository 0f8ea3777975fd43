#include "benchmarks/BenchmarkRun.h"

#include "benchmarks/Scale.h"

#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <malloc.h>
#include <sys/resource.h>
#include <unistd.h>

namespace zuLogging::benchmarks {

namespace {

bool anyFailed = false;

/// The figure of getrusage will not do for the peak: it begins with what the process that started
/// this one took.
double statusKibibytes(const std::string& name)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.compare(0, name.size(), name) == 0)
            return std::stod(line.substr(name.size()));
    }
    return 0;
}

} // namespace

void fail(benchmark::State& state, const std::string& why)
{
    anyFailed = true;
    std::fprintf(stderr, "FAILED: %s\n", why.c_str());
    state.SkipWithError(why.c_str());
}

bool require(benchmark::State& state, bool holds, const std::string& what)
{
    if (!holds)
        fail(state, what);
    return holds;
}

int runBenchmarks(int argc, char** argv)
{
    std::vector<char*> arguments(argv, argv + argc);
    char brief[] = "--benchmark_min_time=0.01";
    if (isShortRun())
        arguments.insert(arguments.begin() + 1, brief); // what the user gives comes later and holds
    arguments.push_back(nullptr);
    int count = static_cast<int>(arguments.size()) - 1;
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 1;
    const std::size_t run = benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return anyFailed || run == 0 ? 1 : 0;
}

double secondsOf(const std::function<void()>& work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double processorSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    const auto part = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) * 1e-6;
    };
    return part(usage.ru_utime) + part(usage.ru_stime);
}

double stolenSeconds()
{
    std::ifstream statistics("/proc/stat");
    std::string word;
    double ticks = 0;
    statistics >> word;
    for (int field = 0; field < 8; ++field)
        statistics >> ticks;
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double peakMemory()
{
    return statusKibibytes("VmHWM:") * 1024;
}

double currentMemory()
{
    return statusKibibytes("VmRSS:") * 1024;
}

double allocatedBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
}

} // namespace zuLogging::benchmarks
