#pragma once

#include "config/TableModel.h"
#include "config/TreeModel.h"
#include "config/TreeNode.h"
#include "logging/PropertyTreeJson.h"
#include "tests/support/TestEnvironment.h"

#include <QAbstractItemModelTester>
#include <QString>
#include <QStringList>

#include <initializer_list>
#include <string>
#include <vector>

namespace zuLogging::test {

/// Both models over one document, watched by the model tester through all that a test does.
class Document
{
public:
    Document()
        : table(&tree)
        , treeTester_(&tree, QAbstractItemModelTester::FailureReportingMode::Fatal)
        , tableTester_(&table, QAbstractItemModelTester::FailureReportingMode::Fatal)
    {
    }
    explicit Document(const std::string& json)
        : Document()
    {
        load(json);
    }

    void load(const std::string& json) { tree.setupModelData(readPropertyTree(json), &table); }

    /// What a save sends.
    std::string json() const
    {
        PropertyTree target;
        tree.toPropertyTree(tree.root(), target);
        return writePropertyTree(target, JsonForm::Compact);
    }

    /// The node at the end of a path of rows.
    TreeNode* node(const std::vector<int>& rows) const
    {
        TreeNode* found = tree.root();
        for (const int row : rows)
            found = found == nullptr ? nullptr : found->child(row);
        return found;
    }
    QModelIndex index(const std::vector<int>& rows, int column = 0) const
    {
        return tree.indexOf(node(rows), column);
    }

    TreeModel tree;
    TableModel table;

private:
    QAbstractItemModelTester treeTester_;
    QAbstractItemModelTester tableTester_;
};

/// The rows of a table as "module:level"; a cell without a node is "-".
inline QStringList rowsOf(const TableModel& table)
{
    QStringList rows;
    for (int row = 0; row < table.rowCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < table.columnCount(); ++column) {
            const QVariant value = table.data(table.index(row, column));
            cells.append(value.isValid() ? value.toString() : QStringLiteral("-"));
        }
        rows.append(cells.join(QLatin1Char(':')));
    }
    return rows;
}

/// Nodes as lines, for a comparison that shows where two trees differ.
inline QStringList dumpOf(const TreeNode* node, int depth = 0)
{
    QStringList lines;
    for (int row = 0; row < node->childCount(); ++row) {
        const TreeNode* child = node->child(row);
        lines.append(QString(depth, QLatin1Char(' ')) + child->key() + QLatin1Char('=') +
                     child->value());
        lines += dumpOf(child, depth + 1);
    }
    return lines;
}

inline QStringList textList(std::initializer_list<const char*> texts)
{
    QStringList strings;
    for (const char* text : texts)
        strings.append(QString::fromUtf8(text));
    return strings;
}

/// A module's specialization as the editor writes it.
inline std::string specialization(const std::string& module, const std::string& level,
                                  const std::string& more = {})
{
    return R"({"attributes":[{"id":"module","value":")" + module +
           R"("}],"parameters":{"level":")" + level + R"("})" + more + "}";
}

inline std::string documentOf(const std::string& level, const std::string& specializations)
{
    return R"({"parameters":{"level":")" + level + R"("},"specializations":[)" + specializations +
           "]}";
}

} // namespace zuLogging::test
