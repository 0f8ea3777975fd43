#include "app/ProductVersion.h"

#include <stdexcept>

namespace zuLogging {

namespace {

// The library's own texts differ from one to the next; these two are what the program promises.
int toInt(const std::string& text)
{
    try {
        return std::stoi(text);
    } catch (const std::invalid_argument&) {
        throw std::invalid_argument("invalid stoi argument");
    } catch (const std::out_of_range&) {
        throw std::out_of_range("stoi argument out of range");
    }
}

} // namespace

std::string majorMinorVersion(const std::string& version)
{
    const std::size_t firstDot = version.find('.');
    const std::string major = version.substr(0, firstDot);
    const std::string rest =
        firstDot == std::string::npos ? std::string() : version.substr(firstDot + 1);
    const std::string minor = rest.substr(0, rest.find('.'));
    return std::to_string(toInt(major)) + "." + std::to_string(toInt(minor));
}

} // namespace zuLogging
