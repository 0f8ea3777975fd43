#include "platform/CodePage.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <mutex>

#include <iconv.h>

namespace zuLogging::platform {

namespace {

constexpr char16_t replacement = 0xFFFD;

/// What the first byte of a UTF-8 sequence says about the rest of it.
struct Lead
{
    std::uint8_t following; ///< bytes behind it; 0 when no sequence begins so
    std::uint8_t secondMin; ///< narrower than 80..BF where overlong forms, surrogates or values
    std::uint8_t secondMax; ///< above 10FFFF would begin
    std::uint8_t bits;      ///< its own share of the value
};

constexpr Lead leadOf(std::uint8_t byte)
{
    if (byte >= 0xC2 && byte <= 0xDF)
        return {1, 0x80, 0xBF, static_cast<std::uint8_t>(byte & 0x1F)};
    if (byte >= 0xE0 && byte <= 0xEF)
        return {2, static_cast<std::uint8_t>(byte == 0xE0 ? 0xA0 : 0x80),
                static_cast<std::uint8_t>(byte == 0xED ? 0x9F : 0xBF),
                static_cast<std::uint8_t>(byte & 0x0F)};
    if (byte >= 0xF0 && byte <= 0xF4)
        return {3, static_cast<std::uint8_t>(byte == 0xF0 ? 0x90 : 0x80),
                static_cast<std::uint8_t>(byte == 0xF4 ? 0x8F : 0xBF),
                static_cast<std::uint8_t>(byte & 0x07)};
    return {0, 0, 0, 0};
}

void utf8ToUtf16(std::string_view bytes, std::u16string& text)
{
    // No sequence gives more units than it has bytes.
    text.resize(bytes.size());
    const auto* in = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const std::uint8_t* const end = in + bytes.size();
    char16_t* out = text.data();
    while (in != end) {
        while (end - in >= 8) {
            std::uint64_t block = 0;
            std::memcpy(&block, in, sizeof block);
            if ((block & 0x8080808080808080ULL) != 0)
                break;
            for (int i = 0; i < 8; ++i)
                out[i] = in[i];
            in += 8;
            out += 8;
        }
        while (in != end && *in < 0x80)
            *out++ = *in++;
        if (in == end)
            break;

        if (*in >= 0xC2 && *in <= 0xDF && end - in >= 2 && (in[1] & 0xC0) == 0x80) {
            // Most letters of Europe and the Near East.
            *out++ = static_cast<char16_t>(((in[0] & 0x1F) << 6) | (in[1] & 0x3F));
            in += 2;
            continue;
        }
        const Lead lead = leadOf(*in++);
        std::uint32_t value = lead.bits;
        std::uint8_t min = lead.secondMin;
        std::uint8_t max = lead.secondMax;
        int missing = lead.following;
        while (missing > 0 && in != end && *in >= min && *in <= max) {
            value = (value << 6) | (*in++ & 0x3FU);
            min = 0x80;
            max = 0xBF;
            --missing;
        }
        if (lead.following == 0 || missing > 0) {
            *out++ = replacement;
        } else if (value < 0x10000) {
            *out++ = static_cast<char16_t>(value);
        } else {
            *out++ = static_cast<char16_t>(0xD800 | ((value - 0x10000) >> 10));
            *out++ = static_cast<char16_t>(0xDC00 | ((value - 0x10000) & 0x3FF));
        }
    }
    text.resize(static_cast<std::size_t>(out - text.data()));
}

constexpr std::uint64_t codePageCount = 0x10000;

/// The name by which iconv knows a code page. False for numbers that no code page has.
bool converterName(std::uint64_t codePage, std::array<char, 24>& name)
{
    const char* known = nullptr;
    switch (codePage) {
    case 1200: // UTF-16 and UTF-32 are not multi-byte texts
    case 1201:
    case 12000:
    case 12001:
        return false;
    case 20127:
        known = "ASCII";
        break;
    case 20866:
        known = "KOI8-R";
        break;
    case 21866:
        known = "KOI8-U";
        break;
    case 20932:
    case 51932:
        known = "EUC-JP";
        break;
    case 51949:
        known = "EUC-KR";
        break;
    case 54936:
        known = "GB18030";
        break;
    case 65000:
        known = "UTF-7";
        break;
    default:
        break;
    }
    if (known != nullptr) {
        std::snprintf(name.data(), name.size(), "%s", known);
        return true;
    }
    if (codePage >= codePageCount)
        return false;
    const auto number = static_cast<unsigned>(codePage);
    if (number >= 28591 && number <= 28605)
        std::snprintf(name.data(), name.size(), "ISO-8859-%u", number - 28590);
    else
        std::snprintf(name.data(), name.size(), "CP%03u", number);
    return true;
}

/// Code pages that the system was found not to know: asking it again for every message that names
/// one would search its tables each time.
std::array<std::atomic<std::uint64_t>, codePageCount / 64> unknownCodePages{};

bool isKnownUnknown(std::uint64_t codePage)
{
    const std::uint64_t word = unknownCodePages[codePage / 64].load(std::memory_order_relaxed);
    return ((word >> (codePage % 64)) & 1U) != 0;
}

void rememberUnknown(std::uint64_t codePage)
{
    unknownCodePages[codePage / 64].fetch_or(std::uint64_t{1} << (codePage % 64),
                                             std::memory_order_relaxed);
}

/// Held while a conversion is opened or closed: that loads and unloads modules of the system, whose
/// own locks the thread sanitizer does not see.
std::mutex moduleLock;

/// A conversion of the system, kept open for the next text of the same code page.
class Converter
{
public:
    Converter() = default;
    ~Converter() { close(); }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    bool open(std::uint64_t codePage)
    {
        if (isOpen() && codePage == codePage_) {
            // In case a conversion before was left by an exception.
            iconv(handle_, nullptr, nullptr, nullptr, nullptr);
            return true;
        }
        std::array<char, 24> name{};
        if (!converterName(codePage, name) || isKnownUnknown(codePage))
            return false;
        close();
        int error = 0;
        {
            const std::lock_guard<std::mutex> lock(moduleLock);
            handle_ = iconv_open("UTF-16LE", name.data());
            error = errno;
        }
        if (!isOpen()) {
            if (error == EINVAL)
                rememberUnknown(codePage);
            return false;
        }
        codePage_ = codePage;
        return true;
    }

    void convert(std::string_view bytes, std::u16string& text)
    {
        // iconv does not write through its input pointer.
        char* in = const_cast<char*>(bytes.data());
        std::size_t left = bytes.size();
        while (left > 0) {
            const std::size_t before = left;
            const std::size_t written = text.size();
            const int error = step(&in, &left, text);
            if ((error == 0 || error == E2BIG) && (left < before || text.size() > written))
                continue;
            // A byte that means nothing, or the beginning of a character that is cut off. What the
            // conversion still held back stands before it.
            flush(text);
            text.push_back(replacement);
            if (left > 0) {
                ++in;
                --left;
            }
        }
        flush(text);
    }

private:
    bool isOpen() const { return handle_ != closed(); }
    static iconv_t closed() { return reinterpret_cast<iconv_t>(-1); }

    void close()
    {
        if (isOpen()) {
            const std::lock_guard<std::mutex> lock(moduleLock);
            iconv_close(handle_);
        }
        handle_ = closed();
    }

    void flush(std::u16string& text) { step(nullptr, nullptr, text); }

    int step(char** in, std::size_t* left, std::u16string& text)
    {
        std::array<char, 1024> buffer; // filled by iconv
        char* out = buffer.data();
        std::size_t room = buffer.size();
        const bool failed = iconv(handle_, in, left, &out, &room) == static_cast<std::size_t>(-1);
        const int error = failed ? errno : 0;
        const std::size_t size = buffer.size() - room;
        for (std::size_t i = 0; i + 1 < size; i += 2) {
            const auto low = static_cast<std::uint8_t>(buffer[i]);
            const auto high = static_cast<std::uint8_t>(buffer[i + 1]);
            text.push_back(static_cast<char16_t>(low | (high << 8)));
        }
        return error;
    }

    iconv_t handle_ = closed();
    std::uint64_t codePage_ = 0;
};

} // namespace

bool multiByteToUtf16(std::string_view bytes, std::uint64_t codePage, std::u16string& text)
{
    text.clear();
    if (bytes.empty())
        return false;
    if (codePage == codePageUtf8) {
        utf8ToUtf16(bytes, text);
    } else {
        thread_local Converter converter;
        if (!converter.open(codePage))
            return false;
        converter.convert(bytes, text);
    }
    return !text.empty();
}

std::optional<std::u16string> multiByteToUtf16(std::string_view bytes, std::uint64_t codePage)
{
    std::u16string text;
    if (!multiByteToUtf16(bytes, codePage, text))
        return std::nullopt;
    return text;
}

} // namespace zuLogging::platform
