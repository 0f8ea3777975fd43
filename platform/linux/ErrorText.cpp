#include "platform/linux/ErrorText.h"

#include <array>
#include <cstring>

namespace zuLogging::platform {

std::string errorText(int code)
{
    if (code == 0)
        return "Unknown error";
    // The form that returns its text and may leave the buffer alone; strerror is not for threads.
    std::array<char, 256> buffer{};
    const char* text = ::strerror_r(code, buffer.data(), buffer.size());
    return text != nullptr && *text != '\0' ? std::string(text) : std::string("Unknown error");
}

} // namespace zuLogging::platform
