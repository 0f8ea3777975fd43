#pragma once

class QAction;

namespace zuLogging {

class LogViewHost;

/// The actions of the main window that the message view keeps in step with its own state. Any of
/// them, and the window itself, may be missing. GUI thread.
class HostActions
{
public:
    /// `host` is not owned, may be null.
    explicit HostActions(const LogViewHost* host);

    /// Replay, start and stop, like the buttons.
    void enableStartAndStop(bool start, bool stop) const;
    /// "Filter..." and "Resize rows".
    void enableWhatChangesRows(bool enabled) const;
    /// Runs the window's slot when that is a change.
    void checkResizeRows(bool on) const;
    /// As the time display. Without running the window's slots.
    void checkSeconds() const;

    QAction* dateAndTime() const;
    QAction* seconds() const;

private:
    const LogViewHost* host_;
};

} // namespace zuLogging
