#pragma once

#include <QStringList>
#include <QToolBar>

class QComboBox;

namespace zuLogging {

/// The toolbar that lists the files whose messages were loaded; hidden while there is none. GUI
/// thread.
class LoadedFilesToolbar : public QToolBar
{
    Q_OBJECT

public:
    explicit LoadedFilesToolbar(QWidget* parent);

    /// The last one becomes the current one.
    void add(const QStringList& paths);
    void clearFiles();

private:
    QComboBox* files_;
};

} // namespace zuLogging
