#pragma once

#include "store/LogContainer.h"
#include "view/WorkProgress.h"

#include <QModelIndex>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

class QItemSelectionModel;

namespace zuLogging {

class LogTableModel;

/// What takes long with many rows or large files, each as work of a `WorkProgress`: what it is
/// called, how it is done, and how its result comes into force. Whether it may be cancelled is said
/// here where it does not depend on what it is for.
///
/// GUI thread. Every function returns when the work is over; events come in meanwhile. After
/// `End::Gone` this object is gone too. Cancelled work has changed nothing, and is told by a
/// signal.
class RowWork : public QObject
{
    Q_OBJECT

public:
    using End = WorkProgress::End;
    using Cancel = WorkProgress::Cancel;

    /// `progress` is not owned. The store has both models.
    RowWork(WorkProgress* progress, std::shared_ptr<LogContainer> store);

    /// Fills the filtered model, with another filter if one is given.
    End refilter(const MessageFilter* filter, Cancel cancel);
    End sort(LogTableModel& model, int column, Qt::SortOrder order, Cancel cancel);

    /// A cell that was found. No row comes or goes, and so the index holds, as long as this lives.
    struct Found
    {
        LogContainer::RowsHold hold;
        QModelIndex index; ///< invalid when there is none
    };
    /// LogTableModel::findNext. `found` is set when the work is done.
    End find(LogTableModel& model, const QModelIndex& start, const QString& text,
             bool directionDown, Qt::CaseSensitivity caseRule, std::shared_ptr<Found>& found);
    /// Keeps the newest `count` rows of the model of all messages.
    End truncate(int count);
    /// Empties both models; never long.
    void clear();

    /// As long as it lives the rows are those that the views show: after a while of logging the row
    /// numbers that they were told of are those of other messages.
    LogContainer::RowsHold holdAsShown(LogTableModel& model);

    // To the clipboard and to a text file: no record moves on meanwhile, so that each line is one
    // message and none is left out.
    End copy(const LogTableModel& model);
    /// The `selection` in a view of `model`.
    End copyCells(LogTableModel& model, const QItemSelectionModel& selection);
    /// Appends the rows as text. A file that cannot be written, or is none, is left alone.
    End saveAsText(const QString& path, const LogTableModel& model);
    /// LogTableModel::saveToJson of all messages.
    End saveAsJson(const QString& path);
    /// LogTableModel::loadFromJson, which gives `read`; false also when there is no memory for it.
    End loadJson(const QString& path, bool& read);
    /// LogTableModel::loadLog of each file in turn: which could be read, and of the others a line
    /// each, but not more than fit into a box. When it is cancelled, the files before are there.
    End load(const QStringList& paths, QStringList& opened, QStringList& failures);

Q_SIGNALS:
    /// What the status bar should say: work was cancelled, or was too much.
    void told(const QString& text);

private:
    End run(const QString& what, const QString& whenCancelled, bool isLong, Cancel cancel,
            const WorkProgress::Work& work, WorkProgress::Result* result = nullptr);
    LogTableModel& all() const { return *store_->fullModel(); }
    End copyText(bool isLong, LogContainer::RowsHold hold,
                 const std::function<QString(WorkControl&)>& makeText);
    void discard(WorkProgress::Result garbage);

    WorkProgress* progress_;
    std::shared_ptr<LogContainer> store_;
};

} // namespace zuLogging
