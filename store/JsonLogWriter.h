#pragma once

#include "logging/LogMessage.h"

#include <QByteArray>

class QIODevice;

namespace zuLogging {

/// Writes messages as a JSON array with one object a message, one after the other: a log of any
/// length takes a small buffer. Every value is a string; keys in alphabetical order, four blanks of
/// indentation, UTF-8; half a surrogate pair is written as its escape. One thread at a time.
class JsonLogWriter
{
public:
    /// Begins the array. The device is open for writing and outlives the writer.
    explicit JsonLogWriter(QIODevice& device);

    void add(const LogMessage& message);

    /// Ends the array. True if the device took everything.
    bool finish();

private:
    void member(const char* key, QStringView value, bool last = false);
    void member(const char* key, std::uint64_t value);
    void flushWhenLarge();

    QIODevice& device_;
    QByteArray buffer_;
    bool first_ = true;
    bool failed_ = false;
};

} // namespace zuLogging
