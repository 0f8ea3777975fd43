#pragma once

#include "tools/LineReader.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace zuLogging {

class InputBytes;

/// Takes bytes apart into texts, each of which should be one JSON object: the lines, or, when the
/// first thing that is no blank is a bracket, the elements of the array that begins there, which
/// may go over any number of lines. Whether a text is JSON is not looked at: of a text that is not,
/// nothing more is known than where it ends.
class JsonTextReader
{
public:
    /// Keeps no more than `limit` bytes of a text. The bytes must outlive the reader.
    JsonTextReader(InputBytes& bytes, std::size_t limit);

    /// Goes on to the next text. Blank lines are passed over. False at the end, and where an array
    /// is not what it should be: `error` tells then.
    bool next();

    const std::string& text() const { return text_; }
    /// True if there was more of the text than is kept.
    bool isTooLong() const { return isTooLong_; }
    /// Where the text, or the error, begins; the first line is 1.
    std::uint64_t line() const { return line_; }
    /// Empty while nothing is wrong.
    const std::string& error() const { return error_; }

private:
    enum class State
    {
        Start,
        Lines,
        FirstElement,
        NextElement,
        BehindArray,
        End
    };

    void begin();
    void skipBlanks();
    bool nextLine();
    bool nextElement();
    void fail(const char* what);

    InputBytes& bytes_;
    std::size_t limit_;
    LineReader lines_;
    State state_ = State::Start;
    std::string text_; ///< also what the beginning has taken already, before the first line
    bool isTooLong_ = false;
    std::uint64_t line_ = 1;
    std::uint64_t nextLine_ = 1; ///< of what comes next
    std::string error_;
};

} // namespace zuLogging
