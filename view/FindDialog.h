#pragma once

#include <QDialog>
#include <QPointer>

class QCheckBox;
class QLineEdit;
class QRadioButton;
class QShortcut;

namespace zuLogging {

/// Asks for a text to search for, and how. Not modal, and searches nothing itself: it tells its
/// owner to go to the next match, and when the search is over. While it is open F3 works in its
/// parent's window too.
class FindDialog : public QDialog
{
    Q_OBJECT

public:
    explicit FindDialog(QWidget* parent = nullptr);

    QLineEdit* textField() const { return text_; }

    /// Escape and the window's close button end the search as "Close" does.
    void reject() override;

Q_SIGNALS:
    /// The search is over: matches need no mark any more.
    void clearSearch();
    void findNext(QString text, bool directionDown, Qt::CaseSensitivity cs);

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private Q_SLOTS:
    void closeSignal();
    void findNextSignal();

private:
    QLineEdit* text_;
    QRadioButton* up_;
    QRadioButton* down_;
    QCheckBox* matchCase_;
    QPointer<QShortcut> parentShortcut_;
};

} // namespace zuLogging
