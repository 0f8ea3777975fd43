#include "logging/JsonLogReader.h"

#include "logging/WorkControl.h"

#include <QByteArray>
#include <QIODevice>

#include <array>
#include <bitset>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace zuLogging {

namespace {

using Byte = unsigned char;
using Messages = std::vector<std::shared_ptr<LogMessage>>;

constexpr int readAtOnce = 1 << 16;
constexpr int endOfText = -1;
constexpr std::size_t maximumDepth = 1024;
/// A record counts its four texts in 32 bits, Qt's strings the bytes of each in 31.
constexpr std::size_t maximumTextLength = std::size_t{1} << 28;
/// The table counts its rows as int.
constexpr std::size_t maximumMessages = std::numeric_limits<int>::max();

/// The bytes of a device, one after the other, through a small buffer; or those of a text.
class ByteSource
{
public:
    ByteSource(QIODevice& device, WorkControl* control)
        : device_(&device)
        , control_(control)
        , buffer_(readAtOnce)
    {
    }
    explicit ByteSource(std::string_view text)
        : at_(reinterpret_cast<const Byte*>(text.data()))
        , end_(at_ + text.size())
        , ended_(true)
    {
    }

    int peek() { return at_ != end_ || refill() ? *at_ : endOfText; }
    int next() { return at_ != end_ || refill() ? *at_++ : endOfText; }
    bool accept(int byte)
    {
        if (peek() != byte)
            return false;
        ++at_;
        return true;
    }

    /// What is in the buffer; may be empty before the end of the text.
    const Byte* begin() const { return at_; }
    const Byte* end() const { return end_; }
    void setBegin(const Byte* at) { at_ = at; }

    bool failed() const { return failed_; }

private:
    bool refill()
    {
        if (ended_)
            return false;
        if (control_)
            control_->report(static_cast<std::uint64_t>(device_->pos()),
                             static_cast<std::uint64_t>(device_->size()));
        const qint64 count = device_->read(reinterpret_cast<char*>(buffer_.data()), readAtOnce);
        failed_ = count < 0;
        ended_ = count <= 0;
        at_ = buffer_.data();
        end_ = at_ + (ended_ ? 0 : count);
        return !ended_;
    }

    QIODevice* device_ = nullptr;
    WorkControl* control_ = nullptr;
    std::vector<Byte> buffer_;
    const Byte* at_ = nullptr;
    const Byte* end_ = nullptr;
    bool ended_ = false;
    bool failed_ = false;
};

/// Where the parts of a string go: here nowhere, the string is only checked.
struct NoText
{
    void append(const Byte*, std::size_t) {}
    void append(char16_t) {}
    void sawSurrogate() {}
};

/// A member's name. Those that mean something are short; of others no more than the beginning is
/// kept.
struct ShortText
{
    void append(const Byte* bytes, std::size_t count)
    {
        for (std::size_t i = 0; i < count && size < units.size(); ++i)
            units[size++] = bytes[i];
    }
    void append(char16_t unit)
    {
        if (size < units.size())
            units[size++] = unit;
    }
    void sawSurrogate() {}

    std::array<char16_t, 16> units; // longer than every known name; written before it is read
    std::size_t size = 0;
};

struct WholeText
{
    void append(const Byte* bytes, std::size_t count)
    {
        const std::size_t before = text.size();
        if (count > maximumTextLength - before)
            throw std::bad_alloc();
        text.resize(before + count);
        char16_t* out = &text[before];
        for (const Byte* const end = bytes + count; bytes != end; ++bytes)
            *out++ = *bytes;
    }
    void append(char16_t unit)
    {
        if (text.size() == maximumTextLength)
            throw std::bad_alloc();
        text.push_back(unit);
    }
    void sawSurrogate() { surrogates = true; }

    std::u16string text;
    bool surrogates = false; ///< escapes that may be half a pair
};

/// A JSON number as it is written.
struct NumberText
{
    void append(int byte)
    {
        if (size < characters.size())
            characters[size] = static_cast<char>(byte);
        ++size;
    }

    std::array<char, 64> characters; // longer than any program writes; written before it is read
    std::size_t size = 0;
};

struct Fields
{
    std::uint64_t serviceMsgId = 0;
    std::uint64_t sourceMsgId = 0;
    std::uint64_t senderMsgId = 0;
    std::uint64_t timestamp = 0;
    std::uint64_t logLevel = 0;
    std::uint64_t processId = 0;
    std::uint64_t threadId = 0;
    WholeText logPos;
    WholeText module;
    WholeText groupName;
    WholeText logMessage;
};

struct NumberMember
{
    std::u16string_view name;
    std::uint64_t Fields::*value;
};

struct TextMember
{
    std::u16string_view name;
    WholeText Fields::*value;
};

constexpr std::array<NumberMember, 6> numberMembers{{{u"ProcessID", &Fields::processId},
                                                     {u"SenderMsgID", &Fields::senderMsgId},
                                                     {u"ServiceMsgID", &Fields::serviceMsgId},
                                                     {u"SourceMsgID", &Fields::sourceMsgId},
                                                     {u"ThreadID", &Fields::threadId},
                                                     {u"Timestamp", &Fields::timestamp}}};
constexpr std::array<TextMember, 4> textMembers{{{u"GroupName", &Fields::groupName},
                                                 {u"LogMessage", &Fields::logMessage},
                                                 {u"LogPos", &Fields::logPos},
                                                 {u"Module", &Fields::module}}};
constexpr std::u16string_view levelMember = u"LogLevel [Hex]";

bool isBlank(int byte)
{
    return byte == ' ' || byte == '\n' || byte == '\t' || byte == '\r';
}

bool isDigit(int byte)
{
    return byte >= '0' && byte <= '9';
}

/// A character of a string that stands for itself in one byte.
bool isPlain(int byte)
{
    return byte >= 0x20 && byte < 0x80 && byte != '"' && byte != '\\';
}

const Byte* endOfPlain(const Byte* at, const Byte* end)
{
    constexpr std::uint64_t ones = 0x0101010101010101ULL;
    constexpr std::uint64_t tops = 0x8080808080808080ULL;
    while (end - at >= 8) {
        std::uint64_t block = 0;
        std::memcpy(&block, at, sizeof block);
        // A top bit is left where a byte is 0x80 or more, below 0x20, a quote or a backslash; only
        // behind such a byte may one be left without reason.
        const std::uint64_t quote = block ^ (ones * '"');
        const std::uint64_t backslash = block ^ (ones * '\\');
        if (((block | (block - ones * 0x20) | (quote - ones) | (backslash - ones)) & tops) != 0)
            break;
        at += 8;
    }
    while (at != end && isPlain(*at))
        ++at;
    return at;
}

std::uint64_t unsignedNumber(std::u16string_view text, int base)
{
    // What the writer writes; 16 digits of either base fit.
    std::u16string_view digits = text;
    if (base == 16 && digits.substr(0, 2) == u"0x")
        digits.remove_prefix(2);
    std::uint64_t number = 0;
    bool plain = !digits.empty() && digits.size() <= 16;
    for (std::size_t i = 0; plain && i < digits.size(); ++i) {
        const char16_t digit = digits[i];
        unsigned value = 0;
        if (digit >= u'0' && digit <= u'9')
            value = digit - unsigned{u'0'};
        else if (base == 16 && digit >= u'a' && digit <= u'f')
            value = digit - unsigned{u'a'} + 10;
        else
            plain = false;
        number = number * static_cast<unsigned>(base) + value;
    }
    return plain ? number : toQString(text).toULongLong(nullptr, base);
}

std::uint64_t unsignedNumber(const NumberText& text)
{
    if (text.size > text.characters.size())
        return 0;
    const char* const begin = text.characters.data();
    const char* const end = begin + text.size;
    std::uint64_t number = 0;
    const auto whole = std::from_chars(begin, end, number);
    if (whole.ptr == end)
        return whole.ec == std::errc() ? number : 0;
    // Of the C locale, unlike the standard library's functions.
    const double real =
        std::round(QByteArray::fromRawData(begin, static_cast<int>(text.size)).toDouble());
    constexpr double tooLarge = 18446744073709551616.0;
    return real > 0 && real < tooLarge ? static_cast<std::uint64_t>(real) : 0;
}

/// Checks the text from its first byte to its last, and makes records on the way. Every read
/// function is false when the text is not valid.
class Reader
{
public:
    /// `source` is what a ByteSource is made of.
    template <class... Source>
    explicit Reader(Messages& messages, Source&&... source)
        : bytes_(std::forward<Source>(source)...)
        , messages_(messages)
    {
    }

    /// One object.
    bool readMessage()
    {
        return skipByteOrderMark() && bytes_.peek() == '{' && readElement() && isAtEnd();
    }

    bool readLog()
    {
        if (!skipByteOrderMark() || !bytes_.accept('['))
            return false;
        skipBlanks();
        if (!bytes_.accept(']')) {
            do {
                skipBlanks();
                if (!readElement())
                    return false;
                skipBlanks();
            } while (bytes_.accept(','));
            if (!bytes_.accept(']'))
                return false;
        }
        return isAtEnd();
    }

    bool deviceFailed() const { return bytes_.failed(); }

private:
    bool skipByteOrderMark()
    {
        if (bytes_.accept(0xEF) && !(bytes_.accept(0xBB) && bytes_.accept(0xBF)))
            return false;
        skipBlanks();
        return true;
    }

    bool isAtEnd()
    {
        skipBlanks();
        return bytes_.peek() == endOfText && !bytes_.failed();
    }

    bool readElement()
    {
        clearFields();
        if (bytes_.peek() == '{' ? !readMembers() : !skipValue(1))
            return false;
        addMessage();
        return true;
    }

    bool readMembers()
    {
        bytes_.next();
        skipBlanks();
        if (bytes_.accept('}'))
            return true;
        do {
            skipBlanks();
            ShortText name;
            if (!readName(name) || !readMember({name.units.data(), name.size}))
                return false;
            skipBlanks();
        } while (bytes_.accept(','));
        return bytes_.accept('}');
    }

    template <class Text>
    bool readName(Text& name)
    {
        if (!bytes_.accept('"') || !readString(name))
            return false;
        skipBlanks();
        if (!bytes_.accept(':'))
            return false;
        skipBlanks();
        return true;
    }

    bool readMember(std::u16string_view name)
    {
        for (const TextMember& member : textMembers)
            if (member.name == name)
                return readText(fields_.*member.value);
        for (const NumberMember& member : numberMembers)
            if (member.name == name)
                return readUnsigned(fields_.*member.value);
        if (name == levelMember) {
            if (!readText(number_))
                return false;
            fields_.logLevel = unsignedNumber(number_.text, 16);
            return true;
        }
        return skipValue(2);
    }

    bool readText(WholeText& text)
    {
        text.text.clear();
        return bytes_.accept('"') ? readString(text) : skipValue(2);
    }

    bool readUnsigned(std::uint64_t& value)
    {
        value = 0;
        const int first = bytes_.peek();
        if (first == '"') {
            if (!readText(number_))
                return false;
            value = unsignedNumber(number_.text, 10);
            return true;
        }
        if (first != '-' && !isDigit(first))
            return skipValue(2);
        NumberText number;
        if (!readNumber(number))
            return false;
        value = unsignedNumber(number);
        return true;
    }

    void clearFields()
    {
        for (const NumberMember& member : numberMembers)
            fields_.*member.value = 0;
        fields_.logLevel = 0;
        for (const TextMember& member : textMembers)
            clear(fields_.*member.value);
        clear(number_);
    }

    static void clear(WholeText& text)
    {
        constexpr std::size_t keptCapacity = 1 << 16;
        if (text.text.capacity() > keptCapacity)
            std::u16string().swap(text.text);
        text.text.clear();
        text.surrogates = false;
    }

    void addMessage()
    {
        if (messages_.size() == maximumMessages)
            throw std::bad_alloc();
        bool hasContent = fields_.logLevel != 0;
        for (const NumberMember& member : numberMembers)
            hasContent = hasContent || fields_.*member.value != 0;
        bool surrogates = false;
        for (const TextMember& member : textMembers) {
            hasContent = hasContent || !(fields_.*member.value).text.empty();
            surrogates = surrogates || (fields_.*member.value).surrogates;
        }
        if (hasContent) {
            messages_.push_back(surrogates ? makeMessage(&toText) : makeMessage(&toView));
            return;
        }
        if (!empty_)
            empty_ = makeMessage(&toView);
        messages_.push_back(empty_);
    }

    static QString toText(const WholeText& text) { return toQString(text.text); }
    static std::u16string_view toView(const WholeText& text) { return text.text; }

    /// Texts in UTF-8 are valid; only where escapes may have made half a pair they take the way
    /// that replaces it.
    template <class Form>
    std::shared_ptr<LogMessage> makeMessage(Form form) const
    {
        auto message = std::make_shared<LogMessage>(
            fields_.serviceMsgId, fields_.sourceMsgId, fields_.senderMsgId, fields_.timestamp,
            fields_.logLevel, form(fields_.logPos), form(fields_.module), form(fields_.groupName),
            form(fields_.logMessage), fields_.processId, fields_.threadId);
        message->renderTimestamp();
        return message;
    }

    // --- Any JSON

    void skipBlanks()
    {
        while (isBlank(bytes_.peek())) {
            const Byte* at = bytes_.begin();
            while (at != bytes_.end() && isBlank(*at))
                ++at;
            bytes_.setBegin(at);
        }
    }

    /// Any value, inside `depth` arrays and objects. Does not call itself: a text may be nested
    /// deeper than the stack.
    bool skipValue(std::size_t depth)
    {
        const std::size_t outside = depth;
        for (;;) {
            const int first = bytes_.peek();
            if (first == '{' || first == '[') {
                bytes_.next();
                if (depth == maximumDepth)
                    return false;
                isObject_[depth++] = first == '{';
                skipBlanks();
                if (!bytes_.accept(first == '{' ? '}' : ']')) {
                    if (!skipName(depth))
                        return false;
                    continue;
                }
                --depth;
            } else if (!skipScalar(first)) {
                return false;
            }
            // Behind a value: to the next one.
            for (;;) {
                if (depth == outside)
                    return true;
                skipBlanks();
                if (bytes_.accept(','))
                    break;
                if (!bytes_.accept(isObject_[depth - 1] ? '}' : ']'))
                    return false;
                --depth;
            }
            skipBlanks();
            if (!skipName(depth))
                return false;
        }
    }

    bool skipName(std::size_t depth)
    {
        NoText name;
        return !isObject_[depth - 1] || readName(name);
    }

    bool skipScalar(int first)
    {
        switch (first) {
        case '"': {
            NoText text;
            bytes_.next();
            return readString(text);
        }
        case 't':
            return readWord("true");
        case 'f':
            return readWord("false");
        case 'n':
            return readWord("null");
        default:
            NumberText number;
            return readNumber(number);
        }
    }

    bool readWord(const char* word)
    {
        for (; *word != '\0'; ++word)
            if (!bytes_.accept(*word))
                return false;
        return true;
    }

    bool readNumber(NumberText& number)
    {
        if (bytes_.accept('-'))
            number.append('-');
        if (bytes_.accept('0'))
            number.append('0');
        else if (!readDigits(number))
            return false;
        if (bytes_.accept('.')) {
            number.append('.');
            if (!readDigits(number))
                return false;
        }
        if (bytes_.accept('e') || bytes_.accept('E')) {
            number.append('e');
            if (bytes_.accept('-'))
                number.append('-');
            else
                bytes_.accept('+');
            return readDigits(number);
        }
        return true;
    }

    bool readDigits(NumberText& number)
    {
        if (!isDigit(bytes_.peek()))
            return false;
        while (isDigit(bytes_.peek()))
            number.append(bytes_.next());
        return true;
    }

    /// From behind the opening quote to behind the closing one.
    template <class Text>
    bool readString(Text& text)
    {
        for (;;) {
            const Byte* const begin = bytes_.begin();
            const Byte* const end = endOfPlain(begin, bytes_.end());
            if (end != begin) {
                text.append(begin, static_cast<std::size_t>(end - begin));
                bytes_.setBegin(end);
            }
            const int byte = bytes_.next();
            if (byte == '"')
                return true;
            if (byte == '\\') {
                if (!readEscape(text))
                    return false;
            } else if (byte >= 0x80) {
                if (!readCharacter(byte, text))
                    return false;
            } else if (isPlain(byte)) { // the first of a new buffer
                text.append(static_cast<char16_t>(byte));
            } else {
                return false;
            }
        }
    }

    template <class Text>
    bool readEscape(Text& text)
    {
        const int byte = bytes_.next();
        switch (byte) {
        case '"':
        case '\\':
        case '/':
            text.append(static_cast<char16_t>(byte));
            return true;
        case 'b':
            text.append(u'\b');
            return true;
        case 'f':
            text.append(u'\f');
            return true;
        case 'n':
            text.append(u'\n');
            return true;
        case 'r':
            text.append(u'\r');
            return true;
        case 't':
            text.append(u'\t');
            return true;
        case 'u':
            return readUnit(text);
        default:
            return false;
        }
    }

    template <class Text>
    bool readUnit(Text& text)
    {
        unsigned unit = 0;
        for (int i = 0; i < 4; ++i) {
            const int byte = bytes_.next();
            int digit = 0;
            if (isDigit(byte))
                digit = byte - '0';
            else if (byte >= 'a' && byte <= 'f')
                digit = byte - 'a' + 10;
            else if (byte >= 'A' && byte <= 'F')
                digit = byte - 'A' + 10;
            else
                return false;
            unit = unit << 4 | static_cast<unsigned>(digit);
        }
        if (unit >= 0xD800 && unit <= 0xDFFF)
            text.sawSurrogate();
        text.append(static_cast<char16_t>(unit));
        return true;
    }

    /// A character of several bytes; `lead` is the first.
    template <class Text>
    bool readCharacter(int lead, Text& text)
    {
        int following = 0;
        char32_t least = 0; // shorter forms hold what is below
        if (lead >= 0xC0 && lead < 0xE0) {
            following = 1;
            least = 0x80;
        } else if (lead >= 0xE0 && lead < 0xF0) {
            following = 2;
            least = 0x800;
        } else if (lead >= 0xF0 && lead < 0xF8) {
            following = 3;
            least = 0x10000;
        } else {
            return false;
        }
        auto point = static_cast<char32_t>(lead & (0x3F >> following));
        for (int i = 0; i < following; ++i) {
            const int byte = bytes_.next();
            if (byte < 0x80 || byte > 0xBF) // endOfText too
                return false;
            point = point << 6 | static_cast<char32_t>(byte & 0x3F);
        }
        if (point < least || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF))
            return false;
        if (point < 0x10000) {
            text.append(static_cast<char16_t>(point));
        } else {
            text.append(static_cast<char16_t>(0xD7C0 + (point >> 10)));
            text.append(static_cast<char16_t>(0xDC00 | (point & 0x3FF)));
        }
        return true;
    }

    ByteSource bytes_;
    Messages& messages_;
    Fields fields_;
    WholeText number_; ///< a number or level as text
    std::bitset<maximumDepth> isObject_;
    std::shared_ptr<LogMessage> empty_;
};

} // namespace

bool readJsonLog(QIODevice& device, std::vector<std::shared_ptr<LogMessage>>& messages,
                 WorkControl* control)
{
    Messages read;
    Reader reader(read, device, control);
    if (reader.readLog())
        messages = std::move(read);
    return !reader.deviceFailed();
}

std::vector<std::shared_ptr<LogMessage>> readJsonLog(QIODevice& device)
{
    Messages messages;
    readJsonLog(device, messages);
    return messages;
}

std::shared_ptr<LogMessage> readJsonMessage(std::string_view json)
{
    Messages read;
    Reader reader(read, json);
    return reader.readMessage() ? read.front() : nullptr;
}

} // namespace zuLogging
