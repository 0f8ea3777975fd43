#include "view/SettingsDialog.h"

#include "tests/view/ViewTestSupport.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QMetaMethod>
#include <QScreen>
#include <QScrollArea>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>
#include <QWheelEvent>

#include <limits>

namespace zuLogging::test {
namespace {

using Positions = QMap<int, int>;

Positions allHidden()
{
    Positions positions;
    for (const int field : defaultColumnOrder())
        positions.insert(field, -1);
    return positions;
}

Positions allShown()
{
    Positions positions;
    for (const int field : defaultColumnOrder())
        positions.insert(field, field - 1);
    return positions;
}

class SettingsDialogTest : public ::testing::Test
{
protected:
    void SetUp() override { initTestIcons(); }
    void make(const Positions& positions, int maximum = 100000, bool lineNumbers = true)
    {
        dialog = std::make_unique<SettingsDialog>(maximum, positions, lineNumbers, nullptr);
    }
    template <class Widget>
    Widget* child(const QString& name) const
    {
        auto* widget = dialog->findChild<Widget*>(name);
        EXPECT_NE(widget, nullptr) << name.toStdString();
        return widget;
    }
    QCheckBox* box(int field) const
    {
        return child<QCheckBox>(QStringLiteral("settingsShow%1").arg(field));
    }
    QSpinBox* column(int field) const
    {
        return child<QSpinBox>(QStringLiteral("settingsColumn%1").arg(field));
    }
    QSpinBox* maximum() const { return child<QSpinBox>("settingsMaximum"); }
    QPushButton* ok() const { return child<QPushButton>("settingsOk"); }
    std::vector<int> columns(std::initializer_list<int> fields) const
    {
        std::vector<int> values;
        for (const int field : fields)
            values.push_back(column(field)->value());
        return values;
    }
    bool accepted() const { return dialog->result() == QDialog::Accepted; }

    std::unique_ptr<SettingsDialog> dialog;
    BoxAnswerer boxes;
};

using Values = std::vector<int>;
using Order = QList<int>;

TEST_F(SettingsDialogTest, TheLayoutIsAsItWasDesigned)
{
    make(allShown(), 4711, true);
    EXPECT_EQ(dialog->windowTitle(), "Settings");
    EXPECT_FALSE(dialog->windowIcon().isNull());
    EXPECT_FALSE(dialog->windowFlags() & Qt::WindowContextHelpButtonHint);
    EXPECT_TRUE(dialog->isModal());

    auto* general = child<QGroupBox>("settingsGeneral");
    EXPECT_EQ(general->title(), "General");
    auto* generalGrid = qobject_cast<QGridLayout*>(general->layout());
    ASSERT_NE(generalGrid, nullptr);
    auto* label = qobject_cast<QLabel*>(generalGrid->itemAtPosition(0, 0)->widget());
    ASSERT_NE(label, nullptr);
    EXPECT_EQ(label->text(), "Maximum log messages");
    EXPECT_EQ(generalGrid->itemAtPosition(0, 1)->widget(), maximum());
    EXPECT_EQ(maximum()->value(), 4711);

    auto* view = child<QGroupBox>("settingsView");
    EXPECT_EQ(view->title(), "View");
    auto* grid = qobject_cast<QGridLayout*>(view->layout());
    ASSERT_NE(grid, nullptr);
    const char* const headers[] = {"<b>Parameter</b>", "<b>Column</b>"};
    for (int i = 0; i < 2; ++i) {
        auto* header = qobject_cast<QLabel*>(grid->itemAtPosition(0, i)->widget());
        ASSERT_NE(header, nullptr);
        EXPECT_EQ(header->text(), QLatin1String(headers[i]));
        EXPECT_EQ(header->alignment(), Qt::AlignCenter);
    }
    auto* lineNumber = qobject_cast<QCheckBox*>(grid->itemAtPosition(1, 0)->widget());
    ASSERT_NE(lineNumber, nullptr);
    EXPECT_EQ(lineNumber->text(), "LineNumber");
    EXPECT_TRUE(lineNumber->isChecked());
    EXPECT_EQ(grid->itemAtPosition(1, 1), nullptr);

    const char* const texts[] = {"ServiceMsgID",    "SourceMsgID",    "SenderMsgID",
                                 "Timestamp",       "LogLevel [Hex]", "LogLevel [String]",
                                 "LogPos [String]", "Module",         "GroupName",
                                 "ProcessID",       "ThreadID",       "LogMessage"};
    for (int field = 1; field <= 12; ++field) {
        EXPECT_EQ(box(field)->text(), QLatin1String(texts[field - 1]));
        EXPECT_EQ(grid->itemAtPosition(field + 1, 0)->widget(), box(field));
        EXPECT_EQ(grid->itemAtPosition(field + 1, 1)->widget(), column(field));
    }
    EXPECT_EQ(ok()->text(), "OK");
    EXPECT_TRUE(ok()->isDefault());
    EXPECT_EQ(child<QPushButton>("settingsCancel")->text(), "Cancel");
}

TEST_F(SettingsDialogTest, TheSlotsAreDeclaredInTheirOrder)
{
    QList<QByteArray> slotNames;
    const QMetaObject& meta = SettingsDialog::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        if (meta.method(i).methodType() == QMetaMethod::Slot)
            slotNames << meta.method(i).methodSignature();
    EXPECT_EQ(slotNames,
              (QList<QByteArray>{"validateValues()", "checkBoxChanged(QCheckBox*,int)",
                                 "cbServiceMsgIdChanged(int)", "cbSourceMsgIdChanged(int)",
                                 "cbSenderMsgIdChanged(int)", "cbProcessIdChanged(int)",
                                 "cbThreadIdChanged(int)", "cbTimestampChanged(int)",
                                 "cbLogLevelHexChanged(int)", "cbLogLevelStringChanged(int)",
                                 "cbLogPosChanged(int)", "cbModuleNameChanged(int)",
                                 "cbGroupNameChanged(int)", "cbMessageChanged(int)"}));
}

TEST_F(SettingsDialogTest, EachSlotActsOnItsOwnFieldAndEachCheckBoxRunsItsSlot)
{
    const std::vector<std::pair<int, const char*>> slotOfField{
        {FieldServiceMsgID, "cbServiceMsgIdChanged"},
        {FieldSourceMsgID, "cbSourceMsgIdChanged"},
        {FieldSenderMsgID, "cbSenderMsgIdChanged"},
        {FieldTimestamp, "cbTimestampChanged"},
        {FieldLogLevelHex, "cbLogLevelHexChanged"},
        {FieldLogLevel, "cbLogLevelStringChanged"},
        {FieldLogPos, "cbLogPosChanged"},
        {FieldModule, "cbModuleNameChanged"},
        {FieldGroupName, "cbGroupNameChanged"},
        {FieldProcessID, "cbProcessIdChanged"},
        {FieldThreadID, "cbThreadIdChanged"},
        {FieldLogMessage, "cbMessageChanged"}};
    for (const auto& [field, slot] : slotOfField) {
        for (const bool directly : {true, false}) {
            make(allHidden());
            if (directly)
                EXPECT_TRUE(QMetaObject::invokeMethod(dialog.get(), slot, Q_ARG(int, 2))) << slot;
            else
                box(field)->setChecked(true);
            for (int other = 1; other <= 12; ++other)
                EXPECT_EQ(column(other)->value(), other == field ? 1 : 0) << slot;
        }
    }
}

TEST_F(SettingsDialogTest, StartsWithTheColumnsAsTheyAre)
{
    Positions positions = allHidden();
    positions[FieldLogMessage] = 0;
    positions[FieldModule] = 1;
    positions[FieldTimestamp] = 2;
    make(positions, 5, false);
    EXPECT_EQ(columns({FieldTimestamp, FieldModule, FieldLogMessage}), (Values{3, 2, 1}));
    for (int field = 1; field <= 12; ++field) {
        const bool shown = positions[field] >= 0;
        EXPECT_EQ(box(field)->isChecked(), shown);
        EXPECT_EQ(column(field)->isEnabled(), shown);
        EXPECT_EQ(column(field)->value() > 0, shown);
    }
    EXPECT_EQ(dialog->maximumMessages(), 5);
    EXPECT_FALSE(dialog->showLineNumbers());
    ok()->click();
    EXPECT_TRUE(accepted());
    EXPECT_EQ(dialog->resultOrder(), (Order{FieldLogMessage, FieldModule, FieldTimestamp}));
}

TEST_F(SettingsDialogTest, AFieldOutsideOneToTwelveGetsNoRow)
{
    make({{-3, 0}, {0, 1}, {13, 2}, {FieldModule, 3}, {4711, 0}});
    EXPECT_EQ(dialog->findChildren<QCheckBox*>().size(), 2) << "the line numbers' and the module's";
    EXPECT_EQ(dialog->findChildren<QSpinBox*>().size(), 2);
    dialog->cbTimestampChanged(Qt::Checked);
    QCheckBox foreign;
    dialog->checkBoxChanged(&foreign, Qt::Checked);
    ok()->click();
    EXPECT_EQ(dialog->resultOrder(), Order{FieldModule});
}

TEST_F(SettingsDialogTest, UncheckingEveryFieldAndPressingOkAcceptsWithAnEmptyOrder)
{
    make(allShown());
    for (int field = 1; field <= 12; ++field)
        box(field)->setChecked(false);
    ok()->click();
    EXPECT_TRUE(accepted());
    EXPECT_TRUE(dialog->resultOrder().isEmpty());
}

TEST_F(SettingsDialogTest, UncheckingTheFieldInColumn2Of4TurnsTheFormerColumns3And4Into2And3)
{
    make({{1, 0}, {2, 1}, {3, 2}, {4, 3}});
    box(2)->setChecked(false);
    EXPECT_EQ(columns({1, 2, 3, 4}), (Values{1, 0, 2, 3}));
    EXPECT_FALSE(column(2)->isEnabled());
    EXPECT_EQ(column(1)->maximum(), 4) << "the range stays";
    ok()->click();
    EXPECT_EQ(dialog->resultOrder(), (Order{1, 3, 4}));
}

TEST_F(SettingsDialogTest, ACheckedFieldBecomesTheLastColumn)
{
    make({{1, 1}, {2, -1}, {3, 0}, {4, -1}});
    box(4)->setChecked(true);
    EXPECT_EQ(columns({1, 2, 3, 4}), (Values{2, 0, 1, 3}));
    EXPECT_TRUE(column(4)->isEnabled());
    for (int field = 1; field <= 4; ++field) {
        EXPECT_EQ(column(field)->minimum(), 0);
        EXPECT_EQ(column(field)->maximum(), 3);
    }
    box(2)->setChecked(true);
    EXPECT_EQ(columns({1, 2, 3, 4}), (Values{2, 4, 1, 3}));
    ok()->click();
    EXPECT_EQ(dialog->resultOrder(), (Order{3, 1, 4, 2}));
}

TEST_F(SettingsDialogTest, UncheckingOneOfTwoFieldsWithTheSameNumberLeavesTheOthers)
{
    make({{1, 0}, {2, 1}, {3, 2}});
    column(1)->setValue(2);
    box(2)->setChecked(false);
    EXPECT_EQ(columns({1, 2, 3}), (Values{2, 0, 2}));
}

TEST_F(SettingsDialogTest, UncheckingAFieldWhoseNumberWasSetToZeroMovesAllOthersUp)
{
    make({{1, 0}, {2, 1}, {3, 2}});
    column(3)->setValue(0);
    box(3)->setChecked(false);
    EXPECT_EQ(columns({1, 2, 3}), (Values{0, 1, 0}));
}

TEST_F(SettingsDialogTest, TwoFieldsBothSetToColumn3AreRefusedAndKeepTheDialogOpen)
{
    make({{1, 0}, {2, 1}, {3, 2}, {4, 3}, {5, -1}, {6, -1}});
    dialog->show();
    maximum()->setValue(77);
    column(1)->setValue(3);
    ok()->click();
    ASSERT_EQ(boxes.seen.size(), 1U);
    EXPECT_EQ(boxes.seen[0].icon, QMessageBox::Warning);
    EXPECT_EQ(boxes.seen[0].title, "Settings");
    EXPECT_EQ(boxes.seen[0].text, "Duplicate columns are not allowed.");
    EXPECT_TRUE(dialog->isVisible());
    EXPECT_FALSE(accepted());
    EXPECT_EQ(columns({1, 2, 3, 4, 5, 6}), (Values{3, 2, 3, 4, 0, 0}));
    EXPECT_EQ(maximum()->value(), 77);
    EXPECT_TRUE(dialog->resultOrder().isEmpty());
    EXPECT_EQ(dialog->focusWidget(), column(3)) << "where it can be put right";
    column(3)->setValue(1);
    ok()->click();
    EXPECT_EQ(boxes.seen.size(), 1U);
    EXPECT_TRUE(accepted());
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_EQ(dialog->resultOrder(), (Order{3, 2, 1, 4}));
}

TEST_F(SettingsDialogTest, TwoHiddenFieldsAreNotDuplicates)
{
    make({{1, 0}, {2, -1}, {3, -1}});
    ok()->click();
    EXPECT_TRUE(boxes.seen.empty());
    EXPECT_TRUE(accepted());
    EXPECT_EQ(dialog->resultOrder(), Order{1});
}

TEST_F(SettingsDialogTest, TheMaximumCanBeSetFrom0To100000000)
{
    make(allShown());
    EXPECT_EQ(maximum()->minimum(), 0);
    EXPECT_EQ(maximum()->maximum(), 100000000);
    for (const int value : {0, 100000000}) {
        maximum()->setValue(value);
        EXPECT_EQ(dialog->maximumMessages(), value);
    }
    maximum()->setValue(-1);
    EXPECT_EQ(dialog->maximumMessages(), 0);
}

TEST_F(SettingsDialogTest, AGapInTheNumbersGivesFieldZeroThere)
{
    make({{1, 0}, {2, 1}, {3, 2}});
    column(2)->setValue(0);
    ok()->click();
    EXPECT_TRUE(accepted());
    EXPECT_EQ(dialog->resultOrder(), (Order{1, 0, 3}));
    // A number beyond the count of the shown fields names no column either.
    make({{1, 0}, {2, 1}, {3, 2}});
    box(1)->setChecked(false);
    column(3)->setValue(3);
    ok()->click();
    EXPECT_EQ(dialog->resultOrder(), (Order{2, 0}));
}

TEST_F(SettingsDialogTest, PositionsWithGapsDoublesOrOutOfRangeDoNoHarm)
{
    const int high = std::numeric_limits<int>::max();
    const int low = std::numeric_limits<int>::min();
    make({{1, 0}, {2, 7}, {3, low}});
    EXPECT_EQ(columns({1, 2, 3}), (Values{1, 2, 0}));
    ok()->click();
    EXPECT_EQ(dialog->resultOrder(), (Order{1, 2}));
    make({{1, high}, {2, 0}, {3, -1}});
    EXPECT_EQ(columns({1, 2, 3}), (Values{2, 1, 0}));
    ok()->click();
    EXPECT_EQ(dialog->resultOrder(), (Order{2, 1}));
    EXPECT_TRUE(boxes.seen.empty());
    make({{1, 1}, {2, 1}, {3, 1}});
    EXPECT_EQ(columns({1, 2, 3}), (Values{2, 2, 2}));
    ok()->click();
    EXPECT_EQ(boxes.seen.size(), 1U);
    EXPECT_FALSE(accepted());
    make({});
    ok()->click();
    EXPECT_TRUE(accepted());
    EXPECT_TRUE(dialog->resultOrder().isEmpty());
    make(allShown(), -5);
    EXPECT_EQ(dialog->maximumMessages(), 0);
}

TEST_F(SettingsDialogTest, TheButtonsActWhenTheyArePressed)
{
    make(allShown());
    dialog->show();
    QTest::mousePress(child<QPushButton>("settingsCancel"), Qt::LeftButton);
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_FALSE(accepted());
    EXPECT_TRUE(dialog->resultOrder().isEmpty());
    make(allShown());
    dialog->show();
    QTest::mousePress(ok(), Qt::LeftButton);
    EXPECT_FALSE(dialog->isVisible());
    EXPECT_TRUE(accepted());
    EXPECT_EQ(dialog->resultOrder(), defaultColumnOrder());
}

TEST_F(SettingsDialogTest, AfterTheWarningOkIsNotLeftPressed)
{
    make({{1, 0}, {2, 1}});
    dialog->show();
    column(1)->setValue(2);
    QTest::mousePress(ok(), Qt::LeftButton); // the release goes to the warning
    EXPECT_EQ(boxes.seen.size(), 1U);
    EXPECT_FALSE(ok()->isDown());
    column(2)->setValue(1);
    QTest::mousePress(ok(), Qt::LeftButton);
    EXPECT_TRUE(accepted());
}

TEST_F(SettingsDialogTest, EscapeAndTheWindowsCloseButtonCancel)
{
    for (const bool escape : {true, false}) {
        make(allShown());
        dialog->show();
        QSignalSpy rejected(dialog.get(), SIGNAL(rejected()));
        if (escape)
            QTest::keyClick(dialog.get(), Qt::Key_Escape);
        else
            dialog->close();
        EXPECT_FALSE(dialog->isVisible());
        EXPECT_EQ(rejected.count(), 1);
        EXPECT_FALSE(accepted());
    }
}

TEST_F(SettingsDialogTest, ItIsWholeOnALowScreenAndTheFocusScrollsItsRowIntoView)
{
    make(allShown());
    EXPECT_LT(dialog->height(), QGuiApplication::primaryScreen()->availableGeometry().height());
    dialog->show();
    dialog->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(dialog.get()));
    dialog->resize(640, 400);
    ASSERT_TRUE(waitFor([&] { return dialog->size() == QSize(640, 400); }));
    EXPECT_TRUE(dialog->rect().contains(ok()->geometry()));
    auto* scroller = dialog->findChild<QScrollArea*>();
    ASSERT_NE(scroller, nullptr);
    const auto whole = [&](QWidget* widget) {
        const QPoint corner = widget->mapTo(dialog.get(), QPoint());
        return scroller->geometry().contains(QRect(corner, widget->size()));
    };
    EXPECT_FALSE(whole(column(12)));
    for (int i = 0; i < 30 && dialog->focusWidget() != column(12); ++i)
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Tab);
    EXPECT_EQ(dialog->focusWidget(), column(12));
    EXPECT_TRUE(whole(column(12)));
}

TEST_F(SettingsDialogTest, TheWheelOverANumberChangesItOnlyWhenItHasTheFocus)
{
    make(allShown());
    dialog->show();
    dialog->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(dialog.get()));
    const auto turnDown = [&](QSpinBox* target) {
        QWheelEvent event(QPointF(5, 5), target->mapToGlobal(QPoint(5, 5)), QPoint(),
                          QPoint(0, -120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(target, &event);
    };
    turnDown(column(2));
    EXPECT_EQ(column(2)->value(), 2);
    column(2)->setFocus();
    turnDown(column(2));
    EXPECT_EQ(column(2)->value(), 1);
}

} // namespace
} // namespace zuLogging::test
