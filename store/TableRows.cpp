#include "store/TableRows.h"

#include "store/FieldAccess.h"

#include <future>
#include <iterator>
#include <utility>

namespace zuLogging {

namespace {

/// Rows from which on a second thread gains more than it takes to start.
constexpr int worthASecondThread = 4096;

/// Entries of a sort index that no row shows. At the row limit a sorted table gets one more with
/// each message; beyond this many they are not kept.
constexpr int maximumHiddenEntries = 1000000;

} // namespace

TableRows::TableRows(const LogTableModel& model, const LogContainer* store)
    : references(model, store, messages)
{
}

// --- Rows looked up

int TableRows::movedRow(int row, int hiddenThen, const std::shared_ptr<LogMessage>& message) const
{
    if (!message || !sortIndex.isEmpty())
        return row;
    row = std::min(row + hiddenThen, count() - 1);
    while (row >= 0 && messages[static_cast<std::size_t>(row)] != message)
        --row;
    return row - hidden();
}

TableRows::Messages TableRows::from(int first, int atMost) const
{
    const int begin = std::max(first, 0);
    if (begin >= count() || atMost <= 0)
        return {};
    const auto begins = messages.begin() + begin;
    return {begins, begins + std::min(atMost, count() - begin)};
}

TableRows::Messages TableRows::from(int first, int atMost,
                                    const std::function<bool(const LogMessage&)>& keep) const
{
    const int begin = std::max(first, 0);
    if (begin >= count() || atMost <= 0)
        return {};
    const auto kept = [&keep](auto message, const auto end) {
        Messages wanted;
        for (; message != end; ++message) {
            if (keep(**message))
                wanted.push_back(*message);
        }
        return wanted;
    };
    const auto begins = messages.begin() + begin;
    const auto end = begins + std::min(atMost, count() - begin);
    // Looking at texts is waiting for memory: two wait at the same time.
    if (end - begins < worthASecondThread)
        return kept(begins, end);
    const auto middle = begins + (end - begins) / 2;
    auto second = std::async([&] { return kept(middle, end); });
    Messages wanted = kept(begins, middle);
    const Messages others = second.get();
    wanted.insert(wanted.end(), others.begin(), others.end());
    return wanted;
}

// --- Texts

QString TableRows::shownText(int displayedRow, int column) const
{
    int row = -1;
    const LogMessage* const message = shownMessage(displayedRow, row);
    return message ? cellText(*message, row, fieldAt(column)) : QString();
}

QString TableRows::cellText(const LogMessage& message, int storedRow, int field) const
{
    if (isNumberField(field))
        return QString::number(static_cast<qulonglong>(numberOf(message, field)), 10);
    if (isTextField(field))
        return toQString(textOf(message, field));
    switch (field) {
    case FieldTimestamp:
        return references.cellText(message, storedRow);
    case FieldLogLevelHex:
        return message.levelCodeText();
    case FieldLogLevel:
        return message.levelName();
    default:
        return {};
    }
}

// --- Rows come and go

void TableRows::insert(int row, std::shared_ptr<LogMessage> message)
{
    if (!message)
        return;
    row = std::min(row, count());
    ++version;
    identifiers.insert(static_cast<std::size_t>(row), message->serviceMsgId());
    if (row < count())
        shifts.inserted(row, 1);
    const auto inserted = messages.insert(messages.begin() + row, std::move(message));
    addToSortIndex(*inserted, row);
}

void TableRows::addToSortIndex(const std::shared_ptr<LogMessage>& message, int storedRow)
{
    if (sortIndex.isEmpty())
        return;
    sortIndex.copyForgottenTexts();
    if (sortIndex.size() - count() < maximumHiddenEntries)
        sortKeys.add(sortIndex, message, storedRow, references);
}

std::shared_ptr<LogMessage> TableRows::takeOldest()
{
    if (messages.empty())
        return {};
    if (!sortIndex.isEmpty())
        sortIndex.remove(sortIndex.firstPositionOfRowZero());
    std::shared_ptr<LogMessage> oldest = std::move(messages.front());
    ++version;
    messages.pop_front();
    identifiers.removeFirst();
    shifts.removed(0, 1);
    return oldest;
}

std::deque<std::shared_ptr<LogMessage>> TableRows::takeOldest(int atMost)
{
    std::deque<std::shared_ptr<LogMessage>> oldest;
    const int gone = std::min(atMost, count());
    if (gone <= 0)
        return oldest;
    // As one by one: an entry of row 0 goes with each, and the others keep their numbers.
    for (int i = 0, position = 0; i < gone && position >= 0; ++i) {
        position = sortIndex.firstPositionOfRowZero();
        sortIndex.remove(position);
    }
    const auto end = messages.begin() + gone;
    if (gone <= count() / 2) {
        oldest.assign(std::make_move_iterator(messages.begin()), std::make_move_iterator(end));
        messages.erase(messages.begin(), end);
    } else { // less is moved the other way round
        oldest.assign(std::make_move_iterator(end), std::make_move_iterator(messages.end()));
        messages.erase(end, messages.end());
        oldest.swap(messages);
    }
    ++version;
    identifiers.removeFirst(static_cast<std::size_t>(gone));
    shifts.removed(0, gone);
    return oldest;
}

std::shared_ptr<LogMessage> TableRows::takeByIdentifier(int identifier)
{
    if (identifier < 1)
        return {};
    const int row = identifiers.indexOf(static_cast<std::uint64_t>(identifier));
    if (row < 0)
        return {};
    const auto place = messages.begin() + row;
    std::shared_ptr<LogMessage> found = std::move(*place);
    ++version;
    messages.erase(place);
    identifiers.removeAt(static_cast<std::size_t>(row));
    shifts.removed(row, 1);
    return found;
}

void TableRows::exchange(RowContent& rows)
{
    ++version;
    std::swap(static_cast<RowContent&>(*this), rows);
    sortColumn = -1;
    shifts.clear();
}

// --- Order and columns

void TableRows::sort(int column, Qt::SortOrder order)
{
    if (sortIndex.isEmpty() || column != sortColumn) {
        sortIndex.clear();
        sortKeys = keysOf(column);
        sortKeys.reserve(sortIndex, count());
        sortKeys.add(sortIndex, messages, 0, count(), references);
    }
    sortIndex.sort(order);
    ++version;
    sortColumn = column;
    sortOrder = order;
}

PreparedSort TableRows::beginSort(int column, Qt::SortOrder order) const
{
    PreparedSort begun;
    begun.version = version;
    begun.column = column;
    begun.order = order;
    begun.isNew = sortIndex.isEmpty() || column != sortColumn;
    begun.keys = keysOf(column);
    if (begun.isNew)
        begun.keys.reserve(begun.index, count());
    return begun;
}

bool TableRows::takeOver(PreparedSort& prepared)
{
    if (prepared.version != version)
        return false;
    if (prepared.isNew) {
        std::swap(sortIndex, prepared.index);
        sortKeys = prepared.keys;
    } else {
        sortIndex.setOrder(prepared.reordered);
    }
    ++version;
    sortColumn = prepared.column;
    sortOrder = prepared.order;
    return true;
}

void TableRows::removeColumn(int column)
{
    ++version;
    columns.removeAt(column);
    if (sortColumn == column)
        sortColumn = -1;
    else if (sortColumn > column)
        --sortColumn;
}

void TableRows::addColumn(int field)
{
    ++version;
    columns.append(field);
}

void TableRows::setColumnOrder(const QList<int>& fields)
{
    ++version;
    if (sortColumn >= 0 && sortColumn < columns.size())
        sortColumn = fields.indexOf(columns.at(sortColumn));
    columns = fields;
}

} // namespace zuLogging
