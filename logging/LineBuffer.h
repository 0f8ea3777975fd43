#pragma once

#include <functional>
#include <streambuf>
#include <string>
#include <string_view>
#include <utility>

namespace zuLogging {

/// The inside of a stream that hands on, when it is flushed, the whole lines written to it.
template <class Character>
class LineBuffer final : public std::basic_streambuf<Character>
{
public:
    /// Gets one or more lines with their ends.
    using Output = std::function<void(std::basic_string_view<Character> lines)>;

    explicit LineBuffer(Output output)
        : output_(std::move(output))
    {
    }

protected:
    using Base = std::basic_streambuf<Character>;
    using typename Base::int_type;
    using typename Base::traits_type;

    int_type overflow(int_type character) override
    {
        if (!traits_type::eq_int_type(character, traits_type::eof()))
            text_.push_back(traits_type::to_char_type(character));
        return traits_type::not_eof(character);
    }
    std::streamsize xsputn(const Character* text, std::streamsize count) override
    {
        text_.append(text, static_cast<std::size_t>(count));
        return count;
    }
    int sync() override
    {
        const std::size_t end = text_.rfind(Character('\n'));
        if (end == std::basic_string<Character>::npos)
            return 0;
        output_(std::basic_string_view<Character>(text_).substr(0, end + 1));
        text_.erase(0, end + 1);
        return 0;
    }

private:
    Output output_;
    std::basic_string<Character> text_;
};

} // namespace zuLogging
