#include "client/ClientLogger.h"

#include "client/Utf8.h"

namespace zuLogging::client {

namespace {

constexpr unsigned fixedBit = 1;

unsigned thresholdOf(zulog_level level)
{
    return static_cast<unsigned>(level) * 2;
}

// The header reads the member with the compiler's own atomics, since C and C++ share no others.
unsigned load(const unsigned& threshold)
{
    return __atomic_load_n(&threshold, __ATOMIC_RELAXED);
}

bool exchangeIfSame(unsigned& threshold, unsigned& expected, unsigned wanted)
{
    return __atomic_compare_exchange_n(&threshold, &expected, wanted, false, __ATOMIC_RELAXED,
                                       __ATOMIC_RELAXED);
}

} // namespace

ClientLogger::ClientLogger(std::string_view module, std::string_view group, zulog_level level)
    : zulog_logger{thresholdOf(level)}
    , module_(utf8Start(module, maximumName))
    , group_(utf8Start(group, maximumName))
{
}

zulog_level ClientLogger::level() const noexcept
{
    return static_cast<zulog_level>(load(threshold) / 2);
}

bool ClientLogger::isFixed() const noexcept
{
    return (load(threshold) & fixedBit) != 0;
}

void ClientLogger::fix(zulog_level level) noexcept
{
    __atomic_store_n(&threshold, thresholdOf(level) | fixedBit, __ATOMIC_RELAXED);
}

void ClientLogger::unfix() noexcept
{
    __atomic_and_fetch(&threshold, ~fixedBit, __ATOMIC_RELAXED);
}

void ClientLogger::follow(zulog_level level) noexcept
{
    unsigned present = load(threshold);
    while ((present & fixedBit) == 0 && !exchangeIfSame(threshold, present, thresholdOf(level))) {
    }
}

} // namespace zuLogging::client
