#include "config/TreeNode.h"

#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

using namespace zuLogging;

namespace {

TreeNode makeRoot()
{
    return TreeNode({QStringLiteral("Parameter"), QStringLiteral("Value")});
}

TreeNode::Kind kindOf(const char* key, const char* parentKey = "x")
{
    TreeNode root = makeRoot();
    TreeNode* parent = root.appendChild(QString::fromUtf8(parentKey), QString());
    return parent->appendChild(QString::fromUtf8(key), QString())->nodeKind();
}

QStringList keysOf(const TreeNode& node)
{
    QStringList keys;
    for (int row = 0; row < node.childCount(); ++row)
        keys.append(node.child(row)->key());
    return keys;
}

} // namespace

TEST(TreeNode, HasTheNumbersOfTheKinds)
{
    EXPECT_EQ(kindOf("attributes"), 0);
    EXPECT_EQ(kindOf("parameters"), 1);
    EXPECT_EQ(kindOf("specializations"), 2);
    EXPECT_EQ(kindOf("+", "specializations"), 3);
    EXPECT_EQ(kindOf("+", "attributes"), 4);
    EXPECT_EQ(kindOf("anything"), 5);
    EXPECT_EQ(kindOf("#"), 6);
    for (const char* key : {"id", "value", "op"})
        EXPECT_EQ(kindOf(key), 7) << key;
    for (const char* key : {"level", "destination", "file"})
        EXPECT_EQ(kindOf(key), 8) << key;
}

TEST(TreeNode, APlusWhoseParentIsNeitherListIsPlain)
{
    EXPECT_EQ(kindOf("+", "parameters"), TreeNode::Plain);
    EXPECT_EQ(kindOf("+", "+"), TreeNode::Plain);
    EXPECT_EQ(kindOf("+", "#"), TreeNode::Plain);
    EXPECT_EQ(TreeNode({QStringLiteral("+"), QString()}).nodeKind(), TreeNode::Plain);
}

TEST(TreeNode, TheKindIsDecidedByTheKeyBeforeTheParent)
{
    EXPECT_EQ(kindOf("parameters", "specializations"), TreeNode::ParameterSet);
    EXPECT_EQ(kindOf("specializations", "attributes"), TreeNode::SpecializationList);
    EXPECT_EQ(kindOf("attributes", "specializations"), TreeNode::AttributeList);
    EXPECT_EQ(kindOf("#", "attributes"), TreeNode::Comment);
    EXPECT_EQ(kindOf("id", "parameters"), TreeNode::AttributeField);
    EXPECT_EQ(kindOf("level", "attributes"), TreeNode::ParameterField);
}

TEST(TreeNode, KeysAreComparedExactly)
{
    for (const char* key : {"Parameters", "level ", "LEVEL", "", "++", "parameter"})
        EXPECT_EQ(kindOf(key), TreeNode::Plain) << key;
    EXPECT_EQ(makeRoot().nodeKind(), TreeNode::Plain);
}

TEST(TreeNode, AnswersForItsColumnsOnly)
{
    TreeNode node({QStringLiteral("key"), QStringLiteral("value")});
    EXPECT_EQ(node.columnCount(), 2);
    EXPECT_EQ(node.key(), QStringLiteral("key"));
    EXPECT_EQ(node.value(), QStringLiteral("value"));
    EXPECT_FALSE(node.data(2).isValid());
    EXPECT_FALSE(node.data(-1).isValid());
    EXPECT_FALSE(node.setData(2, 1));
    EXPECT_FALSE(node.setData(-1, 1));
    EXPECT_TRUE(node.setData(1, QStringLiteral("other")));
    EXPECT_EQ(node.data(1).toString(), QStringLiteral("other"));
    EXPECT_EQ(TreeNode({}).columnCount(), 0);
    EXPECT_EQ(TreeNode({}).key(), QString());
}

TEST(TreeNode, ChildrenOutOfRangeAreNull)
{
    TreeNode root = makeRoot();
    EXPECT_EQ(root.child(0), nullptr);
    TreeNode* only = root.appendChild(QStringLiteral("a"), QString());
    EXPECT_EQ(root.child(0), only);
    EXPECT_EQ(root.child(-1), nullptr);
    EXPECT_EQ(root.child(1), nullptr);
    EXPECT_EQ(only->parent(), &root);
    EXPECT_EQ(root.parent(), nullptr);
}

TEST(TreeNode, TheRowOfTheRootIs0AndOfAStrangerMinus1)
{
    TreeNode root = makeRoot();
    EXPECT_EQ(root.row(), 0);
    const TreeNode stranger({QStringLiteral("s"), QString()}, &root);
    EXPECT_EQ(stranger.row(), -1);
    root.appendChild(QStringLiteral("a"), QString());
    EXPECT_EQ(stranger.row(), -1);
}

TEST(TreeNode, TheRowFollowsEveryInsertAndRemove)
{
    TreeNode root = makeRoot();
    for (int i = 0; i < 50; ++i)
        root.appendChild(QString::number(i), QString());
    const auto checkAll = [&] {
        for (int row = 0; row < root.childCount(); ++row)
            ASSERT_EQ(root.child(row)->row(), row);
    };
    checkAll();
    ASSERT_TRUE(root.insertChildren(0, 7, 2));
    checkAll();
    ASSERT_TRUE(root.removeChildren(20, 30));
    checkAll();
    ASSERT_TRUE(root.insertChildren(10, 40, 2));
    ASSERT_TRUE(root.removeChildren(0, 9));
    // Asked for the last one first, whose row is furthest from where it was.
    EXPECT_EQ(root.child(root.childCount() - 1)->row(), root.childCount() - 1);
    checkAll();
    ASSERT_TRUE(root.removeChildren(1, root.childCount() - 1));
    checkAll();
}

TEST(TreeNode, InsertedChildrenHaveTheColumnsAskedForAndNoValues)
{
    TreeNode root = makeRoot();
    root.appendChild(QStringLiteral("a"), QString());
    root.appendChild(QStringLiteral("b"), QString());
    ASSERT_TRUE(root.insertChildren(1, 2, 3));
    EXPECT_EQ(keysOf(root), QStringList({QStringLiteral("a"), {}, {}, QStringLiteral("b")}));
    EXPECT_EQ(root.child(1)->columnCount(), 3);
    EXPECT_FALSE(root.child(1)->data(0).isValid());
    EXPECT_EQ(root.child(2)->parent(), &root);
    EXPECT_TRUE(root.insertChildren(4, 1, 2)) << "at the end";
    EXPECT_TRUE(root.insertChildren(0, 0, 2)) << "nothing";
    EXPECT_EQ(root.childCount(), 5);
}

TEST(TreeNode, RefusesToInsertOutOfRange)
{
    TreeNode root = makeRoot();
    EXPECT_FALSE(root.insertChildren(-1, 1, 2));
    EXPECT_FALSE(root.insertChildren(1, 1, 2));
    EXPECT_FALSE(root.insertChildren(0, -1, 2));
    EXPECT_FALSE(root.insertChildren(0, 1, -1));
    EXPECT_EQ(root.childCount(), 0);
}

TEST(TreeNode, RefusesToRemoveARangeThatIsNotThere)
{
    TreeNode root = makeRoot();
    for (const char* key : {"a", "b", "c"})
        root.appendChild(QLatin1String(key), QString());
    EXPECT_FALSE(root.removeChildren(-1, 1));
    EXPECT_FALSE(root.removeChildren(2, 2));
    EXPECT_FALSE(root.removeChildren(4, 0));
    EXPECT_FALSE(root.removeChildren(3, 1));
    EXPECT_FALSE(root.removeChildren(1, -1));
    EXPECT_FALSE(root.removeChildren(1, 0x7FFFFFFF));
    EXPECT_EQ(root.childCount(), 3);
    EXPECT_TRUE(root.removeChildren(3, 0));
    EXPECT_TRUE(root.removeChildren(0, 2));
    EXPECT_EQ(keysOf(root), QStringList(QStringLiteral("c")));
}

TEST(TreeNode, RemovedChildrenAreGoneWithAllBelowThem)
{
    TreeNode root = makeRoot();
    TreeNode* list = root.appendChild(QStringLiteral("list"), QString());
    for (int i = 0; i < 3; ++i)
        list->appendChild(QStringLiteral("x"), QString())->appendChild(QString(), QString());
    // The address sanitizer tells what is not freed, or twice.
    EXPECT_TRUE(root.removeChildren(0, 1));
    EXPECT_EQ(root.childCount(), 0);
}

TEST(TreeNode, FindsTheFirstChildWithAKey)
{
    TreeNode root = makeRoot();
    root.appendChild(QStringLiteral("a"), QStringLiteral("1"));
    root.appendChild(QStringLiteral("b"), QStringLiteral("2"));
    root.appendChild(QStringLiteral("b"), QStringLiteral("3"));
    EXPECT_EQ(root.childWithKey(QStringLiteral("b")), root.child(1));
    EXPECT_EQ(root.childWithKey(QStringLiteral("c")), nullptr);
}

TEST(TreeNode, IsInsideItselfAndAllAboveIt)
{
    TreeNode root = makeRoot();
    TreeNode* a = root.appendChild(QStringLiteral("a"), QString());
    TreeNode* b = a->appendChild(QStringLiteral("b"), QString());
    TreeNode* c = root.appendChild(QStringLiteral("c"), QString());
    EXPECT_TRUE(b->isInside(b));
    EXPECT_TRUE(b->isInside(a));
    EXPECT_TRUE(b->isInside(&root));
    EXPECT_FALSE(b->isInside(c));
    EXPECT_FALSE(a->isInside(b));
}

TEST(TreeNode, ADeepTreeIsFreedWithoutADeepStack)
{
    auto root = std::make_unique<TreeNode>(QVector<QVariant>(2));
    TreeNode* node = root.get();
    for (int i = 0; i < 300000; ++i)
        node = node->appendChild(QString(), QString());
    root.reset();
    TreeNode other = makeRoot();
    node = other.appendChild(QString(), QString());
    for (int i = 0; i < 300000; ++i)
        node = node->appendChild(QString(), QString());
    EXPECT_TRUE(other.removeChildren(0, 1));
}
