#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace zuLogging {

class WorkControl;

/// Where each of many texts stands among them in ascending order of UTF-16 code units.
struct TextOrder
{
    /// By the text's place in the input: 0 for the smallest, the same for equal texts, no gaps.
    std::vector<std::uint32_t> ranks;
    std::uint32_t distinct = 0; ///< how many different texts there are
};

/// Writes the texts from place `first` to before `last` to `to`. They stay where they are.
using TextSource =
    std::function<void(std::size_t first, std::size_t last, std::u16string_view* to)>;

/// Takes time in proportion to what has to be read of the texts to tell them apart, and n log n
/// beyond that, whatever the input; the stack is flat. At most 2^32 - 1 texts. With a `control` it
/// tells how far it is, and throws WorkCancelled. Asks `source` for some texts at a time, for each
/// of them twice at most.
TextOrder orderTexts(std::size_t count, const TextSource& source, WorkControl* control = nullptr);
/// The same of texts that stand in a list.
TextOrder orderTexts(const std::vector<std::u16string_view>& texts);

} // namespace zuLogging
