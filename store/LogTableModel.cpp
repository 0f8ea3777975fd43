#include "store/LogTableModel.h"

#include "logging/JsonLogReader.h"
#include "logging/JsonLogWriter.h"
#include "logging/LogFileReader.h"
#include "logging/LogMessageMatcher.h"
#include "logging/WorkControl.h"
#include "platform/Prefetch.h"
#include "platform/SavedFile.h"
#include "store/IdentifierList.h"
#include "store/LogContainer.h"
#include "store/LogField.h"
#include "store/RowContent.h"
#include "store/RowShifts.h"
#include "store/SortedList.h"

#include <QColor>
#include <QFile>
#include <QFileInfo>

#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <array>
#include <deque>
#include <future>
#include <iterator>
#include <limits>
#include <new>
#include <utility>

namespace zuLogging {

namespace {

using Lock = boost::lock_guard<FairMutex>;

/// What a search looks at before it lets the worker have the lock: so many rows, or fewer when
/// their texts are longer than so many characters a row.
constexpr std::size_t searchSlice = 512;
/// Rows from which on a second thread gains more than it takes to start.
constexpr int worthASecondThread = 4096;
constexpr std::size_t usualTexts = 1024;

// What a time stamp cell shows instead of seconds.
constexpr std::u16string_view referenceItself = u"*REF*";
constexpr std::u16string_view noReference = u"-Invalid-";

/// Rows that long work takes up or adds under one lock: a few milliseconds.
constexpr int rowsAtOnce = 16384;

/// Entries of a sort index that no row shows. At the row limit a sorted table gets one more with
/// each message; beyond this many they are not kept.
constexpr int maximumHiddenEntries = 1000000;

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

/// Of the levels that there are, and some more, as a text that stays; empty for others.
std::u16string_view keptLevelCode(std::uint64_t level)
{
    constexpr std::size_t count = 64;
    static const std::vector<std::u16string> codes = [] {
        std::vector<std::u16string> all;
        for (std::uint64_t code = 0; code < count; ++code)
            all.push_back(logLevelCodeText(code).toStdU16String());
        return all;
    }();
    return level < count ? std::u16string_view(codes[static_cast<std::size_t>(level)])
                         : std::u16string_view();
}

/// By stored row: its place in the order of a sort index, -1 for none. Empty when there is no
/// order.
template <class Index>
std::vector<int> displayedRows(const Index& index, int count)
{
    std::vector<int> displayed;
    const int entries = index.size();
    if (entries == 0)
        return displayed;
    displayed.assign(static_cast<std::size_t>(count), -1);
    for (int position = std::min(count, entries) - 1; position >= 0; --position) {
        const int row = index.indexAt(position);
        if (row < count)
            displayed[static_cast<std::size_t>(row)] = position;
    }
    return displayed;
}

bool isNumberField(int field)
{
    return field == FieldServiceMsgID || field == FieldSourceMsgID || field == FieldSenderMsgID ||
           field == FieldProcessID || field == FieldThreadID;
}

std::uint64_t numberOf(const LogMessage& message, int field)
{
    switch (field) {
    case FieldServiceMsgID:
        return message.serviceMsgId();
    case FieldSourceMsgID:
        return message.sourceMsgId();
    case FieldSenderMsgID:
        return message.senderMsgId();
    case FieldProcessID:
        return message.processId();
    default:
        return message.threadId();
    }
}

bool isTextField(int field)
{
    return field == FieldLogPos || field == FieldModule || field == FieldGroupName ||
           field == FieldLogMessage;
}

std::u16string_view textOf(const LogMessage& message, int field)
{
    switch (field) {
    case FieldLogPos:
        return message.logPos();
    case FieldModule:
        return message.module();
    case FieldGroupName:
        return message.groupName();
    default:
        return message.logMessage();
    }
}

} // namespace

/// What a sort index's keys are made of. One index holds one kind, also when the time display has
/// changed since it was built.
struct LogTableModel::IndexKind
{
    int field = FieldNone;
    bool inSeconds = false; ///< time stamps
};

struct LogTableModel::PreparedSort
{
    std::uint64_t version = 0; ///< of the rows that it was made of
    int column = 0;
    Qt::SortOrder order = Qt::AscendingOrder;
    bool isNew = false; ///< an index of its own, not another order of the one that is there
    IndexKind kind;
    SortedList index;
    SortedList::Order reordered;
    std::vector<int> displayed; ///< by stored row: its place in the new order; empty: unsorted
};

struct LogTableModel::Rows
{
    std::deque<std::shared_ptr<LogMessage>> messages; ///< in order of arrival
    IdentifierList identifiers;                       ///< of the same rows
    QList<int> columns;                               ///< fields, left to right
    SortedList sortIndex;                             ///< empty: unsorted
    IndexKind indexKind;
    std::uint64_t version = 0; ///< another one whenever rows, columns or their order change
    Qt::SortOrder sortOrder = Qt::AscendingOrder;
    int sortColumn = 0;
    QList<int> references{0}; ///< stored rows, ascending
    bool userReferenceSet = false;
    RowShifts shifts; ///< what happened since the last announcement, by stored row
    int maximumShown = std::numeric_limits<int>::max();
    int announcedHidden = 0; ///< the views' row numbers begin behind so many

    /// Rows that are not shown; they come first in the order in which rows are displayed.
    int hidden() const { return std::max(count() - maximumShown, 0); }
    int shown() const { return count() - hidden(); }
    int count() const { return static_cast<int>(messages.size()); }
    const LogMessage* at(int row) const
    {
        return row >= 0 && row < count() ? messages[static_cast<std::size_t>(row)].get() : nullptr;
    }
    int stored(int displayedRow) const
    {
        const int position = displayedRow + hidden();
        return sortIndex.isEmpty() ? position : sortIndex.indexAt(position);
    }
    std::shared_ptr<LogMessage> sharedAt(int row) const
    {
        return at(row) ? messages[static_cast<std::size_t>(row)] : nullptr;
    }
    /// Where the message that was in the displayed `row`, with `hiddenThen` rows in front of those
    /// shown, is displayed now that older ones may have left; negative if it is not shown any more.
    /// A sorted table shows others in the place of those that leave: there rows stay.
    int movedRow(int row, int hiddenThen, const std::shared_ptr<LogMessage>& message) const
    {
        if (!message || !sortIndex.isEmpty())
            return row;
        row = std::min(row + hiddenThen, count() - 1);
        while (row >= 0 && messages[static_cast<std::size_t>(row)] != message)
            --row;
        return row - hidden();
    }
};

LogTableModel::LogTableModel(std::shared_ptr<LogContainer> store, QObject* parent)
    : QAbstractTableModel(parent)
    , store_(std::move(store))
    , rows_(std::make_unique<Rows>())
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
    return createIndex(row, column, static_cast<quintptr>(row));
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
        return shownText(index.row(), index.column());
    if (role == Qt::BackgroundRole) {
        if (store_ && store_->highlight() &&
            shownText(index.row(), index.column())
                .contains(store_->highlightText(), store_->highlightCase()))
            return QColor(153, 153, 255, 60);
        return QColor(255, 255, 255, 255);
    }
    int row = -1;
    const LogMessage* const message = shownMessage(index.row(), row);
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
    append(std::move(message));
}

void LogTableModel::addMessages(const std::vector<std::shared_ptr<LogMessage>>& messages)
{
    const Lock lock(lock_);
    for (const auto& message : messages)
        append(message);
}

void LogTableModel::insertMessage(int row, std::shared_ptr<LogMessage> message)
{
    if (row < 0)
        return;
    const Lock lock(lock_);
    insert(row, std::move(message));
}

void LogTableModel::append(std::shared_ptr<LogMessage> message)
{
    insert(rows_->count(), std::move(message));
}

void LogTableModel::insert(int row, std::shared_ptr<LogMessage> message)
{
    if (!message)
        return;
    row = std::min(row, rows_->count());
    ++rows_->version;
    rows_->identifiers.insert(static_cast<std::size_t>(row), message->serviceMsgId());
    if (row < rows_->count())
        rows_->shifts.inserted(row, 1);
    const auto inserted = rows_->messages.insert(rows_->messages.begin() + row, std::move(message));
    addToSortIndex(*inserted, row);
}

void LogTableModel::addToSortIndex(const std::shared_ptr<LogMessage>& message, int storedRow)
{
    SortedList& index = rows_->sortIndex;
    if (index.isEmpty())
        return;
    index.copyForgottenTexts();
    if (index.size() - rows_->count() < maximumHiddenEntries)
        addKey(index, rows_->indexKind, message, storedRow);
}

void LogTableModel::addKey(SortedList& index, IndexKind kind,
                           const std::shared_ptr<LogMessage>& shared, int storedRow) const
{
    const LogMessage& message = *shared;
    const int field = kind.field;
    if (isNumberField(field)) {
        index.insertNumber(numberOf(message, field), storedRow);
    } else if (isTextField(field)) {
        index.insertSharedText(textOf(message, field), shared, storedRow);
    } else if (field == FieldLogLevel) {
        index.insertSharedText(logLevelName(message.logLevel()), nullptr, storedRow);
    } else if (field == FieldLogLevelHex && !keptLevelCode(message.logLevel()).empty()) {
        index.insertSharedText(keptLevelCode(message.logLevel()), nullptr, storedRow);
    } else if (field == FieldTimestamp && kind.inSeconds) {
        float seconds = 0;
        secondsSinceReference(message, storedRow, seconds);
        index.insertReal(seconds, storedRow);
    } else if (field == FieldTimestamp) {
        index.insertNumber(message.timestamp(), storedRow);
    } else {
        index.insertText(text(message, storedRow, field), storedRow);
    }
}

int LogTableModel::removeOldest()
{
    int identifier = 0;
    std::shared_ptr<LogMessage> removed; // freed after the lock
    const Lock lock(lock_);
    removed = takeOldest(identifier);
    return identifier;
}

std::vector<int> LogTableModel::removeOldest(int count)
{
    std::vector<int> identifiers;
    std::vector<std::shared_ptr<LogMessage>> removed;
    if (count <= 0)
        return identifiers;
    const Lock lock(lock_);
    identifiers.assign(static_cast<std::size_t>(count), 0);
    removed.reserve(static_cast<std::size_t>(std::min(count, rows_->count())));
    for (int& identifier : identifiers) {
        if (rows_->messages.empty())
            break; // nothing left: the rest of the answers are 0
        removed.push_back(takeOldest(identifier));
    }
    return identifiers;
}

std::shared_ptr<LogMessage> LogTableModel::takeOldest(int& identifier)
{
    identifier = 0;
    if (rows_->messages.empty())
        return {};
    if (!rows_->sortIndex.isEmpty())
        rows_->sortIndex.remove(rows_->sortIndex.firstPositionOfRowZero());
    std::shared_ptr<LogMessage> oldest = std::move(rows_->messages.front());
    identifier = static_cast<int>(static_cast<std::uint32_t>(oldest->serviceMsgId()));
    ++rows_->version;
    rows_->messages.pop_front();
    rows_->identifiers.removeFirst();
    rows_->shifts.removed(0, 1);
    return oldest;
}

bool LogTableModel::removeByIdentifier(int identifier)
{
    std::shared_ptr<LogMessage> removed;
    const Lock lock(lock_);
    removed = takeByIdentifier(identifier);
    return removed != nullptr;
}

std::shared_ptr<LogMessage> LogTableModel::takeByIdentifier(int identifier)
{
    if (identifier < 1)
        return {};
    const int row = rows_->identifiers.indexOf(static_cast<std::uint64_t>(identifier));
    if (row < 0)
        return {};
    const auto place = rows_->messages.begin() + row;
    std::shared_ptr<LogMessage> found = std::move(*place);
    ++rows_->version;
    rows_->messages.erase(place);
    rows_->identifiers.removeAt(static_cast<std::size_t>(row));
    rows_->shifts.removed(row, 1);
    return found;
}

std::vector<int>
LogTableModel::replaceOldest(const std::vector<std::shared_ptr<LogMessage>>& messages)
{
    std::vector<int> identifiers(messages.size(), 0);
    std::vector<std::shared_ptr<LogMessage>> removed;
    removed.reserve(messages.size());
    const Lock lock(lock_);
    for (std::size_t i = 0; i < messages.size(); ++i) {
        removed.push_back(takeOldest(identifiers[i]));
        append(messages[i]);
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
        removed.push_back(takeByIdentifier(identifiers[i]));
        append(messages[i]);
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
        rows_->shifts.clear(); // nobody holds on to a row
        rows_->announcedHidden = rows_->hidden();
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
    ++rows_->version;
    rows_->messages.swap(rows.messages);
    std::swap(rows_->identifiers, rows.identifiers);
    std::swap(rows_->sortIndex, rows.sortIndex);
    rows_->sortColumn = -1;
    rows_->shifts.clear();
}

// --- Rows looked up

std::shared_ptr<LogMessage> LogTableModel::messageAt(int storedRow) const
{
    const Lock lock(lock_);
    if (storedRow < 0 || storedRow >= rows_->count())
        return {};
    return rows_->messages[static_cast<std::size_t>(storedRow)];
}

std::vector<std::shared_ptr<LogMessage>> LogTableModel::messagesFrom(int first, int count) const
{
    const Lock lock(lock_);
    const int begin = std::max(first, 0);
    if (begin >= rows_->count() || count <= 0)
        return {};
    const auto from = rows_->messages.begin() + begin;
    return {from, from + std::min(count, rows_->count() - begin)};
}

std::vector<std::shared_ptr<LogMessage>>
LogTableModel::messagesFrom(int first, int count,
                            const std::function<bool(const LogMessage&)>& keep) const
{
    const Lock lock(lock_);
    const int begin = std::max(first, 0);
    if (begin >= rows_->count() || count <= 0)
        return {};
    const auto kept = [&keep](auto from, const auto end) {
        std::vector<std::shared_ptr<LogMessage>> messages;
        for (; from != end; ++from) {
            if (keep(**from))
                messages.push_back(*from);
        }
        return messages;
    };
    const auto from = std::as_const(rows_->messages).begin() + begin;
    const auto end = from + std::min(count, rows_->count() - begin);
    // Looking at texts is waiting for memory: two wait at the same time.
    if (end - from < worthASecondThread)
        return kept(from, end);
    const auto middle = from + (end - from) / 2;
    auto second = std::async([&] { return kept(middle, end); });
    std::vector<std::shared_ptr<LogMessage>> messages = kept(from, middle);
    const std::vector<std::shared_ptr<LogMessage>> others = second.get();
    messages.insert(messages.end(), others.begin(), others.end());
    return messages;
}

int LogTableModel::storedRow(int displayedRow) const
{
    const Lock lock(lock_);
    const int row = rows_->stored(displayedRow);
    return row >= 0 && row < rows_->count() ? row : -1;
}

const LogMessage* LogTableModel::shownMessage(int displayedRow, int& storedRow) const
{
    storedRow = rows_->stored(displayedRow);
    return rows_->at(storedRow);
}

bool LogTableModel::firstTimestamp(std::uint64_t& timestamp) const
{
    const Lock lock(lock_);
    const LogMessage* const first = rows_->at(0);
    if (!first)
        return false;
    timestamp = first->timestamp();
    return true;
}

// --- Texts

QString LogTableModel::cellText(int displayedRow, int column) const
{
    const Lock lock(lock_);
    return shownText(displayedRow, column);
}

int LogTableModel::fieldAt(int column) const
{
    return column >= 0 && column < rows_->columns.size() ? rows_->columns.at(column) : FieldNone;
}

QString LogTableModel::shownText(int displayedRow, int column) const
{
    int row = -1;
    const LogMessage* const message = shownMessage(displayedRow, row);
    return message ? text(*message, row, fieldAt(column)) : QString();
}

QString LogTableModel::text(const LogMessage& message, int storedRow, int field) const
{
    if (isNumberField(field))
        return QString::number(static_cast<qulonglong>(numberOf(message, field)), 10);
    if (isTextField(field))
        return toQString(textOf(message, field));
    switch (field) {
    case FieldTimestamp:
        return timestampCell(message, storedRow);
    case FieldLogLevelHex:
        return message.levelCodeText();
    case FieldLogLevel:
        return message.levelName();
    default:
        return {};
    }
}

bool LogTableModel::showsSeconds() const
{
    return store_ && store_->timeDisplayMode() != 0;
}

QString LogTableModel::timestampCell(const LogMessage& message, int storedRow) const
{
    if (!showsSeconds())
        return message.timestampText();
    float seconds = 0;
    switch (secondsSinceReference(message, storedRow, seconds)) {
    case Reference::Itself:
        return toQString(referenceItself);
    case Reference::Other:
        return QString::number(static_cast<double>(seconds), 'f', 6);
    case Reference::None:
        break;
    }
    return toQString(noReference);
}

LogTableModel::Reference LogTableModel::secondsSinceReference(const LogMessage& message,
                                                              int storedRow, float& seconds) const
{
    seconds = 0;
    const QList<int>& references = rows_->references;
    if (references.isEmpty())
        return Reference::None;
    int row = references.first();
    for (int i = references.size() - 1; i >= 0; --i) {
        const LogMessage* const candidate = rows_->at(references.at(i));
        if (candidate && candidate->timestamp() <= message.timestamp()) {
            row = references.at(i);
            break;
        }
    }
    std::uint64_t reference = 0;
    if (!referenceTime(row, reference))
        return Reference::None;
    if (row == storedRow)
        return Reference::Itself;
    // Single precision on purpose: what is shown is what is sorted by.
    seconds = static_cast<float>(static_cast<std::int64_t>(message.timestamp() - reference)) / 1e6F;
    return Reference::Other;
}

bool LogTableModel::referenceTime(int referenceRow, std::uint64_t& timestamp) const
{
    const LogMessage* const message = rows_->at(referenceRow);
    if (!message)
        return false;
    timestamp = message->timestamp();
    if (referenceRow == 0 && store_) {
        // Counted from the first message present, also where a filter hides it.
        const LogTableModel* const full = store_->fullModel();
        if (full && full != this)
            full->firstTimestamp(timestamp);
    }
    return true;
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

bool LogTableModel::shownContains(const LogMessage* message, int storedRow, int field,
                                  const LogMessageMatcher& text) const
{
    if (!message)
        return text.isEmpty();
    if (isTextField(field))
        return text.foundInText(textOf(*message, field));
    if (isNumberField(field))
        return text.foundInNumber(numberOf(*message, field));
    switch (field) {
    case FieldTimestamp:
        if (!showsSeconds())
            return text.foundInTimestampText(*message);
        return text.canBeInSeconds(referenceItself, noReference) &&
               text.foundInText(timestampCell(*message, storedRow));
    case FieldLogLevelHex:
        return text.foundInLevelCode(message->logLevel());
    case FieldLogLevel:
        return text.foundInLevelName(message->logLevel());
    default:
        return text.isEmpty();
    }
}

bool LogTableModel::anyFieldContains(const LogMessage* message, int storedRow,
                                     const LogMessageMatcher& text) const
{
    if (!message)
        return text.isEmpty();
    // The four texts in one go; what is left costs next to nothing unless `text` could be in it.
    constexpr int others[] = {FieldServiceMsgID, FieldSourceMsgID, FieldSenderMsgID, FieldTimestamp,
                              FieldLogLevelHex,  FieldLogLevel,    FieldProcessID,   FieldThreadID};
    return text.foundInTexts(*message) ||
           std::any_of(std::begin(others), std::end(others),
                       [&](int field) { return shownContains(message, storedRow, field, text); });
}

/// Reads the texts of the next rows of a sorted table, which lie scattered in memory: the processor
/// waits for many reads at once as long as nothing depends on what they bring. Returns for how many
/// rows from `row` on this need not be done again.
int LogTableModel::readAhead(int row, bool directionDown) const
{
    constexpr int rowsAhead = 32;
    constexpr std::size_t unitsInCacheLine = 32;
    if (rows_->sortIndex.isEmpty())
        return rowsAhead;
    // One step after the other for all of them: the row's message, the place of its texts, the
    // texts.
    std::array<const LogMessage*, rowsAhead> messages;
    int storedRow = -1;
    for (int i = 0; i < rowsAhead; ++i)
        messages[static_cast<std::size_t>(i)] =
            shownMessage(directionDown ? row + i : row - i, storedRow);
    std::array<std::u16string_view, rowsAhead> texts;
    for (std::size_t i = 0; i < texts.size(); ++i)
        if (messages[i])
            texts[i] = messages[i]->texts().substr(0, usualTexts);
    for (const std::u16string_view text : texts)
        for (std::size_t i = 0; i < text.size(); i += unitsInCacheLine)
            static_cast<void>(*static_cast<const volatile char16_t*>(text.data() + i));
    return rowsAhead;
}

QModelIndex LogTableModel::findNext(const QModelIndex& start, const QString& text,
                                    bool directionDown, Qt::CaseSensitivity caseRule) const
{
    if (!start.isValid())
        return {};
    const LogMessageMatcher wanted(text, caseRule);
    int row = start.row();
    int column = start.column();
    int startRow = start.row();
    int hidden = 0;
    std::shared_ptr<LogMessage> message; // of the row, while the lock is the worker's
    std::shared_ptr<LogMessage> startMessage;
    // Rows that leave or come meanwhile could keep the start cell from being met again: the number
    // of cells at the beginning bounds the search as well.
    std::int64_t left = -1;
    for (;;) {
        const Lock lock(lock_);
        row = rows_->movedRow(row, hidden, message);
        startRow = rows_->movedRow(startRow, hidden, startMessage);
        hidden = rows_->hidden();
        const int rowsNow = rows_->shown();
        const int columns = rows_->columns.size();
        if (rowsNow == 0 || columns == 0)
            return {};
        if (left < 0)
            left = static_cast<std::int64_t>(rowsNow) * columns;
        if (row < 0 || row >= rowsNow || column >= columns) { // gone: on with the table's end
            row = directionDown ? rowsNow - 1 : 0;
            column = directionDown ? columns - 1 : 0;
        }
        int rowsRead = 0; // ahead
        for (std::size_t slice = 0; slice < searchSlice;) {
            bool newRow = false;
            if (directionDown && ++column == columns) {
                column = 0;
                row = row + 1 < rowsNow ? row + 1 : 0;
                newRow = true;
            } else if (!directionDown && --column < 0) {
                column = columns - 1;
                row = row > 0 ? row - 1 : rowsNow - 1;
                newRow = true;
            }
            int storedRow = -1;
            const LogMessage* const shown = shownMessage(row, storedRow);
            if (newRow) {
                if (rowsRead == 0)
                    rowsRead = readAhead(row, directionDown);
                --rowsRead;
                slice += 1 + (shown ? shown->texts().size() / usualTexts : 0);
                // Most rows are left behind after one look instead of one at each of their cells.
                if (row != startRow && !anyFieldContains(shown, storedRow, wanted)) {
                    if (left < columns)
                        return {};
                    left -= columns;
                    column = directionDown ? columns - 1 : 0;
                    continue;
                }
            }
            if ((row == startRow && column == start.column()) || left-- == 0)
                return {};
            if (shownContains(shown, storedRow, rows_->columns.at(column), wanted))
                return createIndex(row, column, static_cast<quintptr>(row));
        }
        message = rows_->sharedAt(row + hidden);
        startMessage = rows_->sharedAt(startRow + hidden);
    }
}

// --- Sorting

QVariant LogTableModel::sortKey(int storedRow, int column) const
{
    const Lock lock(lock_);
    const LogMessage* const message = rows_->at(storedRow);
    const int field = fieldAt(column);
    if (!message || field < FieldServiceMsgID || field > FieldLogMessage)
        return {};
    if (isNumberField(field))
        return QVariant(static_cast<qulonglong>(numberOf(*message, field)));
    if (field != FieldTimestamp)
        return QVariant(text(*message, storedRow, field));
    if (!showsSeconds())
        return QVariant(static_cast<qulonglong>(message->timestamp()));
    float seconds = 0;
    secondsSinceReference(*message, storedRow, seconds);
    return QVariant(seconds);
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
        // What the views hold on to follows its message. Their row numbers are those of the last
        // announcement.
        std::vector<int> held;
        held.reserve(static_cast<std::size_t>(before.size()));
        for (const QModelIndex& index : before)
            held.push_back(rows_->sortIndex.isEmpty()
                               ? rows_->shifts.newRow(index.row() + rows_->announcedHidden)
                               : rows_->stored(index.row()));
        rows_->shifts.clear();
        rows_->announcedHidden = rows_->hidden();

        const int count = rows_->count();
        std::vector<int> displayed;
        if (prepared && prepared->version == rows_->version) {
            if (prepared->isNew) {
                std::swap(rows_->sortIndex, prepared->index);
                rows_->indexKind = prepared->kind;
            } else {
                rows_->sortIndex.setOrder(prepared->reordered);
            }
            displayed.swap(prepared->displayed);
        } else {
            if (rows_->sortIndex.isEmpty() || column != rows_->sortColumn) {
                rows_->sortIndex.clear();
                rows_->indexKind = {fieldAt(column), showsSeconds()};
                reserveKeys(rows_->sortIndex, rows_->indexKind.field);
                addKeys(rows_->sortIndex, rows_->indexKind, 0, count);
            }
            rows_->sortIndex.sort(order);
            if (!before.isEmpty())
                displayed = displayedRows(rows_->sortIndex, count);
        }
        ++rows_->version;
        rows_->sortColumn = column;
        rows_->sortOrder = order;

        after.reserve(before.size());
        for (int i = 0; i < before.size(); ++i) {
            int row = held[static_cast<std::size_t>(i)];
            if (row < 0 || row >= count)
                row = -1;
            else
                row = (displayed.empty() ? row : displayed[static_cast<std::size_t>(row)]) -
                      rows_->hidden();
            after.append(row < 0
                             ? QModelIndex()
                             : createIndex(row, before.at(i).column(), static_cast<quintptr>(row)));
        }
    }
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, VerticalSortHint);
}

std::shared_ptr<LogTableModel::PreparedSort>
LogTableModel::prepareSort(int column, Qt::SortOrder order, WorkControl& control) const
{
    constexpr int keysEnd = 40;
    constexpr int orderEnds = 95;
    auto prepared = std::make_shared<PreparedSort>();
    int count = 0;
    {
        const Lock lock(lock_);
        prepared->version = rows_->version;
        prepared->column = column;
        prepared->order = order;
        prepared->isNew = rows_->sortIndex.isEmpty() || column != rows_->sortColumn;
        prepared->kind = {fieldAt(column), showsSeconds()};
        count = rows_->count();
        if (prepared->isNew)
            reserveKeys(prepared->index, prepared->kind.field);
    }
    control.beginPart(0, keysEnd);
    if (prepared->isNew) {
        for (int row = 0; row < count; row += rowsAtOnce) {
            control.report(static_cast<std::uint64_t>(row), static_cast<std::uint64_t>(count));
            const Lock lock(lock_); // readers come in between
            addKeys(prepared->index, prepared->kind, row,
                    std::min({row + rowsAtOnce, count, rows_->count()}));
        }
        prepared->index.sort(order, &control);
        control.beginPart(orderEnds, 100);
        prepared->displayed = displayedRows(prepared->index, count);
    } else {
        prepared->reordered = rows_->sortIndex.sorted(order, &control);
        control.beginPart(orderEnds, 100);
        prepared->displayed = displayedRows(prepared->reordered, count);
    }
    control.report(1, 1);
    return prepared;
}

void LogTableModel::reserveKeys(SortedList& index, int field) const
{
    if (field < FieldServiceMsgID || field > FieldLogMessage)
        return;
    if (isTextField(field) || field == FieldLogLevel || field == FieldLogLevelHex)
        index.reserveTexts(rows_->count());
    else
        index.reserveNumbers(rows_->count());
}

/// The keys of the stored rows from `first` to before `last`.
void LogTableModel::addKeys(SortedList& index, IndexKind kind, int first, int last) const
{
    if (kind.field < FieldServiceMsgID || kind.field > FieldLogMessage)
        return;
    if (isTextField(kind.field)) {
        addTextKeys(index, kind.field, first, last);
        return;
    }
    auto message = std::as_const(rows_->messages).begin() + first;
    for (int row = first; row < last; ++row, ++message)
        addKey(index, kind, *message, row);
}

/// The same of texts. Messages lie scattered in memory: a block of them is read before any of
/// its counts of owners is changed, for the processor waits for many reads at once, but for each
/// such change alone.
void LogTableModel::addTextKeys(SortedList& index, int field, int firstRow, int lastRow) const
{
    constexpr std::size_t block = 64;
    std::array<std::u16string_view, block> texts;
    const auto& messages = rows_->messages;
    const auto last = static_cast<std::size_t>(std::max(lastRow, 0));
    for (auto first = static_cast<std::size_t>(firstRow); first < last; first += block) {
        const std::size_t count = std::min(block, last - first);
        const std::size_t ahead = std::min(first + 2 * block, messages.size());
        for (std::size_t i = first + count; i < ahead; ++i)
            platform::prefetch(messages[i].get());
        for (std::size_t i = 0; i < count; ++i)
            texts[i] = textOf(*messages[first + i], field);
        for (std::size_t i = 0; i < count; ++i)
            index.insertSharedText(texts[i], messages[first + i], static_cast<int>(first + i));
    }
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
    rows_->references.append(row);
    if (!rows_->userReferenceSet) {
        removeReferenceLocked(-rows_->hidden());
        rows_->userReferenceSet = true;
    }
    std::sort(rows_->references.begin(), rows_->references.end());
}

void LogTableModel::removeReference(int displayedRow)
{
    const Lock lock(lock_);
    removeReferenceLocked(displayedRow);
}

void LogTableModel::removeReferenceLocked(int displayedRow)
{
    rows_->references.removeOne(rows_->stored(displayedRow));
}

QList<int> LogTableModel::references() const
{
    const Lock lock(lock_);
    return rows_->references;
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
        ++rows_->version;
        rows_->columns.append(field);
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
            // The rows stay in the order that they are in, also when their sort column goes.
            const Lock lock(lock_);
            ++rows_->version;
            rows_->columns.removeAt(column);
            if (rows_->sortColumn == column)
                rows_->sortColumn = -1;
            else if (rows_->sortColumn > column)
                --rows_->sortColumn;
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
        ++rows_->version;
        rows_->columns = wanted;
        if (rows_->sortColumn >= 0 && rows_->sortColumn < unordered.size())
            rows_->sortColumn = wanted.indexOf(unordered.at(rows_->sortColumn));
    }
    const QModelIndexList before = persistentIndexList();
    QModelIndexList after;
    after.reserve(before.size());
    for (const QModelIndex& index : before)
        after.append(createIndex(index.row(), wanted.indexOf(unordered.value(index.column())),
                                 static_cast<quintptr>(index.row())));
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged({}, HorizontalSortHint);
}

// --- Announcements

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
        rows_->shifts.clear();
        rows_->announcedHidden = hidden;
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
        after.append(row < 0 || row >= count
                         ? QModelIndex()
                         : createIndex(row, index.column(), static_cast<quintptr>(row)));
    }
    changePersistentIndexList(before, after);
    Q_EMIT layoutChanged();
}

} // namespace zuLogging
