#pragma once

#include <exception>
#include <string>
#include <utility>

namespace zuLogging {

/// The one exception of the logging library: a fixed English text, or a fixed prefix followed by
/// the text of the cause. Windows show it as it is.
class LogSvcError : public std::exception
{
public:
    explicit LogSvcError(const char* text)
        : text_(text)
    {
    }
    explicit LogSvcError(std::string text)
        : text_(std::move(text))
    {
    }

    const char* what() const noexcept override { return text_.c_str(); }

private:
    std::string text_;
};

} // namespace zuLogging
