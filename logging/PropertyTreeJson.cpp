#include "logging/PropertyTreeJson.h"

#include <boost/property_tree/json_parser.hpp>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <ios>
#include <sstream>
#include <system_error>

namespace zuLogging {

namespace {

namespace pt = boost::property_tree;

/// What a text would make of a tree, whatever else is wrong with it.
struct Extent
{
    int depth = 0;          ///< of nested arrays and objects
    std::size_t values = 0; ///< at least as many as there are: they begin behind a bracket or comma
};

Extent extentOf(std::string_view json)
{
    Extent extent;
    int depth = 0;
    bool inText = false;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (inText) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inText = false;
        } else if (c == '"') {
            inText = true;
        } else if (c == '{' || c == '[') {
            extent.depth = std::max(extent.depth, ++depth);
            ++extent.values;
        } else if (c == '}' || c == ']') {
            --depth;
        } else if (c == ',') {
            ++extent.values;
        }
    }
    return extent;
}

void requireObject(std::string_view json)
{
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (json.substr(0, byteOrderMark.size()) == byteOrderMark)
        json.remove_prefix(byteOrderMark.size());
    const std::size_t start = json.find_first_not_of(" \t\r\n");
    if (start == std::string_view::npos || json[start] != '{')
        throw pt::json_parser_error("expected an object", "", 0);
}

std::string textOfFile(const std::string& path)
{
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error))
        throw pt::json_parser_error("not a regular file", path, 0);
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw pt::json_parser_error("cannot open file", path, 0);
    std::string text;
    std::array<char, 65536> piece;
    while (file.read(piece.data(), piece.size()), file.gcount() > 0) {
        text.append(piece.data(), static_cast<std::size_t>(file.gcount()));
        if (text.size() > maximumJsonFileSize)
            throw pt::json_parser_error("file too long", path, 0);
    }
    if (file.bad())
        throw pt::json_parser_error("read error", path, 0);
    return text;
}

PropertyTree readFile(const std::string& path, PropertyTree (*read)(std::string_view))
{
    const std::string text = textOfFile(path);
    try {
        return read(text);
    } catch (const pt::json_parser_error& error) {
        throw pt::json_parser_error(error.message(), path, error.line());
    }
}

} // namespace

PropertyTree readPropertyTree(std::string_view json)
{
    const Extent extent = extentOf(json);
    if (extent.depth > maximumJsonDepth)
        throw pt::json_parser_error("nested too deep", "", 0);
    if (extent.values > maximumJsonValues)
        throw pt::json_parser_error("too many values", "", 0);
    PropertyTree tree;
    std::istringstream stream{std::string(json)};
    pt::read_json(stream, tree);
    return tree;
}

PropertyTree readPropertyTreeFile(const std::string& path)
{
    return readFile(path, readPropertyTree);
}

PropertyTree readPropertyTreeObject(std::string_view json)
{
    requireObject(json);
    return readPropertyTree(json);
}

PropertyTree readPropertyTreeObjectFile(const std::string& path)
{
    return readFile(path, readPropertyTreeObject);
}

std::string writePropertyTree(const PropertyTree& tree, JsonForm form)
{
    std::ostringstream stream;
    pt::write_json(stream, tree, form == JsonForm::Indented);
    std::string text = stream.str();
    // The writer of some versions ends the compact form with a line break too.
    if (form == JsonForm::Compact && !text.empty() && text.back() == '\n')
        text.pop_back();
    return text;
}

} // namespace zuLogging
