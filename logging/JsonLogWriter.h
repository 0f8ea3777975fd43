#pragma once

#include "logging/LogMessage.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

class QIODevice;

namespace zuLogging {

/// Writes messages as a JSON array with one object a message, one after the other: a log of any
/// length, and a text of any length, takes a small buffer. Every value is a string; keys in
/// alphabetical order, four blanks of indentation, UTF-8; half a surrogate pair is written as its
/// escape. One thread at a time.
class JsonLogWriter
{
public:
    /// Begins the array. The device is open for writing and outlives the writer.
    explicit JsonLogWriter(QIODevice& device);

    void add(const LogMessage& message);

    /// True once the device did not take everything; nothing more is written then.
    bool failed() const { return failed_; }

    /// Ends the array. True if the device took everything.
    bool finish();

private:
    void append(std::string_view bytes);
    void appendText(std::u16string_view text);
    void appendNumber(std::uint64_t number);
    void appendLevelCode(std::uint64_t level);
    /// Where a small piece may be written; used_ is the caller's to set.
    char* room();
    void flush();

    QIODevice& device_;
    std::vector<char> buffer_;
    std::size_t used_ = 0;
    bool first_ = true;
    bool failed_ = false;
};

} // namespace zuLogging
