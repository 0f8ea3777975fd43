#include "view/RowWork.h"

#include "store/LogTableModel.h"
#include "view/RowSelection.h"
#include "view/RowText.h"

#include <QApplication>
#include <QClipboard>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstdint>
#include <new>
#include <utility>

namespace zuLogging {

namespace {

/// For the thread that works, which lets go of the rows when it is done: the window's thread may
/// have to wait for messages to move on before it comes back here.
std::shared_ptr<LogContainer::RowsHold> handOver(LogContainer::RowsHold& hold)
{
    return std::make_shared<LogContainer::RowsHold>(std::move(hold));
}

QString nameOf(const QString& path)
{
    return QFileInfo(path).fileName();
}

} // namespace

RowWork::RowWork(WorkProgress* progress, std::shared_ptr<LogContainer> store)
    : progress_(progress)
    , store_(std::move(store))
{
}

RowWork::End RowWork::run(const QString& what, const QString& whenCancelled, bool isLong,
                          Cancel cancel, const WorkProgress::Work& work,
                          WorkProgress::Result* result)
{
    const End end = progress_->run(what, isLong, cancel, work, result);
    if (end == End::Cancelled)
        Q_EMIT told(whenCancelled);
    return end;
}

RowWork::End RowWork::refilter(const MessageFilter* filter, Cancel cancel)
{
    WorkProgress::Result result;
    const End end = run(
        tr("Filtering"), tr("Filtering was cancelled"), progress_->isLong(all().messageCount()),
        cancel,
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

RowWork::End RowWork::sort(LogTableModel& model, int column, Qt::SortOrder order, Cancel cancel)
{
    if (column == model.sortColumn() && order == model.sortOrder())
        return End::Done;
    if (!progress_->isLong(model.messageCount())) {
        model.sort(column, order);
        return End::Done;
    }
    struct HeldSort
    {
        std::shared_ptr<LogTableModel::PreparedSort> prepared;
        LogContainer::RowsHold hold; // the first to go
    };
    WorkProgress::Result result;
    const End end = run(
        tr("Sorting"), tr("Sorting was cancelled"), true, cancel,
        [store = store_.get(), &model, column, order](WorkControl& control) {
            auto sort = std::make_shared<HeldSort>();
            sort->hold = store->holdRows();
            sort->prepared = model.prepareSort(column, order, control);
            return sort;
        },
        &result);
    if (end != End::Done)
        return end;
    HeldSort& sort = *std::static_pointer_cast<HeldSort>(result);
    model.applySort(*sort.prepared);
    sort.hold.unlock();
    discard(std::move(result));
    return End::Done;
}

RowWork::End RowWork::find(LogTableModel& model, const QModelIndex& start, const QString& text,
                           bool directionDown, Qt::CaseSensitivity caseRule,
                           std::shared_ptr<Found>& found)
{
    WorkProgress::Result result;
    const End end = run(
        tr("Searching"), tr("Searching was cancelled"), progress_->isLong(model.messageCount()),
        Cancel::Allowed,
        [store = store_.get(), &model, &start, &text, directionDown,
         caseRule](WorkControl& control) {
            auto cell = std::make_shared<Found>();
            cell->index = model.findNext(start, text, directionDown, caseRule, &control);
            // Not before: messages that arrive during a long search go on to the rows. Who was
            // first now may have moved them.
            cell->hold = store->holdRows();
            if (cell->index.isValid() && !model.matches(cell->index, text, caseRule))
                cell->index = model.findNext(cell->index, text, directionDown, caseRule, &control);
            return cell;
        },
        &result);
    if (end != End::Done)
        return end;
    found = std::static_pointer_cast<Found>(result);
    // The index counts rows that the views may not have been told of.
    if (store_->isActive())
        model.announceChanges();
    return End::Done;
}

RowWork::End RowWork::truncate(int count)
{
    constexpr int rowsAtOnce = 16384; // between such steps the window reads
    const int before = all().messageCount();
    return progress_->run(
        tr("Truncating"), progress_->isLong(before), Cancel::Never,
        [store = store_.get(), model = &all(), before, count](WorkControl& control) {
            for (int rows = before; rows > count; rows = model->messageCount()) {
                control.report(static_cast<std::uint64_t>(before - std::min(rows, before)),
                               static_cast<std::uint64_t>(before - count));
                store->truncateTo(std::max(count, rows - rowsAtOnce)); // freed here
            }
            return WorkProgress::Result();
        });
}

void RowWork::clear()
{
    const bool isLong = progress_->isLong(all().messageCount());
    std::shared_ptr<void> removed = store_->clearModels();
    if (isLong)
        progress_->discard(std::move(removed));
}

/// What a row's worth of memory each is made of is freed where nobody waits for it.
void RowWork::discard(WorkProgress::Result garbage)
{
    if (progress_->isLong(all().messageCount()))
        progress_->discard(std::move(garbage));
}

LogContainer::RowsHold RowWork::holdAsShown(LogTableModel& model)
{
    LogContainer::RowsHold hold = store_->holdRows();
    if (store_->isActive())
        model.announceChanges();
    return hold;
}

RowWork::End RowWork::copy(const LogTableModel& model)
{
    return copyText(progress_->isLong(model.messageCount()), store_->holdRows(),
                    [&model](WorkControl& control) { return rowsAsText(model, control); });
}

RowWork::End RowWork::copyCells(LogTableModel& model, const QItemSelectionModel& selection)
{
    LogContainer::RowsHold hold = holdAsShown(model);
    const std::vector<CellRange> ranges = selectedRanges(selection);
    std::int64_t rows = 0;
    for (const CellRange& range : ranges)
        rows += range.bottom - range.top + 1;
    rows = std::min<std::int64_t>(rows, model.messageCount());
    return copyText(
        progress_->isLong(static_cast<int>(rows)), std::move(hold),
        [&model, &ranges](WorkControl& control) { return cellsAsText(model, ranges, control); });
}

RowWork::End RowWork::copyText(bool isLong, LogContainer::RowsHold hold,
                               const std::function<QString(WorkControl&)>& makeText)
{
    try {
        QString text;
        const End end = run(tr("Copying"), tr("Copying was cancelled"), isLong, Cancel::Allowed,
                            [&text, &makeText, handed = handOver(hold)](WorkControl& control) {
                                const LogContainer::RowsHold held = std::move(*handed);
                                text = makeText(control);
                                return WorkProgress::Result();
                            });
        if (end == End::Done)
            QApplication::clipboard()->setText(text);
        return end;
    } catch (const std::bad_alloc&) {
        Q_EMIT told(tr("The log is too large for the clipboard."));
        return End::Done;
    }
}

RowWork::End RowWork::saveAsText(const QString& path, const LogTableModel& model)
{
    QFile file(path);
    const bool isNew = !file.exists();
    // A pipe that nobody reads would keep the window waiting for ever.
    if ((!isNew && !QFileInfo(file).isFile()) ||
        !file.open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text))
        return End::Done;
    return run(tr("Saving %1").arg(nameOf(path)), tr("Saving was cancelled"),
               progress_->isLong(model.messageCount()), Cancel::Allowed,
               [&file, isNew, &model, store = store_.get()](WorkControl& control) {
                   const LogContainer::RowsHold held = store->holdRows();
                   appendRows(file, isNew, model, control);
                   return WorkProgress::Result();
               });
}

RowWork::End RowWork::saveAsJson(const QString& path)
{
    return run(tr("Saving %1").arg(nameOf(path)), tr("Saving was cancelled"),
               progress_->isLong(all().messageCount()), Cancel::Allowed,
               [&path, model = &all()](WorkControl& control) {
                   model->saveToJson(path, &control);
                   return WorkProgress::Result();
               });
}

RowWork::End RowWork::loadJson(const QString& path, bool& read)
{
    read = false;
    try {
        return run(tr("Loading %1").arg(nameOf(path)), tr("Loading was cancelled"),
                   progress_->isLongFile(QFileInfo(path).size()), Cancel::Allowed,
                   [&path, &read, model = &all()](WorkControl& control) {
                       read = model->loadFromJson(path, &control);
                       return WorkProgress::Result();
                   });
    } catch (const std::bad_alloc&) {
        return End::Done; // nothing was added
    }
}

RowWork::End RowWork::load(const QStringList& paths, QStringList& opened, QStringList& failures)
{
    constexpr int toldFailures = 10; // so that the box fits on the screen
    int others = 0;
    End end = End::Done;
    for (const QString& path : paths) {
        QString cause;
        end = run(tr("Loading %1").arg(nameOf(path)), tr("Loading was cancelled"),
                  progress_->isLongFile(QFileInfo(path).size()), Cancel::Allowed,
                  [&path, &cause, model = &all()](WorkControl& control) {
                      cause = model->loadLog(path, &control);
                      return WorkProgress::Result();
                  });
        if (end != End::Done)
            break;
        if (cause.isEmpty())
            opened.append(path);
        else if (failures.size() < toldFailures)
            failures.append(tr("Failed to read file '%1'. %2").arg(path, cause));
        else
            ++others;
    }
    if (others > 0)
        failures.append(tr("%n more files could not be read.", nullptr, others));
    return end;
}

} // namespace zuLogging
