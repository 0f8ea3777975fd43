#pragma once

namespace zuLogging {

/// Displayed rows and columns of a table, the last ones included.
struct CellRange
{
    int top;
    int bottom;
    int left;
    int right;
};

} // namespace zuLogging
