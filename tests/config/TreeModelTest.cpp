#include "config/TreeModel.h"

#include "tests/config/ConfigTestSupport.h"

#include <QIcon>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include <boost/property_tree/exceptions.hpp>

#include <random>

using namespace zuLogging;
using namespace zuLogging::test;

// The icons are in a static library, which has to be told that they are wanted.
static void registerIcons()
{
    Q_INIT_RESOURCE(logdesk);
}

namespace {

const std::string sample = R"({"parameters":{"level":"warn","destination":"logsvc"},)"
                           R"("specializations":[{"#":"first","attributes":[{"id":"module",)"
                           R"("value":"A","op":"eq"}],"parameters":{"level":"info"}}]})";

// Where the parts of the sample are.
const std::vector<int> parameters{0};
const std::vector<int> level{0, 0};
const std::vector<int> list{1};
const std::vector<int> element{1, 0};
const std::vector<int> comment{1, 0, 0};
const std::vector<int> attributes{1, 0, 1};
const std::vector<int> attribute{1, 0, 1, 0};
const std::vector<int> value{1, 0, 1, 0, 1};

std::string saved(const std::string& json)
{
    return Document(json).json();
}

} // namespace

// Document to nodes.

TEST(TreeModel, IsEmptyAtFirst)
{
    Document document;
    EXPECT_EQ(document.tree.rowCount(), 0);
    EXPECT_EQ(document.tree.columnCount(), 2);
    EXPECT_FALSE(document.tree.isChanged());
    EXPECT_EQ(document.json(), "{}");
}

TEST(TreeModel, MirrorsTheDocumentNodeForNodeInItsOrder)
{
    const Document document(sample);
    const QStringList expected{"parameters=",      " level=warn", " destination=logsvc",
                               "specializations=", " +=",         "  #=first",
                               "  attributes=",    "   +=",       "    id=module",
                               "    value=A",      "    op=eq",   "  parameters=",
                               "   level=info"};
    EXPECT_EQ(dumpOf(document.tree.root()), expected);
}

TEST(TreeModel, AnArrayElementThatIsAnObjectIsAPlus)
{
    const Document document(R"({"x":[{"a":"1"},"text",{},"",["y"]],"":"named nothing"})");
    const QStringList expected{
        "x=", " +=", "  a=1", " =text", " +=", " +=", " +=", "  =y", "=named nothing"};
    EXPECT_EQ(dumpOf(document.tree.root()), expected);
}

TEST(TreeModel, EveryValueIsAString)
{
    const Document document(R"({"n":1.50,"t":true,"f":false,"z":null,"l":[],"o":{}})");
    EXPECT_EQ(dumpOf(document.tree.root()),
              QStringList({"n=1.50", "t=true", "f=false", "z=null", "l=", "o="}));
    EXPECT_EQ(document.json(), R"({"n":"1.50","t":"true","f":"false","z":"null","l":"","o":""})");
}

TEST(TreeModel, TextsAreUnicode)
{
    const Document document("{\"Gr\xC3\xB6\xC3\x9F"
                            "e\":\"\xF0\x9F\x8C\x8D \\u20ac \\u0000.\"}");
    EXPECT_EQ(document.node({0})->key(), QString::fromUtf8("Gr\xC3\xB6\xC3\x9F"
                                                           "e"));
    EXPECT_EQ(document.node({0})->value(),
              QString::fromUtf8("\xF0\x9F\x8C\x8D \xE2\x82\xAC ") + QChar(0) + QLatin1Char('.'));
    EXPECT_EQ(document.json(), "{\"Gr\xC3\xB6\xC3\x9F"
                               "e\":\"\xF0\x9F\x8C\x8D \xE2\x82\xAC "
                               "\\u0000.\"}");
}

TEST(TreeModel, ATextThatIsNoUtf8SpoilsNothingElse)
{
    Document document;
    PropertyTree tree;
    tree.push_back({"before", PropertyTree("1")});
    tree.push_back({"bad", PropertyTree("a\xED\xA0\x80\xFF"
                                        "b")});
    tree.push_back({"after", PropertyTree("2")});
    document.tree.setupModelData(tree, &document.table);
    EXPECT_EQ(document.node({0})->value(), QStringLiteral("1"));
    EXPECT_TRUE(document.node({1})->value().startsWith(QLatin1Char('a')));
    EXPECT_TRUE(document.node({1})->value().contains(QChar(0xFFFD)));
    EXPECT_TRUE(document.node({1})->value().endsWith(QLatin1Char('b')));
    EXPECT_EQ(document.node({2})->value(), QStringLiteral("2"));
    EXPECT_NO_THROW(readPropertyTree(document.json()));
}

TEST(TreeModel, HalfOfASurrogatePairIsSavedAsReadableJson)
{
    Document document(R"({"a":"x"})");
    document.tree.setValue(document.node({0}), QString(QChar(0xD800)) + QLatin1Char('!'));
    EXPECT_NO_THROW(readPropertyTree(document.json()));
}

TEST(TreeModel, SetupReplacesWhatWasThereInAReset)
{
    Document document(sample);
    QSignalSpy reset(&document.tree, &QAbstractItemModel::modelReset);
    document.load(R"({"only":"one"})");
    EXPECT_EQ(reset.count(), 1);
    EXPECT_EQ(dumpOf(document.tree.root()), QStringList("only=one"));
    EXPECT_EQ(document.table.rowCount(), 0);
}

TEST(TreeModel, SetupWithoutATableIsPossible)
{
    TreeModel tree;
    tree.setupModelData(readPropertyTree(sample), nullptr);
    EXPECT_EQ(tree.rowCount(), 2);
    tree.rebuildTable();
    EXPECT_TRUE(tree.removeRows(0, 1));
}

// Nodes to document.

TEST(TreeModel, ConvertsBackToTheSameDocument)
{
    EXPECT_EQ(saved(sample), sample);
}

TEST(TreeModel, TheHeaderIsNoValueOfTheDocument)
{
    Document document(sample);
    PropertyTree target;
    document.tree.toPropertyTree(document.tree.root(), target);
    EXPECT_EQ(target.data(), "");
    EXPECT_EQ(target.size(), 2U);
}

TEST(TreeModel, ANodeIsAppendedUnderItsKeyOrAsAnArrayElement)
{
    const Document document(R"({"a.b":{"c":"1"}})");
    PropertyTree target;
    document.tree.toPropertyTree(document.node({0}), target);
    document.tree.toPropertyTree(document.node({0}), target, true);
    ASSERT_EQ(target.size(), 2U);
    EXPECT_EQ(target.front().first, "a.b");
    EXPECT_EQ(target.back().first, "");
    EXPECT_EQ(target.back().second.front().first, "c");
    EXPECT_EQ(target.back().second.front().second.data(), "1");
}

TEST(TreeModel, KeysWithDotsEmptyKeysAndDoubledKeysStay)
{
    for (const char* json : {R"({"a.b.c":"1",".":"2","..":{"x.":"3"}})", R"({"":"1","a":"2"})",
                             R"({"a":"1","a":"2","a":{"b":"3","b":"4"}})"})
        EXPECT_EQ(saved(json), json);
}

TEST(TreeModel, ALeafChildOfAListIsWrittenAsAnArrayElement)
{
    Document document(R"({"attributes":"","specializations":""})");
    document.tree.insertNode(0, QStringLiteral("id"), QString(), document.node({0}));
    document.tree.insertNode(0, QStringLiteral("x"), QStringLiteral("y"), document.node({1}));
    EXPECT_EQ(document.json(), R"({"attributes":[""],"specializations":["y"]})");
}

TEST(TreeModel, APlusUnderAnotherParentBecomesAMember)
{
    EXPECT_EQ(saved(R"({"x":[{"a":"1"},{"a":"2"}]})"), R"({"x":{"+":{"a":"1"},"+":{"a":"2"}}})");
    EXPECT_EQ(saved(R"({"x":["a","b"]})"), R"({"x":["a","b"]})");
}

TEST(TreeModel, AnObjectWhoseKeysAreAllEmptyIsAList)
{
    EXPECT_EQ(saved(R"({"x":{"":"1"}})"), R"({"x":["1"]})");
}

TEST(TreeModel, ACommentInAListKeepsItsKey)
{
    EXPECT_EQ(saved(R"({"specializations":{"#":"note","+":{"#":"in"}}})"),
              R"({"specializations":{"#":"note","":{"#":"in"}}})");
}

TEST(TreeModel, AMemberOfAListLosesItsKey)
{
    EXPECT_EQ(saved(R"({"attributes":{"a":{"id":"module"},"b":"1"}})"),
              R"({"attributes":[{"id":"module"},"1"]})");
}

TEST(TreeModel, ANodeWithAValueAndMembersHasNoJsonForm)
{
    Document document(R"({"#":{"a":"1"}})");
    EXPECT_EQ(document.json(), R"({"#":{"a":"1"}})");
    document.tree.setValue(document.node({0}), QStringLiteral("text"));
    EXPECT_THROW(document.json(), boost::property_tree::ptree_error);
}

TEST(TreeModel, DocumentsOf64LevelsAndOfTheDeepestNestingStay)
{
    for (const int depth : {64, maximumJsonDepth / 2 - 1}) {
        std::string json = R"({"parameters":{"level":"info"}})";
        for (int i = 0; i < depth; ++i)
            json = R"({"specializations":[)" + json + "]}";
        // Without the tester, which walks through the whole tree for each signal.
        TreeModel tree;
        TableModel table(&tree);
        tree.setupModelData(readPropertyTree(json), &table);
        PropertyTree target;
        tree.toPropertyTree(tree.root(), target);
        EXPECT_EQ(writePropertyTree(target, JsonForm::Compact), json);
        EXPECT_EQ(table.rowCount(), 1);
    }
}

// What views ask.

TEST(TreeModel, IndexesPointToTheChildNodes)
{
    const Document document(sample);
    const QModelIndex first = document.tree.index(0, 0);
    EXPECT_EQ(first.internalPointer(), document.node({0}));
    EXPECT_EQ(document.tree.index(1, 1, first).internalPointer(), document.node({0, 1}));
    EXPECT_FALSE(document.tree.index(2, 0).isValid());
    EXPECT_FALSE(document.tree.index(-1, 0).isValid());
    EXPECT_FALSE(document.tree.index(0, 2).isValid());
    EXPECT_FALSE(document.tree.index(0, -1).isValid());
}

TEST(TreeModel, OnlyTheFirstColumnHasChildren)
{
    const Document document(sample);
    const QModelIndex second = document.index(parameters, 1);
    ASSERT_TRUE(second.isValid());
    EXPECT_FALSE(document.tree.index(0, 0, second).isValid());
    EXPECT_EQ(document.tree.rowCount(second), 0);
    EXPECT_EQ(document.tree.rowCount(document.index(parameters)), 2);
}

TEST(TreeModel, TheParentOfAnIndexIsInTheFirstColumn)
{
    const Document document(sample);
    EXPECT_FALSE(document.tree.parent(document.index(list)).isValid());
    EXPECT_FALSE(document.tree.parent(QModelIndex()).isValid());
    EXPECT_EQ(document.tree.parent(document.index(value, 1)), document.index(attribute));
    EXPECT_EQ(document.tree.parent(document.index(element)), document.index(list));
}

TEST(TreeModel, NodeAndIndexAreEachOthersInverse)
{
    const Document document(sample);
    EXPECT_EQ(document.tree.nodeOf({}), document.tree.root());
    EXPECT_FALSE(document.tree.indexOf(document.tree.root()).isValid());
    EXPECT_FALSE(document.tree.indexOf(nullptr).isValid());
    const QModelIndex index = document.index(value, 1);
    EXPECT_EQ(index.row(), 1);
    EXPECT_EQ(index.column(), 1);
    EXPECT_EQ(document.tree.nodeOf(index), document.node(value));
}

TEST(TreeModel, AnswersDisplayDecorationAndEditOnly)
{
    const Document document(sample);
    const QModelIndex key = document.index(level);
    const QModelIndex text = document.index(level, 1);
    for (const int role : {Qt::DisplayRole, Qt::EditRole}) {
        EXPECT_EQ(document.tree.data(key, role).toString(), QStringLiteral("level"));
        EXPECT_EQ(document.tree.data(text, role).toString(), QStringLiteral("warn"));
    }
    EXPECT_EQ(document.tree.data(text, Qt::DecorationRole).toString(), QStringLiteral("warn"));
    for (const int role : {Qt::ToolTipRole, Qt::StatusTipRole, Qt::FontRole, Qt::CheckStateRole,
                           Qt::SizeHintRole, Qt::UserRole})
        EXPECT_FALSE(document.tree.data(key, role).isValid()) << role;
    EXPECT_FALSE(document.tree.data(QModelIndex()).isValid());
}

TEST(TreeModel, OnlyTheThreeSetsHaveIconsAndEachItsOwn)
{
    registerIcons();
    const Document document(sample);
    const auto image = [&](const std::vector<int>& rows) {
        return document.tree.data(document.index(rows), Qt::DecorationRole)
            .value<QIcon>()
            .pixmap(16)
            .toImage();
    };
    const auto file = [](const char* name) {
        const QImage icon = QIcon(QLatin1String(name)).pixmap(16).toImage();
        EXPECT_FALSE(icon.isNull()) << name;
        return icon;
    };
    EXPECT_EQ(image(attributes), file(":/arrowYellow.png"));
    EXPECT_EQ(image(parameters), file(":/arrowGreen.png"));
    EXPECT_EQ(image(list), file(":/arrowBlue.png"));
    EXPECT_NE(image(list), image(parameters));
    EXPECT_NE(image(list), image(attributes));
    for (const auto& rows : {level, element, comment, attribute, value}) {
        const QVariant icon = document.tree.data(document.index(rows), Qt::DecorationRole);
        EXPECT_EQ(icon.type(), QVariant::Icon);
        EXPECT_TRUE(icon.value<QIcon>().isNull());
    }
}

TEST(TreeModel, ThePlusNodesAndTheListNodesAreNotEditableACommentIs)
{
    const Document document(sample);
    const Qt::ItemFlags usual = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
    for (const int column : {0, 1}) {
        for (const auto& rows : {parameters, level, list, element, attributes, attribute, value})
            EXPECT_EQ(document.tree.flags(document.index(rows, column)), usual);
        EXPECT_EQ(document.tree.flags(document.index(comment, column)), usual | Qt::ItemIsEditable);
    }
    EXPECT_EQ(document.tree.flags({}), Qt::NoItemFlags);
}

TEST(TreeModel, TheHeaderIsHorizontal)
{
    Document document;
    TreeModel& tree = document.tree;
    EXPECT_EQ(tree.headerData(0, Qt::Horizontal).toString(), QStringLiteral("Parameter"));
    EXPECT_EQ(tree.headerData(1, Qt::Horizontal).toString(), QStringLiteral("Value"));
    EXPECT_FALSE(tree.headerData(2, Qt::Horizontal).isValid());
    EXPECT_FALSE(tree.headerData(0, Qt::Vertical).isValid());
    EXPECT_FALSE(tree.headerData(0, Qt::Horizontal, Qt::EditRole).isValid());
}

TEST(TreeModel, TheHeaderIsChangedByTheEditRoleWithinItsSections)
{
    Document document;
    TreeModel& tree = document.tree;
    qRegisterMetaType<Qt::Orientation>();
    QSignalSpy changed(&tree, &QAbstractItemModel::headerDataChanged);
    EXPECT_FALSE(tree.setHeaderData(0, Qt::Vertical, 1));
    EXPECT_FALSE(tree.setHeaderData(0, Qt::Horizontal, 1, Qt::DisplayRole));
    EXPECT_FALSE(tree.setHeaderData(2, Qt::Horizontal, 1));
    EXPECT_FALSE(tree.setHeaderData(-1, Qt::Horizontal, 1));
    EXPECT_EQ(changed.count(), 0);
    EXPECT_TRUE(tree.setHeaderData(1, Qt::Horizontal, QStringLiteral("Text")));
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed[0][1].toInt(), 1);
    EXPECT_EQ(changed[0][2].toInt(), 1);
    EXPECT_EQ(tree.headerData(1, Qt::Horizontal).toString(), QStringLiteral("Text"));
}

// Edits.

TEST(TreeModel, SetDataTakesTheEditRoleOnlyAndAnnouncesTheCell)
{
    Document document(sample);
    QSignalSpy changed(&document.tree, &QAbstractItemModel::dataChanged);
    const QModelIndex index = document.index(comment, 1);
    EXPECT_FALSE(document.tree.setData(index, QStringLiteral("x"), Qt::DisplayRole));
    EXPECT_FALSE(document.tree.setData({}, QStringLiteral("x")));
    EXPECT_EQ(changed.count(), 0);
    EXPECT_FALSE(document.tree.isChanged());
    EXPECT_TRUE(document.tree.setData(index, QStringLiteral("x")));
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex(), index);
    EXPECT_EQ(changed[0][1].toModelIndex(), index);
    EXPECT_EQ(document.node(comment)->value(), QStringLiteral("x"));
    EXPECT_TRUE(document.tree.isChanged());
}

TEST(TreeModel, SetValueAnnouncesTheValueAndOnlyAChange)
{
    Document document(sample);
    QSignalSpy changed(&document.tree, &QAbstractItemModel::dataChanged);
    document.tree.setValue(document.node(level), QStringLiteral("warn"));
    document.tree.setValue(nullptr, QStringLiteral("x"));
    document.tree.setValue(document.tree.root(), QStringLiteral("x"));
    EXPECT_EQ(changed.count(), 0);
    EXPECT_FALSE(document.tree.isChanged());
    document.tree.setValue(document.node(level), QStringLiteral("debug"));
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex(), document.index(level, 1));
    EXPECT_EQ(document.tree.data(document.index(level, 1)).toString(), QStringLiteral("debug"));
}

TEST(TreeModel, InsertedRowsAreAnnouncedAndEmpty)
{
    Document document(sample);
    QSignalSpy inserted(&document.tree, &QAbstractItemModel::rowsInserted);
    EXPECT_TRUE(document.tree.insertRows(1, 2, document.index(parameters)));
    ASSERT_EQ(inserted.count(), 1);
    EXPECT_EQ(inserted[0][0].toModelIndex(), document.index(parameters));
    EXPECT_EQ(inserted[0][1].toInt(), 1);
    EXPECT_EQ(inserted[0][2].toInt(), 2);
    EXPECT_EQ(document.node({0, 1})->columnCount(), 2);
    EXPECT_EQ(document.node({0, 1})->key(), QString());
    EXPECT_EQ(document.node({0, 3})->key(), QStringLiteral("destination"));
    EXPECT_TRUE(document.tree.isChanged());
    EXPECT_TRUE(document.tree.insertRows(2, 1)) << "at the end of the document";
}

TEST(TreeModel, RemovedRowsAreAnnouncedAndGone)
{
    Document document(sample);
    QSignalSpy removed(&document.tree, &QAbstractItemModel::rowsRemoved);
    EXPECT_TRUE(document.tree.removeRows(0, 2, document.index(parameters)));
    ASSERT_EQ(removed.count(), 1);
    EXPECT_EQ(document.tree.rowCount(document.index(parameters)), 0);
    EXPECT_TRUE(document.tree.isChanged());
    EXPECT_TRUE(document.tree.removeRows(0, 2));
    EXPECT_EQ(document.tree.rowCount(), 0);
}

TEST(TreeModel, RowsOutOfRangeAreRefusedAndNotAnnounced)
{
    Document document(sample);
    QSignalSpy insert(&document.tree, &QAbstractItemModel::rowsAboutToBeInserted);
    QSignalSpy remove(&document.tree, &QAbstractItemModel::rowsAboutToBeRemoved);
    EXPECT_FALSE(document.tree.insertRows(-1, 1));
    EXPECT_FALSE(document.tree.insertRows(3, 1));
    EXPECT_FALSE(document.tree.insertRows(0, 0));
    EXPECT_FALSE(document.tree.removeRows(-1, 1));
    EXPECT_FALSE(document.tree.removeRows(1, 2));
    EXPECT_FALSE(document.tree.removeRows(0, 0));
    EXPECT_FALSE(document.tree.removeRows(1, 0x7FFFFFFF));
    EXPECT_EQ(document.tree.insertNode(3, QString(), QString(), document.tree.root()), nullptr);
    EXPECT_EQ(document.tree.insertNode(-1, QString(), QString(), document.tree.root()), nullptr);
    EXPECT_EQ(document.tree.insertNode(0, QString(), QString(), nullptr), nullptr);
    EXPECT_EQ(insert.count(), 0);
    EXPECT_EQ(remove.count(), 0);
    EXPECT_EQ(document.json(), sample);
    EXPECT_FALSE(document.tree.isChanged());
}

TEST(TreeModel, AnInsertedNodeIsAnnouncedWithItsKeyAndValue)
{
    Document document(sample);
    QString keySeen;
    QObject::connect(&document.tree, &QAbstractItemModel::rowsInserted,
                     [&](const QModelIndex& parent, int first, int) {
                         keySeen = document.tree.index(first, 0, parent).data().toString();
                     });
    TreeNode* node = document.tree.insertNode(2, QStringLiteral("file"), QStringLiteral("a.log"),
                                              document.node(parameters));
    ASSERT_EQ(node, document.node({0, 2}));
    EXPECT_EQ(keySeen, QStringLiteral("file"));
    EXPECT_EQ(node->value(), QStringLiteral("a.log"));
    EXPECT_TRUE(document.tree.isChanged());
}

TEST(TreeModel, TheTesterStaysSilentThroughRandomEdits)
{
    Document document(
        documentOf("info", specialization("A", "warn") + "," + specialization("B", "err")));
    const std::vector<const char*> keys{"parameters", "specializations", "attributes", "+",   "#",
                                        "id",         "value",           "level",      "x.y", ""};
    std::mt19937 random(7);
    const auto below = [&](int limit) {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    for (int step = 0; step < 300; ++step) {
        TreeNode* node = document.tree.root();
        while (node->childCount() > 0 && below(4) != 0)
            node = node->child(below(node->childCount()));
        const QModelIndex parent = document.tree.indexOf(node);
        switch (below(6)) {
        case 0:
            document.tree.insertRows(below(node->childCount() + 1), 1 + below(2), parent);
            break;
        case 1:
            if (node->childCount() > 0)
                document.tree.removeRows(below(node->childCount()), 1, parent);
            break;
        case 2:
            document.tree.setValue(node, QString::number(step));
            break;
        case 3:
            document.tree.rebuildTable();
            break;
        default:
            document.tree.insertNode(below(node->childCount() + 1),
                                     QLatin1String(keys[random() % keys.size()]),
                                     QStringLiteral("module"), node);
            break;
        }
        rowsOf(document.table);
    }
    document.load(sample);
    EXPECT_EQ(document.json(), sample);
}
