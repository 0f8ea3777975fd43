#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace zuLogging {

/// Lets each kind of trace line through at most once a second, with the number of those held back
/// since. A service says to its standard error what it refuses; whoever sends it rubbish must not
/// be able to fill a disk with that, nor to stop it by a pipe that nobody empties.
///
/// No lock: calls come one at a time.
class TraceLimiter
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Output = std::function<void(const std::string& line)>;

    /// Kinds beyond this number count as one.
    static constexpr std::size_t maximumKinds = 64;

    /// `output` gets whole lines, each with its end.
    explicit TraceLimiter(Output output);

    /// Takes a piece of trace text; a line may come in several.
    void add(std::string_view text, TimePoint now);

private:
    struct Kind
    {
        TimePoint shown;
        std::uint64_t heldBack = 0;
    };

    void addLine(TimePoint now);

    Output output_;
    std::string line_; ///< the beginning of a line whose end has not come yet
    std::map<std::string, Kind, std::less<>> kinds_;
};

} // namespace zuLogging
