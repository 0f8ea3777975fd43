#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <unordered_map>

namespace zuLogging {

/// The service message identifiers of a model's rows, in row order. Finds the first row of an
/// identifier without searching the whole list where the answer can be had for less: while the
/// identifiers ascend, as a service hands them out, by bisection; otherwise a count for each
/// identifier (made at the first look-up, kept from then on) says at once what is not there.
class IdentifierList
{
public:
    std::size_t size() const { return identifiers_.size(); }
    bool isEmpty() const { return identifiers_.empty(); }
    std::uint64_t first() const { return identifiers_.front(); }

    void append(std::uint64_t identifier);
    /// Before `row`, which is at most `size()`.
    void insert(std::size_t row, std::uint64_t identifier);
    void removeFirst() { removeAt(0); }
    /// So many, which are there.
    void removeFirst(std::size_t count);
    void removeAt(std::size_t row);
    void clear();

    /// The first row of `identifier`; -1 when it is not there.
    int indexOf(std::uint64_t identifier);

private:
    /// 1 when the identifier of `row` is below that of the row before, else 0.
    std::size_t descentAt(std::size_t row) const;
    void dropCounts();

    std::deque<std::uint64_t> identifiers_;
    std::size_t descents_ = 0; ///< rows whose identifier is below that of the row before
    std::unordered_map<std::uint64_t, std::size_t> counts_;
    bool counted_ = false;
};

} // namespace zuLogging
