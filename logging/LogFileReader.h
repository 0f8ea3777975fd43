#pragma once

#include "logging/LogMessage.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

namespace zuLogging {

class WorkControl;

/// Reads a log file of any form. The content tells which, whatever the file is called:
/// - a JSON log: one array (readJsonLog);
/// - JSON lines: one such message a line, as `zulog tail --json` writes them; blank lines are
/// passed
///   over. None may be longer than 64 MiB;
/// - a text log: everything else (readTextLog), also what begins like one of the first two but is
///   not valid to its end, or holds no message with any content: other programs write JSON too. The
///   records' module is the file's name without its folders, their numbers begin with
///   `firstNumber`.
///
/// Sets `messages`; when the file cannot be read it is empty, and the result
/// says why in a sentence. Only regular files are opened: no pipe or device keeps the caller
/// waiting. A file that grows or shrinks meanwhile gives what there was when it was read.
///
/// With a `control` it tells how far it is, and throws WorkCancelled, `messages` being empty then.
QString readLogFile(const QString& path, std::vector<std::shared_ptr<LogMessage>>& messages,
                    std::uint64_t firstNumber = 1, WorkControl* control = nullptr);

} // namespace zuLogging
