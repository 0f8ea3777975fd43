#include "view/LogCellDelegate.h"

namespace zuLogging {

QString LogCellDelegate::displayText(const QVariant& value, const QLocale& locale) const
{
    QString text = value.toString();
    if (text.size() > shownUnits) {
        // Not in the middle of a surrogate pair.
        text.truncate(text.at(shownUnits - 1).isHighSurrogate() ? shownUnits - 1 : shownUnits);
        text += QChar(0x2026);
    }
    return QStyledItemDelegate::displayText(text, locale);
}

void LogCellDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    // The texts are dark, on rows that are white in every theme: under a colour that lets something
    // shine through lies white as well, not the theme's dark base.
    const QColor colour = option->backgroundBrush.color();
    if (option->backgroundBrush.style() != Qt::SolidPattern || colour.alpha() == 255)
        return;
    const auto onWhite = [&colour](int channel) {
        return 255 - (255 - channel) * colour.alpha() / 255;
    };
    option->backgroundBrush =
        QColor(onWhite(colour.red()), onWhite(colour.green()), onWhite(colour.blue()));
}

} // namespace zuLogging
