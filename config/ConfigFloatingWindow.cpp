#include "config/ConfigFloatingWindow.h"

#include <QEvent>
#include <QIcon>
#include <QVBoxLayout>

namespace zuLogging {

namespace {

constexpr int floatingWidth = 600;
constexpr int floatingHeight = 450;

} // namespace

ConfigFloatingWindow::ConfigFloatingWindow()
{
    setObjectName(QStringLiteral("configFloatingWindow"));
    setWindowTitle(QStringLiteral("Arvenza LogDesk"));
    setWindowIcon(QIcon(QStringLiteral(":/logging.png")));
    resize(floatingWidth, floatingHeight);
    // The program ends with its main window.
    setAttribute(Qt::WA_QuitOnClose, false);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
}

void ConfigFloatingWindow::toggleMaximized()
{
    // The window tells at once that its state changes: not asked for again.
    const bool maximize = !maximized_;
    if (maximize) {
        normalGeometry_ = geometry();
        showMaximized();
    } else {
        const QRect before = normalGeometry_;
        showNormal();
        // A window that was closed meanwhile has forgotten how large it was.
        if (before.isValid())
            setGeometry(before);
    }
    setMaximized(maximize);
}

void ConfigFloatingWindow::setMaximized(bool maximized)
{
    maximized_ = maximized;
    if (!maximized)
        normalGeometry_ = QRect();
    Q_EMIT maximizedChanged(maximized);
}

bool ConfigFloatingWindow::event(QEvent* event)
{
    if (event->type() == QEvent::Close)
        Q_EMIT closeRequested();
    // Also by the window's own title bar.
    if (event->type() == QEvent::WindowStateChange)
        setMaximized(isMaximized());
    return QWidget::event(event);
}

} // namespace zuLogging
