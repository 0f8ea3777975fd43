#pragma once

#include <cstddef>
#include <cstdint>
#include <set>
#include <vector>

namespace zuLogging {

/// The keys of the counter sets that recorders have reported.
///
/// No lock: the receiving thread's own.
class CounterSetKeys
{
public:
    /// Keys come from outside: so many are kept. Further ones are dropped, which the debugger trace
    /// says.
    static constexpr std::size_t maximumCount = 65536;

    void add(const std::vector<std::uint64_t>& keys);

    /// Ascending, each once.
    std::vector<std::uint64_t> list() const { return {keys_.begin(), keys_.end()}; }
    std::size_t count() const { return keys_.size(); }

private:
    std::set<std::uint64_t> keys_;
};

} // namespace zuLogging
