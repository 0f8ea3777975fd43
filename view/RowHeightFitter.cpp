#include "view/RowHeightFitter.h"

#include <QAbstractItemModel>
#include <QEvent>
#include <QHeaderView>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTableView>

#include <algorithm>

namespace zuLogging {

namespace {

/// The scroll bar's range follows the rows with the next event only; here it is needed at once.
void updateScrollRange(QTableView* table)
{
    QMetaObject::invokeMethod(table, "updateGeometries", Qt::DirectConnection);
}

} // namespace

RowHeightFitter::RowHeightFitter(QTableView* table)
    : QObject(table)
    , table_(table)
{
    // Made after the table's own connections, which it relies on: the table has scrolled by then.
    connect(table->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &RowHeightFitter::scrolled);
    connect(table->horizontalHeader(), &QHeaderView::sectionResized, this,
            &RowHeightFitter::rowsMayHaveChanged);
    table->installEventFilter(this);
    table->viewport()->installEventFilter(this);
    table->verticalHeader()->setMaximumSectionSize(maximumHeight);
    resetHeights();
    watchModel();
}

void RowHeightFitter::watchModel()
{
    if (const QAbstractItemModel* model = table_->model()) {
        using Model = QAbstractItemModel;
        constexpr auto once = Qt::UniqueConnection;
        connect(model, &Model::layoutChanged, this, &RowHeightFitter::rowsChanged, once);
        connect(model, &Model::modelReset, this, &RowHeightFitter::rowsChanged, once);
        connect(model, &Model::dataChanged, this, &RowHeightFitter::rowsMayHaveChanged, once);
        connect(model, &Model::columnsInserted, this, &RowHeightFitter::rowsMayHaveChanged, once);
        connect(model, &Model::columnsRemoved, this, &RowHeightFitter::rowsMayHaveChanged, once);
    }
    rowsChanged();
}

void RowHeightFitter::setOn(bool on)
{
    on_ = on;
    if (on)
        rowsChanged();
    else
        resetHeights();
}

void RowHeightFitter::resetHeights()
{
    const Anchor anchor = anchorAt(Edge::Top);
    const QScopedValueRollback<bool> guard(fitting_, true);
    makePlain();
    keepInPlace(anchor);
}

void RowHeightFitter::makePlain()
{
    forgetHeights();
    QHeaderView* rows = table_->verticalHeader();
    rows->setSectionResizeMode(QHeaderView::Fixed);
    rows->setMinimumSectionSize(plainHeight); // the style's own may be higher than a row
    rows->setDefaultSectionSize(plainHeight);
    rows->setSectionResizeMode(QHeaderView::Interactive);
    updateScrollRange(table_);
}

void RowHeightFitter::forgetHeights()
{
    fitted_.clear();
}

void RowHeightFitter::rowsChanged()
{
    if (sender() && sender() != table_->model())
        return; // a model that was shown before
    forgetHeights();
    fit(Edge::Top);
}

void RowHeightFitter::rowsMayHaveChanged()
{
    forgetHeights();
    viewChanged();
}

// Queued: many columns change their widths at once. It still comes before the next paint.
void RowHeightFitter::viewChanged()
{
    if (!on_ || fitPending_)
        return;
    fitPending_ = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
            fitPending_ = false;
            fit(Edge::Top);
        },
        Qt::QueuedConnection);
}

bool RowHeightFitter::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::FontChange:
    case QEvent::StyleChange:
        rowsMayHaveChanged();
        break;
    case QEvent::Resize:
    case QEvent::Show:
        viewChanged();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

// A row that was scrolled to is at the edge in whose direction the view moved, or is the current
// one. Smaller steps meet rows that have been measured already.
void RowHeightFitter::scrolled(int value)
{
    const Edge kept = value > lastScrollValue_ ? Edge::Bottom : Edge::Top;
    lastScrollValue_ = value;
    fit(kept);
}

void RowHeightFitter::scrollToBottom()
{
    table_->scrollToBottom();
    if (!on_)
        return;
    QScrollBar* bar = table_->verticalScrollBar();
    // Each round measures rows that were not measured before, so there is an end.
    while (fit(Edge::Bottom) || bar->value() < bar->maximum())
        bar->setValue(bar->maximum());
}

/// True if rows were measured.
bool RowHeightFitter::fit(Edge kept)
{
    if (!on_ || fitting_ || table_->verticalHeader()->count() == 0)
        return false;
    const QScopedValueRollback<bool> guard(fitting_, true);
    fitted_.resize(static_cast<std::size_t>(table_->verticalHeader()->count()), false);
    bool measured = false;
    // Where rows have gone the view may be beyond the last one: the scroll bar is told later only.
    if (table_->verticalHeader()->offset() + table_->viewport()->height() >
        table_->verticalHeader()->length())
        updateScrollRange(table_);
    while (fitAround(anchorAt(kept))) // again: the end of the table may have come nearer
        measured = true;
    lastScrollValue_ = table_->verticalScrollBar()->value();
    return measured;
}

RowHeightFitter::Anchor RowHeightFitter::anchorAt(Edge kept) const
{
    const QHeaderView* rows = table_->verticalHeader();
    const int height = table_->viewport()->height();
    const auto top = [rows](int row) { return rows->sectionViewportPosition(row); };
    const auto bottom = [rows, top](int row) { return top(row) + rows->sectionSize(row); };

    const int current = table_->currentIndex().row();
    if (current >= 0 && current < rows->count() && top(current) >= 0 && bottom(current) <= height) {
        if (top(current) + bottom(current) < height)
            return {current, Edge::Top, top(current)};
        return {current, Edge::Bottom, bottom(current)};
    }
    const int first = std::max(rows->visualIndexAt(0), 0);
    if (kept == Edge::Bottom) {
        int last = rows->visualIndexAt(height - 1);
        if (last > first && bottom(last) > height)
            --last;
        if (last >= first && bottom(last) <= height)
            return {last, Edge::Bottom, bottom(last)};
    }
    return {first, Edge::Top, top(first)};
}

int RowHeightFitter::edgePosition(const Anchor& anchor) const
{
    const QHeaderView* rows = table_->verticalHeader();
    const int top = rows->sectionViewportPosition(anchor.row);
    return anchor.edge == Edge::Top ? top : top + rows->sectionSize(anchor.row);
}

/// Goes from the anchor down and up as far as the heights found on the way reach, so that high rows
/// are few rows.
bool RowHeightFitter::fitAround(const Anchor& anchor)
{
    const int count = table_->verticalHeader()->count();
    const int page = table_->viewport()->height();
    std::vector<Height> measured;
    const int height = heightOf(anchor.row, measured);
    int top = anchor.position;
    int bottom = anchor.position;
    (anchor.edge == Edge::Top ? bottom : top) += anchor.edge == Edge::Top ? height : -height;
    for (int row = anchor.row + 1; row < count && bottom < 2 * page; ++row)
        bottom += heightOf(row, measured);
    for (int row = anchor.row - 1; row >= 0 && top > -page; --row)
        top -= heightOf(row, measured);
    if (measured.empty())
        return false;
    if (extraHeightWith(measured) > maximumExtraHeight) {
        // Too many rows have been seen: all begin anew, those in view first.
        makePlain();
        fitted_.resize(static_cast<std::size_t>(count), false);
    } else {
        applyHeights(measured);
    }
    keepInPlace(anchor);
    return true;
}

int RowHeightFitter::heightOf(int row, std::vector<Height>& measured)
{
    const QHeaderView* rows = table_->verticalHeader();
    if (fitted_[static_cast<std::size_t>(row)])
        return rows->sectionSize(row);
    fitted_[static_cast<std::size_t>(row)] = true;
    const QAbstractItemView* view = table_; // a table view hides its own size hints
    const int height = std::clamp(std::max(view->sizeHintForRow(row), rows->sectionSizeHint(row)),
                                  plainHeight, maximumHeight);
    measured.push_back({row, height});
    return height;
}

/// What the rows are higher than plain ones, in sum, once `measured` is applied.
int RowHeightFitter::extraHeightWith(const std::vector<Height>& measured) const
{
    const QHeaderView* rows = table_->verticalHeader();
    int extra = rows->length() - rows->count() * plainHeight;
    for (const Height& row : measured)
        extra += row.height - rows->sectionSize(row.row);
    return extra;
}

void RowHeightFitter::applyHeights(const std::vector<Height>& measured)
{
    QHeaderView* rows = table_->verticalHeader();
    bool changed = false;
    // Else the header would look for each row's place, which it finds by adding up all heights.
    const bool updates = rows->updatesEnabled();
    rows->setUpdatesEnabled(false);
    for (const Height& row : measured) {
        const int before = rows->sectionSize(row.row);
        if (row.height == before)
            continue;
        rows->resizeSection(row.row, row.height);
        changed = true;
    }
    rows->setUpdatesEnabled(updates);
    if (!changed)
        return;
    updateScrollRange(table_);
    table_->viewport()->update();
}

void RowHeightFitter::keepInPlace(const Anchor& anchor)
{
    if (anchor.row >= table_->verticalHeader()->count())
        return;
    QScrollBar* bar = table_->verticalScrollBar();
    bar->setValue(bar->value() + edgePosition(anchor) - anchor.position);
    // Of a row that is higher than the view its beginning is shown.
    const int top = table_->verticalHeader()->sectionViewportPosition(anchor.row);
    if (anchor.edge == Edge::Bottom && top < 0)
        bar->setValue(bar->value() + top);
}

} // namespace zuLogging
