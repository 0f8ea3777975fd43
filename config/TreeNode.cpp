#include "config/TreeNode.h"

#include "config/DocumentKeys.h"

#include <QString>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <utility>

namespace zuLogging {

namespace {

constexpr int keyColumn = 0;
constexpr int valueColumn = 1;

bool isOneOf(const QString& key, std::initializer_list<QLatin1String> names)
{
    return std::any_of(names.begin(), names.end(), [&](QLatin1String name) { return key == name; });
}

} // namespace

TreeNode::TreeNode(QVector<QVariant> itemData, TreeNode* parent)
    : parent_(parent)
    , itemData_(std::move(itemData))
{
}

TreeNode::~TreeNode()
{
    destroy(std::move(children_));
}

void TreeNode::destroy(Children nodes)
{
    // Each node gives its children away before it goes, so that no destructor calls another.
    while (!nodes.empty()) {
        const std::unique_ptr<TreeNode> node = std::move(nodes.back());
        nodes.pop_back();
        std::move(node->children_.begin(), node->children_.end(), std::back_inserter(nodes));
        node->children_.clear();
    }
}

TreeNode* TreeNode::child(int row) const
{
    return row >= 0 && row < childCount() ? children_[static_cast<std::size_t>(row)].get()
                                          : nullptr;
}

int TreeNode::childCount() const
{
    return static_cast<int>(children_.size());
}

int TreeNode::columnCount() const
{
    return itemData_.size();
}

QVariant TreeNode::data(int column) const
{
    return itemData_.value(column);
}

bool TreeNode::setData(int column, const QVariant& value)
{
    if (column < 0 || column >= itemData_.size())
        return false;
    itemData_[column] = value;
    return true;
}

int TreeNode::row() const
{
    if (parent_ == nullptr)
        return 0;
    const int count = parent_->childCount();
    const auto isHere = [&](int row) {
        return row >= 0 && row < count &&
               parent_->children_[static_cast<std::size_t>(row)].get() == this;
    };
    // From where it was last, to both sides: edits move a node by few rows.
    const int start = std::min(rowHint_, std::max(count - 1, 0));
    for (int distance = 0; distance < count; ++distance) {
        for (const int candidate : {start - distance, start + distance}) {
            if (isHere(candidate)) {
                rowHint_ = candidate;
                return candidate;
            }
        }
    }
    return -1;
}

bool TreeNode::insertChildren(int position, int count, int columns)
{
    if (position < 0 || position > childCount() || count < 0 || columns < 0)
        return false;
    Children nodes;
    nodes.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        nodes.push_back(std::make_unique<TreeNode>(QVector<QVariant>(columns), this));
        nodes.back()->rowHint_ = position + i;
    }
    children_.insert(children_.begin() + position, std::make_move_iterator(nodes.begin()),
                     std::make_move_iterator(nodes.end()));
    return true;
}

bool TreeNode::removeChildren(int position, int count)
{
    if (position < 0 || count < 0 || position > childCount() || count > childCount() - position)
        return false;
    const auto first = children_.begin() + position;
    const auto last = first + count;
    Children removed(std::make_move_iterator(first), std::make_move_iterator(last));
    children_.erase(first, last);
    destroy(std::move(removed));
    return true;
}

TreeNode* TreeNode::appendChild(const QString& key, const QString& value)
{
    children_.push_back(std::make_unique<TreeNode>(QVector<QVariant>{key, value}, this));
    children_.back()->rowHint_ = childCount() - 1;
    return children_.back().get();
}

QString TreeNode::key() const
{
    return data(keyColumn).toString();
}

QString TreeNode::value() const
{
    return data(valueColumn).toString();
}

TreeNode::Kind TreeNode::nodeKind() const
{
    const QString ownKey = key();
    if (ownKey == parametersKey)
        return ParameterSet;
    if (ownKey == specializationsKey)
        return SpecializationList;
    if (ownKey == attributesKey)
        return AttributeList;
    if (ownKey == elementKey && parent_ != nullptr) {
        const QString parentKey = parent_->key();
        if (parentKey == attributesKey)
            return Attribute;
        if (parentKey == specializationsKey)
            return Specialization;
    }
    if (ownKey == commentKey)
        return Comment;
    if (isOneOf(ownKey, {idKey, valueKey, opKey}))
        return AttributeField;
    if (isOneOf(ownKey, {levelKey, destinationKey, fileKey}))
        return ParameterField;
    return Plain;
}

TreeNode* TreeNode::childWithKey(const QString& key) const
{
    const auto found = std::find_if(children_.begin(), children_.end(),
                                    [&](const auto& node) { return node->key() == key; });
    return found == children_.end() ? nullptr : found->get();
}

bool TreeNode::isInside(const TreeNode* ancestor) const
{
    const TreeNode* node = this;
    while (node != nullptr && node != ancestor)
        node = node->parent_;
    return node != nullptr;
}

} // namespace zuLogging
