#include "view/LogTableSetUp.h"

#include "view/LogCellDelegate.h"

#include <QHeaderView>
#include <QShortcut>
#include <QTableView>

namespace zuLogging {

namespace {

/// What a click on the header of the current cell's column does, for who has no mouse.
void addSortKey(QTableView& table)
{
    auto* key = new QShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_S), &table, nullptr,
                              nullptr, Qt::WidgetShortcut);
    QObject::connect(key, &QShortcut::activated, &table, [&table] {
        QHeaderView* header = table.horizontalHeader();
        const int column = table.currentIndex().column();
        if (column < 0)
            return;
        const bool again = column == header->sortIndicatorSection() &&
                           header->sortIndicatorOrder() == Qt::AscendingOrder;
        header->setSortIndicator(column, again ? Qt::DescendingOrder : Qt::AscendingOrder);
    });
}

} // namespace

void setUpLogTable(QTableView& table)
{
    table.setItemDelegate(new LogCellDelegate(&table));
    table.setShowGrid(false);
    table.setWordWrap(true);
    // Enabling the sorting sorts at once: by the column and order that leave the rows as they came.
    QHeaderView* header = table.horizontalHeader();
    header->setSortIndicator(0, Qt::AscendingOrder);
    table.setSortingEnabled(true);
    // The table's own connection would sort while the window waits.
    QObject::disconnect(header, SIGNAL(sortIndicatorChanged(int, Qt::SortOrder)), &table, nullptr);
    table.setSelectionMode(QAbstractItemView::ExtendedSelection);
    table.setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    table.setHorizontalScrollMode(QAbstractItemView::ScrollPerPixel);
    header->setStretchLastSection(true);
    table.setContextMenuPolicy(Qt::CustomContextMenu);
    // Tab leads on to the next widget; the arrow keys go from cell to cell.
    table.setTabKeyNavigation(false);
    addSortKey(table);
}

} // namespace zuLogging
