#include "logging/SinkFactory.h"

#include "logging/LogMessageSinkCerr.h"
#include "logging/LogMessageSinkCout.h"
#include "logging/LogMessageSinkFile.h"
#include "logging/LogMessageSinkForwarder.h"
#include "logging/LogMessageSinkRecorder.h"
#include "logging/LogMessageSinkTrace.h"
#include "logging/LogSvcError.h"

#include <typeinfo>

namespace zuLogging {

std::shared_ptr<LogMessageSink> makeSink(std::uint32_t typeCode, const SinkDescription& description)
{
    const std::uint32_t mode = description.containerOperatingMode;
    switch (static_cast<SinkType>(typeCode)) {
    case SinkType::Trace:
        return std::make_shared<LogMessageSinkTrace>(mode);
    case SinkType::Cout:
        return std::make_shared<LogMessageSinkCout>(mode);
    case SinkType::Cerr:
        return std::make_shared<LogMessageSinkCerr>(mode);
    case SinkType::Forwarder:
        return std::make_shared<LogMessageSinkForwarder>(description.argumentText, mode);
    case SinkType::File:
        return std::make_shared<LogMessageSinkFile>(
            description.argumentText, description.firstNumber, description.source, mode);
    case SinkType::Recorder:
        return std::make_shared<LogMessageSinkRecorder>(description.firstNumber,
                                                        description.secondNumber, mode);
    }
    throw LogSvcError("Attempt to create a message sink of an unsupported type");
}

std::type_index sinkTypeIdentity(std::uint32_t typeCode)
{
    switch (static_cast<SinkType>(typeCode)) {
    case SinkType::Trace:
        return typeid(LogMessageSinkTrace);
    case SinkType::Cout:
        return typeid(LogMessageSinkCout);
    case SinkType::Cerr:
        return typeid(LogMessageSinkCerr);
    case SinkType::File:
        return typeid(LogMessageSinkFile);
    case SinkType::Forwarder:
        return typeid(LogMessageSinkForwarder);
    case SinkType::Recorder:
        return typeid(LogMessageSinkRecorder);
    }
    throw LogSvcError("Attempt to create a message sink type info of an unsupported type");
}

} // namespace zuLogging
