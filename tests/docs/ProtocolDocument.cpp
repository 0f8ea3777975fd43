#include "tests/docs/ProtocolDocument.h"

#include "platform/CodePage.h"

#include <QString>
#include <QVector>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace zuLogging::test {

namespace {

constexpr std::string_view fence = "```";
constexpr std::string_view exampleFence = "```hex ";

using Bytes = std::vector<std::uint8_t>;

/// Takes the text up to the next gap of two blanks off the front of `line`, and the gap.
std::string_view takeColumn(std::string_view& line)
{
    const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
    line.remove_prefix(begin);
    const std::string_view column = line.substr(0, std::min(line.find("  "), line.size()));
    line.remove_prefix(column.size());
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    return column;
}

bool isDecimal(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return std::isdigit(static_cast<unsigned char>(c)) != 0;
    });
}

/// "0A 1B" or "00 * 12".
std::optional<Bytes> readBytes(std::string_view text)
{
    Bytes bytes;
    std::istringstream words{std::string(text)};
    for (std::string word; words >> word;) {
        if (word == "*") {
            std::size_t count = 0;
            if (bytes.size() != 1 || !(words >> count) || count > 100000 || words >> word)
                return std::nullopt;
            return Bytes(count, bytes.front());
        }
        if (word.size() != 2 || word.find_first_not_of("0123456789ABCDEF") != std::string::npos)
            return std::nullopt;
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(word, nullptr, 16)));
    }
    return bytes;
}

/// The text within the quotes; as it is when there are none.
std::string unquoted(std::string_view value)
{
    if (value.size() < 2 || value.front() != '"' || value.back() != '"')
        return std::string(value);
    std::string text;
    for (std::size_t i = 1; i + 1 < value.size(); ++i) {
        if (value[i] == '\\' && i + 2 < value.size())
            ++i;
        text.push_back(value[i]);
    }
    return text;
}

std::optional<std::uint64_t> readNumber(const std::string& value)
{
    const bool isHexadecimal = value.compare(0, 2, "0x") == 0;
    const std::string digits = isHexadecimal ? value.substr(2) : value;
    const char* allowed = isHexadecimal ? "0123456789ABCDEF" : "0123456789";
    if (digits.empty() || digits.find_first_not_of(allowed) != std::string::npos)
        return std::nullopt;
    return std::strtoull(digits.c_str(), nullptr, isHexadecimal ? 16 : 10);
}

Bytes littleEndian(std::uint64_t value, std::size_t width)
{
    Bytes bytes;
    for (std::size_t i = 0; i < width; ++i)
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    return bytes;
}

template <class Units>
Bytes littleEndianUnits(const Units& units, std::size_t width)
{
    Bytes bytes;
    for (const auto unit : units)
        for (const std::uint8_t byte : littleEndian(unit, width))
            bytes.push_back(byte);
    return bytes;
}

/// The bytes that the annotation asks for; nothing for one that is none.
std::optional<Bytes> encoded(const ProtocolExample::Field& field)
{
    if (field.type == "utf8")
        return Bytes(field.value.begin(), field.value.end());
    const QString text = QString::fromStdString(field.value);
    if (field.type == "utf16")
        return littleEndianUnits(text.toStdU16String(), 2);
    if (field.type == "utf32")
        return littleEndianUnits(text.toUcs4(), 4);
    const std::optional<std::uint64_t> number = readNumber(field.value);
    if (!number)
        return std::nullopt;
    if (field.type == "zeros")
        return Bytes(static_cast<std::size_t>(*number), 0);
    for (const std::size_t width : {1U, 2U, 4U, 8U})
        if (field.type == "u" + std::to_string(8 * width) &&
            (width == 8 || *number >> (8 * width) == 0))
            return littleEndian(*number, width);
    return std::nullopt;
}

} // namespace

bool ProtocolExample::has(std::string_view fieldName) const
{
    return std::any_of(fields.begin(), fields.end(),
                       [&](const Field& field) { return field.name == fieldName; });
}

const ProtocolExample::Field& ProtocolExample::field(std::string_view fieldName) const
{
    for (const Field& field : fields)
        if (field.name == fieldName)
            return field;
    throw std::runtime_error(name + " has no field " + std::string(fieldName));
}

std::uint64_t ProtocolExample::number(std::string_view fieldName) const
{
    const std::optional<std::uint64_t> value = readNumber(field(fieldName).value);
    if (!value)
        throw std::runtime_error(name + ": " + std::string(fieldName) + " is no number");
    return *value;
}

std::vector<std::uint8_t> ProtocolExample::with(std::string_view fieldName,
                                                const std::vector<std::uint8_t>& other) const
{
    const Field& replaced = field(fieldName);
    if (other.size() != replaced.length)
        throw std::runtime_error(name + ": " + std::string(fieldName) + " has another length");
    Bytes result = bytes;
    std::copy(other.begin(), other.end(),
              result.begin() + static_cast<std::ptrdiff_t>(replaced.offset));
    return result;
}

std::vector<std::uint8_t> ProtocolExample::from(std::string_view fieldName) const
{
    return {bytes.begin() + static_cast<std::ptrdiff_t>(field(fieldName).offset), bytes.end()};
}

ProtocolDocument::ProtocolDocument(std::string_view markdown)
{
    ProtocolExample* open = nullptr;
    std::istringstream lines{std::string(markdown)};
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, exampleFence.size(), exampleFence) == 0) {
            examples_.emplace_back();
            open = &examples_.back();
            open->name = line.substr(exampleFence.size());
        } else if (open != nullptr && line == fence) {
            checkFields(*open);
            open = nullptr;
        } else if (open != nullptr) {
            readLine(line, *open);
        }
    }
    if (open != nullptr)
        mistakes_.push_back(open->name + ": does not end");
}

std::string ProtocolDocument::pageText()
{
    std::ifstream file(LOGDESK_SOURCE_DIR "/docs/protocol.md", std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

const ProtocolExample& ProtocolDocument::example(std::string_view name) const
{
    for (const ProtocolExample& example : examples_)
        if (example.name == name)
            return example;
    throw std::runtime_error("there is no example " + std::string(name));
}

void ProtocolDocument::readLine(std::string_view line, ProtocolExample& example)
{
    const auto mistake = [&](const char* what) {
        mistakes_.push_back(example.name + ": " + what + ": " + std::string(line));
    };
    std::string_view rest = line;
    const std::string_view offset = takeColumn(rest);
    if (!isDecimal(offset) || std::stoul(std::string(offset)) != example.bytes.size())
        return mistake("not the offset of what comes next");
    const std::optional<Bytes> bytes = readBytes(takeColumn(rest));
    if (!bytes || bytes->empty())
        return mistake("these are no bytes");
    example.bytes.insert(example.bytes.end(), bytes->begin(), bytes->end());
    if (rest.empty()) {
        if (example.fields.empty())
            return mistake("goes on with nothing");
        example.fields.back().length += bytes->size();
        return;
    }
    ProtocolExample::Field field;
    field.type = takeColumn(rest);
    const std::size_t equals = rest.find(" = ");
    if (equals == std::string_view::npos)
        return mistake("has no value");
    field.name = rest.substr(0, equals);
    field.value = unquoted(rest.substr(equals + 3));
    field.offset = example.bytes.size() - bytes->size();
    field.length = bytes->size();
    if (example.has(field.name))
        return mistake("is there twice");
    example.fields.push_back(std::move(field));
}

void ProtocolDocument::checkFields(const ProtocolExample& example)
{
    for (const ProtocolExample::Field& field : example.fields) {
        const auto begin = example.bytes.begin() + static_cast<std::ptrdiff_t>(field.offset);
        const Bytes shown(begin, begin + static_cast<std::ptrdiff_t>(field.length));
        bool isRight = false;
        if (field.type == "coded") {
            const std::string bytes(shown.begin(), shown.end());
            isRight = example.has("CodePage") &&
                      platform::multiByteToUtf16(bytes, example.number("CodePage")) ==
                          QString::fromStdString(field.value).toStdU16String();
        } else {
            isRight = encoded(field) == shown;
        }
        if (!isRight)
            mistakes_.push_back(example.name + ": " + field.type + " " + field.name + " = " +
                                field.value + " is not what the bytes are");
    }
}

} // namespace zuLogging::test
