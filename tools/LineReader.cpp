#include "tools/LineReader.h"

#include <istream>
#include <streambuf>

namespace zuLogging {

LineReader::LineReader(std::istream& stream, std::size_t limit)
    : stream_(stream)
    , limit_(limit)
{
    text_.reserve(limit);
}

bool LineReader::next()
{
    using Traits = std::istream::traits_type;

    text_.clear();
    dropped_ = 0;
    if (!stream_)
        return false;
    std::streambuf& buffer = *stream_.rdbuf();
    bool isEmpty = true;
    for (;;) {
        const Traits::int_type value = buffer.sbumpc();
        if (Traits::eq_int_type(value, Traits::eof())) {
            stream_.setstate(std::ios::eofbit);
            return !isEmpty;
        }
        isEmpty = false;
        const char byte = Traits::to_char_type(value);
        if (byte == '\n')
            return true;
        if (text_.size() < limit_)
            text_.push_back(byte);
        else
            ++dropped_;
    }
}

} // namespace zuLogging
