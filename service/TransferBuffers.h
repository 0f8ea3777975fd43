#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace zuLogging {

/// The numbered buffers through which clients fetch and bring what is longer than a packet. Every
/// handle, offset and length comes from outside: what does not fit is refused and changes nothing.
///
/// A buffer that a client asks for takes memory only as it is written. The most that all clients
/// together can make the service hold is maximumCount x maximumSize, 1 GiB, for as long as they
/// keep touching the buffers.
///
/// No lock: the receiving thread's own.
class TransferBuffers
{
public:
    using TimePoint = std::chrono::steady_clock::time_point;
    using Clock = std::function<TimePoint()>;

    static constexpr std::size_t maximumCount = 64;
    static constexpr std::size_t maximumSize = std::size_t{16} << 20;
    /// A buffer that nobody has touched for so long is released.
    static constexpr std::chrono::seconds lifetime{60};

    /// Bytes, and what keeps them alive. Any thread may read them.
    struct Contents
    {
        std::shared_ptr<const void> owner;
        std::string_view bytes;
    };

    explicit TransferBuffers(Clock clock = &std::chrono::steady_clock::now);

    /// A buffer of `size` zero bytes to be written. The handle cannot be guessed and is never 0.
    /// Nothing when there are too many buffers, it would be too large, or memory is short.
    std::optional<std::uint64_t> create(std::size_t size);
    /// A buffer with contents that can only be read.
    std::optional<std::uint64_t> create(Contents contents);

    /// False for a wrong handle, a place outside the buffer, and a buffer that can only be read.
    bool write(std::uint64_t handle, std::uint32_t offset, const void* data, std::size_t length);
    /// The bytes of a place inside the buffer, valid until the next call.
    std::optional<std::string_view> read(std::uint64_t handle, std::uint32_t offset,
                                         std::size_t length);
    std::optional<std::uint32_t> size(std::uint64_t handle);
    /// False for a wrong handle.
    bool release(std::uint64_t handle);

    /// The contents, which from now on can only be read: the caller may go on with them while the
    /// buffer is released. Nothing for a wrong handle.
    std::optional<Contents> freeze(std::uint64_t handle);

    /// Releases what nobody has touched for the lifetime.
    void releaseUnused();

    std::size_t count() const { return buffers_.size(); }

private:
    struct Buffer
    {
        Contents contents;
        std::uint8_t* writable = nullptr; ///< nothing once it can only be read
        TimePoint used;
    };

    /// The buffer of that handle, marked as used now; nullptr if there is none any more.
    Buffer* find(std::uint64_t handle);
    std::optional<std::uint64_t> add(Buffer buffer);

    Clock clock_;
    std::unordered_map<std::uint64_t, Buffer> buffers_;
};

} // namespace zuLogging
