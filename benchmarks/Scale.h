#pragma once

#include <cstdlib>
#include <string_view>

namespace zuLogging::benchmarks {

/// True for a run that only shows that the program still works: with the environment variable
/// LOGDESK_BENCHMARK_SHORT set to anything but 0 every benchmark takes a moment, and its figures
/// mean nothing.
inline bool isShortRun()
{
    const char* value = std::getenv("LOGDESK_BENCHMARK_SHORT");
    return value && *value != '\0' && std::string_view(value) != "0";
}

/// The size, number or time to use: `full`, or `brief` in a short run.
template <class Value>
Value scaled(Value full, Value brief)
{
    return isShortRun() ? brief : full;
}

} // namespace zuLogging::benchmarks
