#pragma once

#include <QStyledItemDelegate>

namespace zuLogging {

/// Paints and measures the cells of the message table. Of a long text the beginning is shown, with
/// an ellipsis behind it: laying out 100,000 characters takes 24 milliseconds, and fitting a column
/// lays out a thousand cells. A message that the service sends is always shown whole, since it
/// comes in one datagram.
class LogCellDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    /// UTF-16 units of a text that are shown.
    static constexpr int shownUnits = 2000;

    using QStyledItemDelegate::QStyledItemDelegate;

    QString displayText(const QVariant& value, const QLocale& locale) const override;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};

} // namespace zuLogging
