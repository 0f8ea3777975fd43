#include "view/LogStatusLabels.h"

#include "store/LogTableModel.h"
#include "view/LostMessages.h"

#include <QLabel>
#include <QStatusBar>

namespace zuLogging {

namespace {

QLabel* addStatusLabel(QStatusBar* statusBar, const QString& name)
{
    auto* label = new QLabel(statusBar);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->hide(); // before it is added, which would show it
    statusBar->addPermanentWidget(label);
    return label;
}

} // namespace

LogStatusLabels::LogStatusLabels(QStatusBar* statusBar)
{
    if (!statusBar)
        return;
    rows_ = addStatusLabel(statusBar, QStringLiteral("shownRowsLabel"));
    lost_ = addStatusLabel(statusBar, QStringLiteral("lostLabel"));
}

LogStatusLabels::~LogStatusLabels()
{
    delete rows_;
    delete lost_;
}

void LogStatusLabels::showRows(const LogTableModel& shown)
{
    if (!rows_)
        return;
    rows_->setVisible(shown.hiddenRows() > 0);
    if (rows_->isHidden())
        return;
    rows_->setText(tr("Only the last %1 rows can be shown").arg(shown.rowCount()));
    rows_->setToolTip(tr("The table holds no more. The others come into view when it is sorted the "
                         "other way round, or filtered."));
}

void LogStatusLabels::showLost(const LogCounts& counts)
{
    if (!lost_)
        return;
    const LostMessages lost(counts);
    if (lost.number() > 0) {
        lost_->setText(lost.label());
        lost_->setToolTip(lost.toolTip());
        lost_->setAccessibleName(tr("Messages lost: %1").arg(lost.number()));
        lost_->setAccessibleDescription(lost.toolTip());
    }
    lost_->setVisible(lost.number() > 0);
}

} // namespace zuLogging
