#pragma once

#include "logging/LogMessageContainer.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace zuLogging::test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes bytesOf(std::string_view text)
{
    return {text.begin(), text.end()};
}

inline Bytes littleEndian(std::uint64_t value, std::size_t width = 8)
{
    Bytes bytes;
    for (std::size_t i = 0; i < width; ++i)
        bytes.push_back(static_cast<std::uint8_t>((value >> (8 * i)) & 0xFF));
    return bytes;
}

/// Bytes in a block of memory that ends where they end, so that the address sanitizer sees every
/// read behind them.
class ExactBytes
{
public:
    explicit ExactBytes(const Bytes& bytes)
        : data_(new std::uint8_t[bytes.size()])
        , size_(bytes.size())
    {
        for (std::size_t i = 0; i < size_; ++i)
            data_[i] = bytes[i];
    }

    const std::uint8_t* data() const { return data_.get(); }
    std::size_t size() const { return size_; }

private:
    std::unique_ptr<std::uint8_t[]> data_;
    std::size_t size_;
};

/// Writes containers byte by byte, wrong ones too.
class RawContainer
{
public:
    RawContainer()
        : bytes_(containerHeaderSize)
    {
    }

    RawContainer& header(std::uint64_t source, std::uint64_t sender, std::uint64_t service)
    {
        put(containerSourceMsgIdOffset, littleEndian(source));
        put(containerSenderMsgIdOffset, littleEndian(sender));
        put(containerServiceMsgIdOffset, littleEndian(service));
        return *this;
    }

    RawContainer& containerFlags(std::uint8_t flags)
    {
        bytes_[containerFlagsOffset] = flags;
        return *this;
    }

    RawContainer& item(int type, const Bytes& data, std::uint8_t flags = 0)
    {
        return item(type, data, flags, data.size());
    }

    /// An item whose length field says `length` whatever it holds.
    RawContainer& item(int type, const Bytes& data, std::uint8_t flags, std::size_t length)
    {
        const Bytes lengthBytes = littleEndian(length, 2);
        bytes_.insert(bytes_.end(), lengthBytes.begin(), lengthBytes.end());
        bytes_.push_back(static_cast<std::uint8_t>(type));
        bytes_.push_back(flags);
        return raw(data);
    }

    RawContainer& text(int type, std::string_view text, std::uint8_t flags = 0)
    {
        return item(type, bytesOf(text), flags);
    }

    RawContainer& number(int type, std::uint64_t value, std::uint8_t flags = 0)
    {
        return item(type, littleEndian(value), flags);
    }

    RawContainer& raw(const Bytes& bytes)
    {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
        return *this;
    }

    /// The bytes, with their number as the size field.
    Bytes build() { return buildWithSize(bytes_.size()); }

    Bytes buildWithSize(std::size_t size)
    {
        put(containerSizeOffset, littleEndian(size, 2));
        return bytes_;
    }

private:
    void put(std::size_t offset, const Bytes& bytes)
    {
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes_[offset + i] = bytes[i];
    }

    Bytes bytes_;
};

} // namespace zuLogging::test
