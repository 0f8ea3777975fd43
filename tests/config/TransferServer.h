#pragma once

#include "logging/ConnectionInfo.h"
#include "platform/SharedMemory.h"
#include "tests/support/FakeLogServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace zuLogging::test {

/// The service's side of the transfers, over a real socket, found through the test's connection
/// info. A fault put in front sees each request first and answers it instead when it returns true.
class TransferServer
{
public:
    using Bytes = std::vector<std::uint8_t>;
    using Request = FakeLogServer::Request;
    using Fault = std::function<bool(FakeLogServer&, const Request&)>;

    explicit TransferServer(std::string configuration = "{}", std::string modules = {})
        : configuration_(std::move(configuration))
        , modules_(std::move(modules))
        , server_(
              [this](FakeLogServer& server, const Request& request) { handle(server, request); })
    {
        publish();
    }

    /// Names this service in the connection info, which another may have taken over.
    void publish()
    {
        publisher_.withdraw();
        EXPECT_EQ(publisher_.publish(connectionInfoName(), encodeConnectionInfo(server_.address())),
                  platform::SharedMemoryPublisher::Result::Published)
            << publisher_.error();
    }
    /// Takes the connection info away; the service goes on.
    void withdraw() { publisher_.withdraw(); }

    /// No call of the fault before is under way when this returns; what it used is free.
    void setFault(Fault fault)
    {
        const std::lock_guard<std::mutex> lock(faultMutex_);
        fault_ = std::move(fault);
    }
    /// Negative acknowledges for this command, and for no other, from now on.
    void refuse(LogClientCommand command)
    {
        setFault([command](FakeLogServer& server, const Request& request) {
            if (request.header().command != static_cast<int>(command))
                return false;
            server.acknowledge(request, {}, PacketStatus::Failed);
            return true;
        });
    }
    void refuseNothing() { setFault({}); }
    void setConfiguration(std::string text)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        configuration_ = std::move(text);
    }
    void setModules(std::string names)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        modules_ = std::move(names);
    }
    std::string configuration() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return configuration_;
    }
    std::size_t openBuffers() const
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        return buffers_.size();
    }
    /// What was asked since the last call, by command.
    std::vector<int> newCommands()
    {
        const std::vector<int> all = server_.commands();
        const std::vector<int> fresh(all.begin() + seen_, all.end());
        seen_ = static_cast<std::ptrdiff_t>(all.size());
        return fresh;
    }
    /// How often a command was sent.
    int count(LogClientCommand command) const
    {
        const std::vector<int> all = server_.commands();
        return static_cast<int>(std::count(all.begin(), all.end(), static_cast<int>(command)));
    }
    /// The peer below: what it received, and its address.
    FakeLogServer& peer() { return server_; }

    static Bytes u32(std::uint32_t value)
    {
        Bytes bytes(4);
        storeU32(bytes.data(), value);
        return bytes;
    }
    static Bytes u64(std::uint64_t value)
    {
        Bytes bytes(8);
        storeU64(bytes.data(), value);
        return bytes;
    }

    /// Answers as a service without faults; for faults that only add something.
    void answer(FakeLogServer& server, const Request& request)
    {
        const Answer reply = answerTo(request);
        server.acknowledge(request, reply.payload, reply.status);
    }

private:
    struct Answer
    {
        Bytes payload;
        PacketStatus status = PacketStatus::Success;
    };

    void handle(FakeLogServer& server, const Request& request)
    {
        {
            const std::lock_guard<std::mutex> lock(faultMutex_);
            if (fault_ && fault_(server, request))
                return;
        }
        answer(server, request);
    }

    Answer answerTo(const Request& request)
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        const std::uint8_t* payload = request.payload();
        switch (static_cast<LogClientCommand>(request.header().command)) {
        case LogClientCommand::GetConfiguration:
            return {u64(create(configuration_))};
        case LogClientCommand::GetModules:
            return {u64(create(modules_))};
        case LogClientCommand::CreateBuffer:
            return {u64(create(std::string(loadU32(payload), '\0')))};
        default:
            break;
        }
        const auto buffer = buffers_.find(loadU64(payload));
        if (buffer == buffers_.end())
            return {{}, PacketStatus::Failed};
        std::string& bytes = buffer->second;
        switch (static_cast<LogClientCommand>(request.header().command)) {
        case LogClientCommand::QueryBufferSize:
            return {u32(static_cast<std::uint32_t>(bytes.size()))};
        case LogClientCommand::ReleaseBuffer:
            buffers_.erase(buffer);
            return {};
        case LogClientCommand::SetConfiguration:
            configuration_ = bytes;
            return {};
        case LogClientCommand::ReadPiece:
        case LogClientCommand::WritePiece: {
            const std::size_t offset = loadU32(payload + 8);
            const std::size_t length = loadU32(payload + 12);
            if (offset > bytes.size() || length > bytes.size() - offset)
                return {{}, PacketStatus::Failed};
            const auto start = bytes.begin() + static_cast<std::ptrdiff_t>(offset);
            if (request.header().command == 17)
                return {Bytes(start, start + static_cast<std::ptrdiff_t>(length))};
            std::copy_n(payload + 16, length, start);
            return {};
        }
        default:
            return {{}, PacketStatus::BadPacket};
        }
    }

    std::uint64_t create(const std::string& contents)
    {
        buffers_[++lastHandle_] = contents;
        return lastHandle_;
    }

    std::mutex faultMutex_; ///< taken before the other
    Fault fault_;
    mutable std::mutex mutex_; ///< for what follows
    std::string configuration_;
    std::string modules_;
    std::map<std::uint64_t, std::string> buffers_;
    std::uint64_t lastHandle_ = 0xA1B2C3D4E5F60000ULL;
    std::ptrdiff_t seen_ = 0;
    platform::SharedMemoryPublisher publisher_;
    FakeLogServer server_; ///< last: its thread uses the rest
};

} // namespace zuLogging::test
