#pragma once

#include <QRect>
#include <QSize>

namespace zuLogging {

inline constexpr int minimumWindowWidth = 640;
inline constexpr int minimumWindowHeight = 480;

/// Where the main window opens on a screen of that size in pixels: 80 % of each side, a tenth of
/// each side away from the top left corner, fractions cut off, and never smaller than the minimum.
QRect initialWindowGeometry(const QSize& screen);

} // namespace zuLogging
