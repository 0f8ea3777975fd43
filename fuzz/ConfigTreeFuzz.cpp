// A configuration document as JSON, up to a zero byte or the end: into the tree, the table and
// back. What is behind the zero byte are edits of both.

#include "config/TableModel.h"
#include "config/TreeModel.h"
#include "fuzz/FuzzCheck.h"
#include "fuzz/FuzzInput.h"

#include <set>
#include <string>
#include <string_view>

using namespace zuLogging;
using fuzz::check;

namespace {

std::string throughText(const std::string& utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<int>(utf8.size())).toStdString();
}

/// What the models make of a document that nobody edits.
void plainBack(const PropertyTree& tree, const std::string& ownKey, bool isElement,
               PropertyTree& result)
{
    const bool isList = ownKey == "attributes" || ownKey == "specializations";
    for (const auto& [key, node] : tree) {
        const bool elementBelow = key.empty() && node.data().empty();
        const std::string shown = elementBelow ? "+" : throughText(key);
        const bool isComment = shown == "#";
        const std::string kept = isList && !isElement && !isComment ? std::string() : shown;
        PropertyTree& child =
            result.push_back({kept, PropertyTree(throughText(node.data()))})->second;
        plainBack(node, shown, false, child);
    }
}

PropertyTree treeOf(const TreeModel& model)
{
    PropertyTree tree;
    model.toPropertyTree(model.root(), tree);
    return tree;
}

void collect(const TreeNode* node, std::set<const TreeNode*>& nodes)
{
    nodes.insert(node);
    for (int row = 0; row < node->childCount(); ++row)
        collect(node->child(row), nodes);
}

void checkTable(const TreeModel& tree, const TableModel& table)
{
    std::set<const TreeNode*> living;
    collect(tree.root(), living);
    for (int row = 0; row < table.rowCount(); ++row) {
        const TableModel::Row* nodes = table.rowObject(row);
        check(nodes != nullptr, "a row has no nodes");
        for (const TreeNode* node : {nodes->module, nodes->level, nodes->id}) {
            if (node == nullptr)
                continue;
            check(living.count(node) == 1, "a cell points out of the tree");
            check(tree.nodeOf(tree.indexOf(node)) == node, "a cell's node has no index");
        }
        for (int column = 0; column < table.columnCount(); ++column) {
            const QModelIndex index = table.index(row, column);
            const TreeNode* node = column == 0 ? nodes->module : nodes->level;
            const QVariant shown = table.data(index);
            check(column == 0 && row == 0 ? shown.toString() == QLatin1String("default")
                                          : shown.toString() == (node ? node->value() : QString()),
                  "a cell shows something else than its node");
        }
    }
}

int checkTree(const TreeModel& tree, const QModelIndex& parent = {})
{
    int count = 0;
    for (int row = 0; row < tree.rowCount(parent); ++row) {
        const QModelIndex index = tree.index(row, 0, parent);
        check(index.isValid() && tree.parent(index) == parent, "a node is not below its parent");
        check(tree.nodeOf(index)->row() == row, "a node does not know its row");
        count += 1 + checkTree(tree, index);
    }
    return count;
}

QModelIndex anyIndex(const TreeModel& tree, fuzz::FuzzInput& input)
{
    QModelIndex index;
    for (int depth = input.byte() % 6; depth > 0 && tree.rowCount(index) > 0; --depth)
        index = tree.index(input.byte() % tree.rowCount(index), 0, index);
    return index;
}

QString anyText(fuzz::FuzzInput& input)
{
    static const char* const texts[] = {
        "",  "debug", "Motion", "level", "parameters", "value",   "file",       "+",
        "#", "id",    "module", "none",  "op",         "process", "attributes", "specializations"};
    return QLatin1String(texts[input.byte() % 16]);
}

void edit(TreeModel& tree, TableModel& table, fuzz::FuzzInput& input)
{
    const int row = static_cast<std::int8_t>(input.byte());
    const std::uint8_t what = input.byte() % 8;
    // Each on its own line: the order in which arguments are worked out is the compiler's.
    const std::uint8_t count = input.byte() % 4;
    const QString key = anyText(input);
    const QString value = anyText(input);
    const QModelIndex index = anyIndex(tree, input);
    switch (what) {
    case 0:
        table.addModuleRow(row, key, value);
        break;
    case 1:
        table.modifyRow(row, key, value);
        break;
    case 2:
        table.removeModuleRow(table.rowObject(row));
        break;
    case 3:
        tree.removeRows(row, count, index);
        break;
    case 4:
        tree.insertRows(row, count, index);
        break;
    case 5:
        tree.insertNode(row, key, value, tree.nodeOf(index));
        break;
    case 6:
        tree.setValue(tree.nodeOf(index), value);
        break;
    default:
        tree.rebuildTable();
        break;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view whole(reinterpret_cast<const char*>(data), size);
    const std::size_t end = std::min(whole.find('\0'), whole.size());
    PropertyTree document;
    try {
        document = readPropertyTreeObject(whole.substr(0, end));
    } catch (const boost::property_tree::ptree_error&) {
        return 0;
    }

    TreeModel tree;
    TableModel table(&tree);
    tree.setupModelData(document, &table);
    check(!tree.isChanged() && !table.isChanged(), "a document that was read counts as edited");
    checkTree(tree);
    checkTable(tree, table);

    const PropertyTree back = treeOf(tree);
    PropertyTree expected;
    plainBack(document, std::string(), true, expected);
    check(back == expected, "the document changes on its way through the models");
    const std::string text = writePropertyTree(back, JsonForm::Compact);
    const PropertyTree again = readPropertyTree(text);
    check(writePropertyTree(again, JsonForm::Compact) == text,
          "the document changes when it is written and read");

    fuzz::FuzzInput input(data + std::min(end + 1, size), size - std::min(end + 1, size));
    for (int edits = 0; edits < 64 && !input.isEmpty(); ++edits) {
        edit(tree, table, input);
        checkTable(tree, table);
    }
    checkTree(tree);
    tree.setupModelData(treeOf(tree), &table);
    checkTable(tree, table);
    return 0;
}
