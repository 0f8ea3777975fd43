#include "config/TreeModel.h"

#include "config/DocumentKeys.h"
#include "config/TableModel.h"

#include <QString>

#include <string>
#include <utility>

namespace zuLogging {

namespace {

QString textOf(const std::string& utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<int>(utf8.size()));
}

std::unique_ptr<TreeNode> makeRoot()
{
    return std::make_unique<TreeNode>(
        QVector<QVariant>{QT_TRANSLATE_NOOP("zuLogging::TreeModel", "Parameter"),
                          QT_TRANSLATE_NOOP("zuLogging::TreeModel", "Value")});
}

void appendMembers(const PropertyTree& tree, TreeNode* node)
{
    static const QString element = elementKey; // all elements have the same one
    for (const auto& [key, subtree] : tree) {
        const bool isElement = key.empty() && subtree.data().empty();
        TreeNode* child =
            node->appendChild(isElement ? element : textOf(key), textOf(subtree.data()));
        appendMembers(subtree, child);
    }
}

bool isList(const TreeNode* node)
{
    const TreeNode::Kind kind = node->nodeKind();
    return kind == TreeNode::AttributeList || kind == TreeNode::SpecializationList;
}

} // namespace

TreeModel::TreeModel(QObject* parent)
    : QAbstractItemModel(parent)
    , root_(makeRoot())
{
}

TreeModel::~TreeModel() = default;

QModelIndex TreeModel::index(int row, int column, const QModelIndex& parent) const
{
    if ((parent.isValid() && parent.column() != 0) || column < 0 || column >= columnCount())
        return {};
    TreeNode* node = nodeOf(parent)->child(row);
    return node == nullptr ? QModelIndex() : createIndex(row, column, node);
}

QModelIndex TreeModel::parent(const QModelIndex& index) const
{
    return index.isValid() ? indexOf(nodeOf(index)->parent()) : QModelIndex();
}

int TreeModel::rowCount(const QModelIndex& parent) const
{
    // Only the first column has children, else views and index() would disagree.
    return parent.isValid() && parent.column() != 0 ? 0 : nodeOf(parent)->childCount();
}

int TreeModel::columnCount(const QModelIndex&) const
{
    return root_->columnCount();
}

QVariant TreeModel::data(const QModelIndex& index, int role) const
{
    if (!index.isValid() ||
        (role != Qt::DisplayRole && role != Qt::DecorationRole && role != Qt::EditRole))
        return {};
    const TreeNode* node = nodeOf(index);
    if (role == Qt::DecorationRole && index.column() == 0)
        return iconOf(node);
    return node->data(index.column());
}

bool TreeModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (role != Qt::EditRole || !index.isValid())
        return false;
    TreeNode* const node = nodeOf(index);
    const bool isOther = node->data(index.column()) != value;
    if (!node->setData(index.column(), value))
        return false;
    changed_ = true;
    // An editor that is left without a change writes back what it was given.
    if (isOther)
        Q_EMIT dataChanged(index, index);
    return true;
}

QVariant TreeModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return {};
    // Translated where they are shown only: the document is the same in every language.
    const QVariant text = root_->data(section);
    return text.isValid() ? QVariant(tr(text.toString().toUtf8().constData())) : text;
}

bool TreeModel::setHeaderData(int section, Qt::Orientation orientation, const QVariant& value,
                              int role)
{
    if (orientation != Qt::Horizontal || role != Qt::EditRole || !root_->setData(section, value))
        return false;
    Q_EMIT headerDataChanged(orientation, section, section);
    return true;
}

bool TreeModel::insertRows(int row, int count, const QModelIndex& parent)
{
    TreeNode* node = nodeOf(parent);
    // Nothing may be announced that then does not happen.
    if (row < 0 || row > node->childCount() || count < 1)
        return false;
    beginInsertRows(indexOf(node), row, row + count - 1);
    const bool inserted = node->insertChildren(row, count, root_->columnCount());
    endInsertRows();
    changed_ = true;
    return inserted;
}

bool TreeModel::removeRows(int row, int count, const QModelIndex& parent)
{
    TreeNode* node = nodeOf(parent);
    if (row < 0 || count < 1 || row > node->childCount() || count > node->childCount() - row)
        return false;
    beginRemoveRows(indexOf(node), row, row + count - 1);
    const bool removed = node->removeChildren(row, count);
    endRemoveRows();
    changed_ = true;
    return removed;
}

Qt::ItemFlags TreeModel::flags(const QModelIndex& index) const
{
    const Qt::ItemFlags usual = QAbstractItemModel::flags(index);
    if (!index.isValid())
        return Qt::NoItemFlags;
    return nodeOf(index)->nodeKind() == TreeNode::Comment ? usual | Qt::ItemIsEditable : usual;
}

void TreeModel::setupModelData(const PropertyTree& tree, TableModel* tableModel)
{
    tableModel_ = tableModel;
    // Its rows point into the nodes that go now.
    if (tableModel_ != nullptr)
        tableModel_->clear();
    std::unique_ptr<TreeNode> root = makeRoot();
    appendMembers(tree, root.get());
    beginResetModel();
    root_ = std::move(root);
    endResetModel();
    if (tableModel_ != nullptr)
        tableModel_->build(root_.get());
}

void TreeModel::rebuildTable()
{
    if (tableModel_ == nullptr)
        return;
    tableModel_->clear();
    tableModel_->build(root_.get());
}

void TreeModel::toPropertyTree(const TreeNode* node, PropertyTree& target,
                               bool asArrayElement) const
{
    PropertyTree* own = &target;
    if (node != root_.get()) {
        // Not put(), for which a dot in a key is a path.
        const std::string key = asArrayElement ? std::string() : node->key().toStdString();
        own = &target.push_back({key, PropertyTree(node->value().toStdString())})->second;
    }
    const bool ownsElements = node != root_.get() && isList(node);
    for (int row = 0; row < node->childCount(); ++row) {
        const TreeNode* child = node->child(row);
        toPropertyTree(child, *own, ownsElements && child->nodeKind() != TreeNode::Comment);
    }
}

TreeNode* TreeModel::nodeOf(const QModelIndex& index) const
{
    return index.isValid() ? static_cast<TreeNode*>(index.internalPointer()) : root_.get();
}

QModelIndex TreeModel::indexOf(const TreeNode* node, int column) const
{
    if (node == nullptr || node == root_.get())
        return {};
    return createIndex(node->row(), column, const_cast<TreeNode*>(node));
}

TreeNode* TreeModel::insertNode(int row, const QString& key, const QString& value, TreeNode* parent)
{
    if (parent == nullptr || row < 0 || row > parent->childCount())
        return nullptr;
    beginInsertRows(indexOf(parent), row, row);
    parent->insertChildren(row, 1, root_->columnCount());
    TreeNode* node = parent->child(row);
    node->setData(0, key);
    node->setData(1, value);
    endInsertRows();
    changed_ = true;
    return node;
}

void TreeModel::setValue(TreeNode* node, const QString& value)
{
    if (node == nullptr || node == root_.get() || node->value() == value)
        return;
    setData(indexOf(node, 1), value, Qt::EditRole);
}

const QIcon& TreeModel::iconOf(const TreeNode* node) const
{
    static const QIcon none;
    const auto icon = [this](TreeNode::Kind kind, const QString& file) -> const QIcon& {
        QIcon& kept = listIcons_[kind];
        if (kept.isNull())
            kept = QIcon(file);
        return kept;
    };
    switch (node->nodeKind()) {
    case TreeNode::AttributeList:
        return icon(TreeNode::AttributeList, QStringLiteral(":/arrowYellow.png"));
    case TreeNode::ParameterSet:
        return icon(TreeNode::ParameterSet, QStringLiteral(":/arrowGreen.png"));
    case TreeNode::SpecializationList:
        return icon(TreeNode::SpecializationList, QStringLiteral(":/arrowBlue.png"));
    default:
        return none;
    }
}

} // namespace zuLogging
