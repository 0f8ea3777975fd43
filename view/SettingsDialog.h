#pragma once

#include <QDialog>
#include <QList>
#include <QMap>

class QCheckBox;
class QGroupBox;
class QSpinBox;

namespace zuLogging {

/// Edits the row limit, the row numbers and which fields are shown in which order. The caller runs
/// it, and on acceptance reads the three results and applies them.
class SettingsDialog : public QDialog
{
    Q_OBJECT

public:
    /// `positions` tells each field's (1 to 12) column from 0, or -1 when it is not shown; other
    /// fields get no row.
    SettingsDialog(int maximumMessages, const QMap<int, int>& positions, bool showLineNumbers,
                   QWidget* parent);

    int maximumMessages() const;
    bool showLineNumbers() const;
    /// The fields from left to right, filled on acceptance; 0 where no field has a number. Empty
    /// when no field is checked.
    const QList<int>& resultOrder() const { return resultOrder_; }

public Q_SLOTS:
    void validateValues();
    void checkBoxChanged(QCheckBox* cb, int state);
    void cbServiceMsgIdChanged(int state);
    void cbSourceMsgIdChanged(int state);
    void cbSenderMsgIdChanged(int state);
    void cbProcessIdChanged(int state);
    void cbThreadIdChanged(int state);
    void cbTimestampChanged(int state);
    void cbLogLevelHexChanged(int state);
    void cbLogLevelStringChanged(int state);
    void cbLogPosChanged(int state);
    void cbModuleNameChanged(int state);
    void cbGroupNameChanged(int state);
    void cbMessageChanged(int state);

protected:
    /// Keeps the wheel from changing a number while it scrolls the rows.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QGroupBox* makeGeneralGroup(int maximumMessages);
    QGroupBox* makeFieldGroup(const QMap<int, int>& positions, bool showLineNumbers);

    QSpinBox* maximumBox_ = nullptr;
    QCheckBox* lineNumberBox_ = nullptr;
    QMap<int, QCheckBox*> checkBoxes_;
    QMap<int, QSpinBox*> spinBoxes_;
    int visibleCount_ = 0;
    QList<int> resultOrder_;
};

} // namespace zuLogging
