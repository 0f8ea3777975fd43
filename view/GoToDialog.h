#pragma once

#include <QDialog>

class QSpinBox;

namespace zuLogging {

/// Asks for the line to go to. Not modal; its owner goes there on `accepted()`.
class GoToDialog : public QDialog
{
    Q_OBJECT

public:
    explicit GoToDialog(QWidget* parent = nullptr);

    /// The line typed in, counted from 1; 0 as long as no line count was set.
    int line() const;
    /// Allows lines 1 to `count` (to be called each time before the dialog is shown).
    void setLineCount(int count);
    QSpinBox* lineBox() const { return lineBox_; }

protected:
    void showEvent(QShowEvent* event) override;

private Q_SLOTS:
    void closeSignal();

private:
    QSpinBox* lineBox_;
};

} // namespace zuLogging
