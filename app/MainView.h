#pragma once

#include "app/Application.h"
#include "view/LogViewHost.h"

#include <QKeySequence>
#include <QMainWindow>

#include <memory>
#include <string>

namespace zuLogging {

class LogConfigView;
class LogMessageView;

/// The main window: the log message view in the middle, the configuration dock on the right, and
/// the menus. It owns the message store, which lives as long as the window. GUI thread only.
///
/// Slots of checkable actions run on every `changed()` of the action, also when only its enabled
/// state changes; each reads the checked state, so running one again changes nothing.
class MainView : public QMainWindow, public LogViewHost
{
    Q_OBJECT

public:
    /// `holder` is the shared pointer that is going to own this window; it is only remembered.
    /// Throws what the store or the views throw.
    explicit MainView(MainViewHolder* holder);
    /// Runs `shutDown` and ignores its answer.
    ~MainView() override;

    MainViewHolder* holder() const { return holder_; }
    LogMessageView* messageView() const { return messageView_; }
    LogConfigView* configView() const { return configView_; }

    // What the message view needs of the window.
    std::shared_ptr<LogContainer> messageStore() const override { return store_; }
    bool isConfigurationModified() const override;
    QAction* filterAction() const override { return filterAction_; }
    QAction* resizeRowsAction() const override { return resizeRowsAction_; }
    QAction* replayAction() const override { return replayAction_; }
    QAction* startAction() const override { return startAction_; }
    QAction* stopAction() const override { return stopAction_; }
    QAction* dateAndTimeAction() const override { return dateAndTimeAction_; }
    QAction* secondsAction() const override { return secondsAction_; }

public Q_SLOTS:
    void about();
    void openHelp();
    void configViewChanged();
    void search();
    void filter();
    void autoScrollChanged();
    /// Runs the view settings dialog and applies what was accepted.
    void configureSettings();
    void clearLogMessages();
    void saveLogMessages();
    void userModeChanged();
    void expertModeChanged();
    void goToLine();
    void dateAndTimeChanged();
    void timeInSecondsChanged();
    /// A cancelled file dialog reads the configuration from the service again.
    void openConfigFile();
    void resetFile();
    void configurePreferences();
    /// Starts logging with the recorded history first, and asks for that history once more by the
    /// listener's own address. After a failed start there is no listener, and nothing is asked.
    void replayLogHistory();
    void startLogging();
    void stopLogging();
    void resizeRowsChanged();
    void updateView();
    /// The view settings' defaults, and what the window shows with them. Keeps the row limit when
    /// the user does not want messages truncated.
    void resetViewSettings();
    void saveLogAsJSON();
    void loadLogFromJSON();
    void messageViewClipboard();
    void selectionClipboard();
    /// "MAJOR.MINOR" of the product's version.
    std::string GetARZVersionString();
    /// Everything that must happen before the window goes: asks about unsaved changes, stops
    /// logging, remembers the window's state, closes the floating configuration window. Returns
    /// false, with nothing changed, when the user cancels. May run several times: it asks again as
    /// long as there are unsaved changes, the rest then finds its work done.
    bool shutDown();

protected:
    /// Refuses to close when the user cancels `shutDown`.
    void closeEvent(QCloseEvent* event) override;
    // Files of this machine that are dropped anywhere on the window are opened.
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void createActions();
    void createMenus();
    QAction* newAction(const QString& text, const QString& icon, const QString& statusTip);
    QAction* newCommand(const QString& text, const QString& icon, const QString& statusTip,
                        void (MainView::*slot)());
    QAction* newSwitch(const QString& text, const QString& statusTip, bool checked,
                       void (MainView::*slot)());
    void applyMode(bool expert);
    void applyTimeDisplay(bool dateAndTime);

    MainViewHolder* holder_;
    LogMessageView* messageView_ = nullptr;
    LogConfigView* configView_ = nullptr;
    std::shared_ptr<LogContainer> store_;

    QAction* exitAction_ = nullptr;
    QAction* findAction_ = nullptr;
    QAction* goToAction_ = nullptr;
    QAction* filterAction_ = nullptr;
    QAction* helpAction_ = nullptr;
    QAction* aboutAction_ = nullptr;
    QAction* configurationAction_ = nullptr;
    QAction* autoScrollAction_ = nullptr;
    QAction* settingsAction_ = nullptr;
    QAction* preferencesAction_ = nullptr;
    QAction* clearAction_ = nullptr;
    QAction* saveViewAction_ = nullptr;
    QAction* userModeAction_ = nullptr;
    QAction* expertModeAction_ = nullptr;
    QAction* dateAndTimeAction_ = nullptr;
    QAction* secondsAction_ = nullptr;
    QAction* openConfigAction_ = nullptr;
    QAction* resetConfigAction_ = nullptr;
    QAction* replayAction_ = nullptr;
    QAction* startAction_ = nullptr;
    QAction* stopAction_ = nullptr;
    QAction* resizeRowsAction_ = nullptr;
    QAction* resetViewAction_ = nullptr;
    QAction* saveJsonAction_ = nullptr;
    QAction* loadJsonAction_ = nullptr;
    QAction* copyAction_ = nullptr;
    QAction* copyAllAction_ = nullptr;

    bool initialised_ = false; ///< the window is complete; the last thing that construction sets
};

} // namespace zuLogging
