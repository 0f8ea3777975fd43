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

} // namespace zuLogging
