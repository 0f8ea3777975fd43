#include "config/LogConfigView.h"

#include <QDockWidget>
#include <QEvent>
#include <QSignalBlocker>

namespace zuLogging {

LogConfigView::LogConfigView(QWidget* window)
    : dock_(new QDockWidget(tr("Configuration"), window))
{
    setObjectName(QStringLiteral("LogConfigView"));
    dock_->setObjectName(QStringLiteral("LogConfigDock"));
    dock_->setAllowedAreas(Qt::RightDockWidgetArea);
    dock_->setWidget(this);
    dock_->installEventFilter(this);
}

QWidget* LogConfigView::floatingWindow() const
{
    return dock_->isFloating() ? dock_ : nullptr;
}

void LogConfigView::closeFloatingWindow()
{
    // The user did not ask for the view to be hidden: the setting that shows it must stay.
    const QSignalBlocker quiet(this);
    if (QWidget* window = floatingWindow())
        window->close();
}

bool LogConfigView::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == dock_ && event->type() == QEvent::Close)
        Q_EMIT closeRequested();
    return QWidget::eventFilter(watched, event);
}

} // namespace zuLogging
