#include "logging/ConnectionInfo.h"

#include "logging/LogSvcError.h"
#include "logging/Packet.h"
#include "platform/SharedMemory.h"

#include <cstdlib>
#include <string_view>

namespace zuLogging {

namespace {

constexpr char defaultName[] = "zuLogSvcConnectionInfo";

constexpr std::size_t magicInRecord = 0;
constexpr std::size_t versionInRecord = 4;
constexpr std::size_t sizeInRecord = 8;
constexpr std::size_t addressInRecord = 12;
constexpr std::size_t portInRecord = 16;

LogSvcError connectFailure(const std::string& cause)
{
    return LogSvcError("Failed to connect to the shared memory with connection info: " + cause);
}

} // namespace

std::string connectionInfoName()
{
    const char* value = std::getenv("ZULOG_CONNECTION_INFO");
    const std::string_view name = value != nullptr ? value : "";
    if (name.empty() || name.find('/') != std::string_view::npos)
        return defaultName;
    return std::string(name);
}

std::vector<std::uint8_t> encodeConnectionInfo(const SocketAddress& address)
{
    std::vector<std::uint8_t> record(connectionInfoSize);
    storeU32(record.data() + magicInRecord, connectionInfoMagic);
    storeU32(record.data() + versionInRecord, connectionInfoVersion);
    storeU32(record.data() + sizeInRecord, static_cast<std::uint32_t>(connectionInfoSize));
    storeU32(record.data() + addressInRecord, address.address);
    storeU64(record.data() + portInRecord, address.port);
    return record;
}

SocketAddress readConnectionInfo(const std::string& name)
{
    const platform::SharedMemoryContents contents =
        platform::readSharedMemory(name, connectionInfoSize);
    switch (contents.status) {
    case platform::SharedMemoryStatus::Ok:
        break;
    case platform::SharedMemoryStatus::NotFound:
        throw connectFailure("Shared memory error");
    case platform::SharedMemoryStatus::Failed:
        throw connectFailure(contents.error);
    }

    const std::vector<std::uint8_t>& record = contents.bytes;
    if (record.size() < connectionInfoSize ||
        loadU32(record.data() + magicInRecord) != connectionInfoMagic ||
        loadU32(record.data() + versionInRecord) == 0 ||
        loadU32(record.data() + sizeInRecord) < connectionInfoSize)
        throw LogSvcError("Failed to retrieve valid connection info");
    // Only the low 16 bits of the port's field have a meaning.
    return SocketAddress{loadU32(record.data() + addressInRecord),
                         loadU16(record.data() + portInRecord)};
}

} // namespace zuLogging
