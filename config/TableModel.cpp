#include "config/TableModel.h"

#include "config/DocumentKeys.h"
#include "config/TreeModel.h"
#include "config/TreeNode.h"

#include <QString>

#include <algorithm>
#include <functional>
#include <utility>

namespace zuLogging {

namespace {

constexpr int moduleColumn = 0;
constexpr int levelColumn = 1;
constexpr int tableColumns = 2;

/// A set of nodes that is asked for each cell of the table: most are out of the set's range of
/// addresses, and that is all it costs to see.
class NodeSet
{
public:
    void addWithAllBelow(TreeNode* node)
    {
        nodes_.push_back(node);
        for (int row = 0; row < node->childCount(); ++row)
            addWithAllBelow(node->child(row));
    }
    void close() { std::sort(nodes_.begin(), nodes_.end(), std::less<>()); }

    bool contains(const TreeNode* node) const
    {
        const std::less<> less;
        return node != nullptr && !nodes_.empty() && !less(node, nodes_.front()) &&
               !less(nodes_.back(), node) &&
               std::binary_search(nodes_.begin(), nodes_.end(), node, less);
    }
    bool containsAnyOf(const TableModel::Row& row) const
    {
        return contains(row.module) || contains(row.level) || contains(row.id);
    }
    /// True if `row` pointed to one of the nodes.
    bool forgetIn(TableModel::Row& row) const
    {
        if (!containsAnyOf(row))
            return false;
        for (TreeNode** node : {&row.module, &row.level, &row.id})
            if (contains(*node))
                *node = nullptr;
        return true;
    }

private:
    std::vector<const TreeNode*> nodes_;
};

QVariant valueOf(const TreeNode* node)
{
    return node == nullptr ? QVariant() : node->data(1);
}

} // namespace

struct TableModel::BuildState
{
    bool inModuleAttribute = false; ///< the last attribute "id" was "module"
    bool haveModuleValue = false;   ///< the specialization's module was seen
    bool levelAssigned = false;     ///< the specialization's rows have their level
    TreeNode* pendingLevel = nullptr;
    std::size_t firstWithoutLevel = 0; ///< all rows before it have one
};

TableModel::TableModel(TreeModel* treeModel, QObject* parent)
    : QAbstractTableModel(parent)
    , treeModel_(treeModel)
{
    if (treeModel_ == nullptr)
        return;
    // Between an edit of the tree and the next build no cell may point to a node that is gone.
    connect(treeModel_, &QAbstractItemModel::rowsAboutToBeRemoved, this,
            &TableModel::forgetRemovedNodes);
    connect(treeModel_, &QAbstractItemModel::modelAboutToBeReset, this, &TableModel::clear);
}

TableModel::~TableModel() = default;

QModelIndex TableModel::index(int row, int column, const QModelIndex& parent) const
{
    return hasIndex(row, column, parent) ? createIndex(row, column) : QModelIndex();
}

int TableModel::rowCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int TableModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : tableColumns;
}

QVariant TableModel::data(const QModelIndex& index, int role) const
{
    const Row* row = index.isValid() ? rowObject(index.row()) : nullptr;
    if (role != Qt::DisplayRole || row == nullptr)
        return {};
    switch (index.column()) {
    case moduleColumn:
        return index.row() == 0 ? QVariant(QStringLiteral("default")) : valueOf(row->module);
    case levelColumn:
        return valueOf(row->level);
    default:
        return {};
    }
}

QVariant TableModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Vertical)
        return section + 1;
    switch (section) {
    case moduleColumn:
        return tr("module");
    case levelColumn:
        return tr("level");
    default:
        return QString();
    }
}

Qt::ItemFlags TableModel::flags(const QModelIndex& index) const
{
    if (!index.isValid() || rowObject(index.row()) == nullptr)
        return Qt::ItemIsDropEnabled;
    return QAbstractTableModel::flags(index);
}

void TableModel::build(TreeNode* node)
{
    if (node == nullptr)
        return;
    BuildState state;
    beginResetModel();
    addRowsOf(node, state);
    endResetModel();
}

void TableModel::addRowsOf(TreeNode* node, BuildState& state)
{
    switch (node->nodeKind()) {
    case TreeNode::Specialization:
        state.haveModuleValue = false;
        state.levelAssigned = false;
        state.pendingLevel = nullptr;
        break;
    case TreeNode::AttributeField:
        if (node->key() == idKey) {
            state.inModuleAttribute = node->value() == moduleId;
            if (state.inModuleAttribute) {
                rows_.push_back(std::make_unique<Row>());
                rows_.back()->id = node;
            }
        } else if (node->key() == valueKey && state.inModuleAttribute) {
            rows_.back()->module = node;
            state.haveModuleValue = true;
            state.inModuleAttribute = false;
        }
        break;
    case TreeNode::ParameterField:
        if (node->key() == levelKey) {
            if (rows_.empty()) {
                rows_.push_back(std::make_unique<Row>());
                giveLevel(state.firstWithoutLevel, node);
                state.firstWithoutLevel = rows_.size();
            } else {
                state.pendingLevel = node;
            }
        }
        break;
    default:
        break;
    }
    // Only now: the level may stand before the attributes, or after them.
    if (state.haveModuleValue && !state.levelAssigned && state.pendingLevel != nullptr) {
        giveLevel(state.firstWithoutLevel, state.pendingLevel);
        state.firstWithoutLevel = rows_.size();
        state.levelAssigned = true;
        state.pendingLevel = nullptr;
    }
    for (int row = 0; row < node->childCount(); ++row)
        addRowsOf(node->child(row), state);
}

void TableModel::clear()
{
    beginResetModel();
    rows_.clear();
    endResetModel();
}

void TableModel::assignLevel(TreeNode* node)
{
    giveLevel(0, node);
    if (!rows_.empty())
        Q_EMIT dataChanged(index(0, levelColumn), index(rowCount() - 1, levelColumn));
}

void TableModel::giveLevel(std::size_t firstRow, TreeNode* node)
{
    for (std::size_t row = firstRow; row < rows_.size(); ++row)
        if (rows_[row]->level == nullptr)
            rows_[row]->level = node;
}

TableModel::Row* TableModel::rowObject(int row) const
{
    return row >= 0 && row < rowCount() ? rows_[static_cast<std::size_t>(row)].get() : nullptr;
}

TreeNode* TableModel::specializationOf(const Row& row) const
{
    TreeNode* parameters = row.level == nullptr ? nullptr : row.level->parent();
    TreeNode* scope = parameters == nullptr ? nullptr : parameters->parent();
    if (scope != nullptr && scope->nodeKind() == TreeNode::Specialization)
        return scope;
    // A row without a level, or with one of a document that is built otherwise.
    for (TreeNode* node : {row.module, row.id, row.level})
        for (; node != nullptr; node = node->parent())
            if (node->nodeKind() == TreeNode::Specialization)
                return node;
    return nullptr;
}

TreeNode* TableModel::listForNewRow(int row) const
{
    const Row* reference = rowObject(row == 0 && rowCount() > 1 ? 1 : row);
    if (reference == nullptr)
        reference = rowObject(0);
    TreeNode* specialization = reference == nullptr ? nullptr : specializationOf(*reference);
    TreeNode* list = specialization == nullptr ? nullptr : specialization->parent();
    if (list != nullptr)
        return list;
    // The document may have a list already, one of processes only: this one is for the modules.
    TreeNode* root = treeModel_->root();
    return treeModel_->insertNode(root->childCount(), specializationsKey, QString(), root);
}

void TableModel::addModuleRow(int row, const QString& moduleName, const QString& levelName)
{
    if (treeModel_ == nullptr)
        return;
    const auto append = [this](TreeNode* parent, const QString& key, const QString& value) {
        return treeModel_->insertNode(parent->childCount(), key, value, parent);
    };
    TreeNode* specialization = append(listForNewRow(row), elementKey, QString());
    TreeNode* attributes = append(specialization, attributesKey, QString());
    TreeNode* parameters = append(specialization, parametersKey, QString());
    TreeNode* attribute = append(attributes, elementKey, QString());

    auto added = std::make_unique<Row>();
    added->id = append(attribute, idKey, moduleId);
    added->module = append(attribute, valueKey, moduleName);
    added->level = append(parameters, levelKey, levelName);
    beginInsertRows({}, rowCount(), rowCount());
    rows_.push_back(std::move(added));
    endInsertRows();
    changed_ = true;
}

void TableModel::modifyRow(int row, const QString& moduleName, const QString& levelName)
{
    Row* modified = rowObject(row);
    if (modified == nullptr || treeModel_ == nullptr)
        return;
    // Row 0 may stand for a module, where no other level comes before it: "default" is not its
    // name.
    if (row > 0 && modified->module != nullptr) {
        treeModel_->setValue(modified->module, moduleName);
    } else if (row > 0 && modified->id != nullptr) {
        TreeNode* attribute = modified->id->parent();
        modified->module =
            treeModel_->insertNode(modified->id->row() + 1, valueKey, moduleName, attribute);
    }
    if (modified->level != nullptr) {
        treeModel_->setValue(modified->level, levelName);
    } else if (TreeNode* specialization = specializationOf(*modified)) {
        TreeNode* parameters = specialization->childWithKey(parametersKey);
        if (parameters == nullptr)
            parameters = treeModel_->insertNode(specialization->childCount(), parametersKey,
                                                QString(), specialization);
        modified->level =
            treeModel_->insertNode(parameters->childCount(), levelKey, levelName, parameters);
    }
    changed_ = true;
    Q_EMIT dataChanged(index(row, 0), index(row, tableColumns - 1));
}

void TableModel::removeModuleRow(Row* rowObject)
{
    // From the end, where a reset of the configuration takes row after row.
    const auto found = std::find_if(rows_.rbegin(), rows_.rend(),
                                    [&](const auto& row) { return row.get() == rowObject; });
    const int row = static_cast<int>(rows_.rend() - found) - 1;
    if (row <= 0)
        return;

    changed_ = true;
    TreeNode* specialization = specializationOf(*rowObject);
    if (specialization == nullptr) {
        beginRemoveRows({}, row, row);
        rows_.erase(rows_.begin() + row);
        endRemoveRows();
        return;
    }
    removeRowsInside(specialization);
    removing_ = true;
    TreeNode* list = specialization->parent();
    treeModel_->removeRows(specialization->row(), 1, treeModel_->indexOf(list));
    if (list->childCount() == 0)
        treeModel_->removeRows(list->row(), 1, treeModel_->indexOf(list->parent()));
    removing_ = false;
}

void TableModel::removeRowsInside(TreeNode* specialization)
{
    NodeSet removed;
    removed.addWithAllBelow(specialization);
    removed.close();
    for (int row = rowCount() - 1; row > 0; --row) {
        if (!removed.containsAnyOf(*rows_[static_cast<std::size_t>(row)]))
            continue;
        beginRemoveRows({}, row, row);
        rows_.erase(rows_.begin() + row);
        endRemoveRows();
    }
    if (removed.forgetIn(*rows_.front()))
        Q_EMIT dataChanged(index(0, 0), index(0, tableColumns - 1));
}

void TableModel::forgetRemovedNodes(const QModelIndex& parent, int first, int last)
{
    if (removing_ || rows_.empty())
        return;
    NodeSet removed;
    for (int row = first; row <= last; ++row)
        removed.addWithAllBelow(treeModel_->nodeOf(parent)->child(row));
    removed.close();
    bool forgotten = false;
    for (const auto& row : rows_)
        forgotten = removed.forgetIn(*row) || forgotten;
    if (forgotten)
        Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, tableColumns - 1));
}

} // namespace zuLogging
