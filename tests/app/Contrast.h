#pragma once

#include <QColor>

#include <algorithm>
#include <cmath>

namespace zuLogging::test {

// Contrasts as the Web Content Accessibility Guidelines compute them.

inline double linearChannel(int channel)
{
    const double c = channel / 255.0;
    return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
}

inline double luminance(QRgb colour)
{
    return 0.2126 * linearChannel(qRed(colour)) + 0.7152 * linearChannel(qGreen(colour)) +
           0.0722 * linearChannel(qBlue(colour));
}

/// Of two luminances.
inline double contrastOf(double a, double b)
{
    return (std::max(a, b) + 0.05) / (std::min(a, b) + 0.05);
}

inline double contrast(QRgb a, QRgb b)
{
    return contrastOf(luminance(a), luminance(b));
}

} // namespace zuLogging::test
