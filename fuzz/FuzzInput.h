#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace zuLogging::fuzz {

/// Takes an input apart from its front. At its end there are only zeros and empty texts, so that
/// every input means something.
class FuzzInput
{
public:
    FuzzInput(const std::uint8_t* data, std::size_t size)
        : at_(data)
        , left_(size)
    {
    }

    bool isEmpty() const { return left_ == 0; }
    std::size_t left() const { return left_; }

    std::uint8_t byte()
    {
        if (left_ == 0)
            return 0;
        --left_;
        return *at_++;
    }

    /// Little-endian, of `bytes` bytes.
    std::uint64_t number(int bytes)
    {
        std::uint64_t value = 0;
        for (int i = 0; i < bytes; ++i)
            value |= std::uint64_t{byte()} << (8 * i);
        return value;
    }

    std::string_view bytes(std::size_t count)
    {
        const std::size_t taken = std::min(count, left_);
        const std::string_view result(reinterpret_cast<const char*>(at_), taken);
        at_ += taken;
        left_ -= taken;
        return result;
    }

    std::string_view rest() { return bytes(left_); }

    /// Any units, at most `limit`: a byte says how many, and whether they take one byte each.
    std::u16string text(std::size_t limit = 127)
    {
        const std::uint8_t form = byte();
        const std::size_t wanted = std::min<std::size_t>(form & 0x7F, limit);
        std::u16string units;
        while (units.size() < wanted && left_ != 0)
            units.push_back(static_cast<char16_t>(number((form & 0x80) != 0 ? 2 : 1)));
        return units;
    }

private:
    const std::uint8_t* at_;
    std::size_t left_;
};

} // namespace zuLogging::fuzz
