#pragma once

#include <QList>
#include <QMap>

class QTableView;

namespace zuLogging {

class LogTableModel;

/// The columns of the message table: which fields they show, and how wide they are. Keeps both in
/// the view settings. The table shows one of the two models, which have the same columns; none of
/// the three is owned. GUI thread.
class ColumnLayout
{
public:
    ColumnLayout(QTableView* table, LogTableModel* full, LogTableModel* filtered);

    /// As wide as what they show, the last one up to the edge.
    void fit();
    /// With no row there is nothing to fit to: then the widths of the last run, so that they reach
    /// the first rows.
    void fitOrRemember();
    /// Once there are rows, where neither they nor the last run have given a width.
    void fitFirstRows();
    void applyRememberedWidths();
    /// Into the view settings.
    void rememberWidths() const;

    /// Those of `fields` that are fields, each once.
    static QList<int> knownFields(const QList<int>& fields);
    /// Shows exactly these, left to right, at least one. Rows, sort and selection stay; so does the
    /// width of each field that was shown, the others get a fitted one. Moves the header's mark
    /// along with the field that the rows are sorted by, or takes it away with it.
    void showFields(const QList<int>& fields);

private:
    LogTableModel* shownModel() const;
    void stretchLast();
    QMap<int, int> chosenWidths() const;
    void setModelFields(const QList<int>& fields);
    void setWidths(const QMap<int, int>& widthsOfFields);

    QTableView* table_;
    LogTableModel* full_;
    LogTableModel* filtered_;
    bool fitRows_ = false; ///< they were fitted when there were rows
};

} // namespace zuLogging
