#pragma once

#include "logging/ConnectionInfo.h"
#include "platform/SharedMemory.h"
#include "tests/support/FakeLogServer.h"

#include <algorithm>
#include <map>
#include <string>

namespace zuLogging::test {

/// A published service that hands out given bytes, and answers every other command of its kind with
/// status 1. Messages, and what does nothing, it takes.
class StandInService
{
public:
    using Downloads = std::map<LogClientCommand, std::string>;

    explicit StandInService(Downloads downloads = {})
        : downloads_(std::move(downloads))
        , server_([this](FakeLogServer& server, const FakeLogServer::Request& request) {
            answer(server, request);
        })
    {
        publisher_.publish(connectionInfoName(), encodeConnectionInfo(server_.address()));
    }

    FakeLogServer& server() { return server_; }

private:
    static std::vector<std::uint8_t> number64(std::uint64_t value)
    {
        std::vector<std::uint8_t> bytes(8);
        storeU64(bytes.data(), value);
        return bytes;
    }

    void answer(FakeLogServer& server, const FakeLogServer::Request& request)
    {
        const PacketHeader header = request.header();
        if ((header.flags & flagNoAcknowledge) != 0)
            return;
        if (header.magic == magicLogMessage) {
            server.acknowledge(request);
            return;
        }
        const auto command = static_cast<LogClientCommand>(header.command);
        const auto download = downloads_.find(command);
        if (download != downloads_.end()) {
            current_ = download->second;
            server.acknowledge(request, number64(7));
        } else if (command == LogClientCommand::QueryBufferSize) {
            std::vector<std::uint8_t> size(4);
            storeU32(size.data(), static_cast<std::uint32_t>(current_.size()));
            server.acknowledge(request, size);
        } else if (command == LogClientCommand::ReadPiece) {
            const std::size_t offset = loadU32(request.payload() + 8);
            const std::size_t length = loadU32(request.payload() + 12);
            const std::string piece = current_.substr(offset, length);
            server.acknowledge(request, {piece.begin(), piece.end()});
        } else if (command == LogClientCommand::ReleaseBuffer) {
            server.acknowledge(request);
        } else {
            server.acknowledge(request, {}, PacketStatus::BadPacket);
        }
    }

    Downloads downloads_;
    std::string current_;
    platform::SharedMemoryPublisher publisher_;
    FakeLogServer server_;
};

} // namespace zuLogging::test
