#pragma once

#include "logging/WorkControl.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QString>

#include <boost/thread/thread.hpp>

#include <cstdint>
#include <functional>
#include <memory>

class QProgressBar;
class QShortcut;
class QStatusBar;
class QToolButton;
class QWidget;

namespace zuLogging {

/// Long work of the window: it is done on a thread of its own while the caller waits, and the
/// window goes on painting and answering. Work that is over soon is waited for without any of this
/// showing. After a while the status bar tells what is going on and how far it is, with a button
/// and the Escape key to cancel it, and everything else of the window is disabled until the end.
///
/// GUI thread only. One work at a time: whoever may be called meanwhile, by a timer or a queued
/// call, asks `isRunning` first.
class WorkProgress : public QObject
{
    Q_OBJECT

public:
    enum class End
    {
        Done,
        Cancelled,
        Gone ///< this object was destroyed meanwhile: nothing of it may be touched any more
    };
    enum class Cancel
    {
        Allowed,
        Never ///< a half result would do harm
    };
    /// The defaults are for everyone but tests.
    struct Limits
    {
        int rows = 4096;              ///< work on fewer rows is done at once
        std::int64_t bytes = 1 << 18; ///< of a file, the same
        int silentMs = 60;            ///< only waits
        int shownAfterMs = 300;       ///< then on the window paints; from here on it shows the work
        int roundMs = 20;             ///< the longest that an event waits meanwhile
    };
    /// What the work has made; freed on another thread when nobody takes it.
    using Result = std::shared_ptr<void>;
    using Work = std::function<Result(WorkControl&)>;

    /// `view` is what the work belongs to: its window is disabled meanwhile. `statusBar` is not
    /// owned and may be null: then nothing can be seen.
    WorkProgress(QStatusBar* statusBar, QWidget* view);
    ~WorkProgress() override;

    /// Does `work`, described by `what` ("Sorting"), on a thread of its own if it `isLong`. Throws
    /// what the work throws, but for WorkCancelled. `result` is set when the work is done.
    End run(const QString& what, bool isLong, Cancel cancel, const Work& work,
            Result* result = nullptr);
    /// The same by a size.
    bool isLong(int rows) const { return rows >= limits_.rows; }
    bool isLongFile(std::int64_t bytes) const { return bytes >= limits_.bytes; }

    bool isRunning() const { return job_ != nullptr; }
    /// Ends the work that runs, if it may be cancelled. Returns at once.
    void cancel();
    /// Ends it also when it may not: the window closes, nobody is going to see the half result.
    void cancelAny();
    /// Ends the work that runs, and waits for that; its `run` returns Gone. For destructors.
    void abandon();
    /// Frees on another thread what may take long to free.
    void discard(Result garbage);

    // For tests.
    Limits& limits() { return limits_; }
    /// Called on the working thread with each report.
    void setAtReport(std::function<void(WorkControl&)> atReport)
    {
        atReport_ = std::move(atReport);
    }
    /// How often events were let in since this was made.
    int rounds() const { return rounds_; }

Q_SIGNALS:
    /// The status bar shows the work, and the window is disabled.
    void shown();
    /// Work that was done on a thread of its own is over; all is as it was before.
    void ended();

private:
    struct Job;
    class Disabled;

    void show(Job& job);
    void update(Job& job);
    void hide(Job& job);
    void join(Job& job);

    QPointer<QStatusBar> statusBar_;
    QWidget* view_;
    QPointer<QWidget> box_; ///< this to the shortcut: the status bar's, null without one
    QPointer<QProgressBar> bar_;
    QPointer<QToolButton> cancelButton_;
    QPointer<QShortcut> escape_;
    Limits limits_;
    std::function<void(WorkControl&)> atReport_;
    int rounds_ = 0;
    std::shared_ptr<Job> job_;
    boost::thread freeing_;
};

} // namespace zuLogging
