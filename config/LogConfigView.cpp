#include "config/LogConfigView.h"

#include "config/ConfigDock.h"
#include "config/ConfigFloatingWindow.h"
#include "config/DocumentEdits.h"
#include "config/DocumentKeys.h"
#include "config/InsertConfigDialog.h"
#include "config/LogConfigData.h"
#include "config/TableModel.h"
#include "config/TreeModel.h"
#include "widgets/Boxes.h"
#include "widgets/WaitCursor.h"

#include <QAbstractItemDelegate>
#include <QAction>
#include <QHeaderView>
#include <QIcon>
#include <QItemSelectionModel>
#include <QLabel>
#include <QMainWindow>
#include <QMap>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPersistentModelIndex>
#include <QPointer>
#include <QPushButton>
#include <QSignalBlocker>
#include <QStyleOption>
#include <QTableView>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

#include <exception>

namespace zuLogging {

namespace {

const QLatin1String commentResult("Comment"); // the dialog's name for it

/// Null while the service was never found.
LogConfigData* configuration()
{
    try {
        return LogConfigData::instance();
    } catch (const std::exception&) {
        return nullptr;
    }
}

} // namespace

LogConfigView::LogConfigView(QWidget* window)
    : innerWindow_(new QMainWindow(this, Qt::Widget))
    , dock_(new ConfigDock(tr("Configuration"), window))
    , toolbar_(new QToolBar(tr("Log Config Toolbar"), innerWindow_))
    , dockAction_(new QAction(QIcon(QStringLiteral(":/undock.png")), tr("Dock / Undock"), this))
{
    setObjectName(QStringLiteral("LogConfigView"));
    // The constructor's own idea of it is a window.
    innerWindow_->setWindowFlags(Qt::Widget);
    innerWindow_->setObjectName(QStringLiteral("configInnerWindow"));
    // Neither its own nor the main window's menu of toolbars and docks: each would hide something
    // that then could not be shown again.
    innerWindow_->setContextMenuPolicy(Qt::PreventContextMenu);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(innerWindow_);

    dockAction_->setStatusTip(tr("Dock / undock the acquisition window"));
    connect(dockAction_, SIGNAL(triggered()), this, SLOT(floatingButtonClicked()));
    innerWindow_->addAction(dockAction_);
    buildToolbar();

    connect(dock_, &ConfigDock::closeRequested, this, &LogConfigView::closeRequested);
    connect(dock_, &ConfigDock::dockedChanged, this, &LogConfigView::showDocked);
    connect(dock_, &ConfigDock::maximizedChanged, this, &LogConfigView::showMaximizedIcon);
    dock_->setContent(this, innerWindow_);
    initialised_ = true;
}

LogConfigView::~LogConfigView() = default;

void LogConfigView::buildToolbar()
{
    toolbar_->setObjectName(QStringLiteral("configToolbar"));
    toolbar_->setStyleSheet(QStringLiteral("QToolBar{ background: lightgray;padding: 0px;}"));
    toolbar_->setMovable(false);
    toolbar_->toggleViewAction()->setVisible(false);
    innerWindow_->addToolBar(toolbar_);

    titleLabel_ = new QLabel(tr("Configuration"), toolbar_);
    titleLabel_->setObjectName(QStringLiteral("configTitle"));
    titleLabel_->setFont(QFont(QStringLiteral("Verdana"), 10, QFont::Bold));
    titleLabel_->setContentsMargins(5, 0, 5, 0);
    titleLabel_->setStyleSheet(QStringLiteral("QToolButton{ padding: 0px;}"));
    toolbar_->addWidget(titleLabel_);

    const auto add = [this](const char* name, const char* icon, const QString& toolTip,
                            const char* slot) {
        QToolButton* button = makeButton(QLatin1String(name), QLatin1String(icon), toolTip, slot);
        toolbar_->addWidget(button);
        return button;
    };
    rereadButton_ = add("configReread", ":/refresh.png", tr("Reread the configuration"),
                        SLOT(updateConfigClicked()));
    modifyButton_ =
        add("configModify", ":/config.png", tr("Modify parameters"), SLOT(modifyClicked()));
    insertButton_ = add("configInsert", ":/insertRow.png", tr("Insert..."), SLOT(insertClicked()));
    deleteButton_ = add("configDelete", ":/deleteRow.png", tr("Delete..."), SLOT(deleteClicked()));
    saveButton_ = add("configSave", ":/saveConfig.png", tr("Save the configuration"),
                      SLOT(saveConfigClicked()));
    saveButton_->setEnabled(false);
    enableButtons(true, false, false);

    auto* spacer = new QWidget(toolbar_);
    spacer->setObjectName(QStringLiteral("configSpacer"));
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    toolbar_->addWidget(spacer);

    dockButton_ = add("configDock", ":/undock.png", tr("Dock / Undock the configuration window"),
                      SLOT(floatingButtonClicked()));
    maximizeButton_ =
        makeButton(QStringLiteral("configMaximize"), QStringLiteral(":/maximizeDock.png"),
                   tr("Maximize / Minimize the configuration window"), SLOT(resizeClicked()));
    maximizeAction_ = toolbar_->addWidget(maximizeButton_);
    maximizeAction_->setVisible(false);
    add("configClose", ":/closeDock.png", tr("Close"), SLOT(closeClicked()));
}

QToolButton* LogConfigView::makeButton(const QString& name, const QString& icon,
                                       const QString& toolTip, const char* slot)
{
    auto* button = new QToolButton(toolbar_);
    button->setObjectName(name);
    button->setAccessibleName(toolTip);
    button->setIcon(QIcon(icon));
    button->setToolTip(toolTip);
    button->setStyleSheet(QStringLiteral("QToolButton{ padding: 1px;}"));
    connect(button, SIGNAL(released()), this, slot);
    return button;
}

QDockWidget* LogConfigView::dock() const
{
    return dock_;
}

QWidget* LogConfigView::floatingWindow() const
{
    return dock_->floatingWindow();
}

void LogConfigView::closeFloatingWindow()
{
    // The user did not ask for the view to be hidden: the setting that shows it must stay.
    const QSignalBlocker quiet(this);
    if (QWidget* window = floatingWindow())
        window->close();
}

void LogConfigView::floatingButtonClicked()
{
    dock_->toggleDocked();
}

void LogConfigView::showDocked(bool docked)
{
    const QIcon icon(docked ? QStringLiteral(":/undock.png") : QStringLiteral(":/dock.png"));
    dockButton_->setIcon(icon);
    dockAction_->setIcon(icon);
    maximizeAction_->setVisible(!docked);
}

void LogConfigView::resizeClicked()
{
    if (ConfigFloatingWindow* window = dock_->floatingWindow())
        window->toggleMaximized();
}

void LogConfigView::showMaximizedIcon(bool maximized)
{
    maximizeButton_->setIcon(QIcon(maximized ? QStringLiteral(":/minimizeDock.png")
                                             : QStringLiteral(":/maximizeDock.png")));
}

void LogConfigView::closeClicked()
{
    Q_EMIT closeRequested();
}

void LogConfigView::paintEvent(QPaintEvent*)
{
    QStyleOption option;
    option.initFrom(this);
    QPainter painter(this);
    style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
    if (initialised_ && dock_->isVisible())
        dock_->bringForward(innerWindow_->centralWidget());
}

void LogConfigView::setMode(int mode)
{
    mode_ = mode == Expert ? Expert : User;
    if (mode_ == Expert && treeView_ == nullptr)
        makeTreeView();
    else if (mode_ == User && tableView_ == nullptr)
        makeTableView();
    QAbstractItemView* view = shownView();
    showCentral(view);
    // What was expanded and scrolled to stays, as long as it shows the same document.
    LogConfigData* config = configuration();
    const QAbstractItemModel* model = nullptr;
    if (config != nullptr && mode_ == Expert)
        model = config->treeModel();
    else if (config != nullptr)
        model = config->tableModel();
    if (model == nullptr || view->model() != model)
        showModel();
    else
        view->selectionModel()->clear();
    enableButtons(mode_ == User, false, false);
}

QAbstractItemView* LogConfigView::shownView() const
{
    return mode_ == Expert ? static_cast<QAbstractItemView*>(treeView_)
                           : static_cast<QAbstractItemView*>(tableView_);
}

void LogConfigView::makeTreeView()
{
    treeView_ = new QTreeView(this);
    treeView_->setObjectName(QStringLiteral("configTree"));
    treeView_->setAccessibleName(tr("Configuration"));
    treeView_->setUniformRowHeights(true);
    treeView_->setContextMenuPolicy(Qt::CustomContextMenu);
    // A double click inserts, and does nothing else.
    treeView_->setExpandsOnDoubleClick(false);
    treeView_->setEditTriggers(QAbstractItemView::EditKeyPressed |
                               QAbstractItemView::SelectedClicked);
    connect(treeView_, SIGNAL(doubleClicked(const QModelIndex&)), this, SLOT(insertClicked()));
    connect(treeView_, SIGNAL(customContextMenuRequested(const QPoint&)), this,
            SLOT(showContextMenu(const QPoint&)));
}

void LogConfigView::makeTableView()
{
    tableView_ = new QTableView(this);
    tableView_->setObjectName(QStringLiteral("configTable"));
    tableView_->setAccessibleName(tr("Configuration"));
    tableView_->horizontalHeader()->show();
    tableView_->verticalHeader()->show();
    tableView_->horizontalHeader()->setStretchLastSection(true);
    tableView_->setSelectionMode(QAbstractItemView::SingleSelection);
    tableView_->setSelectionBehavior(QAbstractItemView::SelectRows);
    tableView_->setContextMenuPolicy(Qt::CustomContextMenu);
    tableView_->setTabKeyNavigation(false);
    connect(tableView_, SIGNAL(doubleClicked(const QModelIndex&)), this, SLOT(modifyClicked()));
    connect(tableView_, SIGNAL(customContextMenuRequested(const QPoint&)), this,
            SLOT(showContextMenu(const QPoint&)));
}

void LogConfigView::showCentral(QAbstractItemView* view)
{
    if (innerWindow_->centralWidget() == view)
        return;
    // Taken out, since what it replaces would be deleted.
    if (QWidget* old = innerWindow_->takeCentralWidget()) {
        old->setParent(this);
        old->hide();
    }
    innerWindow_->setCentralWidget(view);
    view->show();
}

void LogConfigView::enableButtons(bool insert, bool remove, bool modify)
{
    insertButton_->setEnabled(insert);
    deleteButton_->setEnabled(remove);
    modifyButton_->setEnabled(modify);
}

void LogConfigView::followSelection(QAbstractItemView* view, const char* slot)
{
    const char* const changed =
        SIGNAL(selectionChanged(const QItemSelection&, const QItemSelection&));
    disconnect(view->selectionModel(), changed, this, slot);
    connect(view->selectionModel(), changed, this, slot);
    view->selectionModel()->clear();
}

void LogConfigView::showTreeModel()
{
    LogConfigData* config = configuration();
    if (treeView_ == nullptr || config == nullptr)
        return;
    TreeModel* model = config->treeModel();
    treeView_->setModel(model);
    treeView_->expandToDepth(1);
    treeView_->resizeColumnToContents(0);
    followSelection(treeView_,
                    SLOT(treeItemSelected(const QItemSelection&, const QItemSelection&)));
    // A comment can be edited in place.
    connect(model, &QAbstractItemModel::dataChanged, this, &LogConfigView::markModified,
            Qt::UniqueConnection);
    if (mode_ == Expert)
        enableButtons(false, false, false);
}

void LogConfigView::showTableModel()
{
    LogConfigData* config = configuration();
    if (tableView_ == nullptr || config == nullptr)
        return;
    tableView_->setModel(config->tableModel());
    // Off first, or what is stretched already would stay as narrow as its contents.
    tableView_->horizontalHeader()->setStretchLastSection(false);
    tableView_->resizeColumnsToContents();
    tableView_->horizontalHeader()->setStretchLastSection(true);
    followSelection(tableView_,
                    SLOT(tableItemSelected(const QItemSelection&, const QItemSelection&)));
    if (mode_ == User)
        enableButtons(true, false, false);
}

void LogConfigView::showModel()
{
    if (mode_ == Expert)
        showTreeModel();
    else
        showTableModel();
}

void LogConfigView::treeItemSelected(const QItemSelection&, const QItemSelection&)
{
    const auto* model =
        treeView_ == nullptr ? nullptr : qobject_cast<const TreeModel*>(treeView_->model());
    if (model == nullptr || mode_ != Expert)
        return;
    const NodeCommands commands = commandsFor(model->nodeOf(treeView_->currentIndex()));
    enableButtons(commands == NodeCommands::InsertAndDelete,
                  commands == NodeCommands::InsertAndDelete, commands == NodeCommands::Modify);
}

void LogConfigView::tableItemSelected(const QItemSelection&, const QItemSelection&)
{
    const auto* model =
        tableView_ == nullptr ? nullptr : qobject_cast<const TableModel*>(tableView_->model());
    if (model == nullptr || mode_ != User)
        return;
    const QModelIndex current = tableView_->currentIndex();
    if (!current.isValid())
        enableButtons(false, false, false);
    else if (current.row() == 0)
        enableButtons(true, false, true);
    else if (model->rowObject(current.row()) != nullptr)
        enableButtons(true, true, true);
}

void LogConfigView::showContextMenu(const QPoint& pnt)
{
    const QAbstractItemView* view = shownView();
    if (view == nullptr)
        return;
    auto* menu = new QMenu(innerWindow_);
    menu->setObjectName(QStringLiteral("configContextMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const auto add = [&](const QString& text, const char* icon, const char* slot) {
        QAction* action = menu->addAction(QIcon(QLatin1String(icon)), text);
        // Queued: the menu is closed and gone before a box opens.
        connect(action, SIGNAL(triggered(bool)), this, slot, Qt::QueuedConnection);
    };
    add(tr("Modify..."), ":/config.png", SLOT(modifyClicked()));
    add(tr("Insert..."), ":/insertRow.png", SLOT(insertClicked()));
    add(tr("Delete..."), ":/deleteRow.png", SLOT(deleteClicked()));
    menu->popup(view->viewport()->mapToGlobal(pnt));
}

void LogConfigView::warn(const QString& title, const QString& text)
{
    showBox(innerWindow_, QMessageBox::Warning, title, text);
}

QModelIndex LogConfigView::currentIndexFor(const QString& title)
{
    const QAbstractItemView* view = shownView();
    const QModelIndex current = view == nullptr ? QModelIndex() : view->currentIndex();
    if (!current.isValid())
        warn(title, tr("Please select a configuration."));
    return current;
}

QStringList LogConfigView::moduleNames()
{
    LogConfigData* config = configuration();
    if (config == nullptr)
        return {};
    const WaitCursor wait;
    try {
        return config->moduleNames();
    } catch (const std::exception&) {
        return config->lastModuleNames(); // a name can still be typed
    }
}

std::optional<QMap<QString, QString>>
LogConfigView::askForValues(const QModelIndex& selected, const QStringList& modules,
                            const QMap<QString, QString>& values, bool insert)
{
    const QPointer<LogConfigView> self(this);
    const QPointer<InsertConfigDialog> dialog = new InsertConfigDialog(
        this, selected, modules, LogConfigData::levelNames(), LogConfigData::destinationNames(),
        LogConfigData::attributeIds(), LogConfigData::attributeOps(), values, insert,
        mode_ == Expert, innerWindow_);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (!self || !dialog)
        return std::nullopt;
    QMap<QString, QString> entered;
    for (const QLatin1String key :
         {levelKey, destinationKey, fileKey, idKey, valueKey, opKey, commentResult})
        entered.insert(key, dialog->result(key));
    delete dialog;
    if (!accepted)
        return std::nullopt;
    return entered;
}

void LogConfigView::endEditing()
{
    QWidget* editor =
        treeView_ == nullptr ? nullptr : treeView_->indexWidget(treeView_->currentIndex());
    if (editor == nullptr)
        return;
    QAbstractItemDelegate* delegate = treeView_->itemDelegate();
    Q_EMIT delegate->commitData(editor);
    Q_EMIT delegate->closeEditor(editor);
}

void LogConfigView::insertClicked()
{
    endEditing();
    if (mode_ == Expert)
        insertNodes();
    else
        insertModule();
}

void LogConfigView::insertModule()
{
    LogConfigData* config = configuration();
    if (tableView_ == nullptr || config == nullptr)
        return;
    const QPointer<TableModel> model(config->tableModel());
    const QPersistentModelIndex current(tableView_->currentIndex());
    const auto entered = askForValues(current, moduleNames(), {}, true);
    if (!entered || !model)
        return;
    model->addModuleRow(current.row(), entered->value(valueKey), entered->value(levelKey));
    if (tableView_->model() == model) {
        tableView_->resizeColumnsToContents(); // the new name is to be read
        tableView_->selectRow(model->rowCount() - 1);
    }
    markModified();
}

void LogConfigView::insertNodes()
{
    const QPersistentModelIndex current(currentIndexFor(tr("Insert")));
    const QPointer<TreeModel> model(current.isValid() ? qobject_cast<TreeModel*>(treeView_->model())
                                                      : nullptr);
    if (!model)
        return;
    QString question;
    switch (model->nodeOf(current)->parent()->nodeKind()) {
    case TreeNode::Specialization:
    case TreeNode::Plain:
        question = tr("Do you want to insert specializations?");
        break;
    case TreeNode::SpecializationList:
        question = tr("Do you want to insert an additional specialization (+)?");
        break;
    case TreeNode::AttributeList:
        question = tr("Do you want to insert an additional attribute (+)?");
        break;
    default:
        return;
    }
    const QPointer<LogConfigView> self(this);
    const auto answer = showBox(innerWindow_, QMessageBox::Question, tr("Insert"), question,
                                QMessageBox::Yes | QMessageBox::No);
    if (!self || answer != QMessageBox::Yes || !model || !current.isValid())
        return;
    if (TreeNode* inserted = insertBehind(*model, model->nodeOf(current)))
        treeEdited(inserted);
}

void LogConfigView::treeEdited(TreeNode* node)
{
    auto* model = qobject_cast<TreeModel*>(treeView_->model());
    if (model == nullptr)
        return;
    model->rebuildTable();
    const QModelIndex index = node == nullptr ? treeView_->currentIndex() : model->indexOf(node);
    if (index.isValid()) {
        if (node != nullptr)
            treeView_->expand(index);
        treeView_->setCurrentIndex(index);
        treeView_->scrollTo(index);
    }
    markModified();
}

void LogConfigView::modifyClicked()
{
    endEditing();
    const QModelIndex current = currentIndexFor(tr("Modify"));
    if (!current.isValid())
        return;
    if (mode_ == Expert)
        modifyNode(current);
    else
        modifyModule(current);
}

void LogConfigView::modifyModule(const QModelIndex& index)
{
    const QPersistentModelIndex current(index);
    const auto text = [&](int column) {
        return index.sibling(index.row(), column).data().toString();
    };
    const QMap<QString, QString> values{{valueKey, text(0)}, {levelKey, text(1)}};
    const auto entered = askForValues(index, moduleNames(), values, false);
    if (!entered)
        return;
    auto* model = qobject_cast<TableModel*>(tableView_->model());
    if (!current.isValid() || model == nullptr || current.model() != model)
        return;
    model->modifyRow(current.row(), entered->value(valueKey), entered->value(levelKey));
    const TreeNode* const id = model->rowObject(current.row())->id;
    LogConfigData::instance()->treeModel()->rebuildTable();
    // Rows stand in the order of the document now, new ones too.
    int row = 0;
    while (id != nullptr && row < model->rowCount() && model->rowObject(row)->id != id)
        ++row;
    tableView_->selectRow(row);
    tableView_->resizeColumnsToContents();
    markModified();
}

void LogConfigView::modifyNode(const QModelIndex& index)
{
    const QPointer<TreeModel> model(qobject_cast<TreeModel*>(treeView_->model()));
    if (!model)
        return;
    const TreeNode* node = model->nodeOf(index);
    const bool isComment = node->nodeKind() == TreeNode::Comment;
    const bool isInAttribute = !isComment && node->parent()->nodeKind() == TreeNode::Attribute;
    if (!isComment && !isInAttribute && node->parent()->nodeKind() != TreeNode::ParameterSet)
        return;

    const QMap<QString, QString> values =
        isComment ? QMap<QString, QString>{{commentResult, node->value()}}
                  : valuesOfChildren(node->parent());
    const QPersistentModelIndex current(index);
    const auto entered =
        askForValues(index, isInAttribute ? moduleNames() : QStringList(), values, false);
    if (!entered || !model || !current.isValid())
        return;

    TreeNode* edited = model->nodeOf(current);
    if (isComment)
        model->setValue(edited, entered->value(commentResult));
    else if (isInAttribute)
        for (const QLatin1String key : {idKey, valueKey, opKey})
            setChild(*model, edited->parent(), key, entered->value(key));
    else
        for (const QLatin1String key : {levelKey, destinationKey, fileKey})
            setChild(*model, edited->parent(), key, entered->value(key));
    treeEdited();
}

void LogConfigView::deleteClicked()
{
    endEditing();
    const QModelIndex current = currentIndexFor(tr("Delete"));
    if (!current.isValid())
        return;
    if (mode_ == Expert)
        deleteNode(current);
    else
        deleteModule(current);
}

void LogConfigView::deleteModule(const QModelIndex& index)
{
    auto* model = qobject_cast<TableModel*>(tableView_->model());
    if (model == nullptr)
        return;
    if (index.row() == 0) {
        warn(tr("Delete"), tr("The default log level cannot be deleted."));
        return;
    }
    model->removeModuleRow(model->rowObject(index.row()));
    const QModelIndex next = tableView_->currentIndex();
    if (next.isValid())
        tableView_->selectRow(next.row());
    markModified();
}

void LogConfigView::deleteNode(const QModelIndex& index)
{
    auto* model = qobject_cast<TreeModel*>(treeView_->model());
    if (model == nullptr || !canBeDeleted(*model, model->nodeOf(index)))
        return;
    model->removeRows(index.row(), 1, index.parent());
    treeEdited();
}

void LogConfigView::saveConfigClicked()
{
    endEditing();
    QString error;
    try {
        const WaitCursor wait;
        error = LogConfigData::instance()->saveConfiguration();
    } catch (const std::exception& failure) {
        error = QString::fromUtf8(failure.what());
    }
    if (!error.isEmpty()) {
        warn(tr("Save"), error);
        return;
    }
    const QPointer<LogConfigView> self(this);
    const QPointer<QMessageBox> box = new QMessageBox(innerWindow_);
    box->setWindowTitle(tr("Save"));
    box->setWindowIcon(QIcon(QStringLiteral(":/logging.png")));
    box->setIcon(QMessageBox::Information);
    box->setText(tr("Configuration saved successfully."));
    box->setInformativeText(tr("Please restart the application, which should be logged."));
    box->exec();
    delete box;
    if (!self)
        return;
    // What was edited while the box stood there is not saved.
    LogConfigData& config = *LogConfigData::instance();
    saveButton_->setEnabled(config.isModified());
    if (mode_ == User)
        config.tableModel()->clearChanged();
}

void LogConfigView::updateConfigClicked()
{
    const QPointer<LogConfigView> self(this);
    askToSaveIfChanged();
    if (!self)
        return;
    QString error;
    try {
        const WaitCursor wait;
        error = LogConfigData::instance()->loadConfiguration(QString());
    } catch (const std::exception& failure) {
        error = QString::fromUtf8(failure.what());
    }
    // Also after a failure: the models that were shown are gone.
    showModel();
    if (!error.isEmpty())
        warn(tr("Update"), error);
}

void LogConfigView::askToSaveIfChanged()
{
    // Of edits in the tree the question at the program's end tells.
    LogConfigData* config = mode_ == User ? configuration() : nullptr;
    if (config == nullptr || !config->tableModel()->isChanged())
        return;
    const QPointer<LogConfigView> self(this);
    const QPointer<QMessageBox> box = new QMessageBox(innerWindow_);
    box->setWindowTitle(tr("Unsaved Properties"));
    box->setWindowIcon(QIcon(QStringLiteral(":/logging.png")));
    box->setText(tr("There are unsaved properties. Do you want to save the changes?"));
    QPushButton* save = box->addButton(tr("Save"), QMessageBox::AcceptRole);
    box->setEscapeButton(box->addButton(tr("Continue"), QMessageBox::RejectRole));
    box->exec();
    if (!self || !box)
        return;
    const bool wanted = box->clickedButton() == save;
    delete box;
    if (wanted)
        saveConfigClicked();
}

void LogConfigView::resetConfiguration()
{
    LogConfigData* config = configuration();
    if (config == nullptr)
        return;
    if (mode_ == Expert && treeView_ != nullptr) {
        resetTree(*config->treeModel());
    } else if (mode_ == User && tableView_ != nullptr) {
        // Both views would go through all that they show for each of thousands of rows.
        tableView_->setModel(nullptr);
        if (treeView_ != nullptr)
            treeView_->setModel(nullptr);
        resetTable(*config->tableModel(), *config->treeModel());
        showTableModel();
    }
}

void LogConfigView::markModified()
{
    saveButton_->setEnabled(true);
    if (LogConfigData* config = configuration())
        config->setModified(true);
    dock_->update();
    toolbar_->update();
}

} // namespace zuLogging
