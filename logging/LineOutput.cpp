#include "logging/LineOutput.h"

namespace zuLogging {

using platform::OutputChannel;

LineOutput::LineOutput(int handle)
    : channel_(handle)
{
}

LineOutput::~LineOutput()
{
    std::string_view rest = rest_;
    if (!rest.empty())
        channel_.write(rest);
}

LineOutput::Result LineOutput::write(std::string_view lines)
{
    if (!rest_.empty()) {
        std::string_view rest = rest_;
        const Result result = push(rest);
        rest_.erase(0, rest_.size() - rest.size());
        if (result != Result::Written)
            return result;
    }
    std::string_view left = lines;
    const Result result = push(left);
    if (result != Result::Lost || left.size() == lines.size())
        return result;
    rest_ = left;
    return Result::Written;
}

/// Takes what is written away from `text`.
LineOutput::Result LineOutput::push(std::string_view& text)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    for (;;) {
        switch (channel_.write(text)) {
        case OutputChannel::Result::Done:
            isStuck_ = false;
            return Result::Written;
        case OutputChannel::Result::Closed:
            return Result::Closed;
        case OutputChannel::Result::Failed:
            return Result::Failed;
        case OutputChannel::Result::Full:
            break;
        }
        if (isStuck_)
            return Result::Lost;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
            end - std::chrono::steady_clock::now());
        isStuck_ = left.count() <= 0 ||
                   channel_.wait(left, never_, true) == OutputChannel::Event::TimedOut;
    }
}

} // namespace zuLogging
