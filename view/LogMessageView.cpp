#include "view/LogMessageView.h"

#include "platform/ServiceControl.h"
#include "store/LogContainer.h"
#include "store/LogField.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"
#include "view/FilterDialog.h"
#include "view/FindDialog.h"
#include "view/GoToDialog.h"
#include "view/LoadedFilesToolbar.h"
#include "view/LogMessageToolbar.h"
#include "view/LogTableSetUp.h"
#include "view/LogTableView.h"
#include "view/LogViewHost.h"
#include "view/RowHeightFitter.h"
#include "view/RowSelection.h"
#include "view/SortMark.h"
#include "view/TimeReference.h"
#include "widgets/Boxes.h"
#include "widgets/WaitCursor.h"

#include <QApplication>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>

#include <exception>
#include <utility>

namespace zuLogging {

namespace {

constexpr int refreshPeriodMs = 80;
constexpr int lineNumberWidth = 60;
constexpr const char* serviceName = "ZULogSvc";

LogViewHost* hostOf(QWidget* parent)
{
    return dynamic_cast<LogViewHost*>(parent);
}

std::shared_ptr<LogContainer> storeOf(const LogViewHost* host)
{
    std::shared_ptr<LogContainer> store = host ? host->messageStore() : nullptr;
    return store ? store : std::make_shared<LogContainer>();
}

} // namespace

LogMessageView::LogMessageView(QStatusBar* statusBar, QWidget* parent)
    : QWidget(parent)
    , statusBar_(statusBar)
    , host_(hostOf(parent))
    , hostActions_(host_)
    , store_(storeOf(host_))
    , table_(new LogTableView(this))
    , fullModel_(new LogTableModel(store_, this))
    , filteredModel_(new LogTableModel(store_, this))
    , layout_(new QVBoxLayout)
    , toolbar_(new LogMessageToolbar(this))
    , filesToolbar_(new LoadedFilesToolbar(this))
    , findDialog_(new FindDialog(this))
    , filterDialog_(new FilterDialog(this))
    , goToDialog_(new GoToDialog(this))
    , updateTimer_(new QTimer(this))
    , progress_(new WorkProgress(statusBar, this))
    , work_(progress_, store_)
    , statusLabels_(statusBar)
    , menu_(this)
    , stop_(store_)
    , columns_(table_, fullModel_, filteredModel_)
    , filterBoxChecked_(toolbar_->isFilterChecked())
    , autoScroll_(ViewSettings::instance().autoScrollEnabled)
{
    setObjectName(QStringLiteral("logMessageView"));
    store_->setModels(fullModel_, filteredModel_);

    refresh();
    setButtons(true, false);
    showStatus(tr("Ready"));
    countsAtClear_ = store_->ledger()->counts();

    setUpTable();
    makeConnections();
    if (toolbar_->isFilterChecked())
        enableFilter(Qt::Checked);

    columns_.fit();
    columns_.applyRememberedWidths();
    layout_->setContentsMargins(0, 0, 0, 0);
    layout_->addWidget(toolbar_);
    layout_->addWidget(filesToolbar_);
    layout_->addWidget(table_);
    setLayout(layout_);
}

LogMessageView::~LogMessageView()
{
    updateTimer_->stop();
    progress_->abandon();
    stop_.join();
    store_->disconnect(this);
    stop_.end();
    columns_.rememberWidths();
    ViewSettings::instance().write();

    store_->setModels(nullptr, nullptr);
}

void LogMessageView::setUpTable()
{
    table_->setObjectName(QStringLiteral("logTable"));
    table_->setAccessibleName(tr("Log messages"));
    table_->setModel(fullModel_);
    setUpLogTable(*table_);
    sortMark_ = new SortMark(table_->horizontalHeader());
    connect(table_->horizontalHeader(), &QHeaderView::sortIndicatorChanged, this,
            &LogMessageView::sortByHeader);
    setShowLineNumbers(showLineNumbers_);
    rowHeights_ = new RowHeightFitter(table_);
    for (LogTableModel* model : {fullModel_, filteredModel_})
        model->setMaximumShownRows(RowHeightFitter::maximumRows);
}

void LogMessageView::makeConnections()
{
    for (LogTableModel* model : {fullModel_, filteredModel_})
        deselectRowsThatLeave(*table_, *model);
    connect(updateTimer_, SIGNAL(timeout()), this, SLOT(updateView()));
    connect(&work_, &RowWork::told, this, &LogMessageView::showStatus);
    connect(progress_, &WorkProgress::ended, this, [this] {
        // Not at once: the slot that the work is for has not ended.
        if (std::exchange(stopWasTold_, false))
            QMetaObject::invokeMethod(this, "updateViewAfterStop", Qt::QueuedConnection);
    });
    connect(filterDialog_, SIGNAL(accepted()), this, SLOT(setFilter()));
    connect(findDialog_, SIGNAL(clearSearch()), this, SLOT(clearSearch()));
    connect(findDialog_, SIGNAL(findNext(QString, bool, Qt::CaseSensitivity)), this,
            SLOT(search(QString, bool, Qt::CaseSensitivity)));
    connect(table_->horizontalHeader(), SIGNAL(sectionClicked(int)), this, SLOT(sortColumn(int)));
    connect(store_.get(), SIGNAL(stopLoggingDone()), this, SLOT(updateViewAfterStop()));
    connect(goToDialog_, SIGNAL(accepted()), this, SLOT(setGoToLine()));
    watchSelection();
    connect(table_, SIGNAL(customContextMenuRequested(const QPoint&)), this,
            SLOT(showContextMenu(const QPoint&)), Qt::UniqueConnection);
    connect(table_, SIGNAL(pressed(const QModelIndex&)), this, SLOT(displayCell()),
            Qt::UniqueConnection);
    connect(table_->horizontalHeader(), SIGNAL(sectionResized(int, int, int)), this,
            SLOT(horizontalHeaderChanged(int, int, int)));
    connect(this, SIGNAL(autoScroll()), this, SLOT(moveScrollBarToBottom()), Qt::UniqueConnection);
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
    watchSelection();
    rowHeights_->watchModel();
}

void LogMessageView::watchSelection()
{
    QItemSelectionModel* selection = table_->selectionModel();
    connect(selection, SIGNAL(selectionChanged(const QItemSelection&, const QItemSelection&)), this,
            SLOT(tableItemSelected(const QItemSelection&, const QItemSelection&)));
    connect(selection, &QItemSelectionModel::selectionChanged, this,
            [this, selection] { markSelectedColumns(*table_->horizontalHeader(), *selection); });
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
    hostActions_.checkResizeRows(on);
    if (resizeRows() != on)
        setResizeRows(on);
}

void LogMessageView::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    columns_.fitOrRemember();
}

void LogMessageView::horizontalHeaderChanged(int, int, int)
{
    table_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
}

void LogMessageView::setButtons(bool start, bool stop)
{
    toolbar_->setCanStartAndStop(start, stop);
    hostActions_.enableStartAndStop(start, stop);
}

void LogMessageView::showStatus(const QString& text)
{
    if (statusBar_)
        statusBar_->showMessage(text);
}

bool LogMessageView::isStopping() const
{
    return !toolbar_->canStart() && !toolbar_->canStop();
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
    if (host_)
        switchResizeRows(false);
    hostActions_.enableWhatChangesRows(false);
    setButtons(false, true);
    updateTimer_->start(refreshPeriodMs);
    showStatus(tr("Logging started..."));
    QString error;
    try {
        if (store_->startLogging(replayLogHistory))
            return;
        error = store_->takeErrorText();
    } catch (const std::exception& failure) {
        error = QString::fromUtf8(failure.what());
    }

    if (!beginStop().isEmpty())
        store_->stopLogging(); // there is little to stop: here, without a thread
    showBox(this, QMessageBox::Warning, tr("Start Logging"),
            tr("Failed to start the logging (%1)").arg(error));
}

void LogMessageView::stopLoggingClicked()
{
    if (isBusy())
        return;
    const QString error = beginStop();
    if (!error.isEmpty())
        showBox(this, QMessageBox::Warning, tr("Stop Logging"),
                tr("Failed to stop the logging (%1)").arg(error));
}

/// Why it could not be begun; then all is as before.
QString LogMessageView::beginStop()
{
    // One stop at a time: a thread of an earlier one is at its end, or is this stop already.
    const bool underWay = isStopping();
    const bool couldStop = toolbar_->canStop();
    setButtons(toolbar_->canStart(), false);
    showStatus(tr("Logging stopped. Waiting for queue..."));
    if (underWay)
        return {};
    const QString error = stop_.begin();
    if (!error.isEmpty()) {
        setButtons(toolbar_->canStart(), couldStop);
        showStatus(tr("Logging started..."));
    }
    return error;
}

void LogMessageView::updateViewAfterStop()
{
    if (isBusy()) {
        stopWasTold_ = true;
        return;
    }
    // The store also tells it when nothing ran, as the window closes: then the widths are as the
    // user left them.
    const bool hadBegun = !toolbar_->canStart();
    refresh();
    hostActions_.enableWhatChangesRows(true);
    setButtons(true, false);
    updateTimer_->stop();
    if (hadBegun)
        columns_.fitOrRemember();
    showStatus(QString());
    stop_.end();
    updateView();
}

void LogMessageView::updateView()
{
    shownModel()->announceChanges();
    columns_.fitFirstRows();
    toolbar_->showCount(fullModel_->messageCount());
    if (store_->showFiltered())
        toolbar_->showFiltered(filteredModel_->messageCount());
    toolbar_->showQueued(store_->queueSize());
    statusLabels_.showRows(*shownModel());
    statusLabels_.showLost(store_->ledger()->counts().since(countsAtClear_));
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
    toolbar_->showService(platform::isServiceRunning(serviceName));
}

void LogMessageView::messageViewClearClicked()
{
    if (isBusy())
        return;
    filesToolbar_->clearFiles();
    work_.clear();
    countsAtClear_ = store_->ledger()->counts();
    updateView();
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
    toolbar_->setFilterChecked(checked);
}

LogMessageView::End LogMessageView::switchFilter(bool on, Cancel cancel)
{
    const WaitCursor wait;
    // What takes long comes first: whoever cancels it has changed nothing.
    if (filteredModel_->messageCount() == 0) {
        const End end = work_.refilter(nullptr, cancel);
        if (end != End::Done)
            return end;
    }
    return showFiltered(on, cancel);
}

LogMessageView::End LogMessageView::showFiltered(bool on, Cancel cancel)
{
    const QHeaderView* header = table_->horizontalHeader();
    const LogTableModel* const from = on ? fullModel_ : filteredModel_;
    LogTableModel* const to = on ? filteredModel_ : fullModel_;
    LogTableModel* const shown = on && store_->isFiltering() ? filteredModel_ : fullModel_;
    End end = End::Done;
    if (from->sortColumn() != -1)
        end = work_.sort(*to, from->sortColumn(), from->sortOrder(), cancel);
    if (end == End::Done)
        end = work_.sort(*shown, header->sortIndicatorSection(), header->sortIndicatorOrder(),
                         cancel);
    if (end != End::Done)
        return end;
    store_->markShowFiltered(on);
    showModel(shown);
    toolbar_->showFiltered(on ? filteredModel_->messageCount() : 0);
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
    // As the settings have it: reading the dialog changes them.
    const MessageFilter before = FilterDialog::savedFilter();
    const MessageFilter filter = filterDialog_->filter();
    bool isFilled = false;
    if (store_->changesRows(filter)) {
        const End end = work_.refilter(&filter, cancel);
        if (end == End::Cancelled)
            filterDialog_->goBackTo(before);
        if (end != End::Done)
            return end;
        isFilled = !filter.isEmpty(); // also when nothing passes
    }
    // From here on the filter is in force: rows left unsorted under a mark would be wrong.
    const bool on = !filter.isEmpty();
    if (on || toolbar_->isFilterChecked()) {
        checkFilterBox(on);
        const End end =
            isFilled ? showFiltered(on, Cancel::Never) : switchFilter(on, Cancel::Never);
        if (end != End::Done)
            return end;
    }
    updateView();
    return End::Done;
}

QString LogMessageView::currentCellText()
{
    const auto hold = work_.holdAsShown(*shownModel());
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
    if (newSearch)
        store_->setHighlight(true);
    if (newSearch || store_->isActive()) // or it would begin at another message than the current
        shownModel()->announceChanges();
    table_->viewport()->update(); // also when only the case rule marks other cells

    std::shared_ptr<RowWork::Found> found;
    {
        const WaitCursor wait;
        QModelIndex start = table_->currentIndex();
        if (!start.isValid() || start.row() >= shownModel()->rowCount())
            start = table_->indexAt(QPoint(0, 0));
        if (work_.find(*shownModel(), start, text, directionDown, cs, found) != End::Done)
            return;
    }
    if (found->index.isValid()) {
        table_->setCurrentIndex(found->index);
        table_->scrollTo(found->index, QAbstractItemView::EnsureVisible);
        return;
    }
    found.reset(); // rows come and go under the box
    showBox(this, QMessageBox::Warning, tr("Search"), tr("Can't find the text:\n\"%1\"").arg(text));
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
    if (isBusy() || sortMark_->isCancelledClick())
        return;
    const WaitCursor wait;
    work_.sort(*shownModel(), section, table_->horizontalHeader()->sortIndicatorOrder(),
               Cancel::Allowed);
}

void LogMessageView::sortByHeader(int column, Qt::SortOrder order)
{
    if (isBusy()) {
        sortMark_->putBack();
        return;
    }
    const WaitCursor wait;
    switch (work_.sort(*shownModel(), column, order, Cancel::Allowed)) {
    case End::Done:
        sortMark_->keep();
        break;
    case End::Cancelled:
        sortMark_->putBackAfterCancel();
        break;
    case End::Gone:
        break;
    }
}

void LogMessageView::tableItemSelected(const QItemSelection&, const QItemSelection&) {}

void LogMessageView::displayCell()
{
    if (isBusy() || QApplication::mouseButtons() & Qt::RightButton)
        return;
    showTip(table_, currentCellText());
}

void LogMessageView::showContextMenu(const QPoint&)
{
    if (isBusy())
        return;
    menu_.exec(hostActions_.dateAndTime(), hostActions_.seconds());
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
        hostActions_.checkSeconds();
    }

    {
        const auto hold = work_.holdAsShown(*shownModel());
        toggleTimeReference(*fullModel_, *shownModel(), table_->currentIndex());
    }
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
    if (work_.truncate(qMax(0, max)) != End::Done)
        return;
    // The filtered rows are to be among the rest, come what may.
    if (store_->isFiltering() && work_.refilter(nullptr, Cancel::Never) != End::Done)
        return;
    if (toolbar_->isFilterChecked() && takeFilter(Cancel::Never) != End::Done)
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
    work_.saveAsText(path, *shownModel());
}

void LogMessageView::messageViewClipboardClicked()
{
    if (isBusy())
        return;
    const WaitCursor wait;
    work_.copy(*shownModel());
}

void LogMessageView::selectionClipboardClicked()
{
    if (isBusy())
        return;
    const WaitCursor wait;
    work_.copyCells(*shownModel(), *table_->selectionModel());
}

void LogMessageView::saveLogMessagesToJSONClicked()
{
    if (isBusy())
        return;
    const QPointer<LogMessageView> self(this);
    if (isLogging(tr("Save to JSON"), tr("Please stop the logging before saving to JSON file.")))
        return;
    const QString path = askForFile(this, QFileDialog::AcceptSave, tr("Save log file"),
                                    QStringLiteral("zulogsvc.json"), tr("JSON files (*.json)"));
    if (path.isEmpty() || !self)
        return;
    const WaitCursor wait;
    work_.saveAsJson(path);
}

/// True, and the user is told, while logging runs. The view may be gone afterwards.
bool LogMessageView::isLogging(const QString& title, const QString& text)
{
    if (!store_->isActive())
        return false;
    showBox(this, QMessageBox::Warning, title, text);
    return true;
}

/// Whether messages that are there shall go. False when the view is gone.
bool LogMessageView::askToClear(const QString& title)
{
    if (fullModel_->messageCount() == 0)
        return true;
    const QPointer<LogMessageView> self(this);
    const auto answer =
        showBox(this, QMessageBox::Question, title, tr("Do you want to clear the current logging?"),
                QMessageBox::Yes | QMessageBox::No);
    if (!self)
        return false;
    if (answer == QMessageBox::Yes)
        messageViewClearClicked();
    return true;
}

/// Lists the files and shows what is there now; rows are resized from then on, or not.
LogMessageView::End LogMessageView::showLoaded(const QStringList& files, bool resizes)
{
    const WaitCursor wait;
    if (!files.isEmpty()) {
        filesToolbar_->add(files);
        // Also while they are not shown: the store takes the filtered ones for complete.
        if (store_->isFiltering() && work_.refilter(nullptr, Cancel::Never) == End::Gone)
            return End::Gone;
    }
    if (toolbar_->isFilterChecked() && switchFilter(true, Cancel::Never) == End::Gone)
        return End::Gone;
    updateView();
    if (!files.isEmpty())
        columns_.fit();
    switchResizeRows(resizes);
    return End::Done;
}

void LogMessageView::loadLogMessagesFromJSON()
{
    if (isBusy())
        return;
    const QString title = tr("Load from JSON");
    if (isLogging(title, tr("Please stop the logging before loading the JSON file.")))
        return;
    const QPointer<LogMessageView> self(this);
    if (!askToClear(title))
        return;
    const QString path = askForFile(this, QFileDialog::AcceptOpen, tr("Open log file"), QString(),
                                    tr("JSON files (*.json)"));
    if (path.isEmpty() || !self)
        return;

    bool read = false;
    {
        const WaitCursor wait;
        if (toolbar_->isFilterChecked() && switchFilter(false, Cancel::Never) == End::Gone)
            return;
        const bool resized = resizeRows();
        switchResizeRows(false);
        const End end = work_.loadJson(path, read);
        if (end == End::Cancelled) {
            if (toolbar_->isFilterChecked() && switchFilter(true, Cancel::Never) == End::Gone)
                return;
            switchResizeRows(resized);
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

    if (showLoaded({path}, true) == End::Done) // also a file that could not be read
        showStatus(QString());
}

void LogMessageView::openLogFiles(const QStringList& paths, bool asksToClear)
{
    const QString title = tr("Open log file");
    if (paths.isEmpty() || isBusy())
        return;
    if (isLogging(title, tr("Please stop the logging before opening a log file.")))
        return;
    if (asksToClear && !askToClear(title))
        return;

    QStringList opened;
    QStringList failures;
    {
        const WaitCursor wait;
        if (toolbar_->isFilterChecked() && switchFilter(false, Cancel::Never) == End::Gone)
            return;
        const bool resized = resizeRows();
        switchResizeRows(false);
        const End end = work_.load(paths, opened, failures);
        // The files before a cancelled one are there.
        if (end == End::Gone || showLoaded(opened, resized) == End::Gone)
            return;
        if (end != End::Cancelled)
            showStatus(QString());
    }
    if (!failures.isEmpty())
        showBox(this, QMessageBox::Critical, title, failures.join(QLatin1Char('\n')));
}

void LogMessageView::setShownFields(const QList<int>& fields)
{
    const QList<int> wanted = ColumnLayout::knownFields(fields);
    if (wanted.isEmpty() || isBusy())
        return;
    const WaitCursor wait;
    columns_.showFields(wanted);
    sortMark_->keep();
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
        columns_.fit();
}

} // namespace zuLogging
