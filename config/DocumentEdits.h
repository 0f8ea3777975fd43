#pragma once

#include <QMap>
#include <QString>

namespace zuLogging {

class TableModel;
class TreeModel;
class TreeNode;

// What the commands of the configuration view do to the document. Each change is announced by the
// tree model; unless it is said otherwise, whoever edits has the table rebuilt then. GUI thread
// only.

enum class NodeCommands
{
    None,
    Modify,
    InsertAndDelete
};
/// What the user is offered for a node; the root counts as one of its own members.
NodeCommands commandsFor(const TreeNode* node);

/// In a list, adds an element behind `selected`, as a new one starts. In a specialization or a
/// plain node, adds behind it what its parent needs to be specialized and does not have yet.
/// Returns the first node that it added; null if there was nothing to add, or where nothing is
/// inserted.
TreeNode* insertBehind(TreeModel& model, TreeNode* selected);

/// False for what would leave a scope without its parameters, or the document without a default
/// level.
bool canBeDeleted(const TreeModel& model, const TreeNode* node);

/// By key; of two children with the same key the first counts.
QMap<QString, QString> valuesOfChildren(const TreeNode* node);

/// Sets the value of the child with this key, or appends one.
void setChild(TreeModel& model, TreeNode* node, const QString& key, const QString& value);

/// Removes all specializations, sets the default level to "fatal" and rebuilds the table.
void resetTree(TreeModel& model);

/// Removes all modules' rows with their specializations and sets the default level to "fatal".
/// Where the document has no default level it does what `resetTree` does.
void resetTable(TableModel& table, TreeModel& model);

} // namespace zuLogging
