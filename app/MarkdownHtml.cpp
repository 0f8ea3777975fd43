#include "app/MarkdownHtml.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

namespace zuLogging {

namespace {

/// Lists within lists; what is deeper is shown as text.
constexpr int deepest = 8;

int indentOf(const QString& line)
{
    int indent = 0;
    while (indent < line.size() && line.at(indent) == QLatin1Char(' '))
        ++indent;
    return indent;
}

bool isBlank(const QString& line)
{
    return indentOf(line) == line.size();
}

bool isFence(const QString& line)
{
    return line.trimmed().startsWith(QLatin1String("```"));
}

bool isTableRow(const QString& line)
{
    return line.startsWith(QLatin1Char('|'));
}

int headingLevel(const QString& line)
{
    int level = 0;
    while (level < line.size() && line.at(level) == QLatin1Char('#'))
        ++level;
    return level <= 6 && level < line.size() && line.at(level) == QLatin1Char(' ') ? level : 0;
}

/// Width of "- " or "1. " at the beginning; 0 where no item begins.
int markerWidth(const QString& line)
{
    if (line.startsWith(QLatin1String("- ")))
        return 2;
    int digits = 0;
    while (digits < line.size() && digits < 3 && line.at(digits).isDigit())
        ++digits;
    return digits > 0 && line.mid(digits, 2) == QLatin1String(". ") ? digits + 2 : 0;
}

bool beginsBlock(const QString& line)
{
    return isBlank(line) || isFence(line) || isTableRow(line) || headingLevel(line) > 0 ||
           markerWidth(line) > 0;
}

/// Inline code, images, links and bold, from the left to the right; an opening without an end is
/// text.
QString inlineHtml(const QString& text, int depth = 0)
{
    static const QRegularExpression pattern(
        QStringLiteral(R"(`([^`]+)`|!\[([^\]]*)\]\(([^)\s]+)\)|)"
                       R"(\[([^\]]+)\]\(([^)\s]+)\)|)"
                       R"(\*\*([^*]+)\*\*|\*([^*\s][^*]*)\*)"));
    if (depth > deepest)
        return text.toHtmlEscaped();
    QString html;
    int position = 0;
    for (auto matches = pattern.globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        html += text.mid(position, match.capturedStart() - position).toHtmlEscaped();
        position = match.capturedEnd();
        if (match.capturedStart(1) >= 0)
            html += QStringLiteral("<code>%1</code>").arg(match.captured(1).toHtmlEscaped());
        else if (match.capturedStart(3) >= 0)
            html += QStringLiteral("<img src=\"%1\" alt=\"%2\">")
                        .arg(match.captured(3).toHtmlEscaped(), match.captured(2).toHtmlEscaped());
        else if (match.capturedStart(5) >= 0)
            html += QStringLiteral("<a href=\"%1\">%2</a>")
                        .arg(match.captured(5).toHtmlEscaped(),
                             inlineHtml(match.captured(4), depth + 1));
        else if (match.capturedStart(6) >= 0)
            html += QStringLiteral("<b>%1</b>").arg(inlineHtml(match.captured(6), depth + 1));
        else
            html += QStringLiteral("<i>%1</i>").arg(inlineHtml(match.captured(7), depth + 1));
    }
    return html + text.mid(position).toHtmlEscaped();
}

/// The cells of "| a | b |"; a bar within inline code, or behind a backslash, parts nothing.
QStringList cellsOf(const QString& row)
{
    QStringList cells;
    QString cell;
    bool isCode = false;
    for (int i = 1; i < row.size(); ++i) {
        const QChar c = row.at(i);
        if (c == QLatin1Char('`'))
            isCode = !isCode;
        if (c == QLatin1Char('\\') && i + 1 < row.size() && row.at(i + 1) == QLatin1Char('|')) {
            cell += row.at(++i);
        } else if (c == QLatin1Char('|') && !isCode) {
            cells.append(cell.trimmed());
            cell.clear();
        } else {
            cell += c;
        }
    }
    if (!cell.trimmed().isEmpty())
        cells.append(cell.trimmed());
    return cells;
}

class BlockReader
{
public:
    BlockReader(QStringList lines, int depth)
        : lines_(std::move(lines))
        , depth_(depth)
    {
    }

    QString read()
    {
        while (next_ < lines_.size()) {
            const QString& line = lines_.at(next_);
            if (isBlank(line))
                ++next_;
            else if (isFence(line))
                readFence();
            else if (indentOf(line) >= 4)
                readIndented();
            else if (headingLevel(line) > 0)
                readHeading();
            else if (isTableRow(line))
                readTable();
            else if (markerWidth(line) > 0 && depth_ < deepest)
                readList();
            else
                readParagraph();
        }
        return html_;
    }

private:
    void addCode(const QStringList& lines)
    {
        html_ +=
            QStringLiteral("<pre>%1</pre>\n").arg(lines.join(QLatin1Char('\n')).toHtmlEscaped());
    }

    void readFence()
    {
        const int indent = indentOf(lines_.at(next_++));
        QStringList code;
        while (next_ < lines_.size() && !isFence(lines_.at(next_))) {
            const QString& line = lines_.at(next_++);
            code.append(line.mid(std::min(indent, indentOf(line))));
        }
        ++next_; // the end, where there is one
        addCode(code);
    }

    void readIndented()
    {
        QStringList code;
        while (next_ < lines_.size() &&
               (isBlank(lines_.at(next_)) || indentOf(lines_.at(next_)) >= 4))
            code.append(lines_.at(next_++).mid(4));
        while (!code.isEmpty() && isBlank(code.last()))
            code.removeLast();
        addCode(code);
    }

    void readHeading()
    {
        const QString& line = lines_.at(next_++);
        const int level = headingLevel(line);
        const QString text = line.mid(level).trimmed();
        html_ += QStringLiteral("<h%1><a name=\"%2\"></a>%3</h%1>\n")
                     .arg(level)
                     .arg(headingAnchor(text), inlineHtml(text));
    }

    void readTable()
    {
        html_ += QStringLiteral("<table border=\"1\" cellspacing=\"0\" cellpadding=\"4\">\n");
        static const QRegularExpression rule(QStringLiteral(R"(^\|[\s:|-]+\|\s*$)"));
        const bool hasHead =
            next_ + 1 < lines_.size() && rule.match(lines_.at(next_ + 1)).hasMatch();
        for (int row = 0; next_ < lines_.size() && isTableRow(lines_.at(next_)); ++row, ++next_) {
            if (row == 1 && hasHead)
                continue;
            const QString tag = row == 0 && hasHead ? QStringLiteral("th") : QStringLiteral("td");
            html_ += QStringLiteral("<tr>");
            for (const QString& cell : cellsOf(lines_.at(next_)))
                html_ += QStringLiteral("<%1 align=\"left\">%2</%1>").arg(tag, inlineHtml(cell));
            html_ += QStringLiteral("</tr>\n");
        }
        html_ += QStringLiteral("</table>\n");
    }

    void readList()
    {
        const QString tag = lines_.at(next_).startsWith(QLatin1Char('-')) ? QStringLiteral("ul")
                                                                          : QStringLiteral("ol");
        html_ += QStringLiteral("<%1>\n").arg(tag);
        while (next_ < lines_.size()) {
            const int width = markerWidth(lines_.at(next_));
            if (width == 0)
                break;
            QStringList item{lines_.at(next_++).mid(width)};
            while (next_ < lines_.size() && belongsToItem(width))
                item.append(lines_.at(next_).mid(std::min(width, indentOf(lines_.at(next_))))),
                    ++next_;
            html_ += QStringLiteral("<li>%1</li>\n").arg(BlockReader(item, depth_ + 1).read());
            while (next_ < lines_.size() && isBlank(lines_.at(next_)) &&
                   next_ + 1 < lines_.size() && markerWidth(lines_.at(next_ + 1)) > 0)
                ++next_;
        }
        html_ += QStringLiteral("</%1>\n").arg(tag);
    }

    /// The line goes on with an item whose text is so far to the right: it is indented alike, or
    /// follows the item's text directly, or is blank before such a one.
    bool belongsToItem(int width) const
    {
        const QString& line = lines_.at(next_);
        if (isBlank(line))
            return next_ + 1 < lines_.size() && !isBlank(lines_.at(next_ + 1)) &&
                   indentOf(lines_.at(next_ + 1)) >= width;
        return indentOf(line) >= width || (!beginsBlock(line) && !isBlank(lines_.at(next_ - 1)));
    }

    void readParagraph()
    {
        QStringList text{lines_.at(next_++).trimmed()};
        while (next_ < lines_.size() && !beginsBlock(lines_.at(next_)))
            text.append(lines_.at(next_++).trimmed());
        html_ += QStringLiteral("<p>%1</p>\n").arg(inlineHtml(text.join(QLatin1Char(' '))));
    }

    const QStringList lines_;
    const int depth_;
    int next_ = 0;
    QString html_;
};

} // namespace

QString headingAnchor(const QString& heading)
{
    QString anchor;
    for (const QChar c : heading.toLower())
        if (c.isLetterOrNumber() || c == QLatin1Char('-') || c == QLatin1Char('_'))
            anchor += c;
        else if (c == QLatin1Char(' '))
            anchor += QLatin1Char('-');
    return anchor;
}

QString markdownToHtml(const QString& markdown)
{
    return BlockReader(markdown.split(QLatin1Char('\n')), 0).read();
}

} // namespace zuLogging
