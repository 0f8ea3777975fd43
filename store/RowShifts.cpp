#include "store/RowShifts.h"

#include <cstddef>

namespace zuLogging {

namespace {
constexpr std::size_t maximumShifts = 4096; // a model that no view shows is never asked
} // namespace

void RowShifts::note(int row, int by)
{
    if (lost_ || by == 0)
        return;
    if (!shifts_.empty() && by < 0 && shifts_.back().by < 0 && shifts_.back().row == row) {
        shifts_.back().by += by;
        return;
    }
    if (shifts_.size() == maximumShifts) {
        shifts_.clear();
        lost_ = true;
        return;
    }
    shifts_.push_back({row, by});
}

void RowShifts::clear()
{
    shifts_.clear();
    lost_ = false;
}

int RowShifts::newRow(int row) const
{
    if (lost_)
        return -1;
    for (const Shift& shift : shifts_) {
        if (row < shift.row)
            continue;
        if (row + shift.by < shift.row)
            return -1;
        row += shift.by;
    }
    return row;
}

} // namespace zuLogging
