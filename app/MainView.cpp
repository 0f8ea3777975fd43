#include "app/MainView.h"

#include "app/ProductVersion.h"
#include "app/UserGuide.h"
#include "app/WindowGeometry.h"
#include "config/LogConfigData.h"
#include "config/LogConfigView.h"
#include "config/PreferencesDialog.h"
#include "logging/LogSvcError.h"
#include "platform/DataDirectory.h"
#include "platform/Desktop.h"
#include "store/LogContainer.h"
#include "store/LogField.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"
#include "view/FilterDialog.h"
#include "view/FindDialog.h"
#include "view/GoToDialog.h"
#include "view/LogMessageView.h"
#include "view/LogTableView.h"
#include "view/SettingsDialog.h"
#include "widgets/Boxes.h"

#include <QAction>
#include <QCloseEvent>
#include <QDesktopServices>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFileDialog>
#include <QGuiApplication>
#include <QMap>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QPointer>
#include <QScreen>
#include <QSignalBlocker>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>
#include <QUrl>

namespace zuLogging {

namespace {

const char helpAddress[] = "https://docs.arvenza.example/logdesk/%1/user-guide/";

/// Where the service keeps its own documents; the current folder where there is no data directory.
QString configurationDirectory()
{
    return QString::fromStdString(platform::dataFilePath("log"));
}

void setCheckedSilently(QAction* action, bool checked)
{
    const QSignalBlocker quiet(action);
    action->setChecked(checked);
}

/// Empty when anything among what is dragged is no file of this machine.
QStringList draggedFiles(const QMimeData& data)
{
    QStringList paths;
    const QList<QUrl> urls = data.urls();
    for (const QUrl& url : urls) {
        if (!url.isLocalFile() || !url.host().isEmpty())
            return {};
        paths.append(url.toLocalFile());
    }
    return paths;
}

/// What was dragged is never taken away from where it comes from.
bool acceptsCopy(QDropEvent& event)
{
    if ((event.possibleActions() & Qt::CopyAction) == 0 ||
        draggedFiles(*event.mimeData()).isEmpty())
        return false;
    event.setDropAction(Qt::CopyAction);
    event.accept();
    return true;
}

/// The tool bars are light gray in every theme, so what is written on them is dark in every theme.
void writeDark(QToolBar* toolbar)
{
    QPalette palette = toolbar->palette();
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(role, Qt::black);
        palette.setColor(QPalette::Disabled, role, QColor(80, 80, 80));
    }
    // Each by itself: from a widget with a style sheet nothing is inherited.
    for (QWidget* written : toolbar->findChildren<QWidget*>())
        written->setPalette(palette);
}

void bringToFront(QWidget* window)
{
    window->show();
    window->raise();
    window->activateWindow();
}

} // namespace

MainView::MainView(MainViewHolder* holder)
    : holder_(holder)
{
    setObjectName(QStringLiteral("MainView"));
    store_ = std::make_shared<LogContainer>();

    const QRect geometry = initialWindowGeometry(QGuiApplication::primaryScreen()->size());
    setMinimumSize(minimumWindowWidth, minimumWindowHeight);
    resize(geometry.size());
    move(geometry.topLeft());
    setWindowTitle(QStringLiteral("Arvenza LogDesk"));
    setWindowIcon(QIcon(QStringLiteral(":/logging.png")));
    setDockNestingEnabled(true);
    setAcceptDrops(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Minimum);

    createActions();
    createMenus();

    // The switches' slots leave the store alone until it can be asked for a change.
    store_->setTimeDisplayMode(dateAndTimeAction_->isChecked() ? 0 : 1);
    messageView_ = new LogMessageView(statusBar(), this);
    setCentralWidget(messageView_);

    configView_ = new LogConfigView(this);
    QDockWidget* dock = configView_->dock();
    addDockWidget(Qt::RightDockWidgetArea, dock);
    connect(configView_, &LogConfigView::closeRequested, configurationAction_,
            [this] { configurationAction_->setChecked(false); });
    dock->setVisible(configurationAction_->isChecked());
    configView_->setMode(expertModeAction_->isChecked() ? LogConfigView::Expert
                                                        : LogConfigView::User);

    // The table was made before what stands above it.
    setTabOrder(findChild<QWidget*>(QStringLiteral("filesCombo")), messageView_->table());
    for (const char* name : {"logMessageToolbar", "configToolbar"})
        writeDark(findChild<QToolBar*>(QLatin1String(name)));
    if (ViewSettings::instance().maximizedScreen)
        showMaximized();
    initialised_ = true;
}

MainView::~MainView()
{
    shutDown();
    // While the window is still whole: the view keeps the window's actions in step with itself.
    delete messageView_;
    messageView_ = nullptr;
    store_.reset();
}

bool MainView::isConfigurationModified() const
{
    return LogConfigData::instance()->isModified();
}

QAction* MainView::newAction(const QString& text, const QString& icon, const QString& statusTip)
{
    auto* action = new QAction(text, this);
    if (!icon.isEmpty())
        action->setIcon(QIcon(icon));
    action->setStatusTip(statusTip);
    return action;
}

QAction* MainView::newCommand(const QString& text, const QString& icon, const QString& statusTip,
                              void (MainView::*slot)())
{
    QAction* action = newAction(text, icon, statusTip);
    connect(action, &QAction::triggered, this, slot);
    return action;
}

QAction* MainView::newSwitch(const QString& text, const QString& statusTip, bool checked,
                             void (MainView::*slot)())
{
    QAction* action = newAction(text, QString(), statusTip);
    action->setCheckable(true);
    action->setChecked(checked);
    // Last: a switch that is being set up must not write its half-made state into the settings.
    connect(action, &QAction::changed, this, slot);
    return action;
}

void MainView::createActions()
{
    const ViewSettings& settings = ViewSettings::instance();

    exitAction_ = newAction(tr("E&xit"), QStringLiteral(":/exit.png"), tr("Exit the application"));
    exitAction_->setShortcut(QKeySequence::Close);
    connect(exitAction_, &QAction::triggered, this, &QWidget::close);

    findAction_ = newCommand(tr("Find..."), QStringLiteral(":/search.png"),
                             tr("Search for a key word"), &MainView::search);
    findAction_->setShortcut(QKeySequence::Find);
    goToAction_ = newCommand(tr("Go to..."), QString(), tr("Go to a specified line number"),
                             &MainView::goToLine);
    goToAction_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_G));
    // The table's context menu has an entry with the same key, but only while that menu is open:
    // the key never has two takers.
    filterAction_ =
        newCommand(tr("Filter..."), QString(), tr("Set filtering options"), &MainView::filter);
    filterAction_->setShortcut(QKeySequence(Qt::SHIFT | Qt::Key_F));
    helpAction_ = newCommand(tr("&Logging GUI User Guide"), QStringLiteral(":/questionmark.png"),
                             tr("Open the Logging GUI User Guide"), &MainView::openHelp);
    aboutAction_ = newCommand(tr("&About"), QStringLiteral(":/logging.png"),
                              tr("Show the application's About box"), &MainView::about);
    configurationAction_ = newSwitch(tr("Configuration"), tr("Show / hide the configuration"),
                                     settings.configurationEnabled, &MainView::configViewChanged);
    autoScrollAction_ =
        newSwitch(tr("AutoScroll"), tr("Enable / disable automatic scrolling during logging"),
                  settings.autoScrollEnabled, &MainView::autoScrollChanged);
    settingsAction_ = newCommand(tr("Logging view settings..."), QStringLiteral(":/config.png"),
                                 tr("Configure the logging view"), &MainView::configureSettings);
    preferencesAction_ = newCommand(tr("Preferences..."), QString(), tr("Service preferences"),
                                    &MainView::configurePreferences);
    clearAction_ = newCommand(tr("Clear log"), QStringLiteral(":/clearText.png"),
                              tr("Clear the log window"), &MainView::clearLogMessages);
    saveViewAction_ = newCommand(tr("Save log view..."), QStringLiteral(":/saveText.png"),
                                 tr("Save the current log view to text file (inclusive filter)"),
                                 &MainView::saveLogMessages);
    userModeAction_ = newSwitch(tr("User Mode"), tr("User Mode"), !settings.expertMode,
                                &MainView::userModeChanged);
    expertModeAction_ = newSwitch(tr("Expert Mode"), tr("Expert Mode"), settings.expertMode,
                                  &MainView::expertModeChanged);
    dateAndTimeAction_ = newSwitch(tr("Date and Time"), tr("Date and Time"), settings.timeDisplay,
                                   &MainView::dateAndTimeChanged);
    secondsAction_ = newSwitch(tr("Seconds since beginning of logging"),
                               tr("Seconds since beginning of logging"), !settings.timeDisplay,
                               &MainView::timeInSecondsChanged);
    openConfigAction_ = newCommand(tr("Open config..."), QStringLiteral(":/open.png"),
                                   tr("Open a configuration file"), &MainView::openConfigFile);
    resetConfigAction_ = newCommand(tr("Reset config file"), QString(),
                                    tr("Reset the configuration file"), &MainView::resetFile);
    replayAction_ = newCommand(tr("Replay && start history"), QStringLiteral(":/replay.png"),
                               tr("Allows to request replay of recorded log history"),
                               &MainView::replayLogHistory);
    startAction_ = newCommand(tr("Start logging"), QStringLiteral(":/startLogging.png"),
                              tr("Start logging"), &MainView::startLogging);
    stopAction_ = newCommand(tr("Stop logging"), QStringLiteral(":/stopLogging.png"),
                             tr("Stop logging"), &MainView::stopLogging);
    stopAction_->setEnabled(false);
    resizeRowsAction_ = newSwitch(tr("Resize rows"), tr("Resizes the rows to contents"), false,
                                  &MainView::resizeRowsChanged);
    resetViewAction_ = newCommand(tr("Reset view to default"), QString(),
                                  tr("Reset the view to default"), &MainView::resetViewSettings);
    saveJsonAction_ =
        newCommand(tr("Save log as JSON..."), QStringLiteral(":/saveJSON.png"),
                   tr("Save the complete log to JSON file"), &MainView::saveLogAsJSON);
    saveJsonAction_->setShortcut(QKeySequence::Save);
    loadJsonAction_ = newCommand(tr("Load log from JSON..."), QStringLiteral(":/openJSON.png"),
                                 tr("Loads the log from JSON file"), &MainView::loadLogFromJSON);
    copyAction_ = newCommand(tr("Copy"), QStringLiteral(":/copySelection.png"),
                             tr("Copy selection to clipboard"), &MainView::selectionClipboard);
    copyAction_->setShortcut(QKeySequence::Copy);
    copyAllAction_ =
        newCommand(tr("Copy all"), QStringLiteral(":/copy.png"),
                   tr("Copy current log view to clipboard"), &MainView::messageViewClipboard);
    copyAllAction_->setShortcut(QKeySequence::SelectAll);
}

void MainView::createMenus()
{
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addActions({openConfigAction_, resetConfigAction_});
    file->addSeparator();
    file->addActions({loadJsonAction_, saveJsonAction_, saveViewAction_, clearAction_});
    file->addSeparator();
    file->addAction(exitAction_);
    menuBar()->addSeparator();

    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    edit->addActions({copyAction_, copyAllAction_});
    edit->addSeparator();
    edit->addAction(settingsAction_);
    edit->addSeparator();
    edit->addAction(preferencesAction_);
    menuBar()->addSeparator();

    QMenu* log = menuBar()->addMenu(tr("&Log"));
    log->addActions({startAction_, stopAction_, replayAction_});
    menuBar()->addSeparator();

    QMenu* searchMenu = menuBar()->addMenu(tr("&Search"));
    searchMenu->addActions({findAction_, filterAction_, goToAction_});
    menuBar()->addSeparator();

    QMenu* view = menuBar()->addMenu(tr("&View"));
    view->addAction(configurationAction_);
    view->addMenu(tr("Configuration Mode"))->addActions({userModeAction_, expertModeAction_});
    view->addSeparator();
    view->addMenu(tr("Time Display Format"))->addActions({dateAndTimeAction_, secondsAction_});
    view->addSeparator();
    view->addActions({settingsAction_, autoScrollAction_, resizeRowsAction_});
    view->addSeparator();
    view->addAction(resetViewAction_);
    menuBar()->addSeparator();

    QMenu* help = menuBar()->addMenu(tr("&Help"));
    help->addAction(helpAction_);
    help->addSeparator();
    help->addAction(aboutAction_);
}

void MainView::about()
{
    QMessageBox::about(this, tr("About Log Service"),
                       tr("<b>Arvenza ARZ LogDesk</b><br>ARZ LogDesk version: 3.1.26<br>"
                          "Copyright (c) 2026 The LogDesk developers.<br>"
                          "Free software under the MIT licence."));
}

void MainView::openHelp()
{
    const QString version = QString::fromStdString(GetARZVersionString());
    const QUrl address(QString::fromLatin1(helpAddress).arg(version, 0, QLatin1Char(' ')));
    if (!QDesktopServices::openUrl(address) && !UserGuide::show(this))
        QMessageBox::information(this, tr("Open the Logging GUI User Guide"), address.toString());
}

void MainView::configViewChanged()
{
    const bool shown = configurationAction_->isChecked();
    if (configView_) {
        configView_->dock()->setVisible(shown);
        if (QWidget* window = configView_->floatingWindow())
            window->setVisible(shown);
    }
    ViewSettings::instance().configurationEnabled = shown;
}

void MainView::search()
{
    if (messageView_)
        bringToFront(messageView_->findDialog());
}

void MainView::filter()
{
    if (messageView_)
        bringToFront(messageView_->filterDialog());
}

void MainView::autoScrollChanged()
{
    const bool on = autoScrollAction_->isChecked();
    if (messageView_) {
        messageView_->setAutoScroll(on);
        messageView_->table()->setAutoScroll(on);
    }
    ViewSettings::instance().autoScrollEnabled = on;
}

void MainView::configureSettings()
{
    if (!messageView_)
        return;
    const LogTableModel& model = *messageView_->fullModel();
    const QList<int> columns = model.columns();
    QMap<int, int> positions;
    for (const int field : defaultColumnOrder())
        positions.insert(field, columns.indexOf(field));
    // On the heap: the window, and the dialog with it, may go while it is open.
    const QPointer<SettingsDialog> dialog = new SettingsDialog(
        store_->maximumMessages(), positions, messageView_->showLineNumbers(), this);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (!dialog)
        return;
    dialog->deleteLater();
    if (!accepted)
        return;
    messageView_->setShowLineNumbers(dialog->showLineNumbers());
    messageView_->setShownFields(dialog->resultOrder());
    messageView_->setMaximumMessages(dialog->maximumMessages());
}

void MainView::clearLogMessages()
{
    if (messageView_)
        messageView_->messageViewClearClicked();
}

void MainView::saveLogMessages()
{
    if (messageView_)
        messageView_->messageViewSaveClicked();
}

void MainView::applyMode(bool expert)
{
    if (initialised_)
        configView_->setMode(expert ? LogConfigView::Expert : LogConfigView::User);
    ViewSettings::instance().expertMode = expert;
}

void MainView::userModeChanged()
{
    const bool user = userModeAction_->isChecked();
    if (expertModeAction_)
        setCheckedSilently(expertModeAction_, !user);
    applyMode(!user);
}

void MainView::expertModeChanged()
{
    const bool expert = expertModeAction_->isChecked();
    if (userModeAction_)
        setCheckedSilently(userModeAction_, !expert);
    applyMode(expert);
}

void MainView::goToLine()
{
    if (!messageView_)
        return;
    messageView_->goToDialog()->setLineCount(messageView_->shownModel()->rowCount());
    bringToFront(messageView_->goToDialog());
}

void MainView::applyTimeDisplay(bool dateAndTime)
{
    const int mode = dateAndTime ? 0 : 1;
    const bool changed = store_->timeDisplayMode() != mode;
    store_->setTimeDisplayMode(mode);
    // While logging runs the view's next refresh shows the change anyway.
    if (changed && !store_->isActive())
        for (LogTableModel* model : {store_->fullModel(), store_->filteredModel()})
            if (model)
                model->announceChanges();
    ViewSettings::instance().timeDisplay = dateAndTime;
}

void MainView::dateAndTimeChanged()
{
    const bool dateAndTime = dateAndTimeAction_->isChecked();
    if (secondsAction_)
        setCheckedSilently(secondsAction_, !dateAndTime);
    applyTimeDisplay(dateAndTime);
}

void MainView::timeInSecondsChanged()
{
    const bool seconds = secondsAction_->isChecked();
    if (dateAndTimeAction_)
        setCheckedSilently(dateAndTimeAction_, !seconds);
    applyTimeDisplay(!seconds);
}

void MainView::openConfigFile()
{
    const bool wasShown = isVisible();
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Open Config File"), configurationDirectory(), tr("Configuration files (*.json)"));
    if (wasShown && !isVisible())
        return; // closed under the dialog: the program ends
    const QString error = LogConfigData::instance()->loadConfiguration(path);
    // Also after a failure: the load has replaced both models.
    configView_->showModel();
    const QPointer<MainView> self(this);
    if (!error.isEmpty())
        showBox(configView_, QMessageBox::Warning, tr("Open File"), error);
    if (self)
        configView_->markModified();
}

void MainView::resetFile()
{
    configView_->resetConfiguration();
    configView_->markModified();
}

void MainView::configurePreferences()
{
    const QPointer<PreferencesDialog> dialog = new PreferencesDialog(this);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (!dialog)
        return;
    dialog->deleteLater();
    if (accepted)
        QMessageBox::information(this, tr("Preferences"),
                                 tr("For the preferences to take effect, reboot your system."),
                                 QMessageBox::Ok);
}

void MainView::replayLogHistory()
{
    if (!messageView_)
        return;
    const QPointer<MainView> self(this);
    messageView_->startLoggingClicked(true);
    if (!self)
        return;
    try {
        store_->requestReplay();
    } catch (const LogSvcError& error) {
        showBox(this, QMessageBox::Warning, tr("Start Logging"), QString::fromUtf8(error.what()));
    }
}

void MainView::startLogging()
{
    if (messageView_)
        messageView_->startLoggingClicked(false);
}

void MainView::stopLogging()
{
    if (messageView_)
        messageView_->stopLoggingClicked();
}

void MainView::resizeRowsChanged()
{
    if (messageView_)
        messageView_->setResizeRows(resizeRowsAction_->isChecked());
}

void MainView::updateView()
{
    if (messageView_)
        messageView_->update();
}

void MainView::resetViewSettings()
{
    if (!messageView_)
        return;
    const QPointer<MainView> self(this);
    messageView_->resetLayoutAndFilter();
    if (!self)
        return;
    dateAndTimeAction_->setChecked(true);
    resizeRowsAction_->setChecked(false);
    autoScrollAction_->setChecked(false);
    userModeAction_->setChecked(true);
    configurationAction_->setChecked(false);
    // Last, since it may ask: the answer decides on nothing else.
    messageView_->setMaximumMessages(ViewSettings::defaultMaximumLogMessages);
}

void MainView::saveLogAsJSON()
{
    if (messageView_)
        messageView_->saveLogMessagesToJSONClicked();
}

void MainView::loadLogFromJSON()
{
    if (messageView_)
        messageView_->loadLogMessagesFromJSON();
}

void MainView::messageViewClipboard()
{
    if (messageView_)
        messageView_->messageViewClipboardClicked();
}

void MainView::selectionClipboard()
{
    if (messageView_)
        messageView_->selectionClipboardClicked();
}

std::string MainView::GetARZVersionString()
{
    return majorMinorVersion(platform::productVersion());
}

bool MainView::shutDown()
{
    if (configView_)
        configView_->endEditing();
    if (LogConfigData::instance()->isModified()) {
        const auto answer = QMessageBox::warning(
            this, tr("Shutdown"),
            tr("Configuration has been changed, but not saved.\n\nDo you want to continue?"),
            QMessageBox::Ok | QMessageBox::Cancel);
        if (answer == QMessageBox::Cancel)
            return false;
    }
    if (store_) {
        store_->stopLogging();
        store_->setShuttingDown();
    }
    ViewSettings::instance().maximizedScreen = isMaximized();
    if (configView_) {
        configView_->askToSaveIfChanged();
        configView_->closeFloatingWindow();
    }
    return true;
}

void MainView::closeEvent(QCloseEvent* event)
{
    event->setAccepted(shutDown());
    if (event->isAccepted() && messageView_)
        messageView_->progress()->cancelAny();
}

void MainView::dragEnterEvent(QDragEnterEvent* event)
{
    if (!acceptsCopy(*event))
        event->ignore();
}

void MainView::dropEvent(QDropEvent* event)
{
    if (!acceptsCopy(*event)) {
        event->ignore();
        return;
    }
    // Later: whoever drags waits for the end of this event, which no question may hold up.
    const QStringList paths = draggedFiles(*event->mimeData());
    QTimer::singleShot(0, messageView_, [this, paths] { messageView_->openLogFiles(paths, true); });
}

} // namespace zuLogging
