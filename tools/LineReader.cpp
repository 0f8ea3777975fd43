#include "tools/LineReader.h"

#include "tools/InputBytes.h"

#include <algorithm>
#include <string_view>

namespace zuLogging {

namespace {

/// Room for most lines, so that few of them move.
constexpr std::size_t usualLength = 2048;

} // namespace

LineReader::LineReader(InputBytes& bytes, std::size_t limit)
    : bytes_(bytes)
    , limit_(limit)
{
    text_.reserve(std::min(limit, usualLength));
}

bool LineReader::next()
{
    text_.clear();
    dropped_ = 0;
    bool isEmpty = true;
    for (;;) {
        const std::string_view bytes = bytes_.peek();
        if (bytes.empty())
            return !isEmpty;
        isEmpty = false;
        const std::size_t end = bytes.find('\n');
        const std::string_view piece = bytes.substr(0, end);
        const std::size_t kept = std::min(piece.size(), limit_ - text_.size());
        text_.append(piece.data(), kept);
        dropped_ += piece.size() - kept;
        if (end != std::string_view::npos) {
            bytes_.take(end + 1);
            return true;
        }
        bytes_.take(piece.size());
    }
}

} // namespace zuLogging
