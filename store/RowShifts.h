#pragma once

#include <vector>

namespace zuLogging {

/// What happened to the row numbers of a table since the views were last told: a short list of
/// "from this row on, so many came or went". Removals of neighbours, the rule at the row limit, are
/// one entry however many they are.
class RowShifts
{
public:
    void removed(int row, int count) { note(row, -count); }
    void inserted(int row, int count) { note(row, count); }
    bool isEmpty() const { return shifts_.empty() && !lost_; }
    void clear();

    /// Where the row that had the number `row` is now; -1 when it is gone, or when too much
    /// happened to tell.
    int newRow(int row) const;

private:
    struct Shift
    {
        int row;
        int by;
    };
    void note(int row, int by);

    std::vector<Shift> shifts_;
    bool lost_ = false; ///< the list became too long to be worth keeping
};

} // namespace zuLogging
