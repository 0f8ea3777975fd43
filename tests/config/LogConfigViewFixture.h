#pragma once

#include "config/InsertConfigDialog.h"
#include "config/LogConfigData.h"
#include "config/LogConfigView.h"
#include "config/TableModel.h"
#include "config/TreeModel.h"
#include "tests/config/ModalAnswers.h"
#include "tests/config/TransferServer.h"
#include "tests/support/TestEnvironment.h"

#include <QAbstractItemModelTester>
#include <QComboBox>
#include <QDockWidget>
#include <QLineEdit>
#include <QMainWindow>
#include <QPointer>
#include <QPushButton>
#include <QTableView>
#include <QTest>
#include <QToolButton>
#include <QTreeView>

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace zuLogging::test {

// The rows: default, alpha, beta (inside of alpha), gamma.
inline constexpr char document[] =
    R"({"parameters":{"level":"info","destination":"logsvc"},"specializations":[)"
    R"({"#":"first","attributes":[{"id":"module","op":"eq","value":"alpha"}],)"
    R"("parameters":{"level":"err"},"specializations":[)"
    R"({"attributes":[{"id":"module","value":"beta"}],"parameters":{"level":"warn"}}]},)"
    R"({"attributes":[{"id":"process","value":"shell"}],"parameters":{"level":"debug"}},)"
    R"({"attributes":[{"id":"module","value":"gamma"}],"parameters":{"level":"trace"}}],)"
    R"("other":"x"})";

inline QImage imageOf(const QIcon& icon)
{
    return icon.pixmap(16).toImage();
}

inline bool isIcon(const QIcon& icon, const char* path)
{
    return !icon.isNull() && imageOf(icon) == imageOf(QIcon(QLatin1String(path)));
}

/// The view in a window's dock, as the main window has it, and a service that answers.
class LogConfigViewTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        initTestIcons();
        service = std::make_unique<TransferServer>(document, std::string("alpha\0delta\0", 12));
        config = LogConfigData::instance();
        config->setModified(false);
        ASSERT_TRUE(load(document));
        makeWindow();
    }
    void TearDown() override
    {
        window.reset();
        config->setModified(false);
        EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    }

    void makeWindow()
    {
        window = std::make_unique<QMainWindow>();
        window->setCentralWidget(new QWidget);
        view = new LogConfigView(window.get());
        window->addDockWidget(Qt::RightDockWidgetArea, view->dock());
        // What the main window does with it.
        QObject::connect(view, &LogConfigView::closeRequested, window.get(),
                         [this] { switchTo(false); });
        window->resize(700, 500);
        window->show();
    }
    void switchTo(bool shown)
    {
        view->dock()->setVisible(shown);
        if (QWidget* floating = view->floatingWindow())
            floating->setVisible(shown);
    }

    bool load(const std::string& json)
    {
        service->setConfiguration(json);
        const QString error = config->loadConfiguration(QString());
        EXPECT_EQ(error, QString());
        watchModels();
        if (view)
            view->showModel();
        return error.isEmpty();
    }
    /// Every announcement of the models is checked from now on.
    void watchModels()
    {
        for (QAbstractItemModel* model :
             {static_cast<QAbstractItemModel*>(tree()), static_cast<QAbstractItemModel*>(table())})
            new QAbstractItemModelTester(
                model, QAbstractItemModelTester::FailureReportingMode::Fatal, model);
    }
    void openExpert(const std::string& json = document)
    {
        load(json);
        view->setMode(LogConfigView::Expert);
    }
    void openUser(const std::string& json = document)
    {
        load(json);
        view->setMode(LogConfigView::User);
    }

    TreeModel* tree() const { return config->treeModel(); }
    TableModel* table() const { return config->tableModel(); }
    std::string json() const
    {
        PropertyTree result;
        tree()->toPropertyTree(tree()->root(), result);
        return writePropertyTree(result, JsonForm::Compact);
    }
    /// "default info, alpha err" and so on.
    QString rows() const
    {
        QStringList texts;
        for (int row = 0; row < table()->rowCount(); ++row)
            texts.append(table()->index(row, 0).data().toString() + ' ' +
                         table()->index(row, 1).data().toString());
        return texts.join(", ");
    }

    /// By keys; a number is a row.
    TreeNode* node(const QString& path) const
    {
        TreeNode* found = tree()->root();
        for (const QString& part : path.split('/', Qt::SkipEmptyParts)) {
            bool isRow = false;
            const int row = part.toInt(&isRow);
            found = isRow ? found->child(row) : found->childWithKey(part);
            if (found == nullptr) {
                ADD_FAILURE() << "no node " << path.toStdString();
                return tree()->root();
            }
        }
        return found;
    }
    void select(const QString& path, int column = 0) const
    {
        view->treeView()->setCurrentIndex(tree()->indexOf(node(path), column));
    }
    QString selectedPath() const
    {
        QStringList keys;
        for (const TreeNode* at = tree()->nodeOf(view->treeView()->currentIndex());
             at != tree()->root(); at = at->parent())
            keys.prepend(at->key() == "+" ? QString::number(at->row()) : at->key());
        return keys.join('/');
    }
    void selectRow(int row) const { view->tableView()->selectRow(row); }

    QToolButton* button(const char* name) const
    {
        auto* found = innerWindow()->findChild<QToolButton*>(QLatin1String(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    QMainWindow* innerWindow() const
    {
        QWidget* host = view->floatingWindow() ? view->floatingWindow() : view;
        return host->findChild<QMainWindow*>("configInnerWindow");
    }
    /// Which of Insert, Delete and Modify can be pressed, as "IDM".
    std::string enabled() const
    {
        std::string letters;
        for (const char* name : {"configInsert", "configDelete", "configModify"})
            letters += button(name)->isEnabled() ? name[6] : '-';
        return letters;
    }
    bool canSave() const { return button("configSave")->isEnabled(); }
    void expectMarked(bool marked) const
    {
        EXPECT_EQ(config->isModified(), marked);
        EXPECT_EQ(canSave(), marked);
    }

    /// Answers the next dialogs: sets the fields by their names and presses OK.
    void fillIn(const QMap<QString, QString>& fields)
    {
        answers.onDialog = [fields](QDialog& dialog) {
            for (auto it = fields.cbegin(); it != fields.cend(); ++it)
                if (auto* combo = dialog.findChild<QComboBox*>(it.key()))
                    combo->setCurrentText(it.value());
                else if (auto* edit = dialog.findChild<QLineEdit*>(it.key()))
                    edit->setText(it.value());
                else
                    ADD_FAILURE() << it.key().toStdString();
            QTest::mousePress(dialog.findChild<QPushButton*>("insertConfigOk"), Qt::LeftButton);
        };
    }
    void cancelDialogs()
    {
        answers.onDialog = [](QDialog& dialog) { dialog.reject(); };
    }

    std::unique_ptr<TransferServer> service;
    LogConfigData* config = nullptr;
    std::unique_ptr<QMainWindow> window;
    QPointer<LogConfigView> view;
    ModalAnswers answers;
};

} // namespace zuLogging::test
