#pragma once

#include "logging/PropertyTreeJson.h"

#include <QDialog>
#include <QFileInfo>
#include <QString>

class QGroupBox;
class QPushButton;
class QSpinBox;

namespace zuLogging {

/// Edits the one setting of the service's start-up file that a person changes: the size of its
/// replay memory. Everything else in the file stays as it is, as far as a property tree can tell
/// (it holds numbers as texts). GUI thread only.
class PreferencesDialog : public QDialog
{
    Q_OBJECT

public:
    /// Reads the file; tells the user at once, with a message box, when that fails. A file that is
    /// not there or cannot be read cannot be edited.
    explicit PreferencesDialog(QWidget* parent);

public Q_SLOTS:
    /// Writes the file and accepts the dialog; on failure tells the user and stays.
    void save();

private:
    void buildWidgets();
    void load();
    void disableEditing();
    void showRecordLines();
    void setRecordLines(const std::string& value);
    void writeFile() const;

    QString path_; ///< empty when there is no data directory
    QFileInfo file_;
    PropertyTree tree_;
    QSpinBox* recordLines_;
    QGroupBox* group_;
    QPushButton* okButton_;
    QPushButton* cancelButton_;
};

} // namespace zuLogging
