#include "service/TransferBuffers.h"

#include <QRandomGenerator>

#include <cstdlib>
#include <cstring>
#include <utility>

namespace zuLogging {

namespace {

bool isInside(std::size_t size, std::uint32_t offset, std::size_t length)
{
    return offset <= size && length <= size - offset;
}

} // namespace

TransferBuffers::TransferBuffers(Clock clock)
    : clock_(std::move(clock))
{
}

std::optional<std::uint64_t> TransferBuffers::create(std::size_t size)
{
    if (size > maximumSize)
        return std::nullopt;
    // Zeroed by the system, page by page as it is written. One byte at least: the allocation of
    // nothing may give a null pointer.
    const std::shared_ptr<void> memory(std::calloc(size == 0 ? 1 : size, 1), &std::free);
    if (!memory)
        return std::nullopt;
    Buffer buffer;
    buffer.writable = static_cast<std::uint8_t*>(memory.get());
    buffer.contents = {memory, {static_cast<const char*>(memory.get()), size}};
    return add(std::move(buffer));
}

std::optional<std::uint64_t> TransferBuffers::create(Contents contents)
{
    if (contents.bytes.size() > maximumSize)
        return std::nullopt;
    Buffer buffer;
    buffer.contents = std::move(contents);
    return add(std::move(buffer));
}

std::optional<std::uint64_t> TransferBuffers::add(Buffer buffer)
{
    releaseUnused();
    if (buffers_.size() >= maximumCount)
        return std::nullopt;
    std::uint64_t handle = 0;
    do
        handle = QRandomGenerator::system()->generate64();
    while (handle == 0 || buffers_.count(handle) != 0);
    buffer.used = clock_();
    buffers_.emplace(handle, std::move(buffer));
    return handle;
}

TransferBuffers::Buffer* TransferBuffers::find(std::uint64_t handle)
{
    const auto found = buffers_.find(handle);
    if (found == buffers_.end())
        return nullptr;
    const TimePoint now = clock_();
    if (now - found->second.used >= lifetime) {
        buffers_.erase(found);
        return nullptr;
    }
    found->second.used = now;
    return &found->second;
}

bool TransferBuffers::write(std::uint64_t handle, std::uint32_t offset, const void* data,
                            std::size_t length)
{
    const Buffer* buffer = find(handle);
    if (buffer == nullptr || buffer->writable == nullptr ||
        !isInside(buffer->contents.bytes.size(), offset, length))
        return false;
    if (length != 0)
        std::memcpy(buffer->writable + offset, data, length);
    return true;
}

std::optional<std::string_view> TransferBuffers::read(std::uint64_t handle, std::uint32_t offset,
                                                      std::size_t length)
{
    const Buffer* buffer = find(handle);
    if (buffer == nullptr || !isInside(buffer->contents.bytes.size(), offset, length))
        return std::nullopt;
    return buffer->contents.bytes.substr(offset, length);
}

std::optional<std::uint32_t> TransferBuffers::size(std::uint64_t handle)
{
    const Buffer* buffer = find(handle);
    if (buffer == nullptr)
        return std::nullopt;
    return static_cast<std::uint32_t>(buffer->contents.bytes.size());
}

bool TransferBuffers::release(std::uint64_t handle)
{
    return find(handle) != nullptr && buffers_.erase(handle) == 1;
}

std::optional<TransferBuffers::Contents> TransferBuffers::freeze(std::uint64_t handle)
{
    Buffer* buffer = find(handle);
    if (buffer == nullptr)
        return std::nullopt;
    buffer->writable = nullptr;
    return buffer->contents;
}

void TransferBuffers::releaseUnused()
{
    const TimePoint now = clock_();
    for (auto buffer = buffers_.begin(); buffer != buffers_.end();) {
        if (now - buffer->second.used >= lifetime)
            buffer = buffers_.erase(buffer);
        else
            ++buffer;
    }
}

} // namespace zuLogging
