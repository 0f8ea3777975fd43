#pragma once

#include "logging/LogMessageSinkFormatter.h"

#include <string>

namespace zuLogging {

/// Appends each message to a string, as one line in UTF-8.
///
/// A text can hold anything. What would end the line, steer a terminal or turn the direction of
/// writing is shown as an escape instead: \n, \r, \x1b, \u2028. Half a surrogate pair is U+FFFD.
/// Tabs stay.
class TailTextSink final : public LogMessageSinkFormatter
{
public:
    /// `out` must outlive the sink.
    explicit TailTextSink(std::string& out)
        : out_(out)
    {
    }

protected:
    void write(std::u16string_view line) override;

private:
    std::string& out_;
};

} // namespace zuLogging
