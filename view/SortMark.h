#pragma once

#include <QObject>

class QHeaderView;

namespace zuLogging {

/// The header's mark of the column that the rows are sorted by. The header moves it before anybody
/// has sorted: this knows where it was when it told the truth. GUI thread.
class SortMark : public QObject
{
public:
    /// The mark tells the truth now. `header` is the parent.
    explicit SortMark(QHeaderView* header);

    /// The rows are sorted as the header says.
    void keep();
    /// They are still sorted as before: so says the header again. No signal.
    void putBack();
    /// The same for a sort that was cancelled. The header may have moved the mark because of a
    /// click, and tells of that next.
    void putBackAfterCancel();
    /// Whether the click that the header tells of is the one whose sort was cancelled.
    bool isCancelledClick();

private:
    QHeaderView* header_;
    int section_;
    Qt::SortOrder order_;
    bool ignoresClick_ = false;
};

} // namespace zuLogging
