#pragma once

#include <QToolBar>

#include <cstddef>

class QCheckBox;
class QLabel;
class QToolButton;

namespace zuLogging {

/// The toolbar above the messages: the buttons that start and stop logging, the filter box, the
/// counters, the state of the log service, and what is done with the whole log. It shows what it is
/// told. GUI thread.
class LogMessageToolbar : public QToolBar
{
    Q_OBJECT

public:
    /// `view` is the parent, and has the slots that buttons and filter box run.
    explicit LogMessageToolbar(QWidget* view);

    // By the buttons' own state: during long work everything around them is disabled.
    bool canStart() const;
    bool canStop() const;
    void setCanStartAndStop(bool start, bool stop);

    bool isFilterChecked() const;
    /// Without running the slot.
    void setFilterChecked(bool checked);

    void showCount(int messages);
    void showFiltered(int messages);
    void showQueued(std::size_t messages);
    void showService(bool isRunning);

private:
    QToolButton* makeButton(const QString& name, const QString& iconPath, const QString& toolTip,
                            const QString& statusTip, const char* slot);
    QLabel* addLabel(const QString& name, const QString& text);
    QLabel* addCounter(const QString& name, const QString& description);
    void addSpacer(const QString& name);
    void addCounters();
    void addButtonsOfTheLog();

    QToolButton* startButton_;
    QToolButton* stopButton_;
    QCheckBox* filterBox_;
    QLabel* countLabel_ = nullptr;
    QLabel* filteredLabel_ = nullptr;
    QLabel* queuedLabel_ = nullptr;
    QLabel* serviceLabel_;
};

} // namespace zuLogging
