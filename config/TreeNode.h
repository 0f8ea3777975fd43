#pragma once

#include <QVariant>
#include <QVector>

#include <memory>
#include <vector>

namespace zuLogging {

/// One member or array element of the configuration document: a key (column 0) and a value
/// (column 1), with its children in the document's order. The root stands for the document's
/// outermost object and holds the column headers instead. Owns its children. GUI thread only.
class TreeNode : public std::enable_shared_from_this<TreeNode>
{
public:
    /// What a node stands for, by its key and, for an element of a list, its parent's key.
    enum Kind
    {
        AttributeList = 0,
        ParameterSet = 1,
        SpecializationList = 2,
        Specialization = 3,
        Attribute = 4,
        Plain = 5,
        Comment = 6,
        AttributeField = 7,
        ParameterField = 8
    };

    explicit TreeNode(QVector<QVariant> itemData, TreeNode* parent = nullptr);
    /// Takes no stack for each level: a document may be deep.
    ~TreeNode();
    TreeNode(const TreeNode&) = delete;
    TreeNode& operator=(const TreeNode&) = delete;

    /// Null for a row out of range.
    TreeNode* child(int row) const;
    int childCount() const;
    int columnCount() const;
    /// Invalid for a column out of range.
    QVariant data(int column) const;
    /// False for a column out of range.
    bool setData(int column, const QVariant& value);
    /// This node's index among its parent's children; 0 for the root; -1 if it is not there. Asked
    /// for by everybody who wants a node's index, so it remembers where it was found last.
    int row() const;
    TreeNode* parent() const { return parent_; }

    /// `count` nodes of `columns` empty values each, before the child at `position`. False, with
    /// nothing changed, for a position outside 0 to childCount or a negative number.
    bool insertChildren(int position, int count, int columns);
    /// Deletes `count` children from `position` on. False for a range that is not there.
    bool removeChildren(int position, int count);
    /// Appends a child with a key and a value, without telling any model.
    TreeNode* appendChild(const QString& key, const QString& value);

    QString key() const;
    QString value() const;
    Kind nodeKind() const;
    /// The first child with this key; null if there is none.
    TreeNode* childWithKey(const QString& key) const;
    /// True if `ancestor` is this node or above it.
    bool isInside(const TreeNode* ancestor) const;

private:
    using Children = std::vector<std::unique_ptr<TreeNode>>;

    static void destroy(Children nodes);

    TreeNode* parent_;
    Children children_;
    QVector<QVariant> itemData_;
    mutable int rowHint_ = 0;
};

} // namespace zuLogging
