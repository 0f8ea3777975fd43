#pragma once

#include "logging/LogMessage.h"

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

class QIODevice;

namespace zuLogging {

/// Writes messages as JSON, one object a message, one after the other: a log of any length, and a
/// text of any length, takes a small buffer. Every value is a string; keys in alphabetical order,
/// UTF-8; half a surrogate pair is written as its escape. One thread at a time.
class JsonLogWriter
{
public:
    enum class Form
    {
        Array, ///< a JSON document, four blanks of indentation
        /// Each object on a line of its own without blanks, nothing around them. Characters that
        /// some reader takes for a line end, or a terminal for a command, are escapes, so that
        /// such a line is one for everybody.
        Lines
    };

    /// Begins the array, if it is to be one. The device is open for writing and outlives the
    /// writer.
    explicit JsonLogWriter(QIODevice& device, Form form = Form::Array);

    void add(const LogMessage& message);

    /// Hands the device what was added so far. True if it has taken everything.
    bool flush();

    /// True once the device did not take everything; nothing more is written then.
    bool failed() const { return failed_; }

    /// Ends the array, if it is one. True if the device took everything.
    bool finish();

private:
    void append(std::string_view bytes);
    void appendText(std::u16string_view text);
    void appendNumber(std::uint64_t number);
    void appendLevelCode(std::uint64_t level);
    /// Where a small piece may be written; used_ is the caller's to set.
    char* room();
    void empty();

    QIODevice& device_;
    const Form form_;
    std::vector<char> buffer_;
    std::size_t used_ = 0;
    bool first_ = true;
    bool failed_ = false;
};

} // namespace zuLogging
