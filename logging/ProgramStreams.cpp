#include "logging/ProgramStreams.h"

#include "platform/OutputChannel.h"
#include "platform/Trace.h"

#include <QString>

#include <algorithm>
#include <iostream>
#include <string>
#include <utility>

namespace zuLogging {

ProgramStreams::ProgramStreams(std::string programName)
    : programName_(std::move(programName))
    , output_(platform::OutputChannel::standardOutput)
    , error_(platform::OutputChannel::standardError)
    , outputBuffer_([this](std::wstring_view lines) { writeOutput(lines); })
    , errorBuffer_([this](std::string_view lines) { writeError(lines); })
    , previousOutput_(std::wcout.rdbuf(&outputBuffer_))
    , previousError_(std::cerr.rdbuf(&errorBuffer_))
{
}

ProgramStreams::~ProgramStreams()
{
    std::wcout.rdbuf(previousOutput_);
    std::cerr.rdbuf(previousError_);
}

void ProgramStreams::writeOutput(std::wstring_view lines)
{
    const QString text = QString::fromWCharArray(lines.data(), static_cast<int>(lines.size()));
    switch (output_.write(text.toStdString())) {
    case LineOutput::Result::Written:
        break;
    case LineOutput::Result::Lost:
        platform::trace(
            std::string_view("Lost a line for standard output, which nobody reads now\n"));
        break;
    case LineOutput::Result::Closed:
        // A reader that is gone does not come back.
        if (!isClosedSaid_)
            platform::trace(
                std::string_view("Nobody reads standard output any more: its lines are lost\n"));
        isClosedSaid_ = true;
        break;
    case LineOutput::Result::Failed:
        platform::trace("Lost a line for standard output: " + output_.error() + "\n");
        break;
    }
}

void ProgramStreams::writeError(std::string_view lines)
{
    std::string text;
    if (errorLinesLost_ > 0)
        text = programName_ + ": lost " + std::to_string(errorLinesLost_) +
               " lines here, which nobody read\n";
    text += lines;
    if (error_.write(text) == LineOutput::Result::Written)
        errorLinesLost_ = 0;
    else
        errorLinesLost_ += static_cast<std::uint64_t>(std::count(lines.begin(), lines.end(), '\n'));
}

} // namespace zuLogging
