#pragma once

#include "service/LoggingRules.h"

#include <memory>
#include <string>
#include <string_view>

namespace zuLogging {

/// The logging configuration that the service holds: its text as it came, what it means, and the
/// file in which it is kept.
///
/// A text is taken only if it is a JSON object in which every level, destination, attribute id and
/// op has one of the known names. What the service does not know in it is kept as it is.
///
/// A file that a message may be written to decides about the machine, and whoever can send a
/// datagram can bring a configuration. So a path that leads out of the log folder is taken from the
/// kept file, and from anybody else only if the configuration in force names just that path.
///
/// One thread at a time.
class ServiceConfiguration
{
public:
    static constexpr std::size_t maximumSize = std::size_t{16} << 20;

    /// One configuration. Immutable: any thread.
    struct Version
    {
        std::shared_ptr<const std::string> text;
        std::shared_ptr<const LoggingRules> rules;
    };

    /// What is in force until somebody brings something else: everything goes to the sinks.
    static const char* defaultText();

    /// Reads the file; one that is not there, or of no use, means the default text. A file of no
    /// use is reported to the debugger trace and stays until a good configuration replaces it. An
    /// empty `path`: kept in memory only.
    explicit ServiceConfiguration(std::string path = {});

    const Version& current() const { return current_; }

    /// Checks `text`, writes the file and puts the new version in force. Throws LogSvcError, or
    /// what the reader of the text or a lack of memory throws; the old version stays in force then,
    /// and in the file. Takes time.
    void replace(std::string_view text);

private:
    static Version read(std::string_view text);

    std::string path_;
    Version current_;
};

} // namespace zuLogging
