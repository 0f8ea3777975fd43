#include "config/TableModel.h"

#include "tests/config/ConfigTestSupport.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

const std::string twoModules =
    documentOf("warn", specialization("A", "info") + "," + specialization("B", "debug"));

QStringList rowsOfDocument(const std::string& json)
{
    return rowsOf(Document(json).table);
}

} // namespace

// Building.

TEST(TableModel, ShowsTheDefaultLevelAndEachModuleWithItsOwnLevel)
{
    EXPECT_EQ(rowsOfDocument(twoModules), textList({"default:warn", "A:info", "B:debug"}));
}

TEST(TableModel, ADocumentWithNoLevelAnywhereGivesAnEmptyTable)
{
    EXPECT_EQ(rowsOfDocument("{}"), QStringList());
    EXPECT_EQ(rowsOfDocument(R"({"parameters":{"destination":"file","file":"x"},"y":["z"]})"),
              QStringList());
    EXPECT_EQ(rowsOfDocument(R"({"specializations":[{"attributes":[{"id":"process",)"
                             R"("value":"p"}],"parameters":{}}]})"),
              QStringList());
}

TEST(TableModel, ASpecializationWhoseAttributeHasIdProcessAddsNoTableRow)
{
    EXPECT_EQ(rowsOfDocument(
                  documentOf("warn", R"({"attributes":[{"id":"process","value":"p"}],"parameters":)"
                                     R"({"level":"err"}},)" +
                                         specialization("A", "info"))),
              textList({"default:warn", "A:info"}));
}

TEST(TableModel, OneWithIdModuleButNoValueAddsARowWithAnEmptyModuleCell)
{
    EXPECT_EQ(rowsOfDocument(documentOf(
                  "warn", R"({"attributes":[{"id":"module"}],"parameters":{"level":"info"}})")),
              textList({"default:warn", "-:-"}));
}

TEST(TableModel, Row0AlwaysReadsDefaultWhateverNodeItPointsTo)
{
    // No level of its own stands before the first module: that one becomes row 0.
    Document document("{\"specializations\":[" + specialization("A", "info") + "," +
                      specialization("B", "debug") + "]}");
    EXPECT_EQ(rowsOf(document.table), textList({"default:info", "B:debug"}));
    EXPECT_EQ(document.table.rowObject(0)->module->value(), QStringLiteral("A"));
    // And so where the document's parts stand the other way round.
    EXPECT_EQ(rowsOfDocument("{\"specializations\":[" + specialization("A", "info") +
                             R"(],"parameters":{"level":"warn"}})"),
              textList({"default:info"}));
}

TEST(TableModel, TheLevelMayStandBeforeTheAttributes)
{
    const auto reversed = [](const char* module, const char* level) {
        return std::string(R"({"parameters":{"level":")") + level +
               R"("},"attributes":[{"value":"ignored"},{"id":"module","value":")" + module +
               R"("}]})";
    };
    EXPECT_EQ(rowsOfDocument(documentOf("warn", reversed("A", "info") + "," +
                                                    specialization("B", "debug") + "," +
                                                    reversed("C", "err"))),
              textList({"default:warn", "A:info", "B:debug", "C:err"}));
}

TEST(TableModel, TheLevelOfAProcessIsNotThatOfTheNextModule)
{
    // The module has no level of its own, and takes none from before it.
    EXPECT_EQ(rowsOfDocument(documentOf("warn", R"({"parameters":{"level":"err"}},)"
                                                R"({"attributes":[{"id":"module","value":"A"}]})")),
              textList({"default:warn", "A:-"}));
}

TEST(TableModel, ALevelGoesToAllRowsBeforeItThatHaveNone)
{
    EXPECT_EQ(rowsOfDocument(documentOf("warn", R"({"attributes":[{"id":"module","value":"A"},)"
                                                R"({"id":"module","value":"B"}],)"
                                                R"("parameters":{"level":"info"}})")),
              textList({"default:warn", "A:info", "B:info"}))
        << "two modules of one specialization";
    EXPECT_EQ(rowsOfDocument(documentOf("warn", R"({"attributes":[{"id":"module","value":"A"}]},)" +
                                                    specialization("B", "debug"))),
              textList({"default:warn", "A:debug", "B:debug"}));
}

TEST(TableModel, OnlyTheFirstLevelOfASpecializationCounts)
{
    EXPECT_EQ(rowsOfDocument(documentOf("warn", R"({"attributes":[{"id":"module","value":"A"}],)"
                                                R"("parameters":{"level":"info","level":"err"},)"
                                                R"("attributes":[{"id":"module","value":"B"}]},)" +
                                                    specialization("C", "debug"))),
              textList({"default:warn", "A:info", "B:debug", "C:debug"}));
}

TEST(TableModel, ASecondDefaultLevelIsNotShown)
{
    EXPECT_EQ(rowsOfDocument(R"({"parameters":{"level":"warn","level":"err"},"specializations":[)" +
                             specialization("A", "info") + "]}"),
              textList({"default:warn", "A:info"}));
}

TEST(TableModel, NestedSpecializationsHaveRowsInDocumentOrder)
{
    const std::string nested = R"(,"specializations":[)" + specialization("A1", "trace") + "," +
                               specialization("A2", "err") + "]";
    EXPECT_EQ(rowsOfDocument(documentOf("warn", specialization("A", "info", nested) + "," +
                                                    specialization("B", "debug"))),
              textList({"default:warn", "A:info", "A1:trace", "A2:err", "B:debug"}));
}

TEST(TableModel, AProcessBesideAModuleInTheSameSpecializationChangesNothing)
{
    EXPECT_EQ(rowsOfDocument(documentOf("warn",
                                        R"({"attributes":[{"id":"process","value":"p"},)"
                                        R"({"id":"module","op":"sub","value":"A"},)"
                                        R"({"id":"process","value":"q"}],)"
                                        R"("parameters":{"destination":"file","level":"info"}})")),
              textList({"default:warn", "A:info"}));
}

TEST(TableModel, AValueBeforeItsIdIsNotTheModule)
{
    EXPECT_EQ(rowsOfDocument(documentOf("warn", R"({"attributes":[{"value":"A","id":"module"}],)"
                                                R"("parameters":{"level":"info"}})")),
              textList({"default:warn", "-:-"}));
}

TEST(TableModel, BuildingAgainGivesTheSameRows)
{
    // What one build remembers must not reach into the next.
    Document document(
        documentOf("warn", specialization("A", "info") + R"(,{"attributes":[{"id":"module"}]})"));
    const QStringList rows = rowsOf(document.table);
    EXPECT_EQ(rows, textList({"default:warn", "A:info", "-:-"}));
    for (int i = 0; i < 3; ++i)
        document.tree.rebuildTable();
    EXPECT_EQ(rowsOf(document.table), rows);
}

TEST(TableModel, BuildAddsToTheRowsInAReset)
{
    Document document(twoModules);
    QSignalSpy reset(&document.table, &QAbstractItemModel::modelReset);
    document.table.build(document.node({1, 0}));
    EXPECT_EQ(reset.count(), 1);
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "A:info", "B:debug", "A:info"}));
    document.table.build(nullptr);
    EXPECT_EQ(document.table.rowCount(), 4);
}

TEST(TableModel, ClearRemovesAllRowsInAReset)
{
    Document document(twoModules);
    QSignalSpy reset(&document.table, &QAbstractItemModel::modelReset);
    document.table.clear();
    EXPECT_EQ(reset.count(), 1);
    EXPECT_EQ(document.table.rowCount(), 0);
}

TEST(TableModel, AssignLevelFillsEveryRowWithoutALevel)
{
    Document document(documentOf("warn", R"({"attributes":[{"id":"module","value":"A"}]},)"
                                         R"({"attributes":[{"id":"module","value":"B"}]})"));
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "A:-", "B:-"}));
    QSignalSpy changed(&document.table, &QAbstractItemModel::dataChanged);
    document.table.assignLevel(document.node({0, 0}));
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "A:warn", "B:warn"}));
    EXPECT_EQ(changed.count(), 1);
}

// What views ask.

TEST(TableModel, AnswersTheDisplayRoleOnly)
{
    const Document document(twoModules);
    const QModelIndex index = document.table.index(1, 0);
    EXPECT_EQ(document.table.data(index).toString(), QStringLiteral("A"));
    for (const int role : {Qt::EditRole, Qt::DecorationRole, Qt::ToolTipRole, Qt::UserRole})
        EXPECT_FALSE(document.table.data(index, role).isValid());
    EXPECT_FALSE(document.table.data(QModelIndex()).isValid());
}

TEST(TableModel, HasTwoColumnsAndNoChildren)
{
    const Document document(twoModules);
    EXPECT_EQ(document.table.columnCount(), 2);
    EXPECT_EQ(document.table.rowCount(), 3);
    const QModelIndex index = document.table.index(1, 0);
    EXPECT_EQ(document.table.columnCount(index), 0);
    EXPECT_EQ(document.table.rowCount(index), 0);
    EXPECT_FALSE(document.table.index(0, 0, index).isValid());
    EXPECT_FALSE(document.table.index(3, 0).isValid());
    EXPECT_FALSE(document.table.index(0, 2).isValid());
    EXPECT_EQ(document.table.rowObject(3), nullptr);
    EXPECT_EQ(document.table.rowObject(-1), nullptr);
}

TEST(TableModel, TheHeadersAreModuleAndLevelAndTheRowNumbers)
{
    const Document document;
    const TableModel& table = document.table;
    EXPECT_EQ(table.headerData(0, Qt::Horizontal).toString(), QStringLiteral("module"));
    EXPECT_EQ(table.headerData(1, Qt::Horizontal).toString(), QStringLiteral("level"));
    const QVariant other = table.headerData(2, Qt::Horizontal);
    EXPECT_TRUE(other.isValid());
    EXPECT_EQ(other.toString(), QString());
    EXPECT_EQ(table.headerData(0, Qt::Vertical).toInt(), 1);
    EXPECT_EQ(table.headerData(41, Qt::Vertical).toInt(), 42);
    EXPECT_FALSE(table.headerData(0, Qt::Horizontal, Qt::EditRole).isValid());
    EXPECT_FALSE(table.headerData(0, Qt::Vertical, Qt::ToolTipRole).isValid());
}

TEST(TableModel, OutOfRangeItTakesDropsOnly)
{
    Document document(twoModules);
    const QModelIndex index = document.table.index(2, 0);
    const Qt::ItemFlags flags = document.table.flags(index);
    EXPECT_TRUE(flags & Qt::ItemIsSelectable);
    EXPECT_TRUE(flags & Qt::ItemIsEnabled);
    EXPECT_FALSE(flags & Qt::ItemIsEditable);
    EXPECT_FALSE(flags & Qt::ItemIsDropEnabled);
    EXPECT_EQ(static_cast<int>(document.table.flags(QModelIndex())), 8);
    document.table.clear();
    EXPECT_EQ(static_cast<int>(document.table.flags(index)), 8);
    EXPECT_FALSE(document.table.data(index).isValid());
}

// Adding.

TEST(TableModel, ANewRowIsASiblingOfTheReferenceRowsSpecialization)
{
    Document document(twoModules);
    QSignalSpy inserted(&document.table, &QAbstractItemModel::rowsInserted);
    QSignalSpy treeInserted(&document.tree, &QAbstractItemModel::rowsInserted);
    document.table.addModuleRow(2, QStringLiteral("C"), QStringLiteral("err"));
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "A:info", "B:debug", "C:err"}));
    EXPECT_EQ(document.json(),
              documentOf("warn", specialization("A", "info") + "," + specialization("B", "debug") +
                                     "," + specialization("C", "err")));
    ASSERT_EQ(inserted.count(), 1);
    EXPECT_EQ(inserted[0][1].toInt(), 3);
    EXPECT_EQ(treeInserted.count(), 7);
    EXPECT_TRUE(document.table.isChanged());
    EXPECT_TRUE(document.tree.isChanged());
    document.tree.rebuildTable();
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "A:info", "B:debug", "C:err"}));
}

TEST(TableModel, ANewRowBesideANestedOneIsNestedThere)
{
    const std::string nested = R"(,"specializations":[)" + specialization("A1", "trace") + "]";
    Document document(documentOf("warn", specialization("A", "info", nested)));
    document.table.addModuleRow(2, QStringLiteral("N"), QStringLiteral("err"));
    EXPECT_EQ(document.json(),
              documentOf("warn",
                         specialization("A", "info",
                                        R"(,"specializations":[)" + specialization("A1", "trace") +
                                            "," + specialization("N", "err") + "]")));
    // Row 0 stands for row 1, in the outer list.
    document.table.addModuleRow(0, QStringLiteral("O"), QStringLiteral("fatal"));
    EXPECT_EQ(document.node({1})->childCount(), 2);
    EXPECT_EQ(rowsOf(document.table),
              textList({"default:warn", "A:info", "A1:trace", "N:err", "O:fatal"}));
}

TEST(TableModel, WithTheDefaultRowOnlyANewListIsMadeEvenBesideAnotherOne)
{
    Document document(R"({"parameters":{"level":"warn"}})");
    document.table.addModuleRow(0, QStringLiteral("A"), QStringLiteral("info"));
    EXPECT_EQ(document.json(), documentOf("warn", specialization("A", "info")));

    const std::string process = R"({"attributes":[{"id":"process","value":"p"}]})";
    Document other(documentOf("warn", process));
    other.table.addModuleRow(0, QStringLiteral("A"), QStringLiteral("info"));
    EXPECT_EQ(other.json(), R"({"parameters":{"level":"warn"},"specializations":[)" + process +
                                R"(],"specializations":[)" + specialization("A", "info") + "]}");
}

TEST(TableModel, ARowOutOfRangeStandsForRow0)
{
    Document document(twoModules);
    document.table.addModuleRow(-1, QStringLiteral("C"), QStringLiteral("err"));
    document.table.addModuleRow(99, QStringLiteral("D"), QStringLiteral("err"));
    EXPECT_EQ(document.tree.rowCount(), 4) << "two lists more";
    EXPECT_EQ(rowsOf(document.table).mid(3), textList({"C:err", "D:err"}));
}

TEST(TableModel, ANewRowFindsAListAlsoWhereTheReferenceHasNoLevel)
{
    Document document(documentOf("warn", R"({"attributes":[{"id":"module"}]})"));
    document.table.addModuleRow(1, QStringLiteral("C"), QStringLiteral("err"));
    EXPECT_EQ(document.node({1})->childCount(), 2);
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "-:-", "C:err"}));
}

TEST(TableModel, ANewRowInAnEmptyOrOddDocumentGoesToAListOfItsOwn)
{
    for (const char* json :
         {"{}", R"({"level":"info"})", R"({"x":{"parameters":{"level":"info"}}})",
          R"({"id":"module"})", R"([{"level":"info"}])"}) {
        Document document(json);
        const int rows = document.table.rowCount();
        document.table.addModuleRow(0, QStringLiteral("A"), QStringLiteral("err"));
        EXPECT_EQ(document.table.rowCount(), rows + 1) << json;
        const TreeNode* last = document.node({document.tree.rowCount() - 1});
        EXPECT_EQ(last->nodeKind(), TreeNode::SpecializationList) << json;
        EXPECT_EQ(last->childCount(), 1) << json;
    }
}

// Modifying.

TEST(TableModel, AModifiedRowIsAnnouncedInBothModels)
{
    Document document(twoModules);
    QSignalSpy tableChanged(&document.table, &QAbstractItemModel::dataChanged);
    QSignalSpy treeChanged(&document.tree, &QAbstractItemModel::dataChanged);
    document.table.modifyRow(2, QStringLiteral("X"), QStringLiteral("err"));
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "A:info", "X:err"}));
    EXPECT_EQ(document.json(),
              documentOf("warn", specialization("A", "info") + "," + specialization("X", "err")));
    ASSERT_EQ(tableChanged.count(), 1);
    EXPECT_EQ(tableChanged[0][0].toModelIndex(), document.table.index(2, 0));
    EXPECT_EQ(tableChanged[0][1].toModelIndex(), document.table.index(2, 1));
    EXPECT_EQ(treeChanged.count(), 2);
    EXPECT_TRUE(document.table.isChanged());
    document.table.clearChanged();
    EXPECT_FALSE(document.table.isChanged());
}

TEST(TableModel, TheDefaultRowHasALevelOnly)
{
    Document document(twoModules);
    document.table.modifyRow(0, QStringLiteral("ignored"), QStringLiteral("fatal"));
    EXPECT_EQ(rowsOf(document.table), textList({"default:fatal", "A:info", "B:debug"}));
    EXPECT_EQ(document.json(), documentOf("fatal", specialization("A", "info") + "," +
                                                       specialization("B", "debug")));
}

TEST(TableModel, ModifyingAddsTheModuleAndTheLevelThatARowDoesNotHave)
{
    Document document(documentOf("warn", R"({"attributes":[{"id":"module"}]},)"
                                         R"({"attributes":[{"id":"module","op":"eq"}],)"
                                         R"("parameters":{"file":"f"}})"));
    document.table.modifyRow(1, QStringLiteral("A"), QStringLiteral("info"));
    document.table.modifyRow(2, QStringLiteral("B"), QStringLiteral("debug"));
    const QStringList rows = textList({"default:warn", "A:info", "B:debug"});
    EXPECT_EQ(rowsOf(document.table), rows);
    EXPECT_EQ(document.json(),
              documentOf("warn", specialization("A", "info") +
                                     R"(,{"attributes":[{"id":"module","value":"B","op":"eq"}],)"
                                     R"("parameters":{"file":"f","level":"debug"}})"));
    document.tree.rebuildTable();
    EXPECT_EQ(rowsOf(document.table), rows);
}

TEST(TableModel, ModifyingRow0KeepsTheModuleThatItMayStandFor)
{
    Document document("{\"specializations\":[" + specialization("A", "info") + "," +
                      R"({"attributes":[{"id":"module"}]}]})");
    document.table.modifyRow(0, QStringLiteral("default"), QStringLiteral("fatal"));
    EXPECT_EQ(document.json(), "{\"specializations\":[" + specialization("A", "fatal") + "," +
                                   R"({"attributes":[{"id":"module"}]}]})");
    document.load(R"({"specializations":[{"attributes":[{"id":"module"}]}]})");
    document.table.modifyRow(0, QStringLiteral("default"), QStringLiteral("fatal"));
    EXPECT_EQ(document.json(), R"({"specializations":[{"attributes":[{"id":"module"}],)"
                               R"("parameters":{"level":"fatal"}}]})");
}

TEST(TableModel, ModifyingARowThatIsNotThereDoesNothing)
{
    Document document(twoModules);
    document.table.modifyRow(-1, QStringLiteral("X"), QStringLiteral("err"));
    document.table.modifyRow(3, QStringLiteral("X"), QStringLiteral("err"));
    EXPECT_EQ(document.json(), twoModules);
    EXPECT_FALSE(document.table.isChanged());
}

// Removing.

TEST(TableModel, ARemovedRowTakesItsSpecializationAlong)
{
    Document document(twoModules);
    QSignalSpy removed(&document.table, &QAbstractItemModel::rowsRemoved);
    document.table.removeModuleRow(document.table.rowObject(1));
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "B:debug"}));
    EXPECT_EQ(document.json(), documentOf("warn", specialization("B", "debug")));
    EXPECT_EQ(removed.count(), 1);
    EXPECT_TRUE(document.table.isChanged());
    EXPECT_TRUE(document.tree.isChanged());
}

TEST(TableModel, RemovingTheLastSpecializationAlsoRemovesTheThenEmptyList)
{
    Document document(twoModules);
    document.table.removeModuleRow(document.table.rowObject(2));
    document.table.removeModuleRow(document.table.rowObject(1));
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn"}));
    EXPECT_EQ(document.json(), R"({"parameters":{"level":"warn"}})");
}

TEST(TableModel, TheRowsOfNestedSpecializationsGoWithTheOuterOne)
{
    const std::string nested = R"(,"specializations":[)" + specialization("A1", "trace") + "," +
                               specialization("A2", "err") + "]";
    Document document(documentOf("warn", specialization("A", "info", nested) + "," +
                                             specialization("B", "debug")));
    QSignalSpy removed(&document.table, &QAbstractItemModel::rowsRemoved);
    document.table.removeModuleRow(document.table.rowObject(1));
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "B:debug"}));
    EXPECT_EQ(document.json(), documentOf("warn", specialization("B", "debug")));
    EXPECT_EQ(removed.count(), 3);
}

TEST(TableModel, RemovingTheLastNestedOneLeavesTheOuterOne)
{
    const std::string nested = R"(,"specializations":[)" + specialization("A1", "trace") + "]";
    Document document(documentOf("warn", specialization("A", "info", nested)));
    document.table.removeModuleRow(document.table.rowObject(2));
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "A:info"}));
    EXPECT_EQ(document.json(), documentOf("warn", specialization("A", "info")));
}

TEST(TableModel, Row0AndWhatIsNoRowAreNotRemoved)
{
    Document document(twoModules);
    TableModel::Row stranger;
    document.table.removeModuleRow(document.table.rowObject(0));
    document.table.removeModuleRow(nullptr);
    document.table.removeModuleRow(&stranger);
    EXPECT_EQ(document.json(), twoModules);
    EXPECT_EQ(document.table.rowCount(), 3);
    EXPECT_FALSE(document.table.isChanged());
}

TEST(TableModel, Row0StaysWithoutItsNodesWhenTheyGoWithAnother)
{
    // The first module has no level and shows the second one's.
    Document document(R"({"specializations":[{"attributes":[{"id":"module","value":"A"}]},)" +
                      specialization("B", "debug") + "]}");
    EXPECT_EQ(rowsOf(document.table), textList({"default:debug", "B:debug"}));
    document.table.removeModuleRow(document.table.rowObject(1));
    EXPECT_EQ(rowsOf(document.table), textList({"default:-"}));
    EXPECT_EQ(document.table.rowObject(0)->level, nullptr);
    EXPECT_EQ(document.json(),
              R"({"specializations":[{"attributes":[{"id":"module","value":"A"}]}]})");
}

TEST(TableModel, ARowThatShowsTheNextOnesLevelGoesWithIt)
{
    Document document(documentOf("warn", R"({"attributes":[{"id":"module","value":"A"}]},)" +
                                             specialization("B", "debug")));
    document.table.removeModuleRow(document.table.rowObject(2));
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn"}));
    document.tree.rebuildTable();
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "A:-"}));
}

TEST(TableModel, ARowWithoutALevelIsRemovedWithItsOwnSpecialization)
{
    Document document(documentOf("warn", specialization("A", "info") +
                                             R"(,{"attributes":[{"id":"module"}]},)"
                                             R"({"attributes":[{"id":"module","value":"C"}]})"));
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "A:info", "-:-", "C:-"}));
    document.table.removeModuleRow(document.table.rowObject(2));
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "A:info", "C:-"}));
    document.table.removeModuleRow(document.table.rowObject(2));
    EXPECT_EQ(document.json(), documentOf("warn", specialization("A", "info")));
}

TEST(TableModel, ARowThatLiesInNoSpecializationIsTakenOutOfTheTable)
{
    Document document(R"({"level":"info","id":"module","value":"A"})");
    EXPECT_EQ(rowsOf(document.table), textList({"default:info", "A:-"}));
    document.table.removeModuleRow(document.table.rowObject(1));
    EXPECT_EQ(rowsOf(document.table), textList({"default:info"}));
    EXPECT_EQ(document.tree.rowCount(), 3);
}

TEST(TableModel, AllModuleRowsCanBeRemovedFromTheLastOne)
{
    for (const std::string& json :
         {twoModules, std::string(R"({"level":"info","id":"module","value":"A"})"),
          "{\"specializations\":[" + specialization("A", "info") + "," +
              specialization("B", "debug") + R"(],"parameters":{"level":"warn"}})"}) {
        Document document(json);
        for (int limit = 10; limit > 0 && document.table.rowCount() > 1; --limit)
            document.table.removeModuleRow(document.table.rowObject(document.table.rowCount() - 1));
        EXPECT_EQ(document.table.rowCount(), 1);
    }
}

// Edits of the tree below the table.

TEST(TableModel, BetweenARemovalInTheTreeAndTheNextBuildNoCellPointsToWhatIsGone)
{
    Document document(twoModules);
    QSignalSpy changed(&document.table, &QAbstractItemModel::dataChanged);
    document.tree.removeRows(0, 1, document.index({1}));
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "-:-", "B:debug"}));
    EXPECT_EQ(changed.count(), 1);
    document.tree.removeRows(0, 1, document.index({0}));
    EXPECT_EQ(rowsOf(document.table), textList({"default:-", "-:-", "B:debug"}));
    document.tree.rebuildTable();
    EXPECT_EQ(rowsOf(document.table), textList({"default:debug"}));
}

TEST(TableModel, AnEditInTheTreeIsSeenAfterTheRebuild)
{
    Document document(twoModules);
    document.tree.setValue(document.node({1, 0, 0, 0, 0}), QStringLiteral("process"));
    document.tree.rebuildTable();
    EXPECT_EQ(rowsOf(document.table), textList({"default:warn", "B:debug"}));
}
