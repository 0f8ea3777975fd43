#include "config/DocumentEdits.h"

#include "config/DocumentKeys.h"
#include "config/TableModel.h"
#include "config/TreeModel.h"

namespace zuLogging {

namespace {

const QLatin1String levelOfNew("info");
const QLatin1String levelOfReset("fatal");

TreeNode* append(TreeModel& model, TreeNode* parent, const QString& key, const QString& value = {})
{
    return model.insertNode(parent->childCount(), key, value, parent);
}

/// What a "+" of a list of specializations starts as. Returns its one attribute.
TreeNode* fillSpecialization(TreeModel& model, TreeNode* specialization)
{
    append(model, specialization, commentKey, QStringLiteral("Comment"));
    TreeNode* attribute = append(model, append(model, specialization, attributesKey), elementKey);
    append(model, attribute, idKey, moduleId);
    append(model, append(model, specialization, parametersKey), levelKey, levelOfNew);
    return attribute;
}

/// Adds to `scope` what it needs to be specialized and does not have yet, below its child `row`.
/// Returns the first node that it added; null if nothing was missing.
TreeNode* insertTemplate(TreeModel& model, TreeNode* scope, int row, bool withAttributes)
{
    TreeNode* first = nullptr;
    const auto insert = [&](const QString& key) {
        TreeNode* node = model.insertNode(++row, key, QString(), scope);
        if (first == nullptr)
            first = node;
        return node;
    };
    if (withAttributes && scope->childWithKey(attributesKey) == nullptr)
        append(model, insert(attributesKey), idKey);
    if (scope->childWithKey(parametersKey) == nullptr)
        append(model, insert(parametersKey), levelKey, levelOfNew);
    if (scope->childWithKey(specializationsKey) == nullptr) {
        TreeNode* specialization = append(model, insert(specializationsKey), elementKey);
        TreeNode* attribute = fillSpecialization(model, specialization);
        append(model, attribute, valueKey, QStringLiteral("[MODULE]"));
    }
    return first;
}

bool isDefaultLevel(const TreeModel& model, const TreeNode* node)
{
    const TreeNode* parameters = node->parent();
    return node->key() == levelKey && parameters != nullptr && parameters->key() == parametersKey &&
           parameters->parent() == model.root();
}

} // namespace

NodeCommands commandsFor(const TreeNode* node)
{
    if (node->nodeKind() == TreeNode::Comment)
        return NodeCommands::Modify;
    const TreeNode* scope = node->parent() == nullptr ? node : node->parent();
    switch (scope->nodeKind()) {
    case TreeNode::AttributeList:
    case TreeNode::SpecializationList:
    case TreeNode::Specialization:
    case TreeNode::Plain:
        return NodeCommands::InsertAndDelete;
    case TreeNode::ParameterSet:
    case TreeNode::Attribute:
        return NodeCommands::Modify;
    default:
        return NodeCommands::None;
    }
}

TreeNode* insertBehind(TreeModel& model, TreeNode* selected)
{
    TreeNode* scope = selected->parent();
    const int row = selected->row();
    TreeNode* inserted = nullptr;
    switch (scope->nodeKind()) {
    case TreeNode::SpecializationList:
        inserted = model.insertNode(row + 1, elementKey, QString(), scope);
        fillSpecialization(model, inserted);
        break;
    case TreeNode::AttributeList:
        inserted = model.insertNode(row + 1, elementKey, QString(), scope);
        append(model, inserted, idKey);
        break;
    case TreeNode::Specialization:
        inserted = insertTemplate(model, scope, row, true);
        break;
    case TreeNode::Plain:
        inserted = insertTemplate(model, scope, row, false);
        break;
    default:
        break;
    }
    return inserted;
}

bool canBeDeleted(const TreeModel& model, const TreeNode* node)
{
    const bool isScopesOwn =
        node->nodeKind() == TreeNode::ParameterSet && node->parent()->nodeKind() == TreeNode::Plain;
    return !isScopesOwn && !isDefaultLevel(model, node);
}

QMap<QString, QString> valuesOfChildren(const TreeNode* node)
{
    QMap<QString, QString> values;
    for (int row = node->childCount() - 1; row >= 0; --row)
        values.insert(node->child(row)->key(), node->child(row)->value());
    return values;
}

void setChild(TreeModel& model, TreeNode* node, const QString& key, const QString& value)
{
    if (TreeNode* child = node->childWithKey(key))
        model.setValue(child, value);
    else
        append(model, node, key, value);
}

void resetTree(TreeModel& model)
{
    TreeNode* root = model.root();
    for (int row = root->childCount() - 1; row >= 0; --row)
        if (root->child(row)->key() == specializationsKey)
            model.removeRows(row, 1, QModelIndex());
    TreeNode* parameters = root->childWithKey(parametersKey);
    if (parameters == nullptr)
        parameters = model.insertNode(0, parametersKey, QString(), root);
    setChild(model, parameters, levelKey, levelOfReset);
    model.rebuildTable();
}

void resetTable(TableModel& table, TreeModel& model)
{
    for (int rows = table.rowCount(); rows > 1;) {
        table.removeModuleRow(table.rowObject(rows - 1));
        if (table.rowCount() >= rows)
            break;
        rows = table.rowCount();
    }
    const TableModel::Row* first = table.rowObject(0);
    if (first != nullptr && first->level != nullptr && isDefaultLevel(model, first->level))
        table.modifyRow(0, QString(), levelOfReset);
    else
        resetTree(model); // a document without a default level: what stands first is a module's
}

} // namespace zuLogging
