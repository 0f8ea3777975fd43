#pragma once

#include <boost/property_tree/ptree.hpp>

#include <cstddef>
#include <string>
#include <string_view>

namespace zuLogging {

using PropertyTree = boost::property_tree::ptree;

/// JSON texts may nest so deep; the reader recurses, and whoever sends a text must not be able to
/// choose how much stack it takes.
inline constexpr int maximumJsonDepth = 512;

/// Values and members of a text: each takes a few hundred bytes in a tree, for a few bytes of text.
inline constexpr std::size_t maximumJsonValues = 1000000;

/// Longer files are not read: a tree takes a multiple of its text's memory.
inline constexpr std::size_t maximumJsonFileSize = std::size_t{64} << 20;

/// Reads a JSON text (UTF-8, with or without a byte order mark). Every value becomes a string,
/// members keep their order and may be there twice, array elements have an empty key. Throws
/// boost::property_tree::ptree_error for a text that is not JSON, nests deeper than
/// maximumJsonDepth or has more than maximumJsonValues.
PropertyTree readPropertyTree(std::string_view json);

/// The same for a file. Throws boost::property_tree::ptree_error also when it cannot be read, is no
/// regular file (which could have no end) or is longer than maximumJsonFileSize.
PropertyTree readPropertyTreeFile(const std::string& path);

/// The same two for a document, whose outermost value must be an object: an array or a single value
/// is an error too.
PropertyTree readPropertyTreeObject(std::string_view json);
PropertyTree readPropertyTreeObjectFile(const std::string& path);

enum class JsonForm
{
    Compact, ///< no line breaks, no indentation
    Indented ///< with a line break at the end
};

/// Writes a tree as JSON, every leaf as a string. Throws boost::property_tree::ptree_error for a
/// tree that has no JSON form (a node with a value and members).
std::string writePropertyTree(const PropertyTree& tree, JsonForm form);

} // namespace zuLogging
