#include "view/FilterDialog.h"

#include "tests/view/ViewTestSupport.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QListWidget>
#include <QMetaMethod>
#include <QScreen>
#include <QSignalSpy>
#include <QTest>

namespace zuLogging::test {
namespace {

class FilterDialogTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        initTestIcons();
        settings.reset();
        dialog = std::make_unique<FilterDialog>();
    }
    void remake() { dialog = std::make_unique<FilterDialog>(); }

    template <class Widget>
    Widget* child(const QString& name) const
    {
        auto* widget = dialog->findChild<Widget*>(name);
        EXPECT_NE(widget, nullptr) << name.toStdString();
        return widget;
    }
    void click(const char* name) { child<QPushButton>(QLatin1String(name))->click(); }
    QCheckBox* box(const char* name) const { return child<QCheckBox>(QLatin1String(name)); }
    void type(const QString& text) { dialog->filterText()->setText(text); }
    void include(const QString& text)
    {
        type(text);
        click("includeAdd");
    }
    void exclude(const QString& text)
    {
        type(text);
        click("excludeAdd");
    }
    QStringList includes() const { return shown("includeList"); }
    QStringList excludes() const { return shown("excludeList"); }
    QStringList shown(const char* name) const
    {
        QStringList texts;
        const auto* list = child<QListWidget>(QLatin1String(name));
        for (int i = 0; i < list->count(); ++i)
            texts << list->item(i)->text();
        return texts;
    }

    ViewSettings& settings = ViewSettings::instance();
    std::unique_ptr<FilterDialog> dialog;
};

const QStringList levelBoxNames{"level_info",  "level_warn",  "level_err",
                                "level_fatal", "level_debug", "level_trace"};

TEST_F(FilterDialogTest, TheLayoutIsAsItWasDesigned)
{
    EXPECT_EQ(dialog->windowTitle(), "Filter");
    EXPECT_FALSE(dialog->windowIcon().isNull());
    EXPECT_FALSE(dialog->windowFlags() & Qt::WindowContextHelpButtonHint);
    EXPECT_FALSE(dialog->isModal());
    EXPECT_EQ(dialog->minimumSize(), dialog->maximumSize());
    EXPECT_GE(dialog->height(), dialog->minimumSizeHint().height());
    EXPECT_LT(dialog->height(), QGuiApplication::primaryScreen()->availableGeometry().height());
    EXPECT_TRUE(child<QPushButton>("filterSave")->isDefault());
    EXPECT_EQ(child<QLabel>("filterTextLabel")->text(), "Add Filter:");
    EXPECT_EQ(child<QGroupBox>("includeGroup")->title(), "Include Filter");
    EXPECT_EQ(child<QGroupBox>("excludeGroup")->title(), "Exclude Filter");
    EXPECT_EQ(child<QGroupBox>("levelGroup")->title(), "Filter Log Levels");
    const std::vector<std::pair<QString, QString>> buttons{
        {"includeAdd", "Add"},       {"includeRemove", "Remove"}, {"excludeAdd", "Add"},
        {"excludeRemove", "Remove"}, {"filterClear", "Clear"},    {"filterSave", "Save"},
        {"filterClose", "Close"}};
    for (const auto& [name, text] : buttons) {
        EXPECT_EQ(child<QPushButton>(name)->text(), text);
        EXPECT_EQ(child<QPushButton>(name)->maximumWidth(), 100);
    }
    for (const char* name : {"includeList", "excludeList"}) {
        const auto* list = child<QListWidget>(QLatin1String(name));
        EXPECT_TRUE(list->isSortingEnabled());
        EXPECT_EQ(list->selectionMode(), QAbstractItemView::ExtendedSelection);
    }
    for (const char* name : {"includeCase", "excludeCase"})
        EXPECT_EQ(box(name)->text(), "Case Sensitive");
    struct Cell
    {
        const char* name;
        const char* text;
        int row;
        int column;
    };
    auto* grid = qobject_cast<QGridLayout*>(child<QGroupBox>("levelGroup")->layout());
    ASSERT_NE(grid, nullptr);
    for (const Cell& cell :
         {Cell{"levelSelectAll", "Select all", 0, 0}, Cell{"level_info", "Info (info)", 1, 0},
          Cell{"level_warn", "Warning (warn)", 1, 1}, Cell{"level_err", "Error (err)", 1, 2},
          Cell{"level_fatal", "Fatal (fatal)", 2, 0}, Cell{"level_debug", "Debug (debug)", 2, 1},
          Cell{"level_trace", "Trace (trace)", 2, 2}}) {
        EXPECT_EQ(box(cell.name)->text(), QLatin1String(cell.text));
        EXPECT_EQ(grid->itemAtPosition(cell.row, cell.column)->widget(), box(cell.name));
    }
}

TEST_F(FilterDialogTest, TheSlotsAreDeclaredInTheirOrder)
{
    QList<QByteArray> slotNames;
    const QMetaObject& meta = FilterDialog::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        if (meta.method(i).methodType() == QMetaMethod::Slot)
            slotNames << meta.method(i).methodSignature();
    EXPECT_EQ(slotNames,
              (QList<QByteArray>{"addIncludeFilter()", "addExcludeFilter()",
                                 "removeIncludeFilter()", "removeExcludeFilter()", "closeSignal()",
                                 "clearSignal()", "selectAllChanged(int)"}));
}

TEST_F(FilterDialogTest, AddingAbcTwiceLeavesOneItemAndAddingItInCapitalsAddsASecond)
{
    include("abc");
    include("abc");
    EXPECT_EQ(includes(), QStringList{"abc"});
    include("ABC");
    EXPECT_EQ(includes().size(), 2);
    EXPECT_TRUE(includes().contains("ABC"));
    exclude("abc");
    exclude("abc");
    EXPECT_EQ(excludes(), QStringList{"abc"});
}

TEST_F(FilterDialogTest, AddingAnEmptyTextIsNotPreventedAndTheTextFieldIsKept)
{
    include("x");
    EXPECT_EQ(dialog->filterText()->text(), "x");
    include(QString());
    EXPECT_EQ(includes(), (QStringList{"", "x"}));
}

TEST_F(FilterDialogTest, RemoveTakesAllSelectedItemsOfItsListOnly)
{
    for (const char* text : {"a", "b", "c"}) {
        include(text);
        exclude(text);
    }
    auto* list = child<QListWidget>("includeList");
    list->item(0)->setSelected(true);
    list->item(2)->setSelected(true);
    click("includeRemove");
    EXPECT_EQ(includes(), QStringList{"b"});
    EXPECT_EQ(excludes().size(), 3);
    child<QListWidget>("excludeList")->item(1)->setSelected(true);
    click("excludeRemove");
    EXPECT_EQ(excludes(), (QStringList{"a", "c"}));
    click("excludeRemove");
    EXPECT_EQ(excludes().size(), 2);
}

TEST_F(FilterDialogTest, SelectAllChecksAndUnchecksAllSixLevelBoxes)
{
    box("levelSelectAll")->setChecked(true);
    EXPECT_EQ(dialog->levelNames(),
              (QStringList{"info", "warn", "err", "fatal", "debug", "trace"}));
    box("levelSelectAll")->setChecked(false);
    EXPECT_EQ(dialog->levelNames(), QStringList());
}

TEST_F(FilterDialogTest, TheListsAreGivenInTheirOrderAndEnterTheSettings)
{
    include("b");
    include("a");
    exclude("z");
    box("level_trace")->setChecked(true);
    box("level_warn")->setChecked(true);
    EXPECT_EQ(settings.filterInclude, QStringList());
    EXPECT_EQ(dialog->includeTexts(), (QStringList{"a", "b"}));
    EXPECT_EQ(dialog->excludeTexts(), QStringList{"z"});
    EXPECT_EQ(dialog->levelNames(), (QStringList{"warn", "trace"}));
    EXPECT_EQ(settings.filterInclude, (QStringList{"a", "b"}));
    EXPECT_EQ(settings.filterExclude, QStringList{"z"});
    EXPECT_EQ(settings.levelFilterInclude, (QStringList{"warn", "trace"}));
}

TEST_F(FilterDialogTest, StartsFromTheSettings)
{
    settings.filterInclude = QStringList{"in"};
    settings.filterExclude = QStringList{"out"};
    settings.levelFilterInclude = QStringList{"err", "ERR", "none", "debug"};
    settings.filterIncludeCs = true;
    remake();
    EXPECT_EQ(includes(), QStringList{"in"});
    EXPECT_EQ(excludes(), QStringList{"out"});
    EXPECT_EQ(dialog->levelNames(), (QStringList{"err", "debug"}));
    EXPECT_TRUE(dialog->includeCaseSensitive());
    EXPECT_FALSE(dialog->excludeCaseSensitive());
    EXPECT_FALSE(box("levelSelectAll")->isChecked());
}

TEST_F(FilterDialogTest, SelectAllStartsCheckedWhenAllSixLevelsAre)
{
    settings.levelFilterInclude = QStringList{"trace", "debug", "fatal", "err", "warn", "info"};
    remake();
    EXPECT_TRUE(box("levelSelectAll")->isChecked());
}

TEST_F(FilterDialogTest, CloseDiscardsEditsExceptThatALevelBoxCheckedByTheUserStaysChecked)
{
    settings.filterInclude = QStringList{"kept"};
    settings.levelFilterInclude = QStringList{"err"};
    settings.filterExcludeCs = true;
    remake();
    dialog->show();
    QSignalSpy accepted(dialog.get(), SIGNAL(accepted()));
    include("dropped");
    exclude("dropped");
    box("excludeCase")->setChecked(false);
    box("includeCase")->setChecked(true);
    box("level_warn")->setChecked(true);
    box("level_err")->setChecked(false);
    click("filterClose");
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(accepted.count(), 0);
    EXPECT_EQ(includes(), QStringList{"kept"});
    EXPECT_EQ(excludes(), QStringList());
    EXPECT_FALSE(dialog->includeCaseSensitive());
    EXPECT_TRUE(dialog->excludeCaseSensitive());
    EXPECT_TRUE(box("level_err")->isChecked());
    EXPECT_TRUE(box("level_warn")->isChecked());
    EXPECT_EQ(settings.filterInclude, QStringList{"kept"});
}

TEST_F(FilterDialogTest, EscapeAndTheWindowsCloseButtonBehaveLikeClose)
{
    settings.filterInclude = QStringList{"kept"};
    remake();
    dialog->show();
    include("dropped");
    QTest::keyClick(dialog.get(), Qt::Key_Escape);
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(includes(), QStringList{"kept"});
    dialog->show();
    include("dropped");
    dialog->close();
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(includes(), QStringList{"kept"});
}

TEST_F(FilterDialogTest, ClearFollowedByCloseRestoresTheSavedLists)
{
    settings.filterInclude = QStringList{"in"};
    settings.filterExclude = QStringList{"out"};
    settings.levelFilterInclude = QStringList{"err"};
    settings.filterIncludeCs = settings.filterExcludeCs = true;
    remake();
    type("typed");
    click("filterClear");
    EXPECT_EQ(dialog->filterText()->text(), QString());
    EXPECT_EQ(includes(), QStringList());
    EXPECT_EQ(excludes(), QStringList());
    EXPECT_FALSE(dialog->includeCaseSensitive());
    EXPECT_FALSE(dialog->excludeCaseSensitive());
    EXPECT_FALSE(box("level_err")->isChecked());
    click("filterClose");
    EXPECT_EQ(includes(), QStringList{"in"});
    EXPECT_EQ(excludes(), QStringList{"out"});
    EXPECT_TRUE(box("level_err")->isChecked());
    EXPECT_TRUE(dialog->includeCaseSensitive());
}

TEST_F(FilterDialogTest, ClearUnchecksAllLevelsAndSelectAll)
{
    box("levelSelectAll")->setChecked(true);
    click("filterClear");
    EXPECT_FALSE(box("levelSelectAll")->isChecked());
    for (const QString& name : levelBoxNames)
        EXPECT_FALSE(child<QCheckBox>(name)->isChecked());
}

TEST_F(FilterDialogTest, TheTextFieldHasTheFocusWhenTheDialogIsShown)
{
    dialog->show();
    EXPECT_EQ(dialog->focusWidget(), dialog->filterText());
    child<QPushButton>("filterSave")->setFocus();
    dialog->hide();
    dialog->show();
    EXPECT_EQ(dialog->focusWidget(), dialog->filterText());
}

// --- In the view

class FilteredViewTest : public ViewFixture
{
protected:
    QPushButton* button(const char* name) { return child<QPushButton>(name); }
    void include(const QString& text)
    {
        view->filterDialog()->filterText()->setText(text);
        button("includeAdd")->click();
    }
    void exclude(const QString& text)
    {
        view->filterDialog()->filterText()->setText(text);
        button("excludeAdd")->click();
    }
    void save() { button("filterSave")->click(); }
    QStringList shownTexts() const
    {
        QStringList texts;
        const int column = columnOf("LogMessage");
        for (int row = 0; row < view->shownModel()->rowCount(); ++row)
            texts << view->shownModel()->cellText(row, column);
        return texts;
    }
};

TEST_F(FilteredViewTest, SavingWithAllListsEmptyAndNoLevelCheckedSwitchesTheFilterOff)
{
    open();
    add("one");
    include("one");
    save();
    EXPECT_TRUE(child<QCheckBox>("filterBox")->isChecked());
    EXPECT_EQ(view->table()->model(), view->filteredModel());
    EXPECT_TRUE(ViewSettings::instance().filterEnabled);
    button("filterClear")->click();
    save();
    EXPECT_FALSE(child<QCheckBox>("filterBox")->isChecked());
    EXPECT_EQ(view->table()->model(), view->fullModel());
    EXPECT_FALSE(ViewSettings::instance().filterEnabled);
    EXPECT_FALSE(store->isFiltering());
    EXPECT_EQ(label("filteredLabel"), "0");
}

TEST_F(FilteredViewTest, ClearFollowedBySaveSavesEmptyLists)
{
    ViewSettings& settings = ViewSettings::instance();
    settings.filterInclude = QStringList{"in"};
    settings.filterExclude = QStringList{"out"};
    settings.levelFilterInclude = QStringList{"err"};
    settings.filterIncludeCs = true;
    open();
    button("filterClear")->click();
    save();
    EXPECT_EQ(settings.filterInclude, QStringList());
    EXPECT_EQ(settings.filterExclude, QStringList());
    EXPECT_EQ(settings.levelFilterInclude, QStringList());
    EXPECT_FALSE(settings.filterIncludeCs);
}

TEST_F(FilteredViewTest, WithIncludeErrAndIncludeCaseOffAMessageWithERRORPasses)
{
    open();
    add("an ERROR here");
    add("fine");
    include("err");
    save();
    EXPECT_EQ(shownTexts(), QStringList{"an ERROR here"});
    EXPECT_EQ(label("filteredLabel"), "1");
    EXPECT_EQ(label("countLabel"), "2");
    child<QCheckBox>("includeCase")->setChecked(true);
    save();
    EXPECT_TRUE(ViewSettings::instance().filterIncludeCs);
    EXPECT_EQ(shownTexts(), QStringList());
}

TEST_F(FilteredViewTest, ALevelListContainingErrOnlyLetsMessagesOfLevelErrThrough)
{
    open();
    for (const LogLevel level : allLogLevels)
        add(logLevelNameText(static_cast<std::uint64_t>(level)) + " message", level);
    child<QCheckBox>("level_err")->setChecked(true);
    save();
    EXPECT_EQ(shownTexts(), QStringList{"err message"});
    button("filterClear")->click();
    child<QCheckBox>("levelSelectAll")->setChecked(true);
    save();
    EXPECT_EQ(shownTexts().size(), 6);
    EXPECT_FALSE(shownTexts().contains("none message"));
}

TEST_F(FilteredViewTest, IncludeAndExcludeTogetherPassWhatMatchesTheOneAndNotTheOther)
{
    open();
    for (const char* text : {"red car", "red bus", "blue bus"})
        add(text);
    include("red");
    exclude("bus");
    save();
    EXPECT_EQ(shownTexts(), QStringList{"red car"});
}

TEST_F(FilteredViewTest, TheDialogOpensWithTheTextOfTheCurrentCell)
{
    open(nullptr, true);
    add("find me");
    view->updateView();
    view->filterDialog()->filterText()->setText("before");
    view->filterSelection();
    EXPECT_TRUE(view->filterDialog()->isVisible());
    EXPECT_EQ(view->filterDialog()->filterText()->text(), "before");
    view->table()->setCurrentIndex(view->fullModel()->index(0, columnOf("LogMessage")));
    view->filterSelection();
    EXPECT_EQ(view->filterDialog()->filterText()->text(), "find me");
}

TEST_F(FilteredViewTest, TheSavedFilterIsInForceAfterARestart)
{
    open();
    include("keep");
    save();
    view = nullptr;
    window.reset();
    store.reset();
    ViewSettings::instance().reset();
    ASSERT_TRUE(ViewSettings::instance().read());
    open();
    EXPECT_TRUE(child<QCheckBox>("filterBox")->isChecked());
    EXPECT_TRUE(store->isFiltering());
    EXPECT_EQ(view->table()->model(), view->filteredModel());
}

} // namespace
} // namespace zuLogging::test
