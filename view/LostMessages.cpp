#include "view/LostMessages.h"

#include <QStringList>

#include <algorithm>

namespace zuLogging {

LostMessages::LostMessages(const LogCounts& counts)
    : counts_(counts)
{
}

std::uint64_t LostMessages::number() const
{
    return std::max(counts_[LogCount::LostInSocket], counts_[LogCount::MissingNumbers]) +
           counts_[LogCount::DroppedFromQueue] + counts_[LogCount::Unreadable] +
           counts_[LogCount::RefusedContainer];
}

QString LostMessages::label() const
{
    return tr("Lost: ") + QString::number(number());
}

QString LostMessages::toolTip() const
{
    QStringList lines;
    const auto add = [&lines](std::uint64_t count, const QString& line) {
        if (count > 0)
            lines.append(line.arg(count));
    };
    const std::uint64_t inSocket = counts_[LogCount::LostInSocket];
    const std::uint64_t missing = counts_[LogCount::MissingNumbers];
    add(inSocket, tr("%1 lost on the way in: the socket's buffer was full"));
    add(missing, tr("%1 missing in the senders' numbers"));
    if (inSocket > 0 && missing > 0)
        lines.append(tr("(The same messages can be in both: the larger count is taken.)"));
    add(counts_[LogCount::DroppedFromQueue], tr("%1 dropped: the window's queue was full"));
    add(counts_[LogCount::Unreadable], tr("%1 unreadable"));
    add(counts_[LogCount::RefusedContainer], tr("%1 refused as malformed"));
    add(counts_.refused() - counts_[LogCount::RefusedContainer],
        tr("%1 other datagrams refused, not counted: no messages"));
    return lines.join(QLatin1Char('\n'));
}

} // namespace zuLogging
