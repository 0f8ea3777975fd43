#include "logging/TraceLimiter.h"

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

void TraceLimiter::finish()
{
    if (!line_.empty())
        output_(std::exchange(line_, std::string()) + '\n');
    for (const auto& kind : kinds_)
        tellHeldBack(kind);
    kinds_.clear();
}

void TraceLimiter::addLine(TimePoint now)
{
    const std::string line = std::exchange(line_, std::string());
    const auto found = kindOf(line, now);
    Kind& kind = found->second;
    if (kind.shown != TimePoint() && now - kind.shown < pause) {
        ++kind.heldBack;
        return;
    }
    std::string shown = line;
    if (kind.heldBack > 0)
        shown += " (and " + std::to_string(kind.heldBack) +
                 (found->first == line ? " times more since the last line)"
                                       : " other lines since the last one)");
    kind.shown = now;
    kind.heldBack = 0;
    output_(shown + '\n');
}

TraceLimiter::Kinds::iterator TraceLimiter::kindOf(const std::string& line, TimePoint now)
{
    const auto known = kinds_.find(line);
    if (known != kinds_.end())
        return known;
    if (kinds_.size() >= maximumKinds) {
        // Those that have been quiet for a while make room.
        for (auto kind = kinds_.begin(); kind != kinds_.end();) {
            if (now - kind->second.shown < pause) {
                ++kind;
                continue;
            }
            tellHeldBack(*kind);
            kind = kinds_.erase(kind);
        }
    }
    return kinds_.try_emplace(kinds_.size() < maximumKinds ? line : std::string()).first;
}

void TraceLimiter::tellHeldBack(const Kinds::value_type& kind)
{
    if (kind.second.heldBack == 0)
        return;
    const std::string count = std::to_string(kind.second.heldBack);
    if (kind.first.empty())
        output_("And " + count + " other lines since the last one\n");
    else
        output_(kind.first + " (" + count + " times more since the last line)\n");
}

} // namespace zuLogging
