// The record in shared memory by which the service is found, with any bytes in it.

#include "fuzz/FuzzCheck.h"
#include "logging/ConnectionInfo.h"
#include "logging/LogSvcError.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <optional>
#include <string>

using namespace zuLogging;
using fuzz::check;

namespace {

/// A shared-memory object of this process's own.
class Record
{
public:
    Record()
        : name_("zuLogFuzzConnectionInfo." + std::to_string(::getpid()))
        , handle_(::shm_open(path().c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600))
    {
        check(handle_ >= 0, "there is no shared memory");
    }
    ~Record()
    {
        ::close(handle_);
        ::shm_unlink(path().c_str());
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;

    const std::string& name() const { return name_; }
    void write(const std::uint8_t* data, std::size_t size)
    {
        check(::ftruncate(handle_, 0) == 0 &&
                  ::pwrite(handle_, data, size, 0) == static_cast<ssize_t>(size),
              "the shared memory cannot be written");
    }

private:
    std::string path() const { return "/" + name_; }

    std::string name_;
    int handle_;
};

std::uint32_t numberAt(const std::uint8_t* data, std::size_t offset)
{
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;)
        value = value << 8 | data[offset + i];
    return value;
}

std::optional<SocketAddress> plainRead(const std::uint8_t* data, std::size_t size)
{
    if (size < 24 || numberAt(data, 0) != 0xABABBABAU || numberAt(data, 4) == 0 ||
        numberAt(data, 8) < 24)
        return std::nullopt;
    SocketAddress address;
    address.address = numberAt(data, 12);
    address.port = static_cast<std::uint16_t>(numberAt(data, 16) & 0xFFFF);
    return address;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static Record record;
    record.write(data, size);
    std::optional<SocketAddress> address;
    try {
        address = readConnectionInfo(record.name());
    } catch (const LogSvcError&) {
    }
    const std::optional<SocketAddress> expected = plainRead(data, size);
    check(address.has_value() == expected.has_value(), "only one way takes the record");
    if (!address)
        return 0;
    check(*address == *expected, "the record names two addresses");

    const std::vector<std::uint8_t> bytes = encodeConnectionInfo(*address);
    record.write(bytes.data(), bytes.size());
    check(readConnectionInfo(record.name()) == *address, "an address changes in its record");
    return 0;
}
