#include "view/RowText.h"

#include "logging/WorkControl.h"
#include "store/LogTableModel.h"

#include <QFile>
#include <QTextStream>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace zuLogging {

namespace {

constexpr int rowsBetweenReports = 1024;

/// `take` is given the text of one row at a time and says whether it wants more.
template <class Take>
void eachRow(const LogTableModel& model, WorkControl& control, Take take)
{
    const int first = -model.hiddenRows();
    const int end = model.rowCount();
    const int columns = model.columnCount();
    QString line;
    for (int row = first; row < end; ++row) {
        if ((row - first) % rowsBetweenReports == 0)
            control.report(static_cast<std::uint64_t>(row - first),
                           static_cast<std::uint64_t>(end - first));
        line.resize(0); // keeps its memory
        for (int column = 0; column < columns; ++column) {
            line += model.cellText(row, column);
            line += QLatin1Char('\t');
        }
        line += QLatin1Char('\n');
        if (!take(line))
            return;
    }
}

} // namespace

QString rowsAsText(const LogTableModel& model, WorkControl& control)
{
    QString text;
    eachRow(model, control, [&text](const QString& line) {
        text += line;
        return true;
    });
    return text;
}

void appendRows(QFile& file, bool isNew, const LogTableModel& model, WorkControl& control)
{
    const qint64 size = file.size();
    try {
        QTextStream stream(&file);
        stream << "************************************\n"
                  "ARZ LogDesk 3.1.26\n"
                  "Arvenza\n"
                  "Copyright (c) 2026 The LogDesk developers\n"
                  "************************************\n";
        // A stream that has failed would gather the rest in memory.
        eachRow(model, control, [&stream](const QString& line) {
            stream << line;
            return stream.status() == QTextStream::Ok;
        });
    } catch (const WorkCancelled&) {
        file.resize(size);
        if (isNew)
            file.remove();
        throw;
    }
}

// Works on ranges: a million selected rows are one range, but twelve million cells.
QString cellsAsText(const LogTableModel& model, std::vector<CellRange> ranges, WorkControl& control)
{
    std::sort(ranges.begin(), ranges.end(),
              [](const auto& a, const auto& b) { return a.left < b.left; });
    // Between two neighbouring bounds every row has the same selected columns.
    std::vector<int> bounds;
    for (const CellRange& range : ranges) {
        bounds.push_back(range.top);
        bounds.push_back(range.bottom + 1);
    }
    std::sort(bounds.begin(), bounds.end());
    bounds.erase(std::unique(bounds.begin(), bounds.end()), bounds.end());
    const int first = bounds.empty() ? 0 : bounds.front();
    const int last = bounds.empty() ? 0 : bounds.back();

    QString text;
    const int rows = model.rowCount();
    for (std::size_t bound = 0; bound + 1 < bounds.size(); ++bound) {
        std::vector<int> columns;
        for (const CellRange& range : ranges)
            if (range.top <= bounds[bound] && bounds[bound] <= range.bottom)
                for (int column = range.left; column <= range.right; ++column)
                    columns.push_back(column);
        if (columns.empty())
            continue;
        const int end = std::min(bounds[bound + 1], rows);
        for (int row = bounds[bound]; row < end; ++row) {
            if ((row - bounds[bound]) % rowsBetweenReports == 0)
                control.report(static_cast<std::uint64_t>(row - first),
                               static_cast<std::uint64_t>(last - first));
            bool firstOfRow = true;
            for (const int column : columns) {
                if (!text.isEmpty())
                    text += QLatin1Char(firstOfRow ? '\n' : '\t');
                firstOfRow = false;
                text += model.cellText(row, column);
            }
        }
    }
    return text;
}

} // namespace zuLogging
