#pragma once

#include <string>
#include <vector>

namespace zuLogging::benchmarks {

/// One line of the table that bench.sh prints: a figure beside its limit or peer of the same run,
/// and what it is meant to be.
struct Goal
{
    enum class Kind
    {
        AtMost,      ///< the figure is at most `bound`, in its own unit
        AtMostTimes, ///< the figure is at most `bound` times the one beside it
        Shown        ///< nothing is asked for
    };

    std::string work;
    double figure = 0;
    std::string unit;
    std::string besideName; ///< empty: nothing stands beside it
    double beside = 0;      ///< in the same unit
    Kind kind = Kind::Shown;
    double bound = 0;

    bool isReached() const;
    /// Tab-separated: work, figure, limit or peer, ratio, goal, verdict. In a short run the verdict
    /// says that there is none.
    std::string line() const;
};

/// Prints the line, and appends it to the file that LOGDESK_BENCHMARK_GOALS names, if any.
void report(const Goal& goal);

/// The one in the middle; the upper one of two. At least one value.
double median(std::vector<double> values);

} // namespace zuLogging::benchmarks
