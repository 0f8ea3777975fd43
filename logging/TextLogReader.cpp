#include "logging/TextLogReader.h"

#include "logging/WorkControl.h"
#include "platform/CodePage.h"
#include "platform/Memory.h"

#include <QIODevice>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <string>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace zuLogging {

namespace {

using Messages = std::vector<std::shared_ptr<LogMessage>>;

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

// --- Times

constexpr std::int64_t microsecondsADay = 86400000000;

/// The number that `count` digits make; -1 if one is none.
int digits(const char* at, int count)
{
    int number = 0;
    for (int i = 0; i < count; ++i) {
        const int digit = at[i] - '0';
        if (digit < 0 || digit > 9)
            return -1;
        number = number * 10 + digit;
    }
    return number;
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool isLeapYear(int year)
{
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

int daysOfMonth(int year, int month)
{
    constexpr int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : days[month - 1];
}

/// Days from 1970-01-01 in the Gregorian calendar; the year begins in March here, so that the leap
/// day is its last.
std::int64_t daysFromUnixEpoch(int year, int month, int day)
{
    const int marchYear = month > 2 ? year : year - 1;
    const int marchMonth = month > 2 ? month - 3 : month + 9;
    const std::int64_t leapDays = marchYear / 4 - marchYear / 100 + marchYear / 400;
    return std::int64_t{365} * marchYear + leapDays + (153 * marchMonth + 2) / 5 + day - 1 - 719468;
}

/// YYYY-MM-DD?hh:mm as microseconds since 1400-01-01; may be before it.
bool readMinute(const char* at, std::int64_t& time)
{
    if (at[4] != '-' || at[7] != '-' || (at[10] != 'T' && at[10] != ' ') || at[13] != ':')
        return false;
    const int year = digits(at, 4);
    const int month = digits(at + 5, 2);
    const int day = digits(at + 8, 2);
    const int hour = digits(at + 11, 2);
    const int minute = digits(at + 14, 2);
    if (year < 0 || month < 1 || month > 12 || day < 1 || day > daysOfMonth(year, month) ||
        hour < 0 || hour > 23 || minute < 0 || minute > 59)
        return false;
    time = static_cast<std::int64_t>(unixEpochTimestamp) +
           daysFromUnixEpoch(year, month, day) * microsecondsADay +
           (hour * std::int64_t{60} + minute) * 60000000;
    return true;
}

/// Remembers the last minute: most lines are of the same one as the line before.
class TimeReader
{
public:
    bool read(std::string_view line, std::uint64_t& timestamp)
    {
        // YYYY-MM-DDThh:mm:ss
        if (line.size() < 19 || line[4] != '-' || line[16] != ':')
            return false;
        const char* const begin = line.data();
        if (!known_ || std::memcmp(begin, minute_, sizeof minute_) != 0) {
            known_ = readMinute(begin, time_);
            if (!known_)
                return false;
            std::memcpy(minute_, begin, sizeof minute_);
        }
        const int second = digits(begin + 17, 2);
        if (second < 0 || second > 60) // 60: a leap second
            return false;
        std::int64_t time = time_ + second * std::int64_t{1000000};
        const char* at = begin + 19;
        const char* const end = begin + line.size();
        if (at != end && isDigit(*at))
            return false;
        if (end - at >= 2 && (*at == '.' || *at == ',') && isDigit(at[1])) {
            int unit = 1000000;
            for (++at; at != end && isDigit(*at); ++at) {
                unit /= 10;
                time += (*at - '0') * unit; // nothing beyond the microsecond
            }
        }
        if (end - at >= 6 && (*at == '+' || *at == '-') && at[3] == ':') {
            const int hours = digits(at + 1, 2);
            const int minutes = digits(at + 4, 2);
            if (hours >= 0 && hours < 24 && minutes >= 0 && minutes < 60)
                time -= (*at == '+' ? 1 : -1) * (hours * std::int64_t{60} + minutes) * 60000000;
        }
        if (time < 0)
            return false;
        timestamp = static_cast<std::uint64_t>(time);
        return true;
    }

private:
    char minute_[16] = {};
    std::int64_t time_ = 0;
    bool known_ = false;
};

// --- Lines of the file sink

struct SinkLine
{
    std::u16string_view module;
    std::u16string_view message;
    std::uint64_t timestamp = 0;
    std::uint64_t thread = 0;
    std::uint64_t level = 0;
};

constexpr std::size_t moduleWidth = 20;
constexpr std::size_t numberWidth = 20;
constexpr std::size_t levelWidth = 8;
constexpr std::size_t behindModule = numberWidth + numberWidth + levelWidth;
constexpr std::size_t longestModule = 256;

/// A column with a number set right in it, or blank. False when it is anything else.
bool readColumn(std::u16string_view column, std::uint64_t& number)
{
    std::size_t at = 0;
    while (at != column.size() && column[at] == u' ')
        ++at;
    number = 0;
    for (; at != column.size(); ++at) {
        const unsigned digit = column[at] - unsigned{u'0'};
        constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
        if (digit > 9 || number > largest / 10 || number * 10 > largest - digit)
            return false;
        number = number * 10 + digit;
    }
    return true;
}

bool readBehindModule(std::u16string_view columns, SinkLine& fields)
{
    // Time stamps are always there, and their last digit tells most other lines from these.
    return columns[numberWidth - 1] >= u'0' && columns[numberWidth - 1] <= u'9' &&
           readColumn(columns.substr(0, numberWidth), fields.timestamp) &&
           readColumn(columns.substr(numberWidth, numberWidth), fields.thread) &&
           readColumn(columns.substr(2 * numberWidth, levelWidth), fields.level);
}

bool readSinkLine(std::u16string_view line, SinkLine& fields)
{
    // A module that is longer than its column pushes the others to the right.
    for (std::size_t end = moduleWidth; end <= longestModule && line.size() > end + behindModule;
         ++end) {
        if (!readBehindModule(line.substr(end, behindModule), fields))
            continue;
        fields.module = line.substr(0, end);
        if (end == moduleWidth) {
            const std::size_t begin = fields.module.find_first_not_of(u' ');
            fields.module.remove_prefix(std::min(begin, end));
        }
        fields.message = line.substr(end + behindModule);
        if (fields.message == u" ")
            fields.message = {};
        return true;
    }
    return false;
}

// --- Text

/// UTF-8 to UTF-16 in memory that is used again and again.
class Widener
{
public:
    std::u16string_view widen(std::string_view bytes)
    {
        if (units_.size() < bytes.size())
            units_.resize(bytes.size());
        if (widenAscii(bytes, units_.data()))
            return {units_.data(), bytes.size()};
        platform::multiByteToUtf16(bytes, platform::codePageUtf8, other_);
        return other_;
    }

private:
    static bool widenAscii(std::string_view bytes, char16_t* out)
    {
        const char* in = bytes.data();
        std::size_t left = bytes.size();
#ifdef __SSE2__
        const __m128i zero = _mm_setzero_si128();
        for (; left >= 16; left -= 16, in += 16, out += 16) {
            const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in));
            if (_mm_movemask_epi8(block) != 0)
                return false;
            auto* const place = reinterpret_cast<__m128i*>(out);
            _mm_storeu_si128(place, _mm_unpacklo_epi8(block, zero));
            _mm_storeu_si128(place + 1, _mm_unpackhi_epi8(block, zero));
        }
#endif
        for (; left > 0; --left) {
            const auto byte = static_cast<unsigned char>(*in++);
            if (byte >= 0x80)
                return false;
            *out++ = byte;
        }
        return true;
    }

    std::vector<char16_t> units_;
    std::u16string other_;
};

// --- Records

/// Throws std::bad_alloc while there is still some memory: a system that has given more than it has
/// ends programs instead.
class MemoryWatch
{
public:
    explicit MemoryWatch(const TextLogLimits& limits)
        : limits_(limits)
        , next_(limits.memoryStep)
    {
    }

    void used(std::uint64_t bytes)
    {
        used_ += bytes;
        if (used_ < next_)
            return;
        next_ = used_ + limits_.memoryStep;
        const std::uint64_t left =
            limits_.availableMemory ? limits_.availableMemory() : platform::availableMemory();
        if (left < limits_.memoryReserve)
            throw std::bad_alloc();
    }

private:
    const TextLogLimits& limits_;
    std::uint64_t used_ = 0;
    std::uint64_t next_;
};

class Reader
{
public:
    Reader(QIODevice& device, std::u16string_view module, Messages& messages,
           std::uint64_t firstNumber, const TextLogLimits& limits, WorkControl* control)
        : device_(device)
        , module_(module)
        , messages_(messages)
        , firstNumber_(firstNumber)
        , limits_(limits)
        , control_(control)
        , memory_(limits)
        // A line, its carriage return and line feed: what tells whether it is too long.
        , buffer_(limits.line + 2 + limits.read)
    {
    }

    bool read()
    {
        while (fill())
            takeLines();
        if (failed_)
            return false;
        takeLines(); // of a text too short to tell a byte order mark before its end
        if (begin_ != end_)
            takeLine({begin_, left()});
        return true;
    }

private:
    std::size_t left() const { return static_cast<std::size_t>(end_ - begin_); }

    bool fill()
    {
        // What is left is the beginning of one line.
        const std::size_t kept = left();
        if (kept != 0)
            std::memmove(buffer_.data(), begin_, kept);
        begin_ = buffer_.data();
        if (control_)
            control_->report(static_cast<std::uint64_t>(device_.pos()),
                             static_cast<std::uint64_t>(device_.size()));
        const qint64 count = device_.read(buffer_.data() + kept, static_cast<qint64>(limits_.read));
        failed_ = count < 0;
        end_ = begin_ + kept + (count > 0 ? count : 0);
        if (atStart_ && (left() >= byteOrderMark.size() || count <= 0)) {
            atStart_ = false;
            if (std::string_view(begin_, left()).substr(0, byteOrderMark.size()) == byteOrderMark)
                begin_ += byteOrderMark.size();
        }
        return count > 0;
    }

    void takeLines()
    {
        if (atStart_)
            return;
        while (begin_ != end_) {
            const void* const found = std::memchr(begin_, '\n', left());
            if (found) {
                const char* const lineEnd = static_cast<const char*>(found);
                takeLine({begin_, static_cast<std::size_t>(lineEnd - begin_)});
                begin_ = lineEnd + 1;
                continue;
            }
            if (left() < limits_.line + 2)
                return;
            begin_ += takePiece({begin_, left()});
        }
    }

    /// The rest of a line, without its line feed.
    void takeLine(std::string_view line)
    {
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        while (line.size() > limits_.line)
            line.remove_prefix(takePiece(line));
        addRecord(line);
        continued_ = false;
    }

    /// The beginning of a line that is too long; its length.
    std::size_t takePiece(std::string_view line)
    {
        std::size_t length = limits_.line;
        // Back to where a character begins, if that is near: the bytes may be no text.
        for (std::size_t back = 0; back < 4; ++back) {
            if ((static_cast<unsigned char>(line[limits_.line - back]) & 0xC0) != 0x80) {
                length = limits_.line - back;
                break;
            }
        }
        addRecord(line.substr(0, length));
        continued_ = true;
        return length;
    }

    void addRecord(std::string_view line)
    {
        // The table counts its rows as int.
        if (messages_.size() == std::size_t{std::numeric_limits<int>::max()})
            throw std::bad_alloc();
        SinkLine fields;
        fields.message = widener_.widen(line);
        fields.module = module_;
        constexpr std::size_t firstLines = 16;
        const bool wasTaken = !continued_ && (sinkLines_ || messages_.size() < firstLines) &&
                              readSinkLine(fields.message, fields);
        if (wasTaken) {
            sinkLines_ = true;
            timestamp_ = fields.timestamp;
            hasTimestamp_ = true;
        } else {
            fields.thread = 0;
            fields.level = 0;
            if (!continued_ && times_.read(line, timestamp_))
                hasTimestamp_ = true;
        }
        auto message = std::make_shared<LogMessage>(
            firstNumber_ + messages_.size(), 0, 0, timestamp_, fields.level, std::u16string_view(),
            fields.module, std::u16string_view(), fields.message, 0, fields.thread);
        if (hasTimestamp_)
            message->renderTimestamp();
        memory_.used(recordBytes + 2 * (fields.module.size() + fields.message.size()));
        messages_.push_back(std::move(message));
    }

    /// About what a record takes beside its texts, in the reader, the table and the allocator.
    static constexpr std::uint64_t recordBytes = sizeof(LogMessage) + 96;

    QIODevice& device_;
    std::u16string_view module_;
    Messages& messages_;
    std::uint64_t firstNumber_;
    const TextLogLimits& limits_;
    WorkControl* const control_;
    MemoryWatch memory_;
    std::vector<char> buffer_;
    const char* begin_ = nullptr;
    const char* end_ = nullptr;
    Widener widener_;
    TimeReader times_;
    std::uint64_t timestamp_ = 0;
    bool hasTimestamp_ = false;
    bool sinkLines_ = false; ///< some line was one of the file sink's
    bool continued_ = false; ///< what comes is not the beginning of a line
    bool atStart_ = true;
    bool failed_ = false;
};

} // namespace

bool readTextLog(QIODevice& device, std::u16string_view module, Messages& messages,
                 std::uint64_t firstNumber, const TextLogLimits& limits, WorkControl* control)
{
    Messages read;
    if (!Reader(device, module, read, firstNumber, limits, control).read())
        return false;
    messages = std::move(read);
    return true;
}

bool looksLikeText(std::string_view beginning)
{
    constexpr std::size_t looked = 4096;
    constexpr std::string_view usual = "\a\b\t\n\v\f\r\x1B";
    constexpr std::size_t tolerated = 4; // of a short text it would be a large part
    const std::string_view part = beginning.substr(0, looked);
    const auto strange =
        static_cast<std::size_t>(std::count_if(part.begin(), part.end(), [&](char c) {
            return static_cast<unsigned char>(c) < 0x20 && usual.find(c) == usual.npos;
        }));
    return strange <= std::max(tolerated, part.size() / 16);
}

bool readIsoTimestamp(std::string_view line, std::uint64_t& timestamp)
{
    return TimeReader().read(line, timestamp);
}

} // namespace zuLogging
