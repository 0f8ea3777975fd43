#include "config/LogConfigView.h"

#include "config/ConfigDock.h"
#include "config/InsertConfigDialog.h"
#include "config/LogConfigData.h"
#include "config/TableModel.h"
#include "config/TreeModel.h"

#include <QAction>
#include <QApplication>
#include <QEvent>
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

constexpr int floatingWidth = 600;
constexpr int floatingHeight = 450;

const QString levelKey = QStringLiteral("level");
const QString parametersKey = QStringLiteral("parameters");
const QString attributesKey = QStringLiteral("attributes");
const QString specializationsKey = QStringLiteral("specializations");
const QString elementKey = QStringLiteral("+");
const QString commentKey = QStringLiteral("#");
const QString idKey = QStringLiteral("id");
const QString valueKey = QStringLiteral("value");
const QString opKey = QStringLiteral("op");
const QString moduleId = QStringLiteral("module");

/// The wait cursor for as long as a transfer takes, never over a message box.
class WaitCursor
{
public:
    WaitCursor() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~WaitCursor() { QApplication::restoreOverrideCursor(); }
    WaitCursor(const WaitCursor&) = delete;
    WaitCursor& operator=(const WaitCursor&) = delete;
};

/// Null while the service was never found.
LogConfigData* configuration()
{
    try {
        return LogConfigData::instance();
    } catch (const std::exception&) {
        return nullptr;
    }
}

/// The button that was pressed; none if the box went with its parent meanwhile, which a box on the
/// stack would not survive.
QMessageBox::StandardButton showBox(QMessageBox::Icon icon, const QString& title,
                                    const QString& text, QMessageBox::StandardButtons buttons,
                                    QWidget* parent)
{
    const QPointer<QMessageBox> box = new QMessageBox(icon, title, text, buttons, parent);
    const int answer = box->exec();
    if (!box)
        return QMessageBox::NoButton;
    delete box;
    return static_cast<QMessageBox::StandardButton>(answer);
}

QMap<QString, QString> valuesOfChildren(const TreeNode* node)
{
    QMap<QString, QString> values;
    for (int row = node->childCount() - 1; row >= 0; --row) // of two, the first counts
        values.insert(node->child(row)->key(), node->child(row)->value());
    return values;
}

TreeNode* append(TreeModel* model, TreeNode* parent, const QString& key, const QString& value = {})
{
    return model->insertNode(parent->childCount(), key, value, parent);
}

/// Sets the child with this key, or appends one.
void setChild(TreeModel* model, TreeNode* node, const QString& key, const QString& value)
{
    if (TreeNode* child = node->childWithKey(key))
        model->setValue(child, value);
    else
        append(model, node, key, value);
}

/// What a "+" of a list of specializations starts as.
void fillSpecialization(TreeModel* model, TreeNode* specialization)
{
    append(model, specialization, commentKey, QStringLiteral("Comment"));
    TreeNode* attribute = append(model, append(model, specialization, attributesKey), elementKey);
    append(model, attribute, idKey, moduleId);
    append(model, append(model, specialization, parametersKey), levelKey, QStringLiteral("info"));
}

/// Adds to `scope` what it needs to be specialized and does not have yet, below its child `row`.
/// Returns the first node that it added; null if nothing was missing.
TreeNode* insertTemplate(TreeModel* model, TreeNode* scope, int row, bool withAttributes)
{
    TreeNode* first = nullptr;
    const auto insert = [&](const QString& key) {
        TreeNode* node = model->insertNode(++row, key, QString(), scope);
        if (first == nullptr)
            first = node;
        return node;
    };
    if (withAttributes && scope->childWithKey(attributesKey) == nullptr)
        append(model, insert(attributesKey), idKey);
    if (scope->childWithKey(parametersKey) == nullptr)
        append(model, insert(parametersKey), levelKey, QStringLiteral("info"));
    if (scope->childWithKey(specializationsKey) == nullptr) {
        TreeNode* specialization = append(model, insert(specializationsKey), elementKey);
        fillSpecialization(model, specialization);
        TreeNode* attribute = specialization->childWithKey(attributesKey)->child(0);
        append(model, attribute, valueKey, QStringLiteral("[MODULE]"));
    }
    return first;
}

bool isDefaultLevel(const TreeModel* model, const TreeNode* node)
{
    const TreeNode* parameters = node->parent();
    return node->key() == levelKey && parameters != nullptr && parameters->key() == parametersKey &&
           parameters->parent() == model->root();
}

} // namespace

LogConfigView::LogConfigView(QWidget* window)
    : innerWindow_(new QMainWindow(this, Qt::Widget))
    , floatingWindow_(std::make_unique<QWidget>())
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

    floatingWindow_->setObjectName(QStringLiteral("configFloatingWindow"));
    floatingWindow_->setWindowTitle(QStringLiteral("Arvenza LogDesk"));
    floatingWindow_->setWindowIcon(QIcon(QStringLiteral(":/logging.png")));
    floatingWindow_->resize(floatingWidth, floatingHeight);
    // The program ends with its main window.
    floatingWindow_->setAttribute(Qt::WA_QuitOnClose, false);
    auto* floatingLayout = new QVBoxLayout(floatingWindow_.get());
    floatingLayout->setContentsMargins(0, 0, 0, 0);
    floatingWindow_->installEventFilter(this);

    dockAction_->setStatusTip(tr("Dock / undock the acquisition window"));
    connect(dockAction_, SIGNAL(triggered()), this, SLOT(floatingButtonClicked()));
    innerWindow_->addAction(dockAction_);
    buildToolbar();

    dock_->setObjectName(QStringLiteral("LogConfigDock"));
    dock_->setAllowedAreas(Qt::RightDockWidgetArea);
    // The toolbar is the title bar, and undocking is this view's business.
    dock_->setFeatures(QDockWidget::NoDockWidgetFeatures);
    dock_->setTitleBarWidget(new QWidget(dock_));
    dock_->toggleViewAction()->setVisible(false);
    dock_->setWidget(this);
    dock_->installEventFilter(this);
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
    return docked_ ? nullptr : floatingWindow_.get();
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
    if (docked_)
        undock();
    else
        putIntoDock();
}

void LogConfigView::undock()
{
    docked_ = false;
    dock_->setContentAway(true);
    floatingWindow_->layout()->addWidget(innerWindow_);
    innerWindow_->show();
    setDockIcon(QStringLiteral(":/dock.png"));
    maximizeAction_->setVisible(true);
    floatingWindow_->show();
    floatingWindow_->activateWindow();
}

void LogConfigView::putIntoDock()
{
    const bool visible = floatingWindow_->isVisible();
    docked_ = true;
    floatingWindow_->hide();
    layout()->addWidget(innerWindow_);
    innerWindow_->show();
    setDockIcon(QStringLiteral(":/undock.png"));
    maximizeAction_->setVisible(false);
    dock_->setFloating(false);
    dock_->setContentAway(false);
    dock_->setVisible(visible);
}

void LogConfigView::setDockIcon(const QString& path)
{
    dockButton_->setIcon(QIcon(path));
    dockAction_->setIcon(QIcon(path));
}

void LogConfigView::resizeClicked()
{
    if (docked_)
        return;
    // The window tells at once that its state changes: not asked for again.
    const bool maximize = !maximized_;
    if (maximize) {
        normalGeometry_ = floatingWindow_->geometry();
        floatingWindow_->showMaximized();
    } else {
        const QRect before = normalGeometry_;
        floatingWindow_->showNormal();
        // A window that was closed meanwhile has forgotten how large it was.
        if (before.isValid())
            floatingWindow_->setGeometry(before);
    }
    setMaximized(maximize);
}

void LogConfigView::setMaximized(bool maximized)
{
    maximized_ = maximized;
    if (!maximized)
        normalGeometry_ = QRect();
    maximizeButton_->setIcon(QIcon(maximized ? QStringLiteral(":/minimizeDock.png")
                                             : QStringLiteral(":/maximizeDock.png")));
}

void LogConfigView::closeClicked()
{
    Q_EMIT closeRequested();
}

bool LogConfigView::eventFilter(QObject* watched, QEvent* event)
{
    const bool isFloating = watched == floatingWindow_.get();
    if (event->type() == QEvent::Close && (isFloating || watched == dock_))
        Q_EMIT closeRequested();
    if (event->type() == QEvent::Show && watched == dock_)
        justShown_ = true;
    // By the window's own title bar.
    if (event->type() == QEvent::WindowStateChange && isFloating)
        setMaximized(floatingWindow_->isMaximized());
    return QWidget::eventFilter(watched, event);
}

void LogConfigView::paintEvent(QPaintEvent*)
{
    QStyleOption option;
    option.initFrom(this);
    QPainter painter(this);
    style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
    if (!initialised_ || !dock_->isVisible())
        return;
    dock_->setVisible(true);
    // Not away from what is inside of it: somebody may be typing there. And, unless it has just
    // been shown, not from who goes through the window with the Tab key, which would never lead
    // past it.
    const QWidget* focus = window()->focusWidget();
    const bool isTaken =
        focus != nullptr && (dock_->isAncestorOf(focus) ||
                             (!justShown_ && window()->testAttribute(Qt::WA_KeyboardFocusChange)));
    // Not through a proxy of the dock's: Tab would then leave out its buttons.
    if (!isTaken && innerWindow_->centralWidget() != nullptr)
        innerWindow_->centralWidget()->setFocus();
    justShown_ = false;
    dock_->raise();
}

void LogConfigView::setMode(int mode)
{
    mode_ = mode == Expert ? Expert : User;
    QAbstractItemView* view = nullptr;
    bool hasModel = false;
    LogConfigData* config = configuration();
    if (mode_ == Expert) {
        if (treeView_ == nullptr) {
            treeView_ = new QTreeView(this);
            treeView_->setObjectName(QStringLiteral("configTree"));
            treeView_->setAccessibleName(tr("Configuration"));
            treeView_->setUniformRowHeights(true);
            treeView_->setContextMenuPolicy(Qt::CustomContextMenu);
            // A double click inserts, and does nothing else.
            treeView_->setExpandsOnDoubleClick(false);
            treeView_->setEditTriggers(QAbstractItemView::EditKeyPressed |
                                       QAbstractItemView::SelectedClicked);
            connect(treeView_, SIGNAL(doubleClicked(const QModelIndex&)), this,
                    SLOT(insertClicked()));
            connect(treeView_, SIGNAL(customContextMenuRequested(const QPoint&)), this,
                    SLOT(showContextMenu(const QPoint&)));
        }
        view = treeView_;
        hasModel = config != nullptr && treeView_->model() == config->treeModel();
    } else {
        if (tableView_ == nullptr) {
            tableView_ = new QTableView(this);
            tableView_->setObjectName(QStringLiteral("configTable"));
            tableView_->setAccessibleName(tr("Configuration"));
            tableView_->horizontalHeader()->show();
            tableView_->verticalHeader()->show();
            tableView_->horizontalHeader()->setStretchLastSection(true);
            tableView_->setContextMenuPolicy(Qt::CustomContextMenu);
            tableView_->setTabKeyNavigation(false);
            connect(tableView_, SIGNAL(doubleClicked(const QModelIndex&)), this,
                    SLOT(modifyClicked()));
            connect(tableView_, SIGNAL(customContextMenuRequested(const QPoint&)), this,
                    SLOT(showContextMenu(const QPoint&)));
        }
        view = tableView_;
        hasModel = config != nullptr && tableView_->model() == config->tableModel();
    }
    showCentral(view);
    // What was expanded and scrolled to stays, as long as it shows the same document.
    if (!hasModel)
        showModel();
    else
        view->selectionModel()->clear();
    enableButtons(mode_ == User, false, false);
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

void LogConfigView::showTreeModel()
{
    LogConfigData* config = configuration();
    if (treeView_ == nullptr || config == nullptr)
        return;
    TreeModel* model = config->treeModel();
    treeView_->setModel(model);
    treeView_->expandToDepth(1);
    treeView_->resizeColumnToContents(0);
    const char* const changed =
        SIGNAL(selectionChanged(const QItemSelection&, const QItemSelection&));
    const char* const slot = SLOT(treeItemSelected(const QItemSelection&, const QItemSelection&));
    disconnect(treeView_->selectionModel(), changed, this, slot);
    connect(treeView_->selectionModel(), changed, this, slot);
    // A comment can be edited in place.
    connect(model, &QAbstractItemModel::dataChanged, this, &LogConfigView::markModified,
            Qt::UniqueConnection);
    treeView_->selectionModel()->clear();
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
    tableView_->setSelectionMode(QAbstractItemView::SingleSelection);
    tableView_->setSelectionBehavior(QAbstractItemView::SelectRows);
    tableView_->horizontalHeader()->show();
    tableView_->verticalHeader()->show();
    tableView_->horizontalHeader()->setStretchLastSection(true);
    tableView_->setContextMenuPolicy(Qt::CustomContextMenu);
    const char* const changed =
        SIGNAL(selectionChanged(const QItemSelection&, const QItemSelection&));
    const char* const slot = SLOT(tableItemSelected(const QItemSelection&, const QItemSelection&));
    disconnect(tableView_->selectionModel(), changed, this, slot);
    connect(tableView_->selectionModel(), changed, this, slot);
    tableView_->selectionModel()->clear();
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
    const TreeNode* node = model->nodeOf(treeView_->currentIndex());
    const TreeNode* parent = node->parent() == nullptr ? node : node->parent();
    if (node->nodeKind() == TreeNode::Comment) {
        enableButtons(false, false, true);
        return;
    }
    switch (parent->nodeKind()) {
    case TreeNode::AttributeList:
    case TreeNode::SpecializationList:
    case TreeNode::Specialization:
    case TreeNode::Plain:
        enableButtons(true, true, false);
        break;
    case TreeNode::ParameterSet:
    case TreeNode::Attribute:
        enableButtons(false, false, true);
        break;
    default:
        enableButtons(false, false, false);
        break;
    }
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
    const QAbstractItemView* view = mode_ == Expert ? static_cast<QAbstractItemView*>(treeView_)
                                                    : static_cast<QAbstractItemView*>(tableView_);
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
    showBox(QMessageBox::Warning, title, text, QMessageBox::Ok, innerWindow_);
}

QModelIndex LogConfigView::currentIndexFor(const QString& title)
{
    const QAbstractItemView* view = mode_ == Expert ? static_cast<QAbstractItemView*>(treeView_)
                                                    : static_cast<QAbstractItemView*>(tableView_);
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

void LogConfigView::insertClicked()
{
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
    const QPointer<LogConfigView> self(this);
    const QPointer<TableModel> model(config->tableModel());
    const QPersistentModelIndex current(tableView_->currentIndex());
    const QPointer<InsertConfigDialog> dialog =
        new InsertConfigDialog(this, current, moduleNames(), LogConfigData::levelNames(),
                               LogConfigData::destinationNames(), LogConfigData::attributeIds(),
                               LogConfigData::attributeOps(), {}, true, false, innerWindow_);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (!self || !dialog)
        return;
    const QString level = dialog->result(levelKey);
    const QString module = dialog->result(valueKey);
    delete dialog;
    if (!accepted || !model)
        return;
    model->addModuleRow(current.row(), module, level);
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
    const TreeNode::Kind scopeKind = model->nodeOf(current)->parent()->nodeKind();
    QString question;
    switch (scopeKind) {
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
    const auto answer = showBox(QMessageBox::Question, tr("Insert"), question,
                                QMessageBox::Yes | QMessageBox::No, innerWindow_);
    if (!self || answer != QMessageBox::Yes || !model || !current.isValid())
        return;

    TreeNode* scope = model->nodeOf(current)->parent();
    const int row = current.row();
    TreeNode* inserted = nullptr;
    switch (scopeKind) {
    case TreeNode::SpecializationList:
        inserted = model->insertNode(row + 1, elementKey, QString(), scope);
        fillSpecialization(model, inserted);
        break;
    case TreeNode::AttributeList:
        inserted = model->insertNode(row + 1, elementKey, QString(), scope);
        append(model, inserted, idKey);
        break;
    default:
        inserted = insertTemplate(model, scope, row, scopeKind == TreeNode::Specialization);
        break;
    }
    if (inserted != nullptr)
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
    const QPointer<LogConfigView> self(this);
    const QPersistentModelIndex current(index);
    const auto text = [&](int column) {
        return index.sibling(index.row(), column).data().toString();
    };
    const QMap<QString, QString> values{{valueKey, text(0)}, {levelKey, text(1)}};
    const QPointer<InsertConfigDialog> dialog =
        new InsertConfigDialog(this, index, moduleNames(), LogConfigData::levelNames(),
                               LogConfigData::destinationNames(), LogConfigData::attributeIds(),
                               LogConfigData::attributeOps(), values, false, false, innerWindow_);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (!self || !dialog)
        return;
    const QString level = dialog->result(levelKey);
    const QString module = dialog->result(valueKey);
    delete dialog;
    auto* model = qobject_cast<TableModel*>(tableView_->model());
    if (!accepted || !current.isValid() || model == nullptr || current.model() != model)
        return;
    model->modifyRow(current.row(), module, level);
    tableView_->resizeColumnsToContents();
    markModified();
}

void LogConfigView::modifyNode(const QModelIndex& index)
{
    auto* const shown = qobject_cast<TreeModel*>(treeView_->model());
    if (shown == nullptr)
        return;
    const TreeNode* node = shown->nodeOf(index);
    const bool isComment = node->nodeKind() == TreeNode::Comment;
    const TreeNode::Kind scopeKind = node->parent()->nodeKind();
    if (!isComment && scopeKind != TreeNode::Attribute && scopeKind != TreeNode::ParameterSet)
        return;

    const QString commentResult = QStringLiteral("Comment");
    const QMap<QString, QString> values =
        isComment ? QMap<QString, QString>{{commentResult, node->value()}}
                  : valuesOfChildren(node->parent());
    const bool needsModules = !isComment && scopeKind == TreeNode::Attribute;
    const QPointer<LogConfigView> self(this);
    const QPointer<TreeModel> model(shown);
    const QPersistentModelIndex current(index);
    const QPointer<InsertConfigDialog> dialog = new InsertConfigDialog(
        this, index, needsModules ? moduleNames() : QStringList(), LogConfigData::levelNames(),
        LogConfigData::destinationNames(), LogConfigData::attributeIds(),
        LogConfigData::attributeOps(), values, false, true, innerWindow_);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (!self || !dialog)
        return;
    QMap<QString, QString> results;
    for (const QString& key : {levelKey, QStringLiteral("destination"), QStringLiteral("file"),
                               idKey, valueKey, opKey, commentResult})
        results.insert(key, dialog->result(key));
    delete dialog;
    if (!accepted || !model || !current.isValid())
        return;

    TreeNode* edited = model->nodeOf(current);
    if (isComment)
        model->setValue(edited, results.value(commentResult));
    else if (scopeKind == TreeNode::Attribute)
        for (const QString& key : {idKey, valueKey, opKey})
            setChild(model, edited->parent(), key, results.value(key));
    else
        for (const QString& key : {levelKey, QStringLiteral("destination"), QStringLiteral("file")})
            setChild(model, edited->parent(), key, results.value(key));
    treeEdited();
}

void LogConfigView::deleteClicked()
{
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
    if (model == nullptr)
        return;
    const TreeNode* node = model->nodeOf(index);
    // Nobody is left without a default level.
    const bool isScopesOwn =
        node->nodeKind() == TreeNode::ParameterSet && node->parent()->nodeKind() == TreeNode::Plain;
    if (isScopesOwn || isDefaultLevel(model, node))
        return;
    model->removeRows(index.row(), 1, index.parent());
    treeEdited();
}

void LogConfigView::saveConfigClicked()
{
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
    saveButton_->setEnabled(false);
    if (mode_ == User)
        LogConfigData::instance()->tableModel()->clearChanged();
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
    if (mode_ == Expert && treeView_ != nullptr)
        resetTree();
    else if (mode_ == User && tableView_ != nullptr)
        resetTable();
}

void LogConfigView::resetTable()
{
    LogConfigData* config = configuration();
    TableModel* model = config->tableModel();
    // Both views would go through all that they show for each of thousands of rows.
    tableView_->setModel(nullptr);
    if (treeView_ != nullptr)
        treeView_->setModel(nullptr);
    for (int rows = model->rowCount(); rows > 1;) {
        model->removeModuleRow(model->rowObject(rows - 1));
        if (model->rowCount() >= rows)
            break;
        rows = model->rowCount();
    }
    const TableModel::Row* first = model->rowObject(0);
    if (first != nullptr && first->level != nullptr &&
        isDefaultLevel(config->treeModel(), first->level))
        model->modifyRow(0, QString(), QStringLiteral("fatal"));
    else
        resetTree(); // a document without a default level: what stands first is a module's
    showTableModel();
}

void LogConfigView::resetTree()
{
    TreeModel* model = configuration()->treeModel();
    TreeNode* root = model->root();
    for (int row = root->childCount() - 1; row >= 0; --row)
        if (root->child(row)->key() == specializationsKey)
            model->removeRows(row, 1, QModelIndex());
    TreeNode* parameters = root->childWithKey(parametersKey);
    if (parameters == nullptr)
        parameters = model->insertNode(0, parametersKey, QString(), root);
    setChild(model, parameters, levelKey, QStringLiteral("fatal"));
    model->rebuildTable();
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
