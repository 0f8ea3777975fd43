#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zuLogging::test {

/// One block of bytes of docs/protocol.md, field by field as the page annotates it.
struct ProtocolExample
{
    struct Field
    {
        std::string type; ///< as the page explains them: "u16", "utf8", "zeros" ...
        std::string name;
        std::string value; ///< as written, without quotes and their escapes
        std::size_t offset = 0;
        std::size_t length = 0; ///< in bytes
    };

    std::string name;
    std::vector<std::uint8_t> bytes;
    std::vector<Field> fields;

    bool has(std::string_view fieldName) const;
    /// Throws std::runtime_error when there is no such field.
    const Field& field(std::string_view fieldName) const;
    /// What the page says, not what the bytes are.
    std::uint64_t number(std::string_view fieldName) const;
    const std::string& text(std::string_view fieldName) const { return field(fieldName).value; }

    /// The bytes with those of one field replaced by others of the same length.
    std::vector<std::uint8_t> with(std::string_view fieldName,
                                   const std::vector<std::uint8_t>& other) const;
    std::vector<std::uint8_t> from(std::string_view fieldName) const;
};

/// Reads the examples out of the page's text: the blocks fenced as "hex NAME". Each field's bytes
/// are put together anew from its type and value, and compared with the ones that are shown.
class ProtocolDocument
{
public:
    explicit ProtocolDocument(std::string_view markdown);

    /// The page of the source tree.
    static std::string pageText();

    const std::vector<ProtocolExample>& examples() const { return examples_; }
    /// Throws std::runtime_error when there is none of that name.
    const ProtocolExample& example(std::string_view name) const;
    /// What is wrong: one line each.
    const std::vector<std::string>& mistakes() const { return mistakes_; }

private:
    void readLine(std::string_view line, ProtocolExample& example);
    void checkFields(const ProtocolExample& example);

    std::vector<ProtocolExample> examples_;
    std::vector<std::string> mistakes_;
};

} // namespace zuLogging::test
