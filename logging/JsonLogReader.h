#pragma once

#include "logging/LogMessage.h"

#include <memory>
#include <string_view>
#include <vector>

class QIODevice;

namespace zuLogging {

class WorkControl;

/// Reads a log that JsonLogWriter wrote, or that a person edited since: an array with one object a
/// message. The text is read in pieces, so that a log of any length takes no more memory than its
/// records.
///
/// Returns the records, their time stamps rendered; none when the text is not valid JSON to its
/// end, or no array. Unknown members are skipped, missing ones are 0 or empty. Throws
/// std::bad_alloc.
std::vector<std::shared_ptr<LogMessage>> readJsonLog(QIODevice& device);

/// The same into `messages`, which is empty before. False, and `messages` empty, when the device
/// failed before the text was known to be valid or not. When it throws, `messages` is empty too.
///
/// Valid is what RFC 8259 says, in UTF-8, with or without a byte order mark, and nested at most
/// 1024 deep. Of a repeated member the last one counts. An element that is no object is a message
/// without content. What a member gives:
/// - a text: the string; anything else is empty. Half a surrogate pair becomes what LogMessage
///   makes of it. More than 268,435,456 UTF-16 units cannot be held: std::bad_alloc.
/// - a number: a string with decimal digits, or a JSON number. A fraction is rounded; what does not
///   fit into 64 bits without a sign, a JSON number of more than 64 characters, and anything else,
///   is 0.
/// - the level: the string "LogLevel [Hex]", hexadecimal digits with or without "0x"; anything
///   else, a JSON number too, is 0. "LogLevel" is not read.
/// In a string a plus sign and blanks around the digits do no harm.
///
/// Messages without any content are one shared record, so that a file of nothing but empty elements
/// does not take a hundred times its size.
///
/// With a `control` it tells how far it is in the device, and throws WorkCancelled.
bool readJsonLog(QIODevice& device, std::vector<std::shared_ptr<LogMessage>>& messages,
                 WorkControl* control = nullptr);

/// Reads one message of such a log: the text of one object, with nothing but blanks (and a byte
/// order mark) around it, by the same rules. Null when it is anything else. Throws std::bad_alloc.
std::shared_ptr<LogMessage> readJsonMessage(std::string_view json);

} // namespace zuLogging
