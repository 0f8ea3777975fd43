#include "view/RowSelection.h"

#include "store/LogTableModel.h"

#include <QAbstractItemModel>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QTableView>

#include <algorithm>

namespace zuLogging {

namespace {

constexpr int markedRows = 65536;

/// Lets go of the first `count` rows; a range that begins in them goes on with its rest.
void deselectFirstRows(QItemSelectionModel& selection, int count)
{
    if (!selection.hasSelection())
        return;
    if (selection.model()->rowCount() == 0) {
        selection.clear();
        return;
    }
    const QItemSelection selected = selection.selection();
    QItemSelection gone;
    for (const QItemSelectionRange& range : selected) {
        if (range.top() >= count)
            continue;
        const QModelIndex lastGone = range.topLeft().sibling(count - 1, range.right());
        const bool whole = range.bottom() < count || !lastGone.isValid();
        gone.append(QItemSelectionRange(range.topLeft(),
                                        whole ? QModelIndex(range.bottomRight()) : lastGone));
    }
    selection.select(gone, QItemSelectionModel::Deselect);
    // The model notes a deselection beside the ranges; the next command works it into them.
    selection.select(QItemSelection(), QItemSelectionModel::Select);
}

} // namespace

std::vector<CellRange> selectedRanges(const QItemSelectionModel& selection)
{
    std::vector<CellRange> ranges;
    const QItemSelection selected = selection.selection();
    for (const QItemSelectionRange& range : selected)
        ranges.push_back({range.top(), range.bottom(), range.left(), range.right()});
    return ranges;
}

void markSelectedColumns(QHeaderView& header, QItemSelectionModel& selection)
{
    int highest = 0;
    const QItemSelection selected = selection.selection();
    for (const QItemSelectionRange& range : selected)
        highest = std::max(highest, range.height());

    QItemSelectionModel* marked = &selection;
    if (highest > markedRows) {
        // Another one, in which nothing is selected: the header takes no other word for it.
        marked = selection.findChild<QItemSelectionModel*>();
        if (!marked)
            marked = new QItemSelectionModel(selection.model(), &selection);
    }
    if (header.selectionModel() != marked)
        header.setSelectionModel(marked);
}

void deselectRowsThatLeave(QTableView& table, LogTableModel& model)
{
    QObject::connect(&model, &LogTableModel::firstRowsGone, &table, [&table, &model](int count) {
        if (table.model() == &model)
            deselectFirstRows(*table.selectionModel(), count);
    });
}

} // namespace zuLogging
