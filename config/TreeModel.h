#pragma once

#include "config/TreeNode.h"
#include "logging/PropertyTreeJson.h"

#include <QAbstractItemModel>
#include <QIcon>

#include <memory>

namespace zuLogging {

class TableModel;

/// The configuration document node for node, in two columns: "Parameter" and "Value". Only comments
/// are edited in place. GUI thread only.
class TreeModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    /// Empty: a root without children.
    explicit TreeModel(QObject* parent = nullptr);
    ~TreeModel() override;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    bool setHeaderData(int section, Qt::Orientation orientation, const QVariant& value,
                       int role = Qt::EditRole) override;
    bool insertRows(int row, int count, const QModelIndex& parent = {}) override;
    bool removeRows(int row, int count, const QModelIndex& parent = {}) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    /// Replaces all nodes by those of `tree` (a model reset) and lets `tableModel`, if there is
    /// one, build its rows from them. `tableModel` is remembered, not owned; it must not outlive
    /// this model.
    void setupModelData(const PropertyTree& tree, TableModel* tableModel);
    /// Lets the table model build its rows anew.
    void rebuildTable();
    /// Appends `node`, its value and all below it, to `target`: under its key, or, with
    /// `asArrayElement`, as an array element (without a key). The children of a list become array
    /// elements, except comments. The root is not appended itself, its children are.
    void toPropertyTree(const TreeNode* node, PropertyTree& target,
                        bool asArrayElement = false) const;

    /// The header's node, above the document's members.
    TreeNode* root() const { return root_.get(); }
    /// The node of an index; the root for an invalid one.
    TreeNode* nodeOf(const QModelIndex& index) const;
    /// The index of a node; invalid for the root.
    QModelIndex indexOf(const TreeNode* node, int column = 0) const;

    /// Inserts one child with its key and value before `row`, announced as one row; returns it.
    /// Null for a row out of range.
    TreeNode* insertNode(int row, const QString& key, const QString& value, TreeNode* parent);
    /// Sets a node's value, announced. No change of the value announces nothing.
    void setValue(TreeNode* node, const QString& value);

    /// Something was inserted, removed or edited since the model was made.
    bool isChanged() const { return changed_; }

private:
    const QIcon& iconOf(const TreeNode* node) const;

    std::unique_ptr<TreeNode> root_;
    mutable QIcon listIcons_[3]; ///< by kind; read when first shown
    TableModel* tableModel_ = nullptr;
    bool changed_ = false;
};

} // namespace zuLogging
