#include "view/LogTableMenu.h"

#include <QAction>
#include <QCursor>
#include <QIcon>
#include <QKeySequence>
#include <QMenu>
#include <QPointer>

namespace zuLogging {

namespace {

void showShortcut(QAction* action, const QKeySequence& keys)
{
    action->setShortcut(keys);
    action->setShortcutVisibleInContextMenu(true);
}

} // namespace

LogTableMenu::LogTableMenu(QWidget* view)
    : view_(view)
{
}

QAction* LogTableMenu::makeAction(const QString& text, const QString& iconPath,
                                  const QString& statusTip, const char* slot)
{
    auto* action = new QAction(text, view_);
    if (!iconPath.isEmpty())
        action->setIcon(QIcon(iconPath));
    action->setStatusTip(statusTip);
    QObject::connect(action, SIGNAL(triggered()), view_, slot);
    return action;
}

void LogTableMenu::remakeActions()
{
    for (QAction* old : actions_)
        delete old;
    filter_ = makeAction(tr("Filter..."), QString(), tr("Set filtering options"),
                         SLOT(filterSelection()));
    showShortcut(filter_, QKeySequence(Qt::SHIFT | Qt::Key_F));
    QAction* save = makeAction(tr("Save log view..."), QStringLiteral(":/saveText.png"),
                               tr("Save the current log view to text file (inclusive filter)"),
                               SLOT(messageViewSaveClicked()));
    QAction* clear = makeAction(tr("Clear log"), QStringLiteral(":/clearText.png"),
                                tr("Clear the log window"), SLOT(messageViewClearClicked()));
    copyAll_ =
        makeAction(tr("Copy all"), QStringLiteral(":/copy.png"),
                   tr("Copy current log view to clipboard"), SLOT(messageViewClipboardClicked()));
    showShortcut(copyAll_, QKeySequence(QKeySequence::SelectAll));
    copy_ = makeAction(tr("Copy"), QStringLiteral(":/copySelection.png"),
                       tr("Copy selection to clipboard"), SLOT(selectionClipboardClicked()));
    showShortcut(copy_, QKeySequence(QKeySequence::Copy));
    actions_ = {filter_, save, clear, copyAll_, copy_};
}

void LogTableMenu::exec(QAction* dateAndTime, QAction* seconds)
{
    remakeActions();
    const QPointer<QMenu> menu(new QMenu(view_));
    menu->setObjectName(QStringLiteral("logTableMenu"));
    QAction reference(tr("Set Time Reference (toggle)"));
    QObject::connect(&reference, SIGNAL(triggered(bool)), view_, SLOT(setReferenceTimeClicked()));
    menu->addAction(&reference);
    QMenu* format = menu->addMenu(tr("Time Display Format"));
    for (QAction* action : {dateAndTime, seconds})
        if (action)
            format->addAction(action);
    menu->addSeparator();
    menu->addAction(filter_);
    menu->addSeparator();
    menu->addAction(copy_);
    menu->addAction(copyAll_);
    menu->exec(QCursor::pos());
    delete menu; // null when the view went away under the open menu
}

} // namespace zuLogging
