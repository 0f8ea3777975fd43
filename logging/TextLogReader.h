#pragma once

#include "logging/LogMessage.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

class QIODevice;

namespace zuLogging {

class WorkControl;

/// What a text log is read with. The defaults are for everyone but tests.
struct TextLogLimits
{
    std::size_t line = std::size_t{1} << 20; ///< bytes of a line in one record; at least 4
    std::size_t read = std::size_t{1} << 18; ///< bytes asked for at once
    std::uint64_t memoryStep = std::uint64_t{1} << 26;    ///< of records, between two looks
    std::uint64_t memoryReserve = std::uint64_t{3} << 26; ///< what must be left at each look
    /// Bytes that the system can still give; empty: asks the system.
    std::function<std::uint64_t()> availableMemory;
};

/// Reads a text log: each line is a record.
///
/// - A line ends with a line feed, or with the text; a carriage return before its end and a byte
///   order mark at the beginning of the text are no part of it. The text is UTF-8; a byte sequence
///   that is not becomes U+FFFD. NUL bytes stay.
/// - A line longer than `TextLogLimits::line` bytes goes on in further records, cut between two
///   characters.
/// - Message: the line. Service message number: counts on with each record, the first has
///   `firstNumber`. Module: `module`.
/// - Time stamp: of a line that begins with a date and time as ISO 8601 has them, with T or a blank
///   between (YYYY-MM-DDThh:mm:ss, fraction with . or , to the microsecond, Z or +hh:mm; UTC
///   without), that time; of others that of the record before. As long as there is none the number
///   is 0 and the time stamp text empty.
/// - Lines as the file sink writes them (LogMessageSinkFormatter::defaultPattern) are taken apart
///   into module, time stamp, thread, level and message, when one of the first 16 is such a line.
///   The padding does not tell an empty message from one blank, nor where a module's own leading
///   blanks begin; a module that is more than 256 units long, and a level of more than 8 digits,
///   leave the line whole.
///
/// The device is read from where it stands to its end, through a buffer of a line's length.
/// `messages` is empty before. False, and `messages` empty, when the device failed. Throws
/// std::bad_alloc, also before the system runs out of memory, `messages` being empty then. With a
/// `control` it tells how far it is in the device, and throws WorkCancelled.
bool readTextLog(QIODevice& device, std::u16string_view module,
                 std::vector<std::shared_ptr<LogMessage>>& messages, std::uint64_t firstNumber = 1,
                 const TextLogLimits& limits = {}, WorkControl* control = nullptr);

/// Whether a file that begins like this is a text at all: not when more than a sixteenth of its
/// first 4096 bytes are NUL or other control characters that no text has.
bool looksLikeText(std::string_view beginning);

/// The time that `line` begins with, as a record's time stamp. False when it does not begin with
/// one, or with one before the year 1400.
bool readIsoTimestamp(std::string_view line, std::uint64_t& timestamp);

} // namespace zuLogging
