#pragma once

#include "logging/LogMessageContainer.h"
#include "logging/Packet.h"

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace zuLogging::test {

/// Puts a container together byte by byte, right or wrong.
class TestContainer
{
public:
    explicit TestContainer(std::uint8_t flags = 0)
        : bytes_(containerHeaderSize, 0)
    {
        bytes_[containerFlagsOffset] = flags;
        setSizeField(bytes_.size());
    }

    TestContainer& ids(std::uint64_t source, std::uint64_t sender, std::uint64_t service)
    {
        storeU64(bytes_.data() + containerSourceMsgIdOffset, source);
        storeU64(bytes_.data() + containerSenderMsgIdOffset, sender);
        storeU64(bytes_.data() + containerServiceMsgIdOffset, service);
        return *this;
    }

    TestContainer& item(int type, const void* data, std::size_t length, std::uint8_t flags = 0)
    {
        const std::size_t start = bytes_.size();
        bytes_.resize(start + containerItemHeaderSize + length);
        storeU16(bytes_.data() + start, static_cast<std::uint16_t>(length));
        bytes_[start + 2] = static_cast<std::uint8_t>(type);
        bytes_[start + 3] = flags;
        if (length > 0)
            std::memcpy(bytes_.data() + start + containerItemHeaderSize, data, length);
        return setSizeField(bytes_.size());
    }
    TestContainer& text(int type, std::string_view text, std::uint8_t flags = 0)
    {
        return item(type, text.data(), text.size(), flags);
    }
    TestContainer& number(int type, std::uint64_t value, std::uint8_t flags = 0)
    {
        std::uint8_t data[8];
        storeU64(data, value);
        return item(type, data, sizeof data, flags);
    }
    /// Zeros behind the items up to `size` bytes; the size field stays.
    TestContainer& padTo(std::size_t size)
    {
        bytes_.resize(size, 0);
        return *this;
    }
    TestContainer& setSizeField(std::size_t size)
    {
        storeU16(bytes_.data() + containerSizeOffset, static_cast<std::uint16_t>(size));
        return *this;
    }

    const std::vector<std::uint8_t>& bytes() const { return bytes_; }
    LogMessageContainerView view() const
    {
        LogMessageContainerView view;
        view.data = bytes_.data();
        view.length = bytes_.size();
        return view;
    }

private:
    std::vector<std::uint8_t> bytes_;
};

} // namespace zuLogging::test
