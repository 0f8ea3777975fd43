#include "view/HostActions.h"

#include "view/LogViewHost.h"

#include <QAction>
#include <QSignalBlocker>

namespace zuLogging {

namespace {

void setEnabled(QAction* action, bool enabled)
{
    if (action)
        action->setEnabled(enabled);
}

void setCheckedSilently(QAction* action, bool checked)
{
    if (!action)
        return;
    const QSignalBlocker blocker(action);
    action->setChecked(checked);
}

} // namespace

HostActions::HostActions(const LogViewHost* host)
    : host_(host)
{
}

void HostActions::enableStartAndStop(bool start, bool stop) const
{
    if (!host_)
        return;
    setEnabled(host_->replayAction(), start);
    setEnabled(host_->startAction(), start);
    setEnabled(host_->stopAction(), stop);
}

void HostActions::enableWhatChangesRows(bool enabled) const
{
    if (!host_)
        return;
    setEnabled(host_->filterAction(), enabled);
    setEnabled(host_->resizeRowsAction(), enabled);
}

void HostActions::checkResizeRows(bool on) const
{
    if (QAction* action = host_ ? host_->resizeRowsAction() : nullptr)
        action->setChecked(on);
}

void HostActions::checkSeconds() const
{
    if (!host_)
        return;
    setCheckedSilently(host_->secondsAction(), true);
    setCheckedSilently(host_->dateAndTimeAction(), false);
}

QAction* HostActions::dateAndTime() const
{
    return host_ ? host_->dateAndTimeAction() : nullptr;
}

QAction* HostActions::seconds() const
{
    return host_ ? host_->secondsAction() : nullptr;
}

} // namespace zuLogging
