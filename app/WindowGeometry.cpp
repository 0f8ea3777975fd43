#include "app/WindowGeometry.h"

namespace zuLogging {

QRect initialWindowGeometry(const QSize& screen)
{
    // Single precision for the size, double for the position: the products are cut to whole pixels,
    // and the other precision would lose one on some screens.
    const QSize size(static_cast<int>(static_cast<float>(screen.width()) * 0.8F),
                     static_cast<int>(static_cast<float>(screen.height()) * 0.8F));
    const QPoint position(static_cast<int>(screen.width() * 0.1),
                          static_cast<int>(screen.height() * 0.1));
    return {position, size.expandedTo(QSize(minimumWindowWidth, minimumWindowHeight))};
}

} // namespace zuLogging
