#pragma once

#include <memory>

class QAction;
class QMenu;

namespace zuLogging {

class LogContainer;

/// What the log message view needs of the window that it lives in. The main window is one; the view
/// finds it by a dynamic cast of its parent widget, and does without when there is none.
class LogViewHost
{
public:
    virtual ~LogViewHost() = default;

    virtual std::shared_ptr<LogContainer> messageStore() const = 0;

    /// A changed configuration was not saved yet.
    virtual bool isConfigurationModified() const = 0;

    // The window's actions that the view keeps in step with its own state. May be null.
    virtual QAction* filterAction() const = 0;
    virtual QAction* resizeRowsAction() const = 0;
    virtual QAction* replayAction() const = 0;
    virtual QAction* startAction() const = 0;
    virtual QAction* stopAction() const = 0;
    virtual QAction* dateAndTimeAction() const = 0;
    virtual QAction* secondsAction() const = 0;
};

} // namespace zuLogging
