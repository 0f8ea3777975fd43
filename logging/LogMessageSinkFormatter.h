#pragma once

#include "logging/LogMessageSink.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace zuLogging {

/// Base of the sinks that write a message as one line of text: fields in columns, nothing between
/// them, a line end behind the last.
class LogMessageSinkFormatter : public LogMessageSink
{
public:
    struct PatternElement
    {
        std::uint16_t itemType; ///< number of an ItemType
        std::uint64_t width;    ///< least width of the column in UTF-16 code units
    };
    using Pattern = std::vector<PatternElement>;

    /// Module, time stamp and thread in 20 columns each, the level in 8, the message text.
    static const Pattern& defaultPattern();

    explicit LogMessageSinkFormatter(std::uint32_t containerOperatingMode = 0);
    explicit LogMessageSinkFormatter(Pattern pattern, std::uint32_t containerOperatingMode = 0);

    /// Each field is set right in its column and never cut; one that the container does not carry
    /// leaves its column blank. Numbers are decimal, the time stamp a plain count of microseconds.
    /// Throws LogSvcError "Invalid pattern used when formatting the log message" for an item type
    /// that is no text and no number, or what the container's look-ups throw.
    void consume(const LogMessageContainerView& container) override;

protected:
    /// Takes one finished line, line end included.
    virtual void write(std::u16string_view line) = 0;

private:
    Pattern pattern_;
};

} // namespace zuLogging
