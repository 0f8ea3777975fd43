#include "tools/InputBytes.h"

#include <algorithm>
#include <istream>
#include <streambuf>
#include <utility>

namespace zuLogging {

namespace {

constexpr std::size_t bufferSize = std::size_t{1} << 16;

} // namespace

InputBytes::InputBytes(std::istream& stream, BeforeWait beforeWait,
                       const std::atomic<bool>* stopped)
    : stream_(stream)
    , beforeWait_(std::move(beforeWait))
    , stopped_(stopped)
    , buffer_(bufferSize)
    , ended_(!stream)
{
}

std::string_view InputBytes::peek()
{
    if (begin_ == end_ && !ended_)
        refill();
    return {buffer_.data() + begin_, end_ - begin_};
}

void InputBytes::refill()
{
    using Traits = std::istream::traits_type;

    begin_ = end_ = 0;
    std::streambuf& source = *stream_.rdbuf();
    const bool goesOn = !beforeWait_ || source.in_avail() > 0 || beforeWait_();
    if (!goesOn || (stopped_ != nullptr && *stopped_)) {
        ended_ = true;
        return;
    }
    try {
        // Fills the stream's own buffer by one read; of that no more is taken than has come.
        if (!Traits::eq_int_type(source.sgetc(), Traits::eof())) {
            const auto room = static_cast<std::streamsize>(buffer_.size());
            const std::streamsize there = std::clamp<std::streamsize>(source.in_avail(), 1, room);
            end_ = static_cast<std::size_t>(source.sgetn(buffer_.data(), there));
        }
    } catch (const std::ios::failure&) {
        failed_ = true;
    }
    ended_ = end_ == 0;
}

} // namespace zuLogging
