#include "platform/Trace.h"

#include <unistd.h>

#include <cerrno>
#include <mutex>
#include <string>
#include <utility>

namespace zuLogging::platform {

namespace {

struct Destination
{
    std::mutex mutex;
    TraceHandler handler;
};

// Never destroyed: a thread may trace while the program's static objects go.
Destination& destination()
{
    static Destination& instance = *new Destination;
    return instance;
}

void appendUtf8(std::string& out, char32_t c)
{
    const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
    if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xC0 | (c >> 6));
        put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        put(0xE0 | (c >> 12));
        put(0x80 | ((c >> 6) & 0x3F));
        put(0x80 | (c & 0x3F));
    } else {
        put(0xF0 | (c >> 18));
        put(0x80 | ((c >> 12) & 0x3F));
        put(0x80 | ((c >> 6) & 0x3F));
        put(0x80 | (c & 0x3F));
    }
}

std::string toUtf8(std::u16string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char32_t unit = text[i];
        if (unit < 0xD800 || unit > 0xDFFF) {
            appendUtf8(out, unit);
            continue;
        }
        const char32_t next = i + 1 < text.size() ? text[i + 1] : 0;
        if (unit < 0xDC00 && next >= 0xDC00 && next <= 0xDFFF) {
            appendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00));
            ++i;
        } else {
            appendUtf8(out, 0xFFFD);
        }
    }
    return out;
}

} // namespace

void trace(std::string_view text)
{
    {
        Destination& to = destination();
        const std::lock_guard<std::mutex> lock(to.mutex);
        if (to.handler) {
            to.handler(text);
            return;
        }
    }
    // One write, so that the lines of two threads or programs do not run into one another.
    const int kept = errno;
    while (::write(STDERR_FILENO, text.data(), text.size()) < 0 && errno == EINTR) {
    }
    errno = kept;
}

void trace(std::u16string_view text)
{
    trace(std::string_view(toUtf8(text)));
}

TraceHandler setTraceHandler(TraceHandler handler)
{
    Destination& to = destination();
    const std::lock_guard<std::mutex> lock(to.mutex);
    return std::exchange(to.handler, std::move(handler));
}

} // namespace zuLogging::platform
