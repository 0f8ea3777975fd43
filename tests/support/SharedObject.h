#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace zuLogging::test {

/// A named shared-memory object made by hand, without the lock that a living publisher holds: what
/// a killed program leaves behind. Taken away with this object.
class SharedObject
{
public:
    SharedObject(std::string name, const std::vector<std::uint8_t>& bytes)
        : path_("/" + std::move(name))
    {
        const int handle = ::shm_open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (handle < 0)
            throw std::runtime_error("cannot make the shared-memory object " + path_);
        const auto written = ::write(handle, bytes.data(), bytes.size());
        ::close(handle);
        if (written != static_cast<ssize_t>(bytes.size()))
            throw std::runtime_error("cannot fill the shared-memory object " + path_);
    }
    ~SharedObject() { ::shm_unlink(path_.c_str()); }
    SharedObject(const SharedObject&) = delete;
    SharedObject& operator=(const SharedObject&) = delete;

private:
    std::string path_;
};

} // namespace zuLogging::test
