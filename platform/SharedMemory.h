#pragma once

// Small named records in the system's shared memory: read by anyone, published by one process.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zuLogging::platform {

enum class SharedMemoryStatus
{
    Ok,
    NotFound, ///< no object of that name can be opened
    Failed    ///< it is there but cannot be mapped or read; `error` tells why
};

struct SharedMemoryContents
{
    SharedMemoryStatus status = SharedMemoryStatus::NotFound;
    /// At most `limit` bytes from the start of the object; fewer when the object is smaller.
    std::vector<std::uint8_t> bytes;
    std::string error;
};

/// Copies up to `limit` bytes of the object `Global\name` or, when that cannot be opened, of
/// `name`. The object is opened read-only and closed again before the call returns; an object that
/// shrinks or is replaced meanwhile gives fewer bytes, never a fault.
SharedMemoryContents readSharedMemory(const std::string& name, std::size_t limit);

/// Publishes one record under a plain name for as long as this object lives. Only one living
/// process can publish a name: a record left behind by a killed process is taken over, one whose
/// publisher lives is not touched.
class SharedMemoryPublisher
{
public:
    enum class Result
    {
        Published,
        NameInUse,
        Failed
    };

    SharedMemoryPublisher() = default;
    ~SharedMemoryPublisher();
    SharedMemoryPublisher(const SharedMemoryPublisher&) = delete;
    SharedMemoryPublisher& operator=(const SharedMemoryPublisher&) = delete;

    /// Makes `bytes` readable for everybody under `name`. The first four bytes are written last, so
    /// that a reader who checks a magic number there never takes half a record for a whole one.
    Result publish(const std::string& name, const std::vector<std::uint8_t>& bytes);
    /// Takes the record away again.
    void withdraw() noexcept;
    /// Why the last `publish` failed.
    const std::string& error() const { return error_; }

private:
    std::string name_;
    std::string error_;
    int handle_ = -1;
};

} // namespace zuLogging::platform
