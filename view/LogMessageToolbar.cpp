#include "view/LogMessageToolbar.h"

#include "store/ViewSettings.h"

#include <QCheckBox>
#include <QIcon>
#include <QLabel>
#include <QSignalBlocker>
#include <QToolButton>

namespace zuLogging {

LogMessageToolbar::LogMessageToolbar(QWidget* view)
    : QToolBar(tr("Log Message Toolbar"), view)
{
    setObjectName(QStringLiteral("logMessageToolbar"));
    setStyleSheet(QStringLiteral("QToolBar{ background: lightgray;padding: 0px;}"));

    QLabel* logging = addLabel(QStringLiteral("loggingLabel"), tr("Logging"));
    logging->setFont(QFont(QStringLiteral("Verdana"), 14, QFont::Bold));
    logging->setContentsMargins(5, 0, 5, 0);
    logging->setStyleSheet(QStringLiteral("QToolButton{ padding: 0px;}"));

    startButton_ =
        makeButton(QStringLiteral("startButton"), QStringLiteral(":/startLogging.png"),
                   tr("Start logging"), tr("Start logging"), SLOT(startLoggingClicked()));
    addWidget(startButton_);
    stopButton_ = makeButton(QStringLiteral("stopButton"), QStringLiteral(":/stopLogging.png"),
                             tr("Stop logging"), tr("Stop logging"), SLOT(stopLoggingClicked()));
    addWidget(stopButton_);
    addSeparator();

    filterBox_ = new QCheckBox(tr("Filter"), this);
    filterBox_->setObjectName(QStringLiteral("filterBox"));
    filterBox_->setStatusTip(tr("Enable / disable filtering"));
    filterBox_->setChecked(ViewSettings::instance().filterEnabled);
    connect(filterBox_, SIGNAL(stateChanged(int)), view, SLOT(enableFilter(int)));
    addWidget(filterBox_);
    addSeparator();

    addCounters();
    addSpacer(QStringLiteral("leftSpacer"));

    addLabel(QStringLiteral("serviceTitle"), tr("ZU Log Service: "));
    serviceLabel_ = addLabel(QStringLiteral("serviceLabel"), QString());
    serviceLabel_->setAccessibleDescription(tr("ZU Log Service"));
    addWidget(makeButton(QStringLiteral("refreshButton"), QStringLiteral(":/refresh.png"),
                         tr("Refresh"), tr("Refresh"), SLOT(refresh())));
    addSpacer(QStringLiteral("rightSpacer"));

    addButtonsOfTheLog();
}

QToolButton* LogMessageToolbar::makeButton(const QString& name, const QString& iconPath,
                                           const QString& toolTip, const QString& statusTip,
                                           const char* slot)
{
    auto* button = new QToolButton(parentWidget());
    button->setObjectName(name);
    button->setAccessibleName(toolTip);
    button->setIcon(QIcon(iconPath));
    button->setContentsMargins(0, 0, 0, 0);
    button->setStyleSheet(QStringLiteral("QToolButton{ padding: 1px;}"));
    button->setToolTip(toolTip);
    connect(button, SIGNAL(released()), parentWidget(), slot, Qt::UniqueConnection);
    button->setStatusTip(statusTip);
    return button;
}

QLabel* LogMessageToolbar::addLabel(const QString& name, const QString& text)
{
    auto* label = new QLabel(text, this);
    label->setObjectName(name);
    addWidget(label);
    label->ensurePolished(); // the polish at the first show would take its margins away
    return label;
}

QLabel* LogMessageToolbar::addCounter(const QString& name, const QString& description)
{
    QLabel* counter = addLabel(name, QString::number(0));
    counter->setAccessibleDescription(description);
    return counter;
}

void LogMessageToolbar::addSpacer(const QString& name)
{
    auto* spacer = new QWidget(this);
    spacer->setObjectName(name);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    addWidget(spacer);
}

void LogMessageToolbar::addCounters()
{
    addLabel(QStringLiteral("countTitle"), tr("Number of log messages: "));
    countLabel_ = addCounter(QStringLiteral("countLabel"), tr("Number of log messages"));
    addLabel(QStringLiteral("filteredTitle"), tr(", Filtered: "));
    filteredLabel_ = addCounter(QStringLiteral("filteredLabel"), tr("Filtered"));
    addLabel(QStringLiteral("queuedTitle"), tr(", Queued: "));
    queuedLabel_ = addCounter(QStringLiteral("queuedLabel"), tr("Queued"));
}

void LogMessageToolbar::addButtonsOfTheLog()
{
    addWidget(makeButton(QStringLiteral("clearButton"), QStringLiteral(":/clearText.png"),
                         tr("Clear the log window"), tr("Clear the log window"),
                         SLOT(messageViewClearClicked())));
    addWidget(makeButton(QStringLiteral("jsonButton"), QStringLiteral(":/saveJSON.png"),
                         tr("Save log as JSON..."), tr("Save the complete log to JSON file"),
                         SLOT(saveLogMessagesToJSONClicked())));
    addWidget(makeButton(QStringLiteral("copyButton"), QStringLiteral(":/copy.png"),
                         tr("Copy current log view"),
                         tr("Copy the current log view to clipboard (inclusive filter)"),
                         SLOT(messageViewClipboardClicked())));

    // Kept off the toolbar: saving as text is the main menu's. Hidden, or it would float over it.
    makeButton(QStringLiteral("saveTextButton"), QStringLiteral(":/saveText.png"),
               tr("Save current log view..."),
               tr("Save the current log view to text file (inclusive filter)"),
               SLOT(messageViewSaveClicked()))
        ->hide();
}

bool LogMessageToolbar::canStart() const
{
    return startButton_->isEnabledTo(this);
}

bool LogMessageToolbar::canStop() const
{
    return stopButton_->isEnabledTo(this);
}

void LogMessageToolbar::setCanStartAndStop(bool start, bool stop)
{
    startButton_->setEnabled(start);
    stopButton_->setEnabled(stop);
}

bool LogMessageToolbar::isFilterChecked() const
{
    return filterBox_->isChecked();
}

void LogMessageToolbar::setFilterChecked(bool checked)
{
    const QSignalBlocker blocker(filterBox_);
    filterBox_->setChecked(checked);
}

void LogMessageToolbar::showCount(int messages)
{
    countLabel_->setText(QString::number(messages));
}

void LogMessageToolbar::showFiltered(int messages)
{
    filteredLabel_->setText(QString::number(messages));
}

void LogMessageToolbar::showQueued(std::size_t messages)
{
    queuedLabel_->setText(QString::number(messages));
}

void LogMessageToolbar::showService(bool isRunning)
{
    serviceLabel_->setText(isRunning ? tr("Running") : tr("Stopped"));
    serviceLabel_->setStyleSheet(isRunning ? QStringLiteral("QLabel { color : green; }")
                                           : QStringLiteral("QLabel { color : red; }"));
}

} // namespace zuLogging
