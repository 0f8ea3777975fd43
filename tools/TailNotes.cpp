#include "tools/TailNotes.h"

#include <string_view>

namespace zuLogging {

TailNotes::TailNotes(platform::OutputChannel& channel)
    : channel_(channel)
{
}

void TailNotes::say(const std::string& text)
{
    const std::string line = "zulog: " + text + '\n';
    if (kept_.size() + line.size() <= limit)
        kept_ += line;
    flush();
}

void TailNotes::flush()
{
    std::string_view left = kept_;
    switch (channel_.write(left)) {
    case platform::OutputChannel::Result::Done:
    case platform::OutputChannel::Result::Full:
        kept_.erase(0, kept_.size() - left.size());
        break;
    case platform::OutputChannel::Result::Closed:
    case platform::OutputChannel::Result::Failed:
        kept_.clear(); // nobody to be told
        break;
    }
}

void TailNotes::flush(std::chrono::milliseconds patience)
{
    const platform::WakeSignal nothing;
    const auto end = std::chrono::steady_clock::now() + patience;
    for (flush(); !kept_.empty(); flush()) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        if (left.count() <= 0 ||
            channel_.wait(left, nothing, true) != platform::OutputChannel::Event::Room)
            return;
    }
}

} // namespace zuLogging
