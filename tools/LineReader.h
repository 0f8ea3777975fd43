#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace zuLogging {

class InputBytes;

/// Takes bytes apart into lines and keeps no more than `limit` bytes of each, however long it is.
/// The bytes are taken as they come; a last line without an end counts.
class LineReader
{
public:
    /// The bytes must outlive the reader.
    LineReader(InputBytes& bytes, std::size_t limit);

    /// False at the end of the bytes.
    bool next();

    /// The line's first bytes, without its end.
    const std::string& text() const { return text_; }
    /// Bytes of the line that were not kept.
    std::uint64_t dropped() const { return dropped_; }

private:
    InputBytes& bytes_;
    std::size_t limit_;
    std::string text_;
    std::uint64_t dropped_ = 0;
};

} // namespace zuLogging
