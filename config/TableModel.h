#pragma once

#include <QAbstractTableModel>

#include <cstddef>
#include <memory>
#include <vector>

namespace zuLogging {

class TreeModel;
class TreeNode;

/// The configuration as a person without expert knowledge edits it: one row for the default level
/// and one for each specialization that selects a module. The cells are nodes of the tree model,
/// which must outlive this one. GUI thread only.
class TableModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    /// The nodes of one row; not owned. Either may be null.
    struct Row
    {
        TreeNode* module = nullptr; ///< the attribute's "value"; null for row 0
        TreeNode* level = nullptr;  ///< a parameter set's "level"
        TreeNode* id = nullptr;     ///< the attribute's "id"; null for a default row
    };

    explicit TableModel(TreeModel* treeModel, QObject* parent = nullptr);
    ~TableModel() override;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    /// Adds the rows of `node` and all below it (announced as a reset). Attributes and parameters
    /// of a specialization may stand in either order. A level goes to all rows before it that have
    /// none, so a specialization without a level shows the level of the next one that has one.
    void build(TreeNode* node);
    /// Removes all rows.
    void clear();
    /// Gives `node` to every row that has no level yet.
    void assignLevel(TreeNode* node);

    /// Adds a specialization for a module at the end of the list that holds the one of `row` (of
    /// row 1 for row 0, of row 0 for a row out of range), and its row at the end. Where that row
    /// lies in no list, as the default row does, a new list is made at the end of the document.
    void addModuleRow(int row, const QString& moduleName, const QString& levelName);
    /// Writes into the nodes of a row, announced in both models. A module or level that the row's
    /// specialization does not have yet is added to it. Row 0 shows no module, and none is written.
    void modifyRow(int row, const QString& moduleName, const QString& levelName);
    /// Removes the specialization of `rowObject` and every row whose nodes lie in it; then the list
    /// that held it, if it is empty now. Row 0 stays: for its row object nothing happens.
    void removeModuleRow(Row* rowObject);

    /// Null for a row out of range.
    Row* rowObject(int row) const;

    /// A row was added, modified or removed since the last `clearChanged`. Modified ones too: what
    /// a reread would throw away is asked for.
    bool isChanged() const { return changed_; }
    void clearChanged() { changed_ = false; }

private:
    struct BuildState;

    void addRowsOf(TreeNode* node, BuildState& state);
    void giveLevel(std::size_t firstRow, TreeNode* node);
    TreeNode* specializationOf(const Row& row) const;
    TreeNode* listForNewRow(int row) const;
    void removeRowsInside(TreeNode* specialization);
    void forgetRemovedNodes(const QModelIndex& parent, int first, int last);

    TreeModel* treeModel_;
    std::vector<std::unique_ptr<Row>> rows_;
    bool removing_ = false; ///< the rows of what leaves the tree are gone already
    bool changed_ = false;
};

} // namespace zuLogging
