#include "view/LogMessageView.h"

#include "platform/ServiceControl.h"
#include "store/LogContainer.h"
#include "store/LogField.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"
#include "view/FilterDialog.h"
#include "view/FindDialog.h"
#include "view/GoToDialog.h"
#include "view/LogCellDelegate.h"
#include "view/LogTableView.h"
#include "view/LogViewHost.h"
#include "view/LostMessages.h"
#include "view/RowHeightFitter.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QCursor>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QHeaderView>
#include <QIcon>
#include <QItemSelectionModel>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QResizeEvent>
#include <QScrollBar>
#include <QShortcut>
#include <QSignalBlocker>
#include <QStatusBar>
#include <QTextDocument>
#include <QTextStream>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>
#include <QToolTip>
#include <QVBoxLayout>

#include <algorithm>
#include <new>
#include <utility>
#include <vector>

namespace zuLogging {

namespace {

constexpr int refreshPeriodMs = 80;
constexpr int lineNumberWidth = 60;
constexpr const char* serviceName = "ZULogSvc";

/// The wait cursor for as long as this lives.
class WaitCursor
{
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
};

void setActionEnabled(QAction* action, bool enabled)
{
    if (action)
        action->setEnabled(enabled);
}

void setActionCheckedSilently(QAction* action, bool checked)
{
    if (!action)
        return;
    const QSignalBlocker blocker(action);
    action->setChecked(checked);
}

LogViewHost* hostOf(QWidget* parent)
{
    return dynamic_cast<LogViewHost*>(parent);
}

std::shared_ptr<LogContainer> storeOf(const LogViewHost* host)
{
    std::shared_ptr<LogContainer> store = host ? host->messageStore() : nullptr;
    return store ? store : std::make_shared<LogContainer>();
}

QString nameOf(const QString& path)
{
    return QFileInfo(path).fileName();
}

/// What a click on the header of the current cell's column does, for who has no mouse.
void addSortKey(QTableView* table)
{
    auto* key = new QShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S), table, nullptr,
                              nullptr, Qt::WidgetShortcut);
    QObject::connect(key, &QShortcut::activated, table, [table] {
        QHeaderView* header = table->horizontalHeader();
        const int column = table->currentIndex().column();
        if (column < 0)
            return;
        const bool again = column == header->sortIndicatorSection() &&
                           header->sortIndicatorOrder() == Qt::AscendingOrder;
        header->setSortIndicator(column, again ? Qt::DescendingOrder : Qt::AscendingOrder);
    });
}

/// One row of cells as text, left to right, each followed by a tab; ends with a newline.
void appendRow(QString& text, const LogTableModel& model, int row, int columns)
{
    for (int column = 0; column < columns; ++column) {
        text += model.cellText(row, column);
        text += QLatin1Char('\t');
    }
    text += QLatin1Char('\n');
}

/// All rows, also those in front of the ones shown, as text; `take` is given one at a time and says
/// whether it wants more.
template <class Take>
void eachRow(const LogTableModel& model, WorkControl& control, Take take)
{
    constexpr int toldRows = 1024;
    const int first = -model.hiddenRows();
    const int end = model.rowCount();
    const int columns = model.columnCount();
    QString line;
    for (int row = first; row < end; ++row) {
        if ((row - first) % toldRows == 0)
            control.report(static_cast<std::uint64_t>(row - first),
                           static_cast<std::uint64_t>(end - first));
        line.resize(0); // keeps its memory
        appendRow(line, model, row, columns);
        if (!take(line))
            return;
    }
}

void appendAsText(QFile& file, const LogTableModel& model, WorkControl& control)
{
    QTextStream stream(&file);
    stream << "************************************\n"
              "ARZ LogDesk 3.1.26\n"
              "Arvenza\n"
              "Copyright (c) 2026 The LogDesk developers\n"
              "************************************\n";
    // A stream that has failed would gather the rest in memory.
    eachRow(model, control, [&stream](const QString& line) {
        stream << line;
        return stream.status() == QTextStream::Ok;
    });
}

// The boxes live on the heap, not on the stack as those of Qt's static calls do: the view may be
// deleted while one is open, and takes it along.

/// NoButton when the view is gone. The text is never markup, whatever came in from outside.
QMessageBox::StandardButton showBox(QWidget* parent, QMessageBox::Icon icon, const QString& title,
                                    const QString& text,
                                    QMessageBox::StandardButtons buttons = QMessageBox::Ok)
{
    const QPointer<QMessageBox> box(new QMessageBox(icon, title, text, buttons, parent));
    box->setTextFormat(Qt::PlainText);
    const int answer = box->exec();
    if (!box)
        return QMessageBox::NoButton;
    delete box;
    return static_cast<QMessageBox::StandardButton>(answer);
}

/// Empty when no file was chosen, or the view is gone.
QString askForFile(QWidget* parent, QFileDialog::AcceptMode mode, const QString& caption,
                   const QString& proposed, const QString& filter,
                   QFileDialog::Options options = {})
{
    const QPointer<QFileDialog> dialog(new QFileDialog(parent, caption, QString(), filter));
    dialog->setOptions(options);
    dialog->setAcceptMode(mode);
    dialog->setFileMode(mode == QFileDialog::AcceptOpen ? QFileDialog::ExistingFile
                                                        : QFileDialog::AnyFile);
    if (!proposed.isEmpty())
        dialog->selectFile(proposed);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (!dialog)
        return {};
    const QString path = accepted ? dialog->selectedFiles().value(0) : QString();
    delete dialog;
    return path;
}

} // namespace

LogMessageView::LogMessageView(QStatusBar* statusBar, QWidget* parent)
    : QWidget(parent)
    , statusBar_(statusBar)
    , host_(hostOf(parent))
    , store_(storeOf(host_))
    , table_(new LogTableView(this))
    , fullModel_(new LogTableModel(store_, this))
    , filteredModel_(new LogTableModel(store_, this))
    , layout_(new QVBoxLayout)
    , toolbar_(new QToolBar(tr("Log Message Toolbar"), this))
    , infoToolbar_(new QToolBar(tr("Log Message Info Toolbar"), this))
    , findDialog_(new FindDialog(this))
    , filterDialog_(new FilterDialog(this))
    , goToDialog_(new GoToDialog(this))
    , updateTimer_(new QTimer(this))
    , progress_(new WorkProgress(statusBar, this))
    , autoScroll_(ViewSettings::instance().autoScrollEnabled)
{
    setObjectName(QStringLiteral("logMessageView"));
    store_->setModels(fullModel_, filteredModel_);

    buildToolbar();
    buildInfoToolbar();
    startButton_->setEnabled(true);
    stopButton_->setEnabled(false);
    tellHostButtonStates();
    showStatus(tr("Ready"));
    shownRowsLabel_ = addStatusLabel(QStringLiteral("shownRowsLabel"));
    lostLabel_ = addStatusLabel(QStringLiteral("lostLabel"));
    countsAtClear_ = store_->ledger()->counts();

    setUpTable();
    makeConnections();
    if (filterBox_->isChecked())
        enableFilter(Qt::Checked);

    fitColumns();
    applyRememberedWidths();
    layout_->setContentsMargins(0, 0, 0, 0);
    layout_->addWidget(toolbar_);
    layout_->addWidget(infoToolbar_);
    layout_->addWidget(table_);
    setLayout(layout_);
}

LogMessageView::~LogMessageView()
{
    updateTimer_->stop();
    progress_->abandon();
    if (stopThread_.joinable())
        stopThread_.join();
    store_->disconnect(this);
    setWaitingForStop(false);
    delete shownRowsLabel_;
    delete lostLabel_;

    QMap<int, int> widths;
    for (int column = 0; column < fullModel_->columnCount(); ++column) {
        const int width = table_->columnWidth(column);
        widths.insert(column, width < 1 ? -1 : width);
    }
    ViewSettings& settings = ViewSettings::instance();
    if (settings.columnWidths != widths)
        settings.columnWidths = widths;
    // The file keeps a width with its column's name: a layout that was never changed has names too.
    if (settings.columnOrder.isEmpty())
        settings.setColumnLayout(fullModel_->columns());
    settings.write();

    store_->setModels(nullptr, nullptr);
}

QToolButton* LogMessageView::makeToolButton(const QString& name, const QString& iconPath,
                                            const QString& toolTip, const QString& statusTip,
                                            const char* slot)
{
    auto* button = new QToolButton(this);
    button->setObjectName(name);
    button->setAccessibleName(toolTip);
    button->setIcon(QIcon(iconPath));
    button->setContentsMargins(0, 0, 0, 0);
    button->setStyleSheet(QStringLiteral("QToolButton{ padding: 1px;}"));
    button->setToolTip(toolTip);
    connect(button, SIGNAL(released()), this, slot, Qt::UniqueConnection);
    button->setStatusTip(statusTip);
    return button;
}

QLabel* LogMessageView::addLabel(QToolBar* toolbar, const QString& name, const QString& text)
{
    auto* label = new QLabel(text, this);
    label->setObjectName(name);
    toolbar->addWidget(label);
    label->ensurePolished(); // the polish at the first show would take its margins away
    return label;
}

void LogMessageView::addSpacer(QToolBar* toolbar, const QString& name)
{
    auto* spacer = new QWidget(this);
    spacer->setObjectName(name);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    toolbar->addWidget(spacer);
}

void LogMessageView::buildToolbar()
{
    toolbar_->setObjectName(QStringLiteral("logMessageToolbar"));
    toolbar_->setStyleSheet(QStringLiteral("QToolBar{ background: lightgray;padding: 0px;}"));

    QLabel* logging = addLabel(toolbar_, QStringLiteral("loggingLabel"), tr("Logging"));
    logging->setFont(QFont(QStringLiteral("Verdana"), 14, QFont::Bold));
    logging->setContentsMargins(5, 0, 5, 0);
    logging->setStyleSheet(QStringLiteral("QToolButton{ padding: 0px;}"));

    startButton_ =
        makeToolButton(QStringLiteral("startButton"), QStringLiteral(":/startLogging.png"),
                       tr("Start logging"), tr("Start logging"), SLOT(startLoggingClicked()));
    toolbar_->addWidget(startButton_);
    stopButton_ =
        makeToolButton(QStringLiteral("stopButton"), QStringLiteral(":/stopLogging.png"),
                       tr("Stop logging"), tr("Stop logging"), SLOT(stopLoggingClicked()));
    toolbar_->addWidget(stopButton_);
    toolbar_->addSeparator();

    filterBox_ = new QCheckBox(tr("Filter"), this);
    filterBox_->setObjectName(QStringLiteral("filterBox"));
    filterBox_->setStatusTip(tr("Enable / disable filtering"));
    filterBoxChecked_ = ViewSettings::instance().filterEnabled;
    filterBox_->setChecked(filterBoxChecked_);
    toolbar_->addWidget(filterBox_);
    toolbar_->addSeparator();

    addLabel(toolbar_, QStringLiteral("countTitle"), tr("Number of log messages: "));
    countLabel_ = addLabel(toolbar_, QStringLiteral("countLabel"), QString::number(0));
    countLabel_->setAccessibleDescription(tr("Number of log messages"));
    addLabel(toolbar_, QStringLiteral("filteredTitle"), tr(", Filtered: "));
    filteredLabel_ = addLabel(toolbar_, QStringLiteral("filteredLabel"), QString::number(0));
    filteredLabel_->setAccessibleDescription(tr("Filtered"));
    addLabel(toolbar_, QStringLiteral("queuedTitle"), tr(", Queued: "));
    queuedLabel_ = addLabel(toolbar_, QStringLiteral("queuedLabel"), QString::number(0));
    queuedLabel_->setAccessibleDescription(tr("Queued"));
    addSpacer(toolbar_, QStringLiteral("leftSpacer"));

    addLabel(toolbar_, QStringLiteral("serviceTitle"), tr("ZU Log Service: "));
    serviceLabel_ = addLabel(toolbar_, QStringLiteral("serviceLabel"), QString());
    serviceLabel_->setAccessibleDescription(tr("ZU Log Service"));
    refresh();
    toolbar_->addWidget(makeToolButton(QStringLiteral("refreshButton"),
                                       QStringLiteral(":/refresh.png"), tr("Refresh"),
                                       tr("Refresh"), SLOT(refresh())));
    addSpacer(toolbar_, QStringLiteral("rightSpacer"));

    toolbar_->addWidget(makeToolButton(
        QStringLiteral("clearButton"), QStringLiteral(":/clearText.png"),
        tr("Clear the log window"), tr("Clear the log window"), SLOT(messageViewClearClicked())));
    toolbar_->addWidget(makeToolButton(
        QStringLiteral("jsonButton"), QStringLiteral(":/saveJSON.png"), tr("Save log as JSON..."),
        tr("Save the complete log to JSON file"), SLOT(saveLogMessagesToJSONClicked())));
    toolbar_->addWidget(makeToolButton(
        QStringLiteral("copyButton"), QStringLiteral(":/copy.png"), tr("Copy current log view"),
        tr("Copy the current log view to clipboard (inclusive filter)"),
        SLOT(messageViewClipboardClicked())));

    // Kept off the toolbar: saving as text is the main menu's. Hidden, or it would float over it.
    makeToolButton(QStringLiteral("saveTextButton"), QStringLiteral(":/saveText.png"),
                   tr("Save current log view..."),
                   tr("Save the current log view to text file (inclusive filter)"),
                   SLOT(messageViewSaveClicked()))
        ->hide();
}

void LogMessageView::buildInfoToolbar()
{
    infoToolbar_->setObjectName(QStringLiteral("logMessageInfoToolbar"));
    infoToolbar_->setStyleSheet(QStringLiteral("QToolBar{ padding: 0px;}"));
    QLabel* files = addLabel(infoToolbar_, QStringLiteral("filesLabel"), tr("Files: "));
    files->setFont(QFont(QStringLiteral("Verdana"), 10));
    files->setContentsMargins(100, 0, 5, 0);
    filesCombo_ = new QComboBox(this);
    filesCombo_->setObjectName(QStringLiteral("filesCombo"));
    filesCombo_->setAccessibleName(tr("Files"));
    files->setBuddy(filesCombo_);
    infoToolbar_->addWidget(filesCombo_);
    infoToolbar_->hide();
}

void LogMessageView::setUpTable()
{
    table_->setObjectName(QStringLiteral("logTable"));
    table_->setAccessibleName(tr("Log messages"));
    table_->setItemDelegate(new LogCellDelegate(table_));
    table_->setModel(fullModel_);
    table_->setShowGrid(false);
    table_->setWordWrap(true);
    // Enabling the sorting sorts at once: by the column and order that leave the rows as they came.
    QHeaderView* header = table_->horizontalHeader();
    header->setSortIndicator(0, Qt::AscendingOrder);
    table_->setSortingEnabled(true);
    // The table's own connection would sort while the window waits.
    disconnect(header, SIGNAL(sortIndicatorChanged(int, Qt::SortOrder)), table_, nullptr);
    connect(header, &QHeaderView::sortIndicatorChanged, this, &LogMessageView::sortByHeader);
    table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    table_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    table_->setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    header->setStretchLastSection(true);
    table_->setContextMenuPolicy(Qt::CustomContextMenu);
    // Tab leads on to the next widget; the arrow keys go from cell to cell.
    table_->setTabKeyNavigation(false);
    addSortKey(table_);
    setShowLineNumbers(showLineNumbers_);
    rowHeights_ = new RowHeightFitter(table_);
    for (LogTableModel* model : {fullModel_, filteredModel_})
        model->setMaximumShownRows(RowHeightFitter::maximumRows);
}

/// Null without a status bar.
QLabel* LogMessageView::addStatusLabel(const QString& name)
{
    if (!statusBar_)
        return nullptr;
    auto* label = new QLabel(statusBar_);
    label->setObjectName(name);
    label->setTextFormat(Qt::PlainText);
    label->hide(); // before it is added, which would show it
    statusBar_->addPermanentWidget(label);
    return label;
}

void LogMessageView::makeConnections()
{
    for (LogTableModel* model : {fullModel_, filteredModel_})
        connect(model, &LogTableModel::firstRowsGone, this, &LogMessageView::deselectFirstRows);
    connect(updateTimer_, SIGNAL(timeout()), this, SLOT(updateView()));
    connect(progress_, &WorkProgress::ended, this, [this] {
        // Not at once: the slot that the work is for has not ended.
        if (std::exchange(stopWasTold_, false))
            QMetaObject::invokeMethod(this, "updateViewAfterStop", Qt::QueuedConnection);
    });
    connect(filterBox_, SIGNAL(stateChanged(int)), this, SLOT(enableFilter(int)));
    connect(filterDialog_, SIGNAL(accepted()), this, SLOT(setFilter()));
    connect(findDialog_, SIGNAL(clearSearch()), this, SLOT(clearSearch()));
    connect(findDialog_, SIGNAL(findNext(QString, bool, Qt::CaseSensitivity)), this,
            SLOT(search(QString, bool, Qt::CaseSensitivity)));
    connect(table_->horizontalHeader(), SIGNAL(sectionClicked(int)), this, SLOT(sortColumn(int)));
    connect(store_.get(), SIGNAL(stopLoggingDone()), this, SLOT(updateViewAfterStop()));
    connect(goToDialog_, SIGNAL(accepted()), this, SLOT(setGoToLine()));
    connect(table_->selectionModel(),
            SIGNAL(selectionChanged(const QItemSelection&, const QItemSelection&)), this,
            SLOT(tableItemSelected(const QItemSelection&, const QItemSelection&)));
    connect(table_, SIGNAL(customContextMenuRequested(const QPoint&)), this,
            SLOT(showContextMenu(const QPoint&)), Qt::UniqueConnection);
    connect(table_, SIGNAL(pressed(const QModelIndex&)), this, SLOT(displayCell()),
            Qt::UniqueConnection);
    connect(table_->horizontalHeader(), SIGNAL(sectionResized(int, int, int)), this,
            SLOT(horizontalHeaderChanged(int, int, int)));
    connect(this, SIGNAL(autoScroll()), this, SLOT(moveScrollBarToBottom()), Qt::UniqueConnection);
}

/// A selected range whose first rows are gone goes on with the rest.
void LogMessageView::deselectFirstRows(int count)
{
    QItemSelectionModel* selection = table_->selectionModel();
    if (sender() != table_->model() || !selection->hasSelection())
        return;
    if (table_->model()->rowCount() == 0) {
        selection->clear();
        return;
    }
    const QItemSelection selected = selection->selection();
    QItemSelection gone;
    for (const QItemSelectionRange& range : selected) {
        if (range.top() >= count)
            continue;
        const QModelIndex lastGone = range.topLeft().sibling(count - 1, range.right());
        const bool whole = range.bottom() < count || !lastGone.isValid();
        gone.append(QItemSelectionRange(range.topLeft(),
                                        whole ? QModelIndex(range.bottomRight()) : lastGone));
    }
    selection->select(gone, QItemSelectionModel::Deselect);
    // The model notes a deselection beside the ranges; the next command works it into them.
    selection->select(QItemSelection(), QItemSelectionModel::Select);
}

LogTableModel* LogMessageView::shownModel() const
{
    return table_->model() == filteredModel_ ? filteredModel_ : fullModel_;
}

void LogMessageView::showModel(LogTableModel* model)
{
    if (shownModel() == model)
        return;
    // The table makes a selection model for each model and leaves the old one to its owner.
    const std::unique_ptr<QItemSelectionModel> old(table_->selectionModel());
    table_->setModel(model);
    connect(table_->selectionModel(),
            SIGNAL(selectionChanged(const QItemSelection&, const QItemSelection&)), this,
            SLOT(tableItemSelected(const QItemSelection&, const QItemSelection&)));
    rowHeights_->watchModel();
}

void LogMessageView::setShowLineNumbers(bool show)
{
    showLineNumbers_ = show;
    if (show)
        table_->verticalHeader()->setMinimumWidth(lineNumberWidth);
    table_->verticalHeader()->setVisible(show);
}

bool LogMessageView::resizeRows() const
{
    return rowHeights_->isOn();
}

void LogMessageView::setResizeRows(bool on)
{
    rowHeights_->setOn(on);
}

/// Through the window's action where there is one, so that its menu shows what holds.
void LogMessageView::switchResizeRows(bool on)
{
    if (QAction* action = host_ ? host_->resizeRowsAction() : nullptr)
        action->setChecked(on);
    if (resizeRows() != on)
        setResizeRows(on);
}

void LogMessageView::fitColumns()
{
    table_->setTextElideMode(Qt::ElideNone);
    table_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    columnsFitRows_ = shownModel()->rowCount() > 0;
    table_->horizontalHeader()->setStretchLastSection(false);
    table_->resizeColumnsToContents();
    stretchLastColumn();
}

void LogMessageView::stretchLastColumn()
{
    // A stretched last column gets what the others leave, be it too little for its text: once there
    // are texts it is stretched only where that makes it wider.
    QHeaderView* header = table_->horizontalHeader();
    header->setStretchLastSection(!columnsFitRows_ ||
                                  header->length() < table_->viewport()->width());
}

void LogMessageView::applyRememberedWidths()
{
    const QMap<int, int>& widths = ViewSettings::instance().columnWidths;
    for (auto width = widths.cbegin(); width != widths.cend(); ++width)
        if (width.value() > 0 && width.key() >= 0 && width.key() < fullModel_->columnCount())
            table_->setColumnWidth(width.key(), width.value());
}

void LogMessageView::fitColumnsOrRemember()
{
    fitColumns();
    // With no row there is nothing to fit: so the widths of the last run reach the first rows.
    if (shownModel()->rowCount() == 0)
        applyRememberedWidths();
}

void LogMessageView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    fitColumnsOrRemember();
}

void LogMessageView::horizontalHeaderChanged(int, int, int)
{
    table_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
}

void LogMessageView::tellHostButtonStates()
{
    if (!host_)
        return;
    setActionEnabled(host_->replayAction(), startButton_->isEnabledTo(this));
    setActionEnabled(host_->startAction(), startButton_->isEnabledTo(this));
    setActionEnabled(host_->stopAction(), stopButton_->isEnabledTo(this));
}

void LogMessageView::showStatus(const QString& text)
{
    if (statusBar_)
        statusBar_->showMessage(text);
}

bool LogMessageView::isStopping() const
{
    // By their own state: during long work the whole view is disabled.
    return !startButton_->isEnabledTo(this) && !stopButton_->isEnabledTo(this);
}

// The end of a stop may be told more than once, or without a stop: the cursor goes once.
void LogMessageView::setWaitingForStop(bool waiting)
{
    if (waiting == waitCursorForStop_)
        return;
    waitCursorForStop_ = waiting;
    if (waiting)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QApplication::restoreOverrideCursor();
}

void LogMessageView::startLoggingClicked(bool replayLogHistory)
{
    if (isBusy())
        return;
    if (host_ && host_->isConfigurationModified()) {
        const QPointer<LogMessageView> self(this);
        const auto answer = showBox(
            this, QMessageBox::Warning, tr("Start Logging"),
            tr("Configuration has been changed, but not saved. The logging will be continued with "
               "previous configuration.\n\nDo you want to continue?"),
            QMessageBox::Ok | QMessageBox::Cancel);
        if (answer != QMessageBox::Ok || !self)
            return;
    }
    refresh();
    if (host_) {
        setActionEnabled(host_->filterAction(), false);
        switchResizeRows(false);
        setActionEnabled(host_->resizeRowsAction(), false);
    }
    startButton_->setEnabled(false);
    stopButton_->setEnabled(true);
    tellHostButtonStates();
    updateTimer_->start(refreshPeriodMs);
    showStatus(tr("Logging started..."));
    if (store_->startLogging(replayLogHistory))
        return;

    stopLoggingClicked();
    showBox(this, QMessageBox::Warning, tr("Start Logging"),
            tr("Failed to start the logging (%1)").arg(store_->takeErrorText()));
}

void LogMessageView::stopLoggingClicked()
{
    if (isBusy())
        return;
    // One stop at a time: a thread of an earlier one is at its end, or is this stop already.
    const bool underWay = isStopping();
    const bool stopEnabled = stopButton_->isEnabledTo(this);
    stopButton_->setEnabled(false);
    tellHostButtonStates();
    showStatus(tr("Logging stopped. Waiting for queue..."));
    if (underWay)
        return;
    setWaitingForStop(true);
    if (stopThread_.joinable())
        stopThread_.join();
    try {
        stopThread_ = boost::thread([store = store_] { store->stopLogging(); });
    } catch (...) {
        stopButton_->setEnabled(stopEnabled);
        tellHostButtonStates();
        setWaitingForStop(false);
        throw;
    }
}

void LogMessageView::updateViewAfterStop()
{
    if (isBusy()) {
        stopWasTold_ = true;
        return;
    }
    // The store also tells it when nothing ran, as the window closes: then the widths are as the
    // user left them.
    const bool hadBegun = !startButton_->isEnabledTo(this);
    refresh();
    if (host_) {
        setActionEnabled(host_->filterAction(), true);
        setActionEnabled(host_->resizeRowsAction(), true);
    }
    startButton_->setEnabled(true);
    stopButton_->setEnabled(false);
    tellHostButtonStates();
    updateTimer_->stop();
    if (hadBegun)
        fitColumnsOrRemember();
    showStatus(QString());
    setWaitingForStop(false);
    updateView();
}

void LogMessageView::updateStatusLabels()
{
    if (!shownRowsLabel_ || !lostLabel_)
        return;
    shownRowsLabel_->setVisible(shownModel()->hiddenRows() > 0);
    if (!shownRowsLabel_->isHidden()) {
        shownRowsLabel_->setText(
            tr("Only the last %1 rows can be shown").arg(shownModel()->rowCount()));
        shownRowsLabel_->setToolTip(tr("The table holds no more. The others come into view when it "
                                       "is sorted the other way round, or filtered."));
    }
    const LostMessages lost(store_->ledger()->counts().since(countsAtClear_));
    if (lost.number() > 0) {
        lostLabel_->setText(lost.label());
        lostLabel_->setToolTip(lost.toolTip());
        lostLabel_->setAccessibleName(tr("Messages lost: %1").arg(lost.number()));
        lostLabel_->setAccessibleDescription(lost.toolTip());
    }
    lostLabel_->setVisible(lost.number() > 0);
}

void LogMessageView::updateView()
{
    shownModel()->announceChanges();
    // The first rows find columns that fit the headers only, unless the last run's widths are
    // known.
    if (!columnsFitRows_ && ViewSettings::instance().columnWidths.isEmpty() &&
        shownModel()->rowCount() > 0)
        fitColumns();
    countLabel_->setText(QString::number(fullModel_->messageCount()));
    if (store_->showFiltered())
        filteredLabel_->setText(QString::number(filteredModel_->messageCount()));
    queuedLabel_->setText(QString::number(store_->queueSize()));
    updateStatusLabels();
    Q_EMIT autoScroll();
    if (isStopping())
        showStatus(tr("Logging stopped. Waiting for queue..."));
}

void LogMessageView::moveScrollBarToBottom()
{
    if (autoScroll_)
        rowHeights_->scrollToBottom();
}

void LogMessageView::refresh()
{
    const bool running = platform::isServiceRunning(serviceName);
    serviceLabel_->setText(running ? tr("Running") : tr("Stopped"));
    serviceLabel_->setStyleSheet(running ? QStringLiteral("QLabel { color : green; }")
                                         : QStringLiteral("QLabel { color : red; }"));
}

void LogMessageView::messageViewClearClicked()
{
    if (isBusy())
        return;
    filesCombo_->clear();
    infoToolbar_->hide();
    const bool isLong = progress_->isLong(fullModel_->messageCount());
    std::shared_ptr<void> removed = store_->clearModels();
    if (isLong)
        progress_->discard(std::move(removed));
    countsAtClear_ = store_->ledger()->counts();
    updateView();
}

/// Fills the filtered model, with another filter if one is given.
LogMessageView::End LogMessageView::refilter(const MessageFilter* filter, Cancel cancel)
{
    WorkProgress::Result result;
    const End end = progress_->run(
        tr("Filtering"), progress_->isLong(fullModel_->messageCount()), cancel,
        [store = store_.get(), filter](WorkControl& control) {
            return store->prepareFilter(filter, &control);
        },
        &result);
    if (end != End::Done)
        return end;
    store_->apply(*std::static_pointer_cast<LogContainer::FilterChange>(result));
    discard(std::move(result));
    return End::Done;
}

LogMessageView::End LogMessageView::sortRows(LogTableModel* model, int column, Qt::SortOrder order,
                                             Cancel cancel)
{
    if (column == model->sortColumn() && order == model->sortOrder())
        return End::Done;
    if (!progress_->isLong(model->messageCount())) {
        model->sort(column, order);
        return End::Done;
    }
    struct HeldSort
    {
        std::shared_ptr<LogTableModel::PreparedSort> prepared;
        LogContainer::RowsHold hold; // the first to go
    };
    WorkProgress::Result result;
    const End end = progress_->run(
        tr("Sorting"), true, cancel,
        [store = store_.get(), model, column, order](WorkControl& control) {
            auto sort = std::make_shared<HeldSort>();
            sort->hold = store->holdRows();
            sort->prepared = model->prepareSort(column, order, control);
            return sort;
        },
        &result);
    if (end != End::Done)
        return end;
    HeldSort& sort = *std::static_pointer_cast<HeldSort>(result);
    model->applySort(*sort.prepared);
    sort.hold.unlock();
    discard(std::move(result));
    return End::Done;
}

/// What a row's worth of memory each is made of is freed where nobody waits for it.
void LogMessageView::discard(WorkProgress::Result garbage)
{
    if (progress_->isLong(fullModel_->messageCount()))
        progress_->discard(std::move(garbage));
}

void LogMessageView::enableFilter(int state)
{
    if (!isBusy()) {
        filterBoxChecked_ = state == Qt::Checked;
        if (switchFilter(filterBoxChecked_, Cancel::Allowed) != End::Cancelled)
            return;
        filterBoxChecked_ = store_->showFiltered();
    }
    checkFilterBox(filterBoxChecked_);
}

void LogMessageView::checkFilterBox(bool checked)
{
    filterBoxChecked_ = checked;
    const QSignalBlocker blocker(filterBox_);
    filterBox_->setChecked(checked);
}

LogMessageView::End LogMessageView::switchFilter(bool on, Cancel cancel)
{
    const WaitCursor wait;
    // What takes long comes first: whoever cancels it has changed nothing.
    if (filteredModel_->messageCount() == 0) {
        const End end = refilter(nullptr, cancel);
        if (end == End::Cancelled)
            showStatus(tr("Filtering was cancelled"));
        if (end != End::Done)
            return end;
    }
    const QHeaderView* header = table_->horizontalHeader();
    const LogTableModel* const from = on ? fullModel_ : filteredModel_;
    LogTableModel* const to = on ? filteredModel_ : fullModel_;
    LogTableModel* const shown = on && store_->isFiltering() ? filteredModel_ : fullModel_;
    End end = End::Done;
    if (from->sortColumn() != -1)
        end = sortRows(to, from->sortColumn(), from->sortOrder(), cancel);
    if (end == End::Done)
        end = sortRows(shown, header->sortIndicatorSection(), header->sortIndicatorOrder(), cancel);
    if (end == End::Cancelled)
        showStatus(tr("Sorting was cancelled"));
    if (end != End::Done)
        return end;
    store_->markShowFiltered(on);
    showModel(shown);
    filteredLabel_->setText(QString::number(on ? filteredModel_->messageCount() : 0));
    ViewSettings::instance().filterEnabled = on;
    updateView();
    return End::Done;
}

void LogMessageView::setFilter()
{
    if (!isBusy())
        takeFilter(Cancel::Allowed);
}

LogMessageView::End LogMessageView::takeFilter(Cancel cancel)
{
    const WaitCursor wait;
    ViewSettings& settings = ViewSettings::instance();
    MessageFilter before; // as the settings have it: reading the dialog changes them
    before.include = settings.filterInclude;
    before.levels = settings.levelFilterInclude;
    before.exclude = settings.filterExclude;
    before.includeCase = settings.filterIncludeCs ? Qt::CaseSensitive : Qt::CaseInsensitive;
    before.excludeCase = settings.filterExcludeCs ? Qt::CaseSensitive : Qt::CaseInsensitive;

    MessageFilter filter;
    filter.include = filterDialog_->includeTexts();
    filter.exclude = filterDialog_->excludeTexts();
    filter.levels = filterDialog_->levelNames();
    settings.filterIncludeCs = filterDialog_->includeCaseSensitive();
    settings.filterExcludeCs = filterDialog_->excludeCaseSensitive();
    filter.includeCase = settings.filterIncludeCs ? Qt::CaseSensitive : Qt::CaseInsensitive;
    filter.excludeCase = settings.filterExcludeCs ? Qt::CaseSensitive : Qt::CaseInsensitive;
    if (store_->changesRows(filter)) {
        const End end = refilter(&filter, cancel);
        if (end == End::Cancelled) {
            goBackToFilter(before);
            showStatus(tr("Filtering was cancelled"));
        }
        if (end != End::Done)
            return end;
    }
    // From here on the filter is in force: rows left unsorted under a mark would be wrong.
    const bool on = !filter.isEmpty();
    if (on || filterBox_->isChecked()) {
        checkFilterBox(on);
        const End end = switchFilter(on, Cancel::Never);
        if (end != End::Done)
            return end;
    }
    updateView();
    return End::Done;
}

/// The settings, and what the dialog shows, as they were before it was accepted.
void LogMessageView::goBackToFilter(const MessageFilter& before)
{
    ViewSettings& settings = ViewSettings::instance();
    settings.filterInclude = before.include;
    settings.levelFilterInclude = before.levels;
    settings.filterExclude = before.exclude;
    settings.filterIncludeCs = before.includeCase == Qt::CaseSensitive;
    settings.filterExcludeCs = before.excludeCase == Qt::CaseSensitive;
    const QString text = filterDialog_->filterText()->text();
    filterDialog_->clearSignal(); // also the levels, which closing leaves
    filterDialog_->closeSignal();
    filterDialog_->filterText()->setText(text);
}

QString LogMessageView::currentCellText() const
{
    return table_->currentIndex().data(Qt::DisplayRole).toString();
}

void LogMessageView::filterSelection()
{
    if (isBusy())
        return;
    const QString text = currentCellText();
    if (!text.isEmpty())
        filterDialog_->filterText()->setText(text);
    filterDialog_->show();
    filterDialog_->raise();
    filterDialog_->activateWindow();
}

void LogMessageView::clearSearch()
{
    store_->setHighlight(false);
    table_->viewport()->update();
}

void LogMessageView::search(QString text, bool directionDown, Qt::CaseSensitivity cs)
{
    if (isBusy())
        return;
    const bool newSearch = !store_->highlight() || text != store_->highlightText();
    store_->setHighlightText(text);
    store_->setSearchDown(directionDown);
    store_->setHighlightCase(cs);
    if (newSearch) {
        store_->setHighlight(true);
        shownModel()->announceChanges();
    }
    table_->viewport()->update(); // also when only the case rule marks other cells

    QModelIndex found;
    {
        const WaitCursor wait;
        QModelIndex start = table_->currentIndex();
        if (!start.isValid() || start.row() >= shownModel()->rowCount())
            start = table_->indexAt(QPoint(0, 0));
        found = shownModel()->findNext(start, text, directionDown, cs);
    }
    if (found.isValid()) {
        table_->setCurrentIndex(found);
        table_->scrollTo(found, QAbstractItemView::EnsureVisible);
    } else {
        showBox(this, QMessageBox::Warning, tr("Search"),
                tr("Can't find the text:\n\"%1\"").arg(text));
    }
}

void LogMessageView::setGoToLine()
{
    const QModelIndex index = shownModel()->index(goToDialog_->line() - 1, 0);
    if (!index.isValid())
        return;
    table_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                         QItemSelectionModel::Rows);
    table_->scrollTo(index, QAbstractItemView::EnsureVisible);
}

void LogMessageView::sortColumn(int section)
{
    // The header tells of a click when it has told of the mark that the click has moved.
    if (isBusy() || std::exchange(ignoresClick_, false))
        return;
    const WaitCursor wait;
    if (sortRows(shownModel(), section, table_->horizontalHeader()->sortIndicatorOrder(),
                 Cancel::Allowed) == End::Cancelled)
        showStatus(tr("Sorting was cancelled"));
}

void LogMessageView::sortByHeader(int column, Qt::SortOrder order)
{
    if (isBusy()) {
        showSortMark();
        return;
    }
    const WaitCursor wait;
    switch (sortRows(shownModel(), column, order, Cancel::Allowed)) {
    case End::Done:
        sortedSection_ = column;
        sortedOrder_ = order;
        break;
    case End::Cancelled:
        showSortMark();
        showStatus(tr("Sorting was cancelled"));
        ignoresClick_ = true;
        QTimer::singleShot(0, this, [this] { ignoresClick_ = false; }); // it may have been no click
        break;
    case End::Gone:
        break;
    }
}

/// Where the rows are sorted by.
void LogMessageView::showSortMark()
{
    QHeaderView* header = table_->horizontalHeader();
    const QSignalBlocker blocker(header);
    header->setSortIndicator(sortedSection_, sortedOrder_);
}

void LogMessageView::tableItemSelected(const QItemSelection&, const QItemSelection&) {}

void LogMessageView::displayCell()
{
    if (QApplication::mouseButtons() & Qt::RightButton)
        return;
    const QString text = currentCellText();
    if (text.isEmpty())
        return;
    // A message is never markup, even where it looks like it.
    QToolTip::showText(QCursor::pos(),
                       Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text, table_);
}

QAction* LogMessageView::makeContextAction(const QString& text, const QString& iconPath,
                                           const QString& statusTip, const char* slot)
{
    auto* action = new QAction(text, this);
    if (!iconPath.isEmpty())
        action->setIcon(QIcon(iconPath));
    action->setStatusTip(statusTip);
    connect(action, SIGNAL(triggered()), this, slot);
    return action;
}

void LogMessageView::remakeContextActions()
{
    for (QAction* old : {filterAction_, saveAction_, clearAction_, copyAllAction_, copyAction_})
        delete old;
    filterAction_ = makeContextAction(tr("Filter..."), QString(), tr("Set filtering options"),
                                      SLOT(filterSelection()));
    filterAction_->setShortcut(QKeySequence(Qt::SHIFT | Qt::Key_F));
    filterAction_->setShortcutVisibleInContextMenu(true);
    saveAction_ = makeContextAction(tr("Save log view..."), QStringLiteral(":/saveText.png"),
                                    tr("Save the current log view to text file (inclusive filter)"),
                                    SLOT(messageViewSaveClicked()));
    clearAction_ = makeContextAction(tr("Clear log"), QStringLiteral(":/clearText.png"),
                                     tr("Clear the log window"), SLOT(messageViewClearClicked()));
    copyAllAction_ = makeContextAction(tr("Copy all"), QStringLiteral(":/copy.png"),
                                       tr("Copy current log view to clipboard"),
                                       SLOT(messageViewClipboardClicked()));
    copyAllAction_->setShortcut(QKeySequence(QKeySequence::SelectAll));
    copyAllAction_->setShortcutVisibleInContextMenu(true);
    copyAction_ =
        makeContextAction(tr("Copy"), QStringLiteral(":/copySelection.png"),
                          tr("Copy selection to clipboard"), SLOT(selectionClipboardClicked()));
    copyAction_->setShortcut(QKeySequence(QKeySequence::Copy));
    copyAction_->setShortcutVisibleInContextMenu(true);
}

void LogMessageView::showContextMenu(const QPoint&)
{
    if (isBusy())
        return;
    remakeContextActions();
    const QPointer<QMenu> menu(new QMenu(this));
    menu->setObjectName(QStringLiteral("logTableMenu"));
    QAction reference(tr("Set Time Reference (toggle)"));
    connect(&reference, SIGNAL(triggered(bool)), this, SLOT(setReferenceTimeClicked()));
    menu->addAction(&reference);
    QMenu* format = menu->addMenu(tr("Time Display Format"));
    if (host_)
        for (QAction* action : {host_->dateAndTimeAction(), host_->secondsAction()})
            if (action)
                format->addAction(action);
    menu->addSeparator();
    menu->addAction(filterAction_);
    menu->addSeparator();
    menu->addAction(copyAction_);
    menu->addAction(copyAllAction_);
    menu->exec(QCursor::pos());
    delete menu; // null when the view went away under the open menu
}

/// The current row's stored row in the full model; -1 if there is no current row.
int LogMessageView::fullRowOfCurrent() const
{
    const QModelIndex current = table_->currentIndex();
    if (!current.isValid())
        return -1;
    const int shownRow = shownModel()->storedRow(current.row());
    if (shownModel() == fullModel_)
        return shownRow;
    const std::shared_ptr<LogMessage> message = filteredModel_->messageAt(shownRow);
    if (!message)
        return -1;
    // Both models keep the order of arrival, so the message cannot stand earlier in the full one.
    const int rows = fullModel_->messageCount();
    for (int row = shownRow; row < rows; ++row)
        if (fullModel_->messageAt(row) == message)
            return row;
    return -1;
}

void LogMessageView::setReferenceTimeClicked()
{
    if (isBusy())
        return;
    if (store_->timeDisplayMode() == 0) {
        const QPointer<LogMessageView> self(this);
        showBox(this, QMessageBox::Information, tr("Timestamp"),
                tr("For using the time reference the time display format will be changed."));
        if (!self)
            return;
        store_->setTimeDisplayMode(1);
        if (!store_->isActive()) {
            fullModel_->announceChanges();
            filteredModel_->announceChanges();
        }
        if (host_) {
            setActionCheckedSilently(host_->secondsAction(), true);
            setActionCheckedSilently(host_->dateAndTimeAction(), false);
        }
    }

    const int storedRow = fullRowOfCurrent();
    if (storedRow < 0)
        return;
    // The model takes displayed rows. Unsorted, or by luck, that is the number itself.
    const int hidden = fullModel_->hiddenRows();
    int displayedRow =
        shownModel() == fullModel_ ? table_->currentIndex().row() : storedRow - hidden;
    if (fullModel_->storedRow(displayedRow) != storedRow) {
        const int rows = fullModel_->rowCount();
        displayedRow = -hidden;
        while (displayedRow < rows && fullModel_->storedRow(displayedRow) != storedRow)
            ++displayedRow;
        if (displayedRow == rows)
            return;
    }
    if (fullModel_->references().contains(storedRow))
        fullModel_->removeReference(displayedRow);
    else
        fullModel_->addReference(displayedRow);
    table_->viewport()->update();
}

void LogMessageView::applyMaximum(int max)
{
    store_->setMaximumMessages(max);
    ViewSettings::instance().maximumLogMessages = max;
}

void LogMessageView::setMaximumMessages(int max)
{
    if (isBusy())
        return;
    const int count = fullModel_->messageCount();
    if (max >= count) {
        applyMaximum(max);
        return;
    }
    const QPointer<LogMessageView> self(this);
    const auto answer = showBox(
        this, QMessageBox::Warning, tr("Log Messages"),
        tr("The maximum number of log messages (%1) is lower than the current number of log "
           "messages (%2).\nDo you want to truncate the log messages and keep the latest?")
            .arg(max)
            .arg(count),
        QMessageBox::Ok | QMessageBox::Cancel);
    if (answer != QMessageBox::Ok || !self)
        return;

    const WaitCursor wait;
    applyMaximum(max);
    store_->truncateTo(qMax(0, max));
    // The filtered rows are to be among the rest, come what may.
    if (store_->isFiltering() && refilter(nullptr, Cancel::Never) != End::Done)
        return;
    if (filterBox_->isChecked() && takeFilter(Cancel::Never) != End::Done)
        return;
    updateView();
}

void LogMessageView::messageViewSaveClicked()
{
    if (isBusy())
        return;
    const QPointer<LogMessageView> self(this);
    // No question about replacing an existing file: the text is added to it.
    const QString path = askForFile(this, QFileDialog::AcceptSave, tr("Save log file"),
                                    QStringLiteral("zulogsvc.log"), tr("Text files (*.log)"),
                                    QFileDialog::DontConfirmOverwrite);
    if (path.isEmpty() || !self)
        return;
    const WaitCursor wait;
    QFile file(path);
    const bool wasThere = file.exists();
    // A pipe that nobody reads would keep the window waiting for ever.
    if ((wasThere && !QFileInfo(file).isFile()) ||
        !file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text))
        return;
    const LogTableModel& model = *shownModel();
    const End end =
        progress_->run(tr("Saving %1").arg(nameOf(path)), progress_->isLong(model.messageCount()),
                       Cancel::Allowed, [&](WorkControl& control) {
                           const qint64 size = file.size();
                           try {
                               appendAsText(file, model, control);
                           } catch (const WorkCancelled&) {
                               file.resize(size);
                               if (!wasThere)
                                   file.remove();
                               throw;
                           }
                           return WorkProgress::Result();
                       });
    if (end == End::Cancelled)
        showStatus(tr("Saving was cancelled"));
}

void LogMessageView::messageViewClipboardClicked()
{
    if (isBusy())
        return;
    const WaitCursor wait;
    const LogTableModel& model = *shownModel();
    try {
        QString text;
        const End end = progress_->run(tr("Copying"), progress_->isLong(model.messageCount()),
                                       Cancel::Allowed, [&](WorkControl& control) {
                                           eachRow(model, control, [&text](const QString& line) {
                                               text += line;
                                               return true;
                                           });
                                           return WorkProgress::Result();
                                       });
        if (end == End::Done)
            QApplication::clipboard()->setText(text);
        else if (end == End::Cancelled)
            showStatus(tr("Copying was cancelled"));
    } catch (const std::bad_alloc&) {
        showStatus(tr("The log is too large for the clipboard."));
    }
}

// Works on ranges: a million selected rows are one range, but twelve million cells.
QString LogMessageView::selectedText() const
{
    const LogTableModel& model = *shownModel();
    const QItemSelection selection = table_->selectionModel()->selection();
    std::vector<QItemSelectionRange> ranges(selection.cbegin(), selection.cend());
    std::sort(ranges.begin(), ranges.end(),
              [](const auto& a, const auto& b) { return a.left() < b.left(); });
    // Between two neighbouring bounds every row has the same selected columns.
    std::vector<int> bounds;
    for (const QItemSelectionRange& range : ranges) {
        bounds.push_back(range.top());
        bounds.push_back(range.bottom() + 1);
    }
    std::sort(bounds.begin(), bounds.end());
    bounds.erase(std::unique(bounds.begin(), bounds.end()), bounds.end());

    QString text;
    const int rows = model.rowCount();
    for (std::size_t bound = 0; bound + 1 < bounds.size(); ++bound) {
        std::vector<int> columns;
        for (const QItemSelectionRange& range : ranges)
            if (range.top() <= bounds[bound] && bounds[bound] <= range.bottom())
                for (int column = range.left(); column <= range.right(); ++column)
                    columns.push_back(column);
        if (columns.empty())
            continue;
        const int end = qMin(bounds[bound + 1], rows);
        for (int row = bounds[bound]; row < end; ++row) {
            bool first = true;
            for (const int column : columns) {
                if (!text.isEmpty())
                    text += QLatin1Char(first ? '\n' : '\t');
                first = false;
                text += model.cellText(row, column);
            }
        }
    }
    return text;
}

void LogMessageView::saveLogMessagesToJSONClicked()
{
    if (isBusy())
        return;
    const QPointer<LogMessageView> self(this);
    if (store_->isActive()) {
        showBox(this, QMessageBox::Warning, tr("Save to JSON"),
                tr("Please stop the logging before saving to JSON file."));
        return;
    }
    const QString path = askForFile(this, QFileDialog::AcceptSave, tr("Save log file"),
                                    QStringLiteral("zulogsvc.json"), tr("JSON files (*.json)"));
    if (path.isEmpty() || !self)
        return;
    const WaitCursor wait;
    const End end = progress_->run(tr("Saving %1").arg(nameOf(path)),
                                   progress_->isLong(fullModel_->messageCount()), Cancel::Allowed,
                                   [&](WorkControl& control) {
                                       fullModel_->saveToJson(path, &control);
                                       return WorkProgress::Result();
                                   });
    if (end == End::Cancelled)
        showStatus(tr("Saving was cancelled"));
}

void LogMessageView::selectionClipboardClicked()
{
    if (isBusy())
        return;
    const WaitCursor wait;
    try {
        QApplication::clipboard()->setText(selectedText());
    } catch (const std::bad_alloc&) {
        showStatus(tr("The log is too large for the clipboard."));
    }
}

LogMessageView::End LogMessageView::readMessages(const QString& path, bool& read)
{
    read = false;
    try {
        return progress_->run(tr("Loading %1").arg(nameOf(path)),
                              progress_->isLongFile(QFileInfo(path).size()), Cancel::Allowed,
                              [&](WorkControl& control) {
                                  read = fullModel_->loadFromJson(path, &control);
                                  return WorkProgress::Result();
                              });
    } catch (const std::bad_alloc&) {
        return End::Done; // nothing was added
    }
}

void LogMessageView::loadLogMessagesFromJSON()
{
    if (isBusy())
        return;
    const QString title = tr("Load from JSON");
    if (store_->isActive()) {
        showBox(this, QMessageBox::Warning, title,
                tr("Please stop the logging before loading the JSON file."));
        return;
    }
    const QPointer<LogMessageView> self(this);
    if (fullModel_->messageCount() > 0) {
        const auto answer = showBox(this, QMessageBox::Question, title,
                                    tr("Do you want to clear the current logging?"),
                                    QMessageBox::Yes | QMessageBox::No);
        if (!self)
            return;
        if (answer == QMessageBox::Yes)
            messageViewClearClicked();
    }
    const QString path = askForFile(this, QFileDialog::AcceptOpen, tr("Open log file"), QString(),
                                    tr("JSON files (*.json)"));
    if (path.isEmpty() || !self)
        return;

    bool read = false;
    {
        const WaitCursor wait;
        if (filterBox_->isChecked() && switchFilter(false, Cancel::Never) == End::Gone)
            return;
        const bool resized = resizeRows();
        switchResizeRows(false);
        const End end = readMessages(path, read);
        if (end == End::Cancelled) {
            if (filterBox_->isChecked() && switchFilter(true, Cancel::Never) == End::Gone)
                return;
            switchResizeRows(resized);
            showStatus(tr("Loading was cancelled"));
        }
        if (end != End::Done)
            return;
    }
    if (!read) {
        showBox(this, QMessageBox::Critical, title,
                tr("Failed to read file '%1'. Please check if it is a valid JSON file.").arg(path));
        if (!self)
            return;
    }

    const WaitCursor wait;
    filesCombo_->addItem(path); // also a file that could not be read
    filesCombo_->setCurrentIndex(filesCombo_->count() - 1);
    infoToolbar_->show();
    // Also while the filtered messages are not shown: the store takes those it has for complete.
    if (store_->isFiltering() && refilter(nullptr, Cancel::Never) == End::Gone)
        return;
    if (filterBox_->isChecked() && switchFilter(true, Cancel::Never) == End::Gone)
        return;
    updateView();
    fitColumns();
    switchResizeRows(true);
    showStatus(QString());
}

void LogMessageView::openLogFiles(const QStringList& paths, bool asksToClear)
{
    const QString title = tr("Open log file");
    if (paths.isEmpty() || isBusy())
        return;
    if (store_->isActive()) {
        showBox(this, QMessageBox::Warning, title,
                tr("Please stop the logging before opening a log file."));
        return;
    }
    if (asksToClear && fullModel_->messageCount() > 0) {
        const QPointer<LogMessageView> self(this);
        const auto answer = showBox(this, QMessageBox::Question, title,
                                    tr("Do you want to clear the current logging?"),
                                    QMessageBox::Yes | QMessageBox::No);
        if (!self)
            return;
        if (answer == QMessageBox::Yes)
            messageViewClearClicked();
    }

    QStringList opened;
    QStringList failures;
    {
        const WaitCursor wait;
        if (filterBox_->isChecked() && switchFilter(false, Cancel::Never) == End::Gone)
            return;
        const bool resized = resizeRows();
        switchResizeRows(false);
        End end = End::Done;
        for (const QString& path : paths) {
            QString cause;
            end = progress_->run(tr("Loading %1").arg(nameOf(path)),
                                 progress_->isLongFile(QFileInfo(path).size()), Cancel::Allowed,
                                 [&](WorkControl& control) {
                                     cause = fullModel_->loadLog(path, &control);
                                     return WorkProgress::Result();
                                 });
            if (end == End::Gone)
                return;
            if (end == End::Cancelled)
                break; // the files before this one are there
            if (cause.isEmpty())
                opened.append(path);
            else
                failures.append(tr("Failed to read file '%1'. %2").arg(path, cause));
        }
        if (!opened.isEmpty()) {
            filesCombo_->addItems(opened);
            filesCombo_->setCurrentIndex(filesCombo_->count() - 1);
            infoToolbar_->show();
            if (store_->isFiltering() && refilter(nullptr, Cancel::Never) == End::Gone)
                return;
        }
        if (filterBox_->isChecked() && switchFilter(true, Cancel::Never) == End::Gone)
            return;
        updateView();
        if (!opened.isEmpty())
            fitColumns();
        switchResizeRows(resized);
        showStatus(end == End::Cancelled ? tr("Loading was cancelled") : QString());
    }
    if (failures.isEmpty())
        return;
    constexpr int toldFailures = 10; // so that the box fits on the screen
    const int others = failures.size() - toldFailures;
    if (others > 0)
        failures = failures.mid(0, toldFailures)
                   << tr("%n more files could not be read.", nullptr, others);
    showBox(this, QMessageBox::Critical, title, failures.join(QLatin1Char('\n')));
}

/// The fields' widths, without a stretched one's: that is what the others left.
QMap<int, int> LogMessageView::chosenWidths() const
{
    QMap<int, int> widths;
    const QList<int> fields = fullModel_->columns();
    const bool stretched = table_->horizontalHeader()->stretchLastSection();
    for (int column = 0; column < fields.size(); ++column)
        if (!table_->isColumnHidden(column) && !(stretched && column == fields.size() - 1))
            widths.insert(fields.at(column), table_->columnWidth(column));
    return widths;
}

void LogMessageView::setShownFields(const QList<int>& fields)
{
    QList<int> wanted;
    for (const int field : fields)
        if (!logFieldName(field).isEmpty() && !wanted.contains(field))
            wanted.append(field);
    if (wanted.isEmpty() || isBusy())
        return;

    const WaitCursor wait;
    ViewSettings& settings = ViewSettings::instance();
    const QList<int> before = fullModel_->columns();
    const QMap<int, int> widths = chosenWidths();
    QMap<int, int> remembered;
    for (int column = 0; column < wanted.size(); ++column) {
        const auto width = settings.columnWidths.constFind(before.indexOf(wanted.at(column)));
        if (width != settings.columnWidths.constEnd())
            remembered.insert(column, *width);
    }
    settings.columnWidths = remembered;
    settings.setColumnLayout(wanted);

    QHeaderView* header = table_->horizontalHeader();
    const int sortedField = before.value(header->sortIndicatorSection(), FieldNone);
    const QPersistentModelIndex current = table_->currentIndex();
    const int currentRow = current.row();
    // Rows that are selected as a whole stay so, also with columns that they did not have.
    std::vector<std::pair<int, int>> wholeRows;
    const QItemSelection selection = table_->selectionModel()->selection();
    for (const QItemSelectionRange& range : selection)
        if (range.left() == 0 && range.right() == before.size() - 1)
            wholeRows.emplace_back(range.top(), range.bottom());

    header->setStretchLastSection(false);
    for (LogTableModel* model : {fullModel_, filteredModel_})
        model->setColumns(wanted);
    {
        // The rows are sorted already; only the mark has to move.
        const QSignalBlocker blocker(header);
        header->setSortIndicator(wanted.indexOf(sortedField), header->sortIndicatorOrder());
        sortedSection_ = header->sortIndicatorSection();
    }

    QItemSelection rows;
    for (const auto& [top, bottom] : wholeRows)
        rows.append(QItemSelectionRange(shownModel()->index(top, 0),
                                        shownModel()->index(bottom, wanted.size() - 1)));
    table_->selectionModel()->select(rows, QItemSelectionModel::Select);
    if (currentRow >= 0 && !current.isValid())
        table_->selectionModel()->setCurrentIndex(shownModel()->index(currentRow, 0),
                                                  QItemSelectionModel::NoUpdate);

    for (int column = 0; column < wanted.size(); ++column) {
        table_->setColumnHidden(column, false);
        const auto width = widths.constFind(wanted.at(column));
        if (width != widths.constEnd())
            table_->setColumnWidth(column, *width);
        else
            table_->resizeColumnToContents(column);
    }
    stretchLastColumn();
    updateView();
}

void LogMessageView::resetLayoutAndFilter()
{
    if (isBusy())
        return;
    setShownFields(defaultColumnOrder());
    ViewSettings::instance().columnWidths.clear();
    setShowLineNumbers(true);
    filterDialog_->clearSignal();
    if (takeFilter(Cancel::Never) == End::Done)
        fitColumns();
}

} // namespace zuLogging
