#include "view/SortMark.h"

#include <QHeaderView>
#include <QSignalBlocker>
#include <QTimer>

#include <utility>

namespace zuLogging {

SortMark::SortMark(QHeaderView* header)
    : QObject(header)
    , header_(header)
    , section_(header->sortIndicatorSection())
    , order_(header->sortIndicatorOrder())
{
}

void SortMark::keep()
{
    section_ = header_->sortIndicatorSection();
    order_ = header_->sortIndicatorOrder();
}

void SortMark::putBack()
{
    const QSignalBlocker blocker(header_);
    header_->setSortIndicator(section_, order_);
}

void SortMark::putBackAfterCancel()
{
    putBack();
    ignoresClick_ = true;
    QTimer::singleShot(0, this, [this] { ignoresClick_ = false; }); // it may have been no click
}

bool SortMark::isCancelledClick()
{
    return std::exchange(ignoresClick_, false);
}

} // namespace zuLogging
