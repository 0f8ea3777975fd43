#pragma once

#include "logging/LogLedger.h"
#include "store/LogContainer.h"
#include "view/BackgroundStop.h"
#include "view/ColumnLayout.h"
#include "view/HostActions.h"
#include "view/LogStatusLabels.h"
#include "view/LogTableMenu.h"
#include "view/RowWork.h"
#include "view/WorkProgress.h"

#include <QList>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QWidget>

#include <memory>

class QItemSelection;
class QStatusBar;
class QTimer;
class QVBoxLayout;

namespace zuLogging {

class FilterDialog;
class FindDialog;
class GoToDialog;
class LoadedFilesToolbar;
class LogMessageToolbar;
class LogTableModel;
class LogTableView;
class LogViewHost;
class RowHeightFitter;
class SortMark;

/// The log area of the main window: the table of messages, the toolbar that starts and stops
/// logging, and the dialogs that belong to the table. It drives the message store and shows the
/// store's two models, which it makes and owns.
///
/// GUI thread only. While logging runs a timer refreshes table and counters every 80 ms; a thread
/// of the view's own runs the store's stop, and has ended when the view is gone.
///
/// Work on many rows or large files is done by `progress()`, while the slot that began it waits and
/// events come in. Until its end every other slot that would change something does nothing. The
/// window may be closed meanwhile, which cancels the work; it is not deleted before the slot has
/// returned.
///
/// Three states, told by the buttons: stopped (only start enabled), logging (only stop enabled),
/// stopping (neither).
class LogMessageView : public QWidget
{
    Q_OBJECT

public:
    /// `parent` is the main window; where it is a `LogViewHost`, its store is used and its actions
    /// are kept in step. Status texts go to `statusBar` (not owned, may be null); at its right the
    /// view adds labels of its own, hidden until there is something to tell: what was lost since
    /// the last clear, and that there are more rows than the table can show.
    LogMessageView(QStatusBar* statusBar, QWidget* parent);
    /// Takes at most about 1 second. Records the column widths and writes the view settings file.
    /// The host is not called any more: it may be half gone already.
    ~LogMessageView() override;

    /// Sets the row limit. Asks first when that would truncate the messages shown.
    void setMaximumMessages(int max);
    /// Adds the messages of a JSON file that the user chooses. Refused while logging runs.
    void loadLogMessagesFromJSON();
    /// Adds the messages of log files of any form, in this order, and lists the files that could be
    /// read; says which could not. Refused while logging runs. `asksToClear`: the user is asked
    /// first whether messages that are there shall go. "Resize rows" is afterwards as it was.
    void openLogFiles(const QStringList& paths, bool asksToClear = false);
    /// Shows exactly these fields, left to right, in both models, the table and the view settings;
    /// numbers that are no field and repetitions are left out, and an order without any field
    /// changes nothing. Rows, sort and selection stay, and each field keeps its width; fields that
    /// were not shown get a fitted one. Without the field that they were sorted by, the rows stay
    /// in their order and no column is marked as sorted.
    void setShownFields(const QList<int>& fields);
    /// All fields in their own order with fitted widths, row numbers shown, no filter.
    void resetLayoutAndFilter();

    LogTableView* table() const { return table_; }
    LogTableModel* fullModel() const { return fullModel_; }
    LogTableModel* filteredModel() const { return filteredModel_; }
    /// The one of the two that the table shows.
    LogTableModel* shownModel() const;

    /// Never null.
    WorkProgress* progress() const { return progress_; }
    FilterDialog* filterDialog() const { return filterDialog_; }
    FindDialog* findDialog() const { return findDialog_; }
    GoToDialog* goToDialog() const { return goToDialog_; }

    bool showLineNumbers() const { return showLineNumbers_; }
    void setShowLineNumbers(bool show);

    /// Whether each refresh scrolls to the newest row.
    bool isAutoScrollOn() const { return autoScroll_; }
    void setAutoScroll(bool on) { autoScroll_ = on; }

    /// On: rows as high as their contents, measured as they come near the view. Off: all rows 20
    /// high.
    bool resizeRows() const;
    void setResizeRows(bool on);

Q_SIGNALS:
    void newMessage(const QString& text);
    /// At the end of every counter refresh.
    void autoScroll();

public Q_SLOTS:
    void messageViewClearClicked();
    void messageViewSaveClicked();
    void messageViewClipboardClicked();
    /// All messages of the full model, in their order of arrival. Refused while logging runs.
    void saveLogMessagesToJSONClicked();
    void selectionClipboardClicked();
    void startLoggingClicked(bool replayLogHistory = false);
    /// When no thread can be started it says so, in the state as before.
    void stopLoggingClicked();
    void updateView();
    void updateViewAfterStop();
    void setFilter();
    void enableFilter(int state);
    void filterSelection();
    void clearSearch();
    void search(QString text, bool directionDown, Qt::CaseSensitivity cs = Qt::CaseInsensitive);
    void setGoToLine();
    void sortColumn(int section);
    void tableItemSelected(const QItemSelection& selected, const QItemSelection& deselected);
    void showContextMenu(const QPoint& pnt);
    void setReferenceTimeClicked();
    void displayCell();
    void refresh();
    void horizontalHeaderChanged(int logicalIndex, int oldSize, int newSize);
    void moveScrollBarToBottom();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    using End = WorkProgress::End;
    using Cancel = WorkProgress::Cancel;

    bool isBusy() const { return progress_->isRunning(); }
    void sortByHeader(int column, Qt::SortOrder order);
    End switchFilter(bool on, Cancel cancel);
    End showFiltered(bool on, Cancel cancel);
    void checkFilterBox(bool checked);
    End takeFilter(Cancel cancel);

    void setUpTable();
    void makeConnections();
    void watchSelection();
    void showModel(LogTableModel* model);
    void switchResizeRows(bool on);
    void setButtons(bool start, bool stop);
    void showStatus(const QString& text);
    bool isStopping() const;
    void applyMaximum(int max);
    QString currentCellText();
    QString beginStop();
    bool isLogging(const QString& title, const QString& text);
    bool askToClear(const QString& title);
    End showLoaded(const QStringList& files, bool resizes);

    QPointer<QStatusBar> statusBar_;
    LogCounts countsAtClear_;
    LogViewHost* host_;
    HostActions hostActions_;
    std::shared_ptr<LogContainer> store_;
    LogTableView* table_;
    LogTableModel* fullModel_;
    LogTableModel* filteredModel_;
    QVBoxLayout* layout_;
    LogMessageToolbar* toolbar_;
    LoadedFilesToolbar* filesToolbar_;
    FindDialog* findDialog_;
    FilterDialog* filterDialog_;
    GoToDialog* goToDialog_;
    QTimer* updateTimer_;
    WorkProgress* progress_;
    RowWork work_;
    LogStatusLabels statusLabels_;
    LogTableMenu menu_;
    BackgroundStop stop_;
    ColumnLayout columns_;
    SortMark* sortMark_ = nullptr;
    bool stopWasTold_ = false; ///< while work was going on
    bool filterBoxChecked_;    ///< what the box is to show, whoever clicks it meanwhile
    RowHeightFitter* rowHeights_ = nullptr;
    bool autoScroll_;
    bool showLineNumbers_ = true;
};

} // namespace zuLogging
