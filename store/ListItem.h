#pragma once

namespace zuLogging {

/// One entry of a sort index: a row's key and its number in order of arrival.
template <class Key>
struct ListItem
{
    Key key;
    int row;
};

} // namespace zuLogging
