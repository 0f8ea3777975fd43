#include "tools/TailJsonSink.h"

#include <QIODevice>

namespace zuLogging {

/// What is written to it is appended to a string.
class TailJsonSink::Device final : public QIODevice
{
public:
    explicit Device(std::string& out)
        : out_(out)
    {
        open(QIODevice::WriteOnly | QIODevice::Unbuffered);
    }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override
    {
        out_.append(data, static_cast<std::size_t>(size));
        return size;
    }

private:
    std::string& out_;
};

TailJsonSink::TailJsonSink(std::string& out)
    : device_(std::make_unique<Device>(out))
    , writer_(*device_, JsonLogWriter::Form::Lines)
{
}

TailJsonSink::~TailJsonSink() = default;

void TailJsonSink::consume(const LogMessageContainerView& container)
{
    decoded_.assign(container);
    writer_.add(LogMessage(decoded_.serviceMsgId, decoded_.sourceMsgId, decoded_.senderMsgId,
                           decoded_.timestamp, decoded_.logLevel, decoded_.logPos, decoded_.module,
                           decoded_.groupName, decoded_.logMessage, decoded_.processId,
                           decoded_.threadId));
    writer_.flush();
}

} // namespace zuLogging
