#pragma once

#include "logging/ConnectionInfo.h"
#include "platform/SharedMemory.h"
#include "tests/support/FakeLogServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace zuLogging::test {

/// A service that holds a configuration and a list of modules, and hands both over a socket. It is
/// found through the test's own connection info for as long as it lives.
class ConfigServiceStandIn
{
public:
    explicit ConfigServiceStandIn(std::string configuration = "{}", std::string modules = {})
        : configuration_(std::move(configuration))
        , modules_(std::move(modules))
        , server_([this](FakeLogServer& server, const FakeLogServer::Request& request) {
            answer(server, request);
        })
    {
        EXPECT_EQ(publisher_.publish(connectionInfoName(), encodeConnectionInfo(server_.address())),
                  platform::SharedMemoryPublisher::Result::Published)
            << publisher_.error();
    }

    std::string configuration() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return configuration_;
    }
    void setConfiguration(const std::string& configuration)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        configuration_ = configuration;
    }
    /// Negative acknowledges for this command from now on.
    void refuse(LogClientCommand command) { refused_ = static_cast<int>(command); }
    void refuseNothing() { refused_ = 0; }

    /// How often a command was sent.
    int count(LogClientCommand command) const
    {
        const std::vector<int> commands = server_.commands();
        return static_cast<int>(
            std::count(commands.begin(), commands.end(), static_cast<int>(command)));
    }

private:
    void answer(FakeLogServer& server, const FakeLogServer::Request& request)
    {
        const int command = request.header().command;
        if (command == refused_) {
            server.acknowledge(request, {}, PacketStatus::Failed);
            return;
        }
        const std::lock_guard<std::mutex> lock(mutex_);
        const std::uint8_t* payload = request.payload();
        switch (static_cast<LogClientCommand>(command)) {
        case LogClientCommand::GetConfiguration:
            server.acknowledge(request, newBuffer(configuration_));
            break;
        case LogClientCommand::GetModules:
            server.acknowledge(request, newBuffer(modules_));
            break;
        case LogClientCommand::CreateBuffer:
            server.acknowledge(request, newBuffer(std::string(loadU32(payload), '\0')));
            break;
        case LogClientCommand::QueryBufferSize: {
            std::vector<std::uint8_t> size(4);
            storeU32(size.data(), static_cast<std::uint32_t>(buffers_[loadU64(payload)].size()));
            server.acknowledge(request, size);
            break;
        }
        case LogClientCommand::ReadPiece: {
            const std::string piece =
                buffers_[loadU64(payload)].substr(loadU32(payload + 8), loadU32(payload + 12));
            server.acknowledge(request, {piece.begin(), piece.end()});
            break;
        }
        case LogClientCommand::WritePiece:
            buffers_[loadU64(payload)].replace(loadU32(payload + 8), loadU32(payload + 12),
                                               reinterpret_cast<const char*>(payload + 16),
                                               loadU32(payload + 12));
            server.acknowledge(request);
            break;
        case LogClientCommand::SetConfiguration:
            configuration_ = buffers_[loadU64(payload)];
            server.acknowledge(request);
            break;
        case LogClientCommand::ReleaseBuffer:
            buffers_.erase(loadU64(payload));
            server.acknowledge(request);
            break;
        default:
            server.acknowledge(request, {}, PacketStatus::BadPacket);
        }
    }

    std::vector<std::uint8_t> newBuffer(const std::string& contents)
    {
        std::vector<std::uint8_t> handle(8);
        storeU64(handle.data(), ++lastHandle_);
        buffers_[lastHandle_] = contents;
        return handle;
    }

    mutable std::mutex mutex_;
    std::string configuration_;
    std::string modules_; ///< each followed by a zero byte
    std::map<std::uint64_t, std::string> buffers_;
    std::uint64_t lastHandle_ = 100;
    std::atomic<int> refused_{0};
    platform::SharedMemoryPublisher publisher_;
    FakeLogServer server_; ///< last: its thread uses the others
};

} // namespace zuLogging::test
