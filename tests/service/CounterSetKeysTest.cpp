#include "service/CounterSetKeys.h"

#include "tests/support/TraceCapture.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>

namespace zuLogging {
namespace {

constexpr char dropped[] =
    "Dropping counter-set keys: as many as are kept have been reported already\n";

TEST(CounterSetKeys, AreKeptInOrderAndEachOnce)
{
    const test::TraceCapture trace;
    CounterSetKeys keys;
    keys.add({9, 3, std::numeric_limits<std::uint64_t>::max()});
    keys.add({});
    keys.add({0, 3, 7});
    EXPECT_EQ(keys.list(),
              (std::vector<std::uint64_t>{0, 3, 7, 9, std::numeric_limits<std::uint64_t>::max()}));
    EXPECT_TRUE(trace.calls().empty());
}

TEST(CounterSetKeys, BeyondTheirNumberAreDroppedWhichIsSaid)
{
    const test::TraceCapture trace;
    CounterSetKeys keys;
    std::vector<std::uint64_t> many(CounterSetKeys::maximumCount);
    std::iota(many.begin(), many.end(), 10U);
    keys.add(many);
    keys.add(many);
    EXPECT_EQ(keys.count(), 65536U);
    EXPECT_TRUE(trace.calls().empty()) << "nothing was dropped yet";
    keys.add({1, 10, 2});
    EXPECT_EQ(keys.list(), many);
    EXPECT_EQ(trace.count(dropped), 1U) << "once for each report";
    keys.add({10, 11});
    EXPECT_EQ(trace.count(dropped), 1U);
}

} // namespace
} // namespace zuLogging
