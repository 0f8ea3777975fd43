#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace zuLogging {

/// Lets each kind of trace line through at most once a second, with the number of those held back
/// since. The programs say to their standard error what they refuse; whoever sends them rubbish
/// must not be able to fill a disk with that.
///
/// No lock: calls come one at a time. Pieces are put together as they come: where two threads trace
/// lines in several pieces at once, one line may get a piece of the other's.
class TraceLimiter
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Output = std::function<void(const std::string& line)>;

    /// So many kinds are told apart in a second; further ones count as one.
    static constexpr std::size_t maximumKinds = 64;

    /// `output` gets whole lines, each with its end.
    explicit TraceLimiter(Output output);

    /// Takes a piece of trace text; a line may come in several.
    void add(std::string_view text, TimePoint now);

    /// Tells how many lines are held back still, a line for each kind, and shows a line whose end
    /// has not come.
    void finish();

private:
    struct Kind
    {
        TimePoint shown;
        std::uint64_t heldBack = 0;
    };
    using Kinds = std::map<std::string, Kind, std::less<>>;

    void addLine(TimePoint now);
    Kinds::iterator kindOf(const std::string& line, TimePoint now);
    void tellHeldBack(const Kinds::value_type& kind);

    Output output_;
    std::string line_; ///< the beginning of a line whose end has not come yet
    Kinds kinds_;      ///< the empty text stands for all those that have no place of their own
};

} // namespace zuLogging
