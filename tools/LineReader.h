#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

namespace zuLogging {

/// Takes a stream apart into lines and keeps no more than `limit` bytes of each, however long it
/// is. The bytes are taken as they come; a last line without an end counts.
class LineReader
{
public:
    /// The stream must outlive the reader.
    LineReader(std::istream& stream, std::size_t limit);

    /// False at the end of the stream. A stream that cannot be read throws what its buffer throws.
    bool next();

    /// The line's first bytes, without its end.
    const std::string& text() const { return text_; }
    /// Bytes of the line that were not kept.
    std::uint64_t dropped() const { return dropped_; }

private:
    std::istream& stream_;
    std::size_t limit_;
    std::string text_;
    std::uint64_t dropped_ = 0;
};

} // namespace zuLogging
