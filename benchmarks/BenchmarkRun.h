#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace zuLogging::benchmarks {

/// Ends the benchmark with an error, and later the program with exit code 1.
void fail(benchmark::State& state, const std::string& why);

/// Fails unless `holds`. True if it does.
bool require(benchmark::State& state, bool holds, const std::string& what);

/// Runs the program's benchmarks, a short time each in a short run. The exit code for main: 1 when
/// one failed, none ran or the command line is wrong.
int runBenchmarks(int argc, char** argv);

/// Elapsed seconds.
double secondsOf(const std::function<void()>& work);

/// Processor time of this process so far, all threads, system time included; in seconds.
double processorSeconds();

/// Time so far that the machine below took from this one's processors, in seconds: a virtual
/// machine that stands still for two milliseconds loses datagrams whatever the program does.
double stolenSeconds();

/// Most memory that this process has held so far, and what it holds now, in bytes.
double peakMemory();
double currentMemory();

/// Bytes that the program has asked for, with what the memory manager keeps for each piece.
double allocatedBytes();

} // namespace zuLogging::benchmarks
