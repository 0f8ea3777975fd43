#pragma once

#include "store/MessageFilter.h"

#include <QDialog>
#include <QStringList>

#include <array>

class QCheckBox;
class QGroupBox;
class QLineEdit;
class QListWidget;

namespace zuLogging {

/// Builds the log view's filter: texts that a message must and must not contain, and levels. Not
/// modal. Its owner takes the lists over on `accepted()`; until then nothing outside changes.
/// What is shown starts from the view settings and, closed without saving, goes back to them
/// (except for level boxes: those are only ever checked from the settings, never unchecked).
class FilterDialog : public QDialog
{
    Q_OBJECT

public:
    explicit FilterDialog(QWidget* parent = nullptr);

    // What the dialog shows; each also enters the view settings.
    QStringList includeTexts() const;
    /// Short level names in the order info, warn, err, fatal, debug, trace.
    QStringList levelNames() const;
    QStringList excludeTexts() const;

    bool includeCaseSensitive() const;
    bool excludeCaseSensitive() const;

    /// All of it.
    MessageFilter filter() const;
    /// The one in the view settings.
    static MessageFilter savedFilter();
    /// Shows `before` again, but for the text field, which stays; it enters the view settings.
    void goBackTo(const MessageFilter& before);

    QLineEdit* filterText() const { return filterText_; }

    /// Escape and the window's close button discard the edits as "Close" does.
    void reject() override;

protected:
    /// Enter in the text field adds the text to the include list if it is in neither list yet.
    /// With nothing to add, and in the lists and check boxes, it saves; on a button it presses it.
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

public Q_SLOTS:
    void addIncludeFilter();
    void addExcludeFilter();
    void removeIncludeFilter();
    void removeExcludeFilter();
    void closeSignal();
    void clearSignal();
    void selectAllChanged(int state);

private:
    static constexpr std::size_t levelCount = 6;

    QGroupBox* makeGroup(const QString& title, const QString& name, QListWidget* list,
                         QCheckBox* caseBox, const char* addSlot, const char* removeSlot);
    QGroupBox* makeLevelGroup();
    void loadCaseBoxes();
    void loadLists();
    void addTo(QListWidget* list);
    void setTabOrders();

    QLineEdit* filterText_;
    QListWidget* includeList_;
    QListWidget* excludeList_;
    QCheckBox* includeCase_;
    QCheckBox* excludeCase_;
    std::array<QCheckBox*, levelCount> levels_{};
    QCheckBox* selectAll_;
};

} // namespace zuLogging
