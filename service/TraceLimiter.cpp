#include "service/TraceLimiter.h"

#include <utility>

namespace zuLogging {

namespace {

constexpr std::size_t longestLine = 400;
constexpr std::chrono::seconds pause(1);

} // namespace

TraceLimiter::TraceLimiter(Output output)
    : output_(std::move(output))
{
}

void TraceLimiter::add(std::string_view text, TimePoint now)
{
    for (const char character : text) {
        if (character == '\n')
            addLine(now);
        else if (line_.size() < longestLine)
            line_.push_back(character);
    }
}

void TraceLimiter::addLine(TimePoint now)
{
    const std::string line = std::exchange(line_, std::string());
    const bool isNew = kinds_.find(line) == kinds_.end();
    Kind& kind = kinds_[isNew && kinds_.size() >= maximumKinds ? std::string() : line];
    if (kind.shown != TimePoint() && now - kind.shown < pause) {
        ++kind.heldBack;
        return;
    }
    std::string shown = line;
    if (kind.heldBack > 0)
        shown += " (and " + std::to_string(kind.heldBack) + " times more since the last line)";
    kind.shown = now;
    kind.heldBack = 0;
    output_(shown + '\n');
}

} // namespace zuLogging
