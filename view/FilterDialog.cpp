#include "view/FilterDialog.h"

#include "store/ViewSettings.h"
#include "view/DialogHeight.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QShortcut>
#include <QShowEvent>
#include <QVBoxLayout>

#include <algorithm>
#include <initializer_list>

namespace zuLogging {

namespace {

constexpr int buttonWidth = 100;
constexpr int dialogWidth = 520;
constexpr int dialogHeight = 480;

struct LevelBox
{
    const char* text;
    const char* name;
    int row;
    int column;
};

constexpr std::array<LevelBox, 6> levelBoxes{
    {{QT_TRANSLATE_NOOP("zuLogging::FilterDialog", "Info (info)"), "info", 1, 0},
     {QT_TRANSLATE_NOOP("zuLogging::FilterDialog", "Warning (warn)"), "warn", 1, 1},
     {QT_TRANSLATE_NOOP("zuLogging::FilterDialog", "Error (err)"), "err", 1, 2},
     {QT_TRANSLATE_NOOP("zuLogging::FilterDialog", "Fatal (fatal)"), "fatal", 2, 0},
     {QT_TRANSLATE_NOOP("zuLogging::FilterDialog", "Debug (debug)"), "debug", 2, 1},
     {QT_TRANSLATE_NOOP("zuLogging::FilterDialog", "Trace (trace)"), "trace", 2, 2}}};

QPushButton* makeButton(const QString& text, const QString& name, QWidget* parent)
{
    auto* button = new QPushButton(text, parent);
    button->setObjectName(name);
    button->setMaximumWidth(buttonWidth);
    return button;
}

Qt::CaseSensitivity caseRule(bool sensitive)
{
    return sensitive ? Qt::CaseSensitive : Qt::CaseInsensitive;
}

QStringList textsOf(const QListWidget* list)
{
    QStringList texts;
    texts.reserve(list->count());
    for (int row = 0; row < list->count(); ++row)
        texts.append(list->item(row)->text());
    return texts;
}

} // namespace

FilterDialog::FilterDialog(QWidget* parent)
    : QDialog(parent)
    , filterText_(new QLineEdit(this))
    , includeList_(new QListWidget(this))
    , excludeList_(new QListWidget(this))
    , includeCase_(new QCheckBox(tr("Case Sensitive"), this))
    , excludeCase_(new QCheckBox(tr("Case Sensitive"), this))
    , selectAll_(new QCheckBox(tr("Select all"), this))
{
    setObjectName(QStringLiteral("filterDialog"));
    setWindowTitle(tr("Filter"));
    setWindowIcon(QIcon(QStringLiteral(":/logging.png")));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);

    filterText_->setObjectName(QStringLiteral("filterText"));
    filterText_->setPlaceholderText(tr("Enter adds it to the include filter"));
    auto* label = new QLabel(tr("Add Filter:"), this);
    label->setObjectName(QStringLiteral("filterTextLabel"));
    label->setBuddy(filterText_);
    auto* textRow = new QHBoxLayout;
    textRow->addWidget(label);
    textRow->addWidget(filterText_);

    auto* groups = new QHBoxLayout;
    groups->addWidget(makeGroup(tr("Include Filter"), QStringLiteral("include"), includeList_,
                                includeCase_, SLOT(addIncludeFilter()),
                                SLOT(removeIncludeFilter())));
    groups->addWidget(makeGroup(tr("Exclude Filter"), QStringLiteral("exclude"), excludeList_,
                                excludeCase_, SLOT(addExcludeFilter()),
                                SLOT(removeExcludeFilter())));

    QPushButton* clearButton = makeButton(tr("Clear"), QStringLiteral("filterClear"), this);
    QPushButton* saveButton = makeButton(tr("Save"), QStringLiteral("filterSave"), this);
    QPushButton* closeButton = makeButton(tr("Close"), QStringLiteral("filterClose"), this);
    saveButton->setDefault(true);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(clearButton);
    buttons->addWidget(saveButton);
    buttons->addWidget(closeButton);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(textRow);
    layout->addLayout(groups);
    layout->addWidget(makeLevelGroup());
    layout->addLayout(buttons);
    const QSize wanted = sizeHint().expandedTo(QSize(dialogWidth, dialogHeight));
    setFixedSize(wanted.boundedTo(QSize(wanted.width(), availableDialogHeight(parent)))
                     .expandedTo(minimumSizeHint()));
    setTabOrders();

    connect(clearButton, SIGNAL(clicked()), this, SLOT(clearSignal()));
    connect(saveButton, SIGNAL(clicked()), this, SLOT(accept()));
    connect(closeButton, SIGNAL(clicked()), this, SLOT(closeSignal()));
    connect(selectAll_, SIGNAL(stateChanged(int)), this, SLOT(selectAllChanged(int)));

    loadCaseBoxes();
    loadLists();
}

QGroupBox* FilterDialog::makeGroup(const QString& title, const QString& name, QListWidget* list,
                                   QCheckBox* caseBox, const char* addSlot, const char* removeSlot)
{
    auto* group = new QGroupBox(title, this);
    group->setObjectName(name + QStringLiteral("Group"));
    QPushButton* addButton = makeButton(tr("Add"), name + QStringLiteral("Add"), group);
    QPushButton* removeButton = makeButton(tr("Remove"), name + QStringLiteral("Remove"), group);
    caseBox->setObjectName(name + QStringLiteral("Case"));
    // Both groups have these: whoever does not see the frames has to be told which one it is.
    for (QAbstractButton* button :
         std::initializer_list<QAbstractButton*>{addButton, removeButton, caseBox})
        button->setAccessibleName(
            tr("%1: %2", "a button and its group").arg(button->text(), title));
    list->setObjectName(name + QStringLiteral("List"));
    list->setAccessibleName(title);
    list->setSortingEnabled(true);
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    auto* deleteKey =
        new QShortcut(QKeySequence(Qt::Key_Delete), list, nullptr, nullptr, Qt::WidgetShortcut);

    auto* buttons = new QHBoxLayout;
    buttons->addWidget(addButton);
    buttons->addWidget(removeButton);
    buttons->addStretch();
    auto* layout = new QVBoxLayout(group);
    layout->addLayout(buttons);
    layout->addWidget(caseBox);
    layout->addWidget(list);

    connect(addButton, SIGNAL(clicked()), this, addSlot);
    connect(removeButton, SIGNAL(clicked()), this, removeSlot);
    connect(deleteKey, SIGNAL(activated()), this, removeSlot);
    return group;
}

QGroupBox* FilterDialog::makeLevelGroup()
{
    auto* group = new QGroupBox(tr("Filter Log Levels"), this);
    group->setObjectName(QStringLiteral("levelGroup"));
    auto* grid = new QGridLayout(group);
    selectAll_->setObjectName(QStringLiteral("levelSelectAll"));
    grid->addWidget(selectAll_, 0, 0);
    for (std::size_t i = 0; i < levelBoxes.size(); ++i) {
        levels_[i] = new QCheckBox(tr(levelBoxes[i].text), group);
        levels_[i]->setObjectName(QLatin1String("level_") + QLatin1String(levelBoxes[i].name));
        grid->addWidget(levels_[i], levelBoxes[i].row, levelBoxes[i].column);
    }
    return group;
}

QStringList FilterDialog::includeTexts() const
{
    return ViewSettings::instance().filterInclude = textsOf(includeList_);
}

QStringList FilterDialog::levelNames() const
{
    QStringList names;
    for (std::size_t i = 0; i < levelBoxes.size(); ++i)
        if (levels_[i]->isChecked())
            names.append(QLatin1String(levelBoxes[i].name));
    ViewSettings::instance().levelFilterInclude = names;
    return names;
}

QStringList FilterDialog::excludeTexts() const
{
    return ViewSettings::instance().filterExclude = textsOf(excludeList_);
}

bool FilterDialog::includeCaseSensitive() const
{
    return includeCase_->isChecked();
}

bool FilterDialog::excludeCaseSensitive() const
{
    return excludeCase_->isChecked();
}

MessageFilter FilterDialog::filter() const
{
    MessageFilter filter;
    filter.include = includeTexts();
    filter.exclude = excludeTexts();
    filter.levels = levelNames();
    ViewSettings& settings = ViewSettings::instance();
    settings.filterIncludeCs = includeCaseSensitive();
    settings.filterExcludeCs = excludeCaseSensitive();
    filter.includeCase = caseRule(settings.filterIncludeCs);
    filter.excludeCase = caseRule(settings.filterExcludeCs);
    return filter;
}

MessageFilter FilterDialog::savedFilter()
{
    const ViewSettings& settings = ViewSettings::instance();
    MessageFilter filter;
    filter.include = settings.filterInclude;
    filter.levels = settings.levelFilterInclude;
    filter.exclude = settings.filterExclude;
    filter.includeCase = caseRule(settings.filterIncludeCs);
    filter.excludeCase = caseRule(settings.filterExcludeCs);
    return filter;
}

void FilterDialog::goBackTo(const MessageFilter& before)
{
    ViewSettings& settings = ViewSettings::instance();
    settings.filterInclude = before.include;
    settings.levelFilterInclude = before.levels;
    settings.filterExclude = before.exclude;
    settings.filterIncludeCs = before.includeCase == Qt::CaseSensitive;
    settings.filterExcludeCs = before.excludeCase == Qt::CaseSensitive;
    const QString text = filterText_->text();
    clearSignal(); // also the levels, which closing leaves
    closeSignal();
    filterText_->setText(text);
}

void FilterDialog::reject()
{
    closeSignal();
}

void FilterDialog::keyPressEvent(QKeyEvent* event)
{
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    const QString& text = filterText_->text();
    if (enter && focusWidget() == filterText_ && !text.isEmpty() &&
        !textsOf(includeList_).contains(text) && !textsOf(excludeList_).contains(text)) {
        addIncludeFilter();
        filterText_->selectAll();
        return;
    }
    QDialog::keyPressEvent(event);
}

void FilterDialog::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    filterText_->setFocus();
    filterText_->selectAll();
}

void FilterDialog::setTabOrders()
{
    const auto button = [this](const char* name) {
        return findChild<QPushButton*>(QLatin1String(name));
    };
    QList<QWidget*> order{filterText_,
                          button("includeAdd"),
                          button("includeRemove"),
                          includeCase_,
                          includeList_,
                          button("excludeAdd"),
                          button("excludeRemove"),
                          excludeCase_,
                          excludeList_,
                          selectAll_};
    for (QCheckBox* box : levels_)
        order.append(box);
    order << button("filterClear") << button("filterSave") << button("filterClose");
    for (int i = 1; i < order.size(); ++i)
        setTabOrder(order[i - 1], order[i]);
}

void FilterDialog::loadCaseBoxes()
{
    includeCase_->setChecked(ViewSettings::instance().filterIncludeCs);
    excludeCase_->setChecked(ViewSettings::instance().filterExcludeCs);
}

void FilterDialog::loadLists()
{
    const ViewSettings& settings = ViewSettings::instance();
    includeList_->clear();
    includeList_->addItems(settings.filterInclude);
    excludeList_->clear();
    excludeList_->addItems(settings.filterExclude);
    for (std::size_t i = 0; i < levelBoxes.size(); ++i)
        if (settings.levelFilterInclude.contains(QLatin1String(levelBoxes[i].name)))
            levels_[i]->setChecked(true);
    if (std::all_of(levels_.begin(), levels_.end(),
                    [](const QCheckBox* box) { return box->isChecked(); }))
        selectAll_->setChecked(true);
}

void FilterDialog::addTo(QListWidget* list)
{
    if (!textsOf(list).contains(filterText_->text(), Qt::CaseSensitive))
        list->addItem(filterText_->text());
}

void FilterDialog::addIncludeFilter()
{
    addTo(includeList_);
}

void FilterDialog::addExcludeFilter()
{
    addTo(excludeList_);
}

void FilterDialog::removeIncludeFilter()
{
    qDeleteAll(includeList_->selectedItems());
}

void FilterDialog::removeExcludeFilter()
{
    qDeleteAll(excludeList_->selectedItems());
}

void FilterDialog::closeSignal()
{
    loadCaseBoxes();
    loadLists();
    QDialog::reject();
}

void FilterDialog::clearSignal()
{
    filterText_->clear();
    includeList_->clear();
    excludeList_->clear();
    includeCase_->setChecked(false);
    excludeCase_->setChecked(false);
    for (QCheckBox* box : levels_)
        box->setChecked(false);
    selectAll_->setChecked(false);
}

void FilterDialog::selectAllChanged(int state)
{
    for (QCheckBox* box : levels_)
        box->setChecked(state == Qt::Checked);
}

} // namespace zuLogging
