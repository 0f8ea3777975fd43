#include "tools/JsonTextReader.h"

#include "tools/InputBytes.h"

#include <algorithm>
#include <string_view>

namespace zuLogging {

namespace {

constexpr std::string_view blanks = " \t\r\n";

bool isBlank(std::string_view text)
{
    return text.find_first_not_of(blanks) == std::string_view::npos;
}

/// Finds the end of an array's element, byte by byte.
class ElementScanner
{
public:
    /// True if `byte` is the comma or bracket behind the element.
    bool ends(char byte)
    {
        if (inString_) {
            // A string has no line end in it: one that lost its end spoils this element alone.
            inString_ = byte != '\n' && (isEscaped_ || byte != '"');
            isEscaped_ = inString_ && !isEscaped_ && byte == '\\';
            return false;
        }
        switch (byte) {
        case '"':
            inString_ = true;
            return false;
        case '{':
        case '[':
            ++depth_;
            return false;
        case '}':
        case ']':
            if (depth_ == 0)
                return byte == ']';
            --depth_;
            return false;
        default:
            return byte == ',' && depth_ == 0;
        }
    }

private:
    std::uint64_t depth_ = 0;
    bool inString_ = false;
    bool isEscaped_ = false;
};

} // namespace

JsonTextReader::JsonTextReader(InputBytes& bytes, std::size_t limit)
    : bytes_(bytes)
    , limit_(limit)
    , lines_(bytes, limit)
{
}

bool JsonTextReader::next()
{
    if (state_ == State::Start)
        begin();
    switch (state_) {
    case State::Lines:
        return nextLine();
    case State::FirstElement:
    case State::NextElement:
        return nextElement();
    case State::BehindArray:
        skipBlanks();
        if (!bytes_.peek().empty())
            fail("something follows the array");
        state_ = State::End;
        return false;
    default:
        return false;
    }
}

/// Up to the first thing that is no blank. What may be a byte order mark stays with the first line.
void JsonTextReader::begin()
{
    state_ = State::Lines;
    for (const char byte : std::string_view("\xEF\xBB\xBF")) {
        const std::string_view bytes = bytes_.peek();
        if (bytes.empty() || bytes.front() != byte) {
            if (text_.empty())
                break;
            return;
        }
        text_ += byte;
        bytes_.take(1);
    }
    skipBlanks();
    const std::string_view bytes = bytes_.peek();
    if (!bytes.empty() && bytes.front() == '[') {
        bytes_.take(1);
        state_ = State::FirstElement;
    }
}

void JsonTextReader::skipBlanks()
{
    for (;;) {
        const std::string_view bytes = bytes_.peek();
        std::size_t count = 0;
        for (; count < bytes.size() && blanks.find(bytes[count]) != std::string_view::npos; ++count)
            nextLine_ += bytes[count] == '\n' ? 1 : 0;
        bytes_.take(count);
        if (count < bytes.size() || bytes.empty())
            return;
    }
}

bool JsonTextReader::nextLine()
{
    while (lines_.next()) {
        line_ = nextLine_++;
        isTooLong_ = lines_.dropped() > 0;
        if (line_ > 1)
            text_.clear();
        text_ += lines_.text();
        if (isTooLong_ || !isBlank(text_))
            return true;
    }
    state_ = State::End;
    return false;
}

bool JsonTextReader::nextElement()
{
    skipBlanks();
    text_.clear();
    isTooLong_ = false;
    line_ = nextLine_;
    ElementScanner scanner;
    for (;;) {
        const std::string_view bytes = bytes_.peek();
        if (bytes.empty()) {
            fail("the array does not end");
            return false;
        }
        std::size_t count = 0;
        while (count < bytes.size() && !scanner.ends(bytes[count]))
            nextLine_ += bytes[count++] == '\n' ? 1 : 0;
        const std::size_t kept = std::min(count, limit_ - text_.size());
        text_.append(bytes.data(), kept);
        isTooLong_ = isTooLong_ || kept < count;
        const bool isEnd = count < bytes.size();
        const bool isLast = isEnd && bytes[count] == ']';
        bytes_.take(isEnd ? count + 1 : count);
        if (!isEnd)
            continue;
        const bool isEmptyArray = state_ == State::FirstElement && isLast && isBlank(text_);
        state_ = isLast ? State::BehindArray : State::NextElement;
        return isEmptyArray ? next() : true;
    }
}

void JsonTextReader::fail(const char* what)
{
    line_ = nextLine_;
    error_ = what;
    state_ = State::End;
}

} // namespace zuLogging
