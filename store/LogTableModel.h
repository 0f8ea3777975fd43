#pragma once

#include "logging/LogMessage.h"
#include "store/FairMutex.h"

#include <QAbstractTableModel>
#include <QList>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace zuLogging {

class LogContainer;
class WorkControl;
struct PreparedSort;
struct RowContent;
struct TableRows;

/// Log messages as table rows: in order of arrival, or through a sort index.
///
/// A table widget can show so many rows only. Beyond `setMaximumShownRows` the rows of this model
/// are the last ones of its order, so that the newest can be seen as they come, and the oldest when
/// the table is sorted the other way round. `rowCount` and all that is told to views is about the
/// rows shown; the messages themselves are all kept, counted, filtered and saved. Rows in front of
/// those shown have negative displayed numbers, down to minus `hiddenRows`.
///
/// Threads: the store's worker adds and removes rows at any time, without row signals; readers are
/// on the GUI thread, where the view announces what changed with `announceChanges` on its timer.
/// The lock guards messages, identifiers, sort index, references and columns; every operation takes
/// it for its whole run, so each answer is consistent in itself, not with the one before.
/// Lock order: the filtered model's lock may be held when the full model's is taken, never the
/// other way round.
class LogTableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    explicit LogTableModel(std::shared_ptr<LogContainer> store, QObject* parent = nullptr);
    ~LogTableModel() override;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    /// The rows shown, which are all unless there are more than can be shown.
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;
    using PreparedSort = zuLogging::PreparedSort;
    /// What `sort` would do, on any thread, while the window goes on reading; no row may come or go
    /// meanwhile (LogContainer::holdRows), nor references or columns change. Throws WorkCancelled.
    std::shared_ptr<PreparedSort> prepareSort(int column, Qt::SortOrder order,
                                              WorkControl& control) const;
    /// `sort` in a moment. If rows have come or gone since it was prepared it takes its time. GUI
    /// thread.
    void applySort(PreparedSort& prepared);

    /// All messages, shown or not. Any thread.
    int messageCount() const;
    /// How many rows are in front of those shown. Any thread.
    int hiddenRows() const;
    /// At least 1; as many as an int can count to begin with. GUI thread.
    void setMaximumShownRows(int count);
    int maximumShownRows() const;

    /// Appends a row. Any thread.
    void addMessage(std::shared_ptr<LogMessage> message);
    /// Appends rows under one lock. Any thread.
    void addMessages(const std::vector<std::shared_ptr<LogMessage>>& messages);
    /// Inserts at a stored row; a negative row does nothing. Any thread.
    void insertMessage(int row, std::shared_ptr<LogMessage> message);
    /// Has these rows from now on, unsorted, and gives those that it had. To be called from a
    /// `reset`. Any thread.
    void exchangeRows(RowContent& rows);
    /// Drops stored row 0 and returns the low 32 bits of its service message identifier; 0 if the
    /// model is empty. Any thread.
    int removeOldest();
    /// The same `count` times under one lock; the results in order.
    std::vector<int> removeOldest(int count);
    /// Drops as many and gives them, for whoever wants to free them elsewhere: of millions that
    /// takes seconds. Any thread.
    std::deque<std::shared_ptr<LogMessage>> takeOldest(int count);
    /// Removes the first row whose service message identifier is `identifier`, sign-extended, from
    /// messages and identifiers only: the sort index is not touched. An identifier below 1 is not
    /// looked for. Any thread.
    bool removeByIdentifier(int identifier);
    /// For each of `messages` in order: removeOldest, then addMessage, all under one lock, so that
    /// no reader meets a row more or less. What removeOldest gave, in order. Any thread.
    std::vector<int> replaceOldest(const std::vector<std::shared_ptr<LogMessage>>& messages);
    /// For each position: removeByIdentifier, then addMessage unless the message is empty, all
    /// under one lock. Both lists are equally long. Any thread.
    void replaceByIdentifiers(const std::vector<int>& identifiers,
                              const std::vector<std::shared_ptr<LogMessage>>& messages);

    /// Empty for a row out of range.
    std::shared_ptr<LogMessage> messageAt(int storedRow) const;
    /// Up to `count` messages from stored row `first` on, under one lock.
    std::vector<std::shared_ptr<LogMessage>> messagesFrom(int first, int count) const;
    /// Those of them that `keep` wants, in order. With many, `keep` is asked on two threads at
    /// once.
    std::vector<std::shared_ptr<LogMessage>>
    messagesFrom(int first, int count, const std::function<bool(const LogMessage&)>& keep) const;
    /// A displayed row's stored row: through the sort index, or itself when unsorted; -1 if out of
    /// range.
    int storedRow(int displayedRow) const;
    /// Empties the model; the references stay. GUI thread.
    void clear();
    /// Announces a model reset around `change`, which is called without the model's lock and may
    /// use every operation that is for any thread. GUI thread.
    void reset(const std::function<void()>& change);
    /// What `clear` does, without telling the views: to be called from a `reset`. Returns how many
    /// messages went. Any thread.
    std::size_t clearRows();

    /// Marks or unmarks a time reference. The start entry, row 0, goes with the first mark.
    void addReference(int displayedRow);
    void removeReference(int displayedRow);
    QList<int> references() const;

    QString cellText(int displayedRow, int column) const;
    bool matches(const QModelIndex& index, const QString& text, Qt::CaseSensitivity caseRule) const;
    /// The cell to the right or to the left, wrapping around rows and the table.
    QModelIndex nextIndex(const QModelIndex& index) const;
    QModelIndex previousIndex(const QModelIndex& index) const;
    /// The next shown cell in the given direction whose text contains `text`; invalid when no cell
    /// but `start` does, or `start` is invalid. The lock is let go of every few hundred rows. What
    /// happens meanwhile: in an unsorted table the search and its end move along with their rows,
    /// and when the row is gone the search goes on at the table's end; rows that come may be
    /// visited or not. It ends after as many cells as there were at the beginning, in any case.
    /// GUI thread, or with a `control`, which is told how far it is each time the lock is let go of,
    /// another one while the GUI thread waits, reading what it likes: order and columns must not
    /// change. When it returns rows may have moved on: who uses what was found holds them
    /// (LogContainer::holdRows) and looks whether it is still there. Throws WorkCancelled.
    QModelIndex findNext(const QModelIndex& start, const QString& text, bool directionDown,
                         Qt::CaseSensitivity caseRule, WorkControl* control = nullptr) const;
    QVariant sortKey(int storedRow, int column) const;

    int sortColumn() const;
    Qt::SortOrder sortOrder() const;
    QList<int> columns() const;
    /// Shows exactly these fields, left to right, keeping rows, sort and selection as far as their
    /// columns remain. GUI thread.
    void setColumns(const QList<int>& fields);
    /// Adds a field as the last column unless it is shown already. GUI thread, before any view.
    void addColumn(int field);

    // With a `control` these tell how far they are, and throw WorkCancelled: the file, or the rows,
    // are as they were then.
    /// Writes all messages in their order of arrival to a JSON file, replacing it when all is
    /// written. False, with the file as it was, when that fails. Any thread.
    bool saveToJson(const QString& path, WorkControl* control = nullptr) const;
    /// Appends the messages of a JSON file: all of them, or none when its text is not valid JSON or
    /// no array, which is no failure. False when the file cannot be read. No row is announced. The
    /// store's ledger counts them when this is its model of all messages. Any thread.
    bool loadFromJson(const QString& path, WorkControl* control = nullptr);
    /// Appends the messages of a log file of any form (readLogFile): all of them, or none. Lines of
    /// text are numbered from 1, or from behind the last message that is there. Why there are none
    /// in a sentence; empty when the file was read. No row is announced. Any thread.
    QString loadLog(const QString& path, WorkControl* control = nullptr);

    /// Tells the views that rows came or went. When unsorted, their selection and current cell
    /// stay with their messages, and go with those that went; when sorted they stay where they are.
    /// GUI thread.
    void announceChanges();

    /// The time stamp of stored row 0, if there is one. Any thread.
    bool firstTimestamp(std::uint64_t& timestamp) const;

Q_SIGNALS:
    /// The first `count` rows of those announced before are no longer there. Emitted while their
    /// indexes are still valid, so that a selection that begins in them can let go of them.
    void firstRowsGone(int count);

private:
    QModelIndex cell(int row, int column) const;
    void addLoaded(const std::vector<std::shared_ptr<LogMessage>>& messages, WorkControl* control);
    void reorder(int column, Qt::SortOrder order, PreparedSort* prepared);

    std::shared_ptr<LogContainer> store_;
    std::unique_ptr<TableRows> rows_; ///< under lock_
    mutable FairMutex lock_;
};

} // namespace zuLogging
