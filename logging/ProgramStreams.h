#pragma once

#include "logging/LineBuffer.h"
#include "logging/LineOutput.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zuLogging {

/// What a program's standard streams are for as long as this object lives: std::wcout, to which
/// sinks write, is UTF-8 whatever the locale, in whole lines, on standard output beside std::cout
/// (which is left as it is); std::cerr is whole lines too.
///
/// Neither holds the receiving thread for long when nobody reads it (see LineOutput). A line that
/// is lost on standard output is told on the debugger trace; how many were lost on standard error
/// is told there, under the program's name, when there is room again.
///
/// To be made before anything else is opened and before other threads are started, once in a
/// program, which must ignore broken pipes (see platform::ignoreBrokenPipes) before it writes; the
/// streams are used by one thread at a time each.
class ProgramStreams
{
public:
    explicit ProgramStreams(std::string programName);
    ~ProgramStreams();
    ProgramStreams(const ProgramStreams&) = delete;
    ProgramStreams& operator=(const ProgramStreams&) = delete;

private:
    void writeOutput(std::wstring_view lines);
    void writeError(std::string_view lines);

    std::string programName_;
    LineOutput output_;
    LineOutput error_;
    LineBuffer<wchar_t> outputBuffer_;
    LineBuffer<char> errorBuffer_;
    std::wstreambuf* previousOutput_;
    std::streambuf* previousError_;
    bool isClosedSaid_ = false;
    std::uint64_t errorLinesLost_ = 0;
};

} // namespace zuLogging
