#include "view/ColumnLayout.h"

#include "store/LogField.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QSignalBlocker>
#include <QTableView>

#include <utility>
#include <vector>

namespace zuLogging {

namespace {

/// The widths of the settings, which are by position, for columns in another order.
QMap<int, int> movedWidths(const QMap<int, int>& widths, const QList<int>& before,
                           const QList<int>& after)
{
    QMap<int, int> moved;
    for (int column = 0; column < after.size(); ++column) {
        const auto width = widths.constFind(before.indexOf(after.at(column)));
        if (width != widths.constEnd())
            moved.insert(column, *width);
    }
    return moved;
}

/// First and last rows that are selected in all their columns.
std::vector<std::pair<int, int>> wholeRows(const QItemSelectionModel& model, int columns)
{
    std::vector<std::pair<int, int>> rows;
    const QItemSelection selection = model.selection();
    for (const QItemSelectionRange& range : selection)
        if (range.left() == 0 && range.right() == columns - 1)
            rows.emplace_back(range.top(), range.bottom());
    return rows;
}

} // namespace

ColumnLayout::ColumnLayout(QTableView* table, LogTableModel* full, LogTableModel* filtered)
    : table_(table)
    , full_(full)
    , filtered_(filtered)
{
}

LogTableModel* ColumnLayout::shownModel() const
{
    return table_->model() == filtered_ ? filtered_ : full_;
}

void ColumnLayout::fit()
{
    table_->setTextElideMode(Qt::ElideNone);
    table_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    fitRows_ = shownModel()->rowCount() > 0;
    table_->horizontalHeader()->setStretchLastSection(false);
    table_->resizeColumnsToContents();
    stretchLast();
}

void ColumnLayout::fitOrRemember()
{
    fit();
    if (shownModel()->rowCount() == 0)
        applyRememberedWidths();
}

void ColumnLayout::fitFirstRows()
{
    if (!fitRows_ && ViewSettings::instance().columnWidths.isEmpty() &&
        shownModel()->rowCount() > 0)
        fit();
}

void ColumnLayout::stretchLast()
{
    // A stretched last column gets what the others leave, be it too little for its text: once there
    // are texts it is stretched only where that makes it wider.
    QHeaderView* header = table_->horizontalHeader();
    header->setStretchLastSection(!fitRows_ || header->length() < table_->viewport()->width());
}

void ColumnLayout::applyRememberedWidths()
{
    const QMap<int, int>& widths = ViewSettings::instance().columnWidths;
    for (auto width = widths.cbegin(); width != widths.cend(); ++width)
        if (width.value() > 0 && width.key() >= 0 && width.key() < full_->columnCount())
            table_->setColumnWidth(width.key(), width.value());
}

void ColumnLayout::rememberWidths() const
{
    QMap<int, int> widths;
    for (int column = 0; column < full_->columnCount(); ++column) {
        const int width = table_->columnWidth(column);
        widths.insert(column, width < 1 ? -1 : width);
    }
    ViewSettings& settings = ViewSettings::instance();
    if (settings.columnWidths != widths)
        settings.columnWidths = widths;
    // The file keeps a width with its column's name: a layout that was never changed has names too.
    if (settings.columnOrder.isEmpty())
        settings.setColumnLayout(full_->columns());
}

QList<int> ColumnLayout::knownFields(const QList<int>& fields)
{
    QList<int> known;
    for (const int field : fields)
        if (!logFieldName(field).isEmpty() && !known.contains(field))
            known.append(field);
    return known;
}

/// The fields' widths, without a stretched one's: that is what the others left.
QMap<int, int> ColumnLayout::chosenWidths() const
{
    QMap<int, int> widths;
    const QList<int> fields = full_->columns();
    const bool stretched = table_->horizontalHeader()->stretchLastSection();
    for (int column = 0; column < fields.size(); ++column)
        if (!table_->isColumnHidden(column) && !(stretched && column == fields.size() - 1))
            widths.insert(fields.at(column), table_->columnWidth(column));
    return widths;
}

void ColumnLayout::showFields(const QList<int>& fields)
{
    ViewSettings& settings = ViewSettings::instance();
    const QList<int> before = full_->columns();
    const QMap<int, int> widths = chosenWidths();
    settings.columnWidths = movedWidths(settings.columnWidths, before, fields);
    settings.setColumnLayout(fields);

    const QPersistentModelIndex current = table_->currentIndex();
    const int currentRow = current.row();
    // Rows that are selected as a whole stay so, also with columns that they did not have.
    const auto selectedRows = wholeRows(*table_->selectionModel(), before.size());

    setModelFields(fields);

    QItemSelection rows;
    for (const auto& [top, bottom] : selectedRows)
        rows.append(QItemSelectionRange(shownModel()->index(top, 0),
                                        shownModel()->index(bottom, fields.size() - 1)));
    table_->selectionModel()->select(rows, QItemSelectionModel::Select);
    if (currentRow >= 0 && !current.isValid())
        table_->selectionModel()->setCurrentIndex(shownModel()->index(currentRow, 0),
                                                  QItemSelectionModel::NoUpdate);
    setWidths(widths);
    stretchLast();
}

void ColumnLayout::setModelFields(const QList<int>& fields)
{
    QHeaderView* header = table_->horizontalHeader();
    const int sortedField = full_->columns().value(header->sortIndicatorSection(), FieldNone);
    header->setStretchLastSection(false);
    for (LogTableModel* model : {full_, filtered_})
        model->setColumns(fields);
    // The rows are sorted already; only the mark has to move.
    const QSignalBlocker blocker(header);
    header->setSortIndicator(fields.indexOf(sortedField), header->sortIndicatorOrder());
}

void ColumnLayout::setWidths(const QMap<int, int>& widthsOfFields)
{
    const QList<int> fields = full_->columns();
    for (int column = 0; column < fields.size(); ++column) {
        table_->setColumnHidden(column, false);
        const auto width = widthsOfFields.constFind(fields.at(column));
        if (width != widthsOfFields.constEnd())
            table_->setColumnWidth(column, *width);
        else
            table_->resizeColumnToContents(column);
    }
}

} // namespace zuLogging
