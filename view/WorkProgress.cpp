#include "view/WorkProgress.h"

#include <QAction>
#include <QApplication>
#include <QHBoxLayout>
#include <QProgressBar>
#include <QShortcut>
#include <QSignalBlocker>
#include <QStatusBar>
#include <QToolButton>
#include <QWidget>
#include <QWidgetAction>

#include <boost/date_time/posix_time/posix_time_duration.hpp>
#include <boost/thread/condition_variable.hpp>
#include <boost/thread/exceptions.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>

#include <exception>
#include <utility>
#include <vector>

namespace zuLogging {

/// Everything of a window but its status bar, disabled as long as this lives. What was disabled
/// before stays so afterwards.
class WorkProgress::Disabled
{
public:
    Disabled(QWidget* view, const QWidget* kept)
        : focus_(QApplication::focusWidget())
    {
        QWidget* const window = view->window();
        const auto children = window->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly);
        for (QWidget* child : children)
            if (child != kept && !child->isWindow())
                add(child);
        // Its dialogs, and what was undocked.
        const auto others = QApplication::topLevelWidgets();
        for (QWidget* other : others)
            if (other != window && isOwnedBy(other, window) && isDialogOrWindow(*other))
                add(other);
        // Keys and assistive programs reach actions past the menus that show them.
        const auto actions = window->findChildren<QAction*>();
        for (QAction* action : actions) {
            // One that stands for a widget would enable the widget afterwards, come what may.
            if (!action->isEnabled() || action->isSeparator() ||
                qobject_cast<QWidgetAction*>(action))
                continue;
            setEnabledSilently(action, false);
            actions_.emplace_back(action);
        }
    }
    ~Disabled()
    {
        for (const QPointer<QWidget>& widget : widgets_)
            if (widget)
                widget->setEnabled(true);
        for (const QPointer<QAction>& action : actions_)
            if (action)
                setEnabledSilently(action, true);
        if (focus_ && focus_->isEnabled())
            focus_->setFocus();
    }
    Disabled(const Disabled&) = delete;
    Disabled& operator=(const Disabled&) = delete;

private:
    static bool isOwnedBy(const QWidget* widget, const QWidget* window)
    {
        while (widget && widget != window)
            widget = widget->parentWidget();
        return widget != nullptr;
    }
    static bool isDialogOrWindow(const QWidget& widget)
    {
        const Qt::WindowType type = widget.windowType();
        return type == Qt::Dialog || type == Qt::Window || type == Qt::Tool;
    }
    /// Menus see it by an event; the slots that a switch runs at each change have nothing to do.
    static void setEnabledSilently(QAction* action, bool enabled)
    {
        const QSignalBlocker quiet(action);
        action->setEnabled(enabled);
    }
    void add(QWidget* widget)
    {
        if (widget->testAttribute(Qt::WA_ForceDisabled) || !widget->isEnabled())
            return;
        widget->setEnabled(false);
        widgets_.emplace_back(widget);
    }

    QPointer<QWidget> focus_;
    std::vector<QPointer<QWidget>> widgets_;
    std::vector<QPointer<QAction>> actions_;
};

struct WorkProgress::Job
{
    explicit Job(std::function<void(WorkControl&)> atReport)
        : control(std::move(atReport))
    {
    }

    void run(const Work& work)
    {
        try {
            result = work(control);
        } catch (...) {
            error = std::current_exception();
        }
        const boost::unique_lock<boost::mutex> lock(mutex);
        over = true;
        ended.notify_all();
    }
    /// True when the work is over.
    bool waitFor(int milliseconds)
    {
        boost::unique_lock<boost::mutex> lock(mutex);
        return ended.timed_wait(lock, boost::posix_time::milliseconds(milliseconds),
                                [this] { return over; });
    }

    WorkControl control;
    QString what;
    Cancel cancel = Cancel::Allowed;
    boost::thread thread;
    boost::mutex mutex;
    boost::condition_variable ended;
    bool over = false;        ///< under the mutex
    std::exception_ptr error; ///< this and the next: the work's, then the window's
    Result result;

    bool abandoned = false; ///< this and the next: the window's
    bool isShown = false;
    std::unique_ptr<Disabled> disabled;
    QString statusBefore;
};

WorkProgress::WorkProgress(QStatusBar* statusBar, QWidget* view)
    : QObject(view)
    , statusBar_(statusBar)
    , view_(view)
{
    if (!statusBar)
        return;
    box_ = new QWidget(statusBar);
    box_->setObjectName(QStringLiteral("workBox"));
    bar_ = new QProgressBar(box_);
    bar_->setObjectName(QStringLiteral("workBar"));
    bar_->setAccessibleName(tr("Progress"));
    bar_->setRange(0, 100);
    bar_->setTextVisible(false); // the text beside it says it
    cancelButton_ = new QToolButton(box_);
    cancelButton_->setObjectName(QStringLiteral("workCancelButton"));
    cancelButton_->setText(tr("Cancel"));
    cancelButton_->setAccessibleName(tr("Cancel"));
    cancelButton_->setFocusPolicy(Qt::StrongFocus);
    connect(cancelButton_, &QToolButton::clicked, this, &WorkProgress::cancel);
    escape_ = new QShortcut(QKeySequence(Qt::Key_Escape), box_);
    escape_->setContext(Qt::ApplicationShortcut);
    escape_->setEnabled(false);
    connect(escape_, &QShortcut::activated, this, &WorkProgress::cancel);

    auto* layout = new QHBoxLayout(box_);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(bar_);
    layout->addWidget(cancelButton_);
    // A status bar that grew would take room from the table, whose columns follow its size.
    constexpr int barWidth = 160;
    box_->setFixedHeight(statusBar->fontMetrics().height());
    bar_->setFixedWidth(barWidth);
    bar_->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Ignored);
    cancelButton_->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Ignored);
    box_->hide(); // before it is added, which would show it
    statusBar->addPermanentWidget(box_);
}

WorkProgress::~WorkProgress()
{
    abandon();
    if (freeing_.joinable())
        freeing_.join();
    delete box_;
}

WorkProgress::End WorkProgress::run(const QString& what, bool isLong, Cancel cancel,
                                    const Work& work, Result* result)
{
    Q_ASSERT(!isRunning());
    const auto job = std::make_shared<Job>(atReport_);
    if (isLong) {
        job->what = what;
        job->cancel = cancel;
        try {
            job->thread = boost::thread([job, &work] { job->run(work); });
        } catch (const boost::thread_resource_error&) {
            // then without
        }
    }
    if (!job->thread.joinable()) {
        job->run(work);
    } else {
        job_ = job;
        QElapsedTimer clock;
        clock.start();
        // What is pressed before the work shows is kept for later, as by a window that is busy.
        bool over = limits_.silentMs > 0 && job->waitFor(limits_.silentMs);
        while (!over) {
            if (!job->isShown && clock.elapsed() >= limits_.shownAfterMs)
                show(*job);
            if (job->isShown)
                update(*job);
            ++rounds_;
            QCoreApplication::processEvents(job->isShown ? QEventLoop::AllEvents
                                                         : QEventLoop::ExcludeUserInputEvents);
            if (job->abandoned)
                return End::Gone;
            over = job->waitFor(limits_.roundMs);
        }
        join(*job);
        job_.reset();
        hide(*job);
        Q_EMIT ended();
    }
    if (job->error) {
        try {
            std::rethrow_exception(job->error);
        } catch (const WorkCancelled&) {
            return End::Cancelled;
        }
    }
    if (result)
        *result = std::move(job->result);
    return End::Done;
}

void WorkProgress::join(Job& job)
{
    if (job.thread.joinable())
        job.thread.join();
}

void WorkProgress::cancel()
{
    if (job_ && job_->cancel == Cancel::Allowed)
        job_->control.cancel();
}

void WorkProgress::cancelAny()
{
    if (job_)
        job_->control.cancel();
}

void WorkProgress::abandon()
{
    if (!job_)
        return;
    const std::shared_ptr<Job> job = std::move(job_);
    job_.reset();
    job->abandoned = true;
    job->control.cancel();
    join(*job);
    job->result.reset(); // it may hold what others wait for
    hide(*job);
}

void WorkProgress::discard(Result garbage)
{
    if (!garbage)
        return;
    const auto before = std::make_shared<boost::thread>(std::move(freeing_));
    // Once more around it: the thread may be done before this function is, which then would be the
    // last to hold the garbage itself.
    const auto held = std::make_shared<Result>(std::move(garbage));
    try {
        freeing_ = boost::thread([before, held] {
            if (before->joinable())
                before->join();
            held->reset();
        });
    } catch (const boost::thread_resource_error&) {
        freeing_ = std::move(*before); // then here
    }
}

void WorkProgress::show(Job& job)
{
    job.isShown = true;
    job.disabled = std::make_unique<Disabled>(view_, statusBar_);
    if (statusBar_ && box_) {
        job.statusBefore = statusBar_->currentMessage();
        const bool allowed = job.cancel == Cancel::Allowed;
        bar_->setValue(0);
        cancelButton_->setEnabled(allowed);
        cancelButton_->setVisible(allowed);
        escape_->setEnabled(allowed);
        box_->show();
        if (allowed)
            cancelButton_->setFocus();
    }
    Q_EMIT shown();
}

void WorkProgress::update(Job& job)
{
    if (!statusBar_ || !box_)
        return;
    const int percent = job.control.percent();
    const QString text = tr("%1: %2 %").arg(job.what, QString::number(percent));
    if (statusBar_->currentMessage() != text)
        statusBar_->showMessage(text);
    bar_->setValue(percent);
    bar_->setAccessibleDescription(job.what);
    cancelButton_->setEnabled(job.control.canBeCancelled());
}

void WorkProgress::hide(Job& job)
{
    if (!job.isShown)
        return;
    job.isShown = false;
    if (box_) {
        escape_->setEnabled(false);
        box_->hide();
    }
    job.disabled.reset(); // behind the box: the focus goes back to where it was
    if (statusBar_)
        statusBar_->showMessage(job.statusBefore);
}

} // namespace zuLogging
