#pragma once

#include <QCoreApplication>
#include <QString>

#include <array>

class QAction;
class QWidget;

namespace zuLogging {

/// The context menu of the message table, made anew each time it opens. GUI thread.
class LogTableMenu
{
    Q_DECLARE_TR_FUNCTIONS(zuLogging::LogTableMenu)

public:
    /// `view` has the slots that the actions run, and owns them.
    explicit LogTableMenu(QWidget* view);

    /// Opens it at the mouse and waits until it is closed; `view` and this may be gone then. The
    /// actions of the time display are the window's, and may be null.
    void exec(QAction* dateAndTime, QAction* seconds);

private:
    QAction* makeAction(const QString& text, const QString& iconPath, const QString& statusTip,
                        const char* slot);
    void remakeActions();

    QWidget* view_;
    QAction* filter_ = nullptr;
    QAction* copyAll_ = nullptr;
    QAction* copy_ = nullptr;
    std::array<QAction*, 5> actions_{}; ///< these, and two that the menu does not show
};

} // namespace zuLogging
