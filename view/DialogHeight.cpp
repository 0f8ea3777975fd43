#include "view/DialogHeight.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

namespace zuLogging {

namespace {
constexpr int titleBarHeight = 40;
} // namespace

int availableDialogHeight(const QWidget* parent)
{
    const QScreen* screen =
        parent ? QGuiApplication::screenAt(parent->window()->geometry().center()) : nullptr;
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    return screen->availableGeometry().height() - titleBarHeight;
}

} // namespace zuLogging
