#include "config/ConfigDock.h"

#include "config/ConfigFloatingWindow.h"

#include <QAction>
#include <QEvent>
#include <QLayout>

namespace zuLogging {

ConfigDock::ConfigDock(const QString& title, QWidget* window)
    : QDockWidget(title, window)
    , floatingWindow_(std::make_unique<ConfigFloatingWindow>())
{
    setObjectName(QStringLiteral("LogConfigDock"));
    setAllowedAreas(Qt::RightDockWidgetArea);
    // The content has a toolbar, which is the title bar and has the button that undocks.
    setFeatures(QDockWidget::NoDockWidgetFeatures);
    setTitleBarWidget(new QWidget(this));
    toggleViewAction()->setVisible(false);
    connect(floatingWindow_.get(), &ConfigFloatingWindow::closeRequested, this,
            &ConfigDock::closeRequested);
    connect(floatingWindow_.get(), &ConfigFloatingWindow::maximizedChanged, this,
            &ConfigDock::maximizedChanged);
}

ConfigDock::~ConfigDock() = default;

void ConfigDock::setContent(QWidget* home, QWidget* content)
{
    content_ = content;
    setWidget(home);
}

ConfigFloatingWindow* ConfigDock::floatingWindow() const
{
    return docked_ ? nullptr : floatingWindow_.get();
}

void ConfigDock::toggleDocked()
{
    if (docked_)
        undock();
    else
        putBack();
}

void ConfigDock::undock()
{
    docked_ = false;
    hide();
    floatingWindow_->layout()->addWidget(content_);
    content_->show();
    Q_EMIT dockedChanged(false);
    floatingWindow_->show();
    floatingWindow_->activateWindow();
}

void ConfigDock::putBack()
{
    const bool visible = floatingWindow_->isVisible();
    docked_ = true;
    floatingWindow_->hide();
    widget()->layout()->addWidget(content_);
    content_->show();
    Q_EMIT dockedChanged(true);
    setFloating(false);
    setVisible(visible);
}

void ConfigDock::setVisible(bool visible)
{
    if (!visible || docked_)
        QDockWidget::setVisible(visible);
}

void ConfigDock::bringForward(QWidget* target)
{
    setVisible(true);
    // Not away from what is inside of it: somebody may be typing there. And, unless it has just
    // been shown, not from who goes through the window with the Tab key, which would never lead
    // past it.
    const QWidget* focus = window()->focusWidget();
    const bool isTaken =
        focus != nullptr && (isAncestorOf(focus) ||
                             (!justShown_ && window()->testAttribute(Qt::WA_KeyboardFocusChange)));
    // Not through a proxy of the dock's: Tab would then leave out its buttons.
    if (!isTaken && target != nullptr)
        target->setFocus();
    justShown_ = false;
    raise();
}

bool ConfigDock::event(QEvent* event)
{
    if (event->type() == QEvent::Close)
        Q_EMIT closeRequested();
    if (event->type() == QEvent::Show)
        justShown_ = true;
    return QDockWidget::event(event);
}

} // namespace zuLogging
