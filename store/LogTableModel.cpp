#include "store/LogTableModel.h"

#include "logging/JsonLogReader.h"
#include "logging/JsonLogWriter.h"
#include "logging/LogFileReader.h"
#include "logging/WorkControl.h"
#include "platform/SavedFile.h"
#include "store/LogContainer.h"
#include "store/PreparedSort.h"
#include "store/RowSearch.h"
#include "store/TableRows.h"

#include <QColor>
#include <QFile>
#include <QFileInfo>

#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <new>
#include <utility>

namespace zuLogging {

namespace {

using Lock = boost::lock_guard<FairMutex>;

/// Rows that long work takes up or adds under one lock: a few milliseconds.
constexpr int rowsAtOnce = 16384;

QVariant levelColour(std::uint64_t level)
{
    switch (level) {
    case 0:
    case 8:
    case 16:
    case 32:
        return QColor(0, 0, 0, 255);
    case 1:
        return QColor(153, 0, 0, 255);
    case 2:
        return QColor(255, 0, 0, 255);
    case 4:
        return QColor(255, 128, 0, 255);
    default:
        return QColor(); // invalid: the view's own
    }
}

/// The low 32 bits of a service message identifier; 0 for no message.
int identifierOf(const std::shared_ptr<LogMessage>& message)
{
    return message ? static_cast<int>(static_cast<std::uint32_t>(message->serviceMsgId())) : 0;
}

} // namespace

LogTableModel::LogTableModel(std::shared_ptr<LogContainer> store, QObject* parent)
    : QAbstractTableModel(parent)
    , store_(std::move(store))
    , rows_(std::make_unique<TableRows>(*this, store_.get()))
{
}

LogTableModel::~LogTableModel() = default;

// --- What views read

QModelIndex LogTableModel::index(int row, int column, const QModelIndex& parent) const
{
    if (row < 0 || column < 0 || parent.isValid())
        return {};
    const Lock lock(lock_);
    if (row >= rows_->shown() || column >= rows_->columns.size())
        return {};
    return cell(row, column);
}

QModelIndex LogTableModel::cell(int row, int column) const
{
    return row < 0 ? QModelIndex() : createIndex(row, column, static_cast<quintptr>(row));
}

int LogTableModel::rowCount(const QModelIndex& parent) const
{
    if (parent.isValid())
        return 0;
    const Lock lock(lock_);
    return rows_->shown();
}

int LogTableModel::messageCount() const
{
    const Lock lock(lock_);
    return rows_->count();
}

int LogTableModel::hiddenRows() const
{
    const Lock lock(lock_);
    return rows_->hidden();
}

int LogTableModel::maximumShownRows() const
{
    const Lock lock(lock_);
    return rows_->maximumShown;
}

void LogTableModel::setMaximumShownRows(int count)
{
    reset([this, count] {
        const Lock lock(lock_);
        rows_->maximumShown = std::max(count, 1);
    });
}

int LogTableModel::columnCount(const QModelIndex& parent) const
{
    if (parent.isValid())
        return 0;
    const Lock lock(lock_);
    return rows_->columns.size();
}

QVariant LogTableModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() ||
        (role != Qt::DisplayRole && role != Qt::BackgroundRole && role != Qt::ForegroundRole))
        return {};
    const Lock lock(lock_);
    if (role == Qt::DisplayRole)
        return rows_->shownText(index.row(), index.column());
    if (role == Qt::BackgroundRole) {
        if (store_ && store_->highlight() &&
            rows_->shownText(index.row(), index.column())
                .contains(store_->highlightText(), store_->highlightCase()))
            return QColor(153, 153, 255, 60);
        return QColor(255, 255, 255, 255);
    }
    int row = -1;
    const LogMessage* const message = rows_->shownMessage(index.row(), row);
    return message ? levelColour(message->logLevel()) : QVariant();
}

QVariant LogTableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole || section < 0)
        return {};
    const Lock lock(lock_);
    if (orientation == Qt::Horizontal) {
        if (section < rows_->columns.size())
            return logFieldName(rows_->columns.at(section));
    } else if (section < rows_->shown()) {
        return section + 1;
    }
    return {};
}

Qt::ItemFlags LogTableModel::flags(const QModelIndex& index) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return Qt::ItemIsDropEnabled;
    return QAbstractTableModel::flags(index);
}

// --- Rows come and go

void LogTableModel::addMessage(std::shared_ptr<LogMessage> message)
{
    const Lock lock(lock_);
    rows_->append(std::move(message));
}

void LogTableModel::addMessages(const std::vector<std::shared_ptr<LogMessage>>& messages)
{
    const Lock lock(lock_);
    for (const auto& message : messages)
        rows_->append(message);
}

void LogTableModel::insertMessage(int row, std::shared_ptr<LogMessage> message)
{
    if (row < 0)
        return;
    const Lock lock(lock_);
    rows_->insert(row, std::move(message));
}

int LogTableModel::removeOldest()
{
    std::shared_ptr<LogMessage> removed; // freed after the lock
    const Lock lock(lock_);
    removed = rows_->takeOldest();
    return identifierOf(removed);
}

std::vector<int> LogTableModel::removeOldest(int count)
{
    if (count <= 0)
        return {};
    const std::deque<std::shared_ptr<LogMessage>> removed = takeOldest(count);
    std::vector<int> identifiers(static_cast<std::size_t>(count), 0);
    std::transform(removed.begin(), removed.end(), identifiers.begin(), identifierOf);
    return identifiers;
}

std::deque<std::shared_ptr<LogMessage>> LogTableModel::takeOldest(int count)
{
    const Lock lock(lock_);
    return rows_->takeOldest(count);
}

bool LogTableModel::removeByIdentifier(int identifier)
{
    std::shared_ptr<LogMessage> removed;
    const Lock lock(lock_);
    removed = rows_->takeByIdentifier(identifier);
    return removed != nullptr;
}

std::vector<int>
LogTableModel::replaceOldest(const std::vector<std::shared_ptr<LogMessage>>& messages)
{
    std::vector<int> identifiers(messages.size(), 0);
    std::vector<std::shared_ptr<LogMessage>> removed;
    removed.reserve(messages.size());
    const Lock lock(lock_);
    for (std::size_t i = 0; i < messages.size(); ++i) {
        removed.push_back(rows_->takeOldest());
        identifiers[i] = identifierOf(removed.back());
        rows_->append(messages[i]);
    }
    return identifiers;
}

void LogTableModel::replaceByIdentifiers(const std::vector<int>& identifiers,
                                         const std::vector<std::shared_ptr<LogMessage>>& messages)
{
    std::vector<std::shared_ptr<LogMessage>> removed;
    removed.reserve(identifiers.size());
    const Lock lock(lock_);
    for (std::size_t i = 0; i < identifiers.size(); ++i) {
        removed.push_back(rows_->takeByIdentifier(identifiers[i]));
        rows_->append(messages[i]);
    }
}

void LogTableModel::clear()
{
    reset([this] { clearRows(); });
}

void LogTableModel::reset(const std::function<void()>& change)
{
    beginResetModel();
    change();
    {
        const Lock lock(lock_);
        rows_->markAnnounced(); // nobody holds on to a row
    }
    endResetModel();
}

std::size_t LogTableModel::clearRows()
{
    RowContent removed; // freed after the lock
    exchangeRows(removed);
    return removed.messages.size();
}

void LogTableModel::exchangeRows(RowContent& rows)
{
    const Lock lock(lock_);
    rows_->exchange(rows);
}

// --- Rows looked up

std::shared_ptr<LogMessage> LogTableModel::messageAt(int storedRow) const
{
    const Lock lock(lock_);
    return rows_->sharedAt(storedRow);
}

std::vector<std::shared_ptr<LogMessage>> LogTableModel::messagesFrom(int first, int count) const
{
    const Lock lock(lock_);
    return rows_->from(first, count);
}

std::vector<std::shared_ptr<LogMessage>>
LogTableModel::messagesFrom(int first, int count,
                            const std::function<bool(const LogMessage&)>& keep) const
{
    const Lock lock(lock_);
    return rows_->from(first, count, keep);
}

int LogTableModel::storedRow(int displayedRow) const
{
    const Lock lock(lock_);
    const int row = rows_->stored(displayedRow);
    return rows_->at(row) ? row : -1;
}

bool LogTableModel::firstTimestamp(std::uint64_t& timestamp) const
{
    const Lock lock(lock_);
    const LogMessage* const first = rows_->at(0);
    if (first)
        timestamp = first->timestamp();
    return first != nullptr;
}

// --- Texts

QString LogTableModel::cellText(int displayedRow, int column) const
{
    const Lock lock(lock_);
    return rows_->shownText(displayedRow, column);
}

bool LogTableModel::matches(const QModelIndex& index, const QString& text,
                            Qt::CaseSensitivity caseRule) const
{
    return index.isValid() && cellText(index.row(), index.column()).contains(text, caseRule);
}

QModelIndex LogTableModel::nextIndex(const QModelIndex& index) const
{
    if (!index.isValid())
        return {};
    int row = index.row();
    int column = index.column() + 1;
    if (column >= columnCount()) {
        column = 0;
        row = row + 1 < rowCount() ? row + 1 : 0;
    }
    return this->index(row, column);
}

QModelIndex LogTableModel::previousIndex(const QModelIndex& index) const
{
    if (!index.isValid())
        return {};
    int row = index.row();
    int column = index.column() - 1;
    if (column < 0) {
        column = columnCount() - 1;
        row = row > 0 ? row - 1 : rowCount() - 1;
    }
    return this->index(row, column);
}

QModelIndex LogTableModel::findNext(const QModelIndex& start, const QString& text,
                                    bool directionDown, Qt::CaseSensitivity caseRule,
                                    WorkControl* control) const
{
    if (!start.isValid())
        return {};
    RowSearch search(start, text, directionDown, caseRule);
    for (;;) {
        auto state = RowSearch::State::GoesOn;
        {
            const Lock lock(lock_);
            state = search.lookOn(*rows_);
        }
        if (state == RowSearch::State::Found)
            return cell(search.row(), search.column());
        if (state == RowSearch::State::NotFound)
            return {};
        report(control, search.looked(), search.total());
    }
}

// --- Sorting

QVariant LogTableModel::sortKey(int storedRow, int column) const
{
    const Lock lock(lock_);
    const LogMessage* const message = rows_->at(storedRow);
    return message ? rows_->keysOf(column).of(*message, storedRow, rows_->references) : QVariant();
}

void LogTableModel::sort(int column, Qt::SortOrder order)
{
    reorder(column, order, nullptr);
}

void LogTableModel::applySort(PreparedSort& prepared)
{
    reorder(prepared.column, prepared.order, &prepared);
}

void LogTableModel::reorder(int column, Qt::SortOrder order, PreparedSort* prepared)
{
    {
        const Lock lock(lock_);
        if (column == rows_->sortColumn && order == rows_->sortOrder)
            return;
    }
    Q_EMIT layoutAboutToBeChanged({}, VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    {
        const Lock lock(lock_);
        // What the views hold on to follows its message.
        std::vector<int> held;
        held.reserve(static_cast<std::size_t>(before.size()));
        for (const QModelIndex& index : before)
            held.push_back(rows_->storedWhenAnnounced(index.row()));
        rows_->markAnnounced();

        const int count = rows_->count();
        std::vector<int> displayed;
        if (prepared && rows_->takeOver(*prepared)) {
            displayed.swap(prepared->displayed);
        } else {
            rows_->sort(column, order);
            if (!before.isEmpty())
                displayed = TableRows::displayedRows(rows_->sortIndex, count);
        }

        after.reserve(before.size());
        for (int i = 0; i < before.size(); ++i) {
            int row = held[static_cast<std::size_t>(i)];
            if (row < 0 || row >= count)
                row = -1;
            else
                row = (displayed.empty() ? row : displayed[static_cast<std::size_t>(row)]) -
                      rows_->hidden();
            after.append(cell(row, before.at(i).column()));
        }
    }
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, VerticalSortHint);
}

std::shared_ptr<PreparedSort> LogTableModel::prepareSort(int column, Qt::SortOrder order,
                                                         WorkControl& control) const
{
    constexpr int keysEnd = 40;
    constexpr int orderEnds = 95;
    const auto prepared = std::make_shared<PreparedSort>();
    int count = 0;
    {
        const Lock lock(lock_);
        *prepared = rows_->beginSort(column, order);
        count = rows_->count();
    }
    control.beginPart(0, keysEnd);
    if (prepared->isNew) {
        for (int row = 0; row < count; row += rowsAtOnce) {
            control.report(static_cast<std::uint64_t>(row), static_cast<std::uint64_t>(count));
            const Lock lock(lock_); // readers come in between
            prepared->keys.add(prepared->index, rows_->messages, row,
                               std::min({row + rowsAtOnce, count, rows_->count()}),
                               rows_->references);
        }
        prepared->index.sort(order, &control);
    } else {
        prepared->reordered = rows_->sortIndex.sorted(order, &control);
    }
    control.beginPart(orderEnds, 100);
    prepared->displayed = prepared->isNew ? TableRows::displayedRows(prepared->index, count)
                                          : TableRows::displayedRows(prepared->reordered, count);
    control.report(1, 1);
    return prepared;
}

int LogTableModel::sortColumn() const
{
    const Lock lock(lock_);
    return rows_->sortColumn;
}

Qt::SortOrder LogTableModel::sortOrder() const
{
    const Lock lock(lock_);
    return rows_->sortOrder;
}

// --- References

void LogTableModel::addReference(int displayedRow)
{
    const Lock lock(lock_);
    const int row = rows_->stored(displayedRow);
    if (!rows_->at(row) || rows_->references.contains(row))
        return;
    rows_->references.add(row, rows_->stored(-rows_->hidden()));
}

void LogTableModel::removeReference(int displayedRow)
{
    const Lock lock(lock_);
    rows_->references.remove(rows_->stored(displayedRow));
}

QList<int> LogTableModel::references() const
{
    const Lock lock(lock_);
    return rows_->references.rows();
}

// --- Columns

QList<int> LogTableModel::columns() const
{
    const Lock lock(lock_);
    return rows_->columns;
}

void LogTableModel::addColumn(int field)
{
    int count = 0;
    {
        const Lock lock(lock_);
        if (rows_->columns.contains(field))
            return;
        count = rows_->columns.size();
    }
    beginInsertColumns({}, count, count);
    {
        const Lock lock(lock_);
        rows_->addColumn(field);
    }
    endInsertColumns();
}

void LogTableModel::setColumns(const QList<int>& fields)
{
    QList<int> wanted;
    for (const int field : fields) {
        if (!wanted.contains(field))
            wanted.append(field);
    }
    const QList<int> shown = columns();
    for (int column = shown.size() - 1; column >= 0; --column) {
        if (wanted.contains(shown.at(column)))
            continue;
        beginRemoveColumns({}, column, column);
        {
            const Lock lock(lock_);
            rows_->removeColumn(column);
        }
        endRemoveColumns();
    }
    for (const int field : qAsConst(wanted))
        addColumn(field);

    const QList<int> unordered = columns();
    if (unordered == wanted)
        return;
    Q_EMIT layoutAboutToBeChanged({}, HorizontalSortHint);
    {
        const Lock lock(lock_);
        rows_->setColumnOrder(wanted);
    }
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex& index : before)
        after.append(cell(index.row(), wanted.indexOf(unordered.value(index.column()))));
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, HorizontalSortHint);
}

// --- Files

bool LogTableModel::saveToJson(const QString& path, WorkControl* control) const
{
    platform::SavedFile file(path);
    if (!file.open())
        return false;
    JsonLogWriter writer(file.device());
    constexpr int atOnce = 1000; // the worker may add rows in between
    for (int row = 0; !writer.failed(); row += atOnce) {
        const auto messages = messagesFrom(row, atOnce);
        if (messages.empty())
            break;
        for (const std::shared_ptr<LogMessage>& message : messages)
            writer.add(*message);
        file.hastenCommit();
        report(control, static_cast<std::uint64_t>(row),
               static_cast<std::uint64_t>(messageCount()));
    }
    if (!writer.finish())
        return false;
    if (control)
        control->commit();
    return file.commit();
}

bool LogTableModel::loadFromJson(const QString& path, WorkControl* control)
{
    QFile file(path);
    // A pipe could keep the window waiting for ever.
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
        return false;
    try {
        std::vector<std::shared_ptr<LogMessage>> messages;
        if (!readJsonLog(file, messages, control))
            return false;
        addLoaded(messages, control);
    } catch (const std::bad_alloc&) { // a text or a log that memory does not hold
        return false;
    }
    return true;
}

void LogTableModel::addLoaded(const std::vector<std::shared_ptr<LogMessage>>& messages,
                              WorkControl* control)
{
    if (control)
        control->commit(); // some of the rows are no more wanted than none
    constexpr std::size_t slice = rowsAtOnce;
    if (!control || messages.size() <= slice) {
        addMessages(messages);
    } else {
        for (auto first = messages.begin(); first != messages.end();) {
            const auto last = first + std::min<std::ptrdiff_t>(slice, messages.end() - first);
            addMessages({first, last});
            first = last;
        }
    }
    if (store_ && store_->fullModel() == this)
        store_->ledger()->add(LogCount::Loaded, messages.size());
}

QString LogTableModel::loadLog(const QString& path, WorkControl* control)
{
    // Lines of a second file are not numbered like those of the first: a table that is sorted by
    // the number keeps each file together.
    const std::shared_ptr<LogMessage> last = messageAt(messageCount() - 1);
    std::vector<std::shared_ptr<LogMessage>> messages;
    const QString cause = readLogFile(path, messages, last ? last->serviceMsgId() + 1 : 1, control);
    if (!cause.isEmpty())
        return cause;
    try {
        addLoaded(messages, control);
    } catch (const std::bad_alloc&) {
        return tr("There is not enough memory for it.");
    }
    return {};
}

// --- Announcements

void LogTableModel::announceChanges()
{
    RowShifts shifts;
    int count = 0;
    int hidden = 0;
    int hiddenBefore = 0;
    {
        const Lock lock(lock_);
        hidden = rows_->hidden();
        hiddenBefore = hidden;
        if (rows_->sortIndex.isEmpty()) {
            std::swap(shifts, rows_->shifts);
            hiddenBefore = rows_->announcedHidden;
        }
        rows_->markAnnounced();
        count = rows_->shown();
    }
    const auto newRow = [&](int row) { return shifts.newRow(row + hiddenBefore) - hidden; };
    // No layoutAboutToBeChanged: it would have every selection write down each of its cells, which
    // takes a second for 100,000 selected rows. Selections hold the corners of ranges only, and so
    // move with them, provided that no range begins in rows that are gone: those are told first.
    if (!shifts.isEmpty() || hidden != hiddenBefore) {
        int last = -1;
        const QModelIndexList corners = persistentIndexList();
        for (const QModelIndex& index : corners)
            last = std::max(last, index.row());
        int gone = 0;
        while (gone <= last && newRow(gone) < 0)
            ++gone;
        if (gone > 0)
            Q_EMIT firstRowsGone(gone);
    }
    const QModelIndexList held = persistentIndexList();
    QModelIndexList before;
    QModelIndexList after;
    for (const QModelIndex& index : held) {
        const int row = newRow(index.row());
        if (row == index.row() && row < count)
            continue;
        before.append(index);
        after.append(cell(row < count ? row : -1, index.column()));
    }
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged();
}

} // namespace zuLogging
