#include "service/SinkNames.h"

#include <typeinfo>

namespace zuLogging {

namespace {

constexpr SinkType types[] = {SinkType::Trace, SinkType::Cout,      SinkType::Cerr,
                              SinkType::File,  SinkType::Forwarder, SinkType::Recorder};

} // namespace

const char* sinkName(SinkType type)
{
    switch (type) {
    case SinkType::Trace:
        return "trace";
    case SinkType::Cout:
        return "cout";
    case SinkType::Cerr:
        return "cerr";
    case SinkType::File:
        return "file";
    case SinkType::Forwarder:
        return "forward";
    case SinkType::Recorder:
        return "record";
    }
    return "";
}

std::optional<SinkType> sinkTypeNamed(std::string_view name)
{
    for (const SinkType type : types)
        if (name == sinkName(type))
            return type;
    return std::nullopt;
}

std::optional<SinkType> sinkTypeOf(const LogMessageSink& sink)
{
    for (const SinkType type : types)
        if (sinkTypeIdentity(static_cast<std::uint32_t>(type)) == typeid(sink))
            return type;
    return std::nullopt;
}

} // namespace zuLogging
