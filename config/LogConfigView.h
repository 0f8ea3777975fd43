#pragma once

#include <QMap>
#include <QModelIndex>
#include <QString>
#include <QStringList>
#include <QWidget>

#include <optional>

class QAbstractItemView;
class QAction;
class QDockWidget;
class QItemSelection;
class QLabel;
class QMainWindow;
class QTableView;
class QToolBar;
class QToolButton;
class QTreeView;

namespace zuLogging {

class ConfigDock;
class TreeNode;

/// The dock in which the service's configuration is read and edited: in user mode a table of
/// modules and levels, in expert mode the whole document as a tree. GUI thread only.
///
/// It shows the models of `LogConfigData::instance()`, which a load replaces: whoever loads calls
/// `showModel` afterwards.
class LogConfigView : public QWidget
{
    Q_OBJECT

public:
    enum Mode
    {
        User = 0,
        Expert = 1
    };

    /// Makes the dock as a child of `window`, puts this widget into it and so gives the dock the
    /// ownership of it. The window adds the dock to its right dock area.
    explicit LogConfigView(QWidget* window);
    ~LogConfigView() override;

    /// Never shown while the view is undocked: it would be empty.
    QDockWidget* dock() const;

    /// The separate top-level window that the view lives in while it is undocked; else null.
    QWidget* floatingWindow() const;
    /// Closes the separate window, if there is one, because the program ends: no `closeRequested`.
    void closeFloatingWindow();

    /// Expert (1) or User (0): makes the mode's view the one that is seen, and shows its model.
    void setMode(int mode);
    int mode() const { return mode_; }

    /// Null until the first switch to the mode that uses it.
    QTreeView* treeView() const { return treeView_; }
    QTableView* tableView() const { return tableView_; }

    void showTreeModel();
    void showTableModel();
    /// The one of the two that belongs to the mode.
    void showModel();

    /// Writes the comment that is being edited in place, if there is one. To be called before
    /// anything that looks at the document: a button that takes no focus ends no editing.
    void endEditing();
    /// In user mode, offers to save what was edited in the table.
    void askToSaveIfChanged();

    /// Removes all specializations and sets the default level to "fatal", by way of the mode's
    /// model. Does nothing when the mode's view was never made.
    void resetConfiguration();

    /// What the models hold is not what the service has: enables Save and sets the modified flag.
    void markModified();

Q_SIGNALS:
    /// The user closed the view, by its own button or the window's.
    void closeRequested();

public Q_SLOTS:
    void floatingButtonClicked();
    void closeClicked();
    void resizeClicked();
    void insertClicked();
    void modifyClicked();
    void deleteClicked();
    void saveConfigClicked();
    void updateConfigClicked();
    void showContextMenu(const QPoint& pnt);
    void treeItemSelected(const QItemSelection& selected, const QItemSelection& deselected);
    void tableItemSelected(const QItemSelection& selected, const QItemSelection& deselected);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void buildToolbar();
    QToolButton* makeButton(const QString& name, const QString& icon, const QString& toolTip,
                            const char* slot);
    void showDocked(bool docked);
    void showMaximizedIcon(bool maximized);
    QAbstractItemView* shownView() const;
    void makeTreeView();
    void makeTableView();
    void showCentral(QAbstractItemView* view);
    void followSelection(QAbstractItemView* view, const char* slot);
    void enableButtons(bool insert, bool remove, bool modify);

    /// The index that an action is for; when there is none, tells the user and returns an invalid
    /// one.
    QModelIndex currentIndexFor(const QString& title);
    void warn(const QString& title, const QString& text);
    /// What the service knows now or, when it does not answer, knew last.
    QStringList moduleNames();
    /// Opens the dialog for `selected`. What was entered, by key; nothing when it was cancelled, or
    /// when this view went meanwhile.
    std::optional<QMap<QString, QString>> askForValues(const QModelIndex& selected,
                                                       const QStringList& modules,
                                                       const QMap<QString, QString>& values,
                                                       bool insert);

    void insertModule();
    void insertNodes();
    void modifyModule(const QModelIndex& index);
    void modifyNode(const QModelIndex& index);
    void deleteModule(const QModelIndex& index);
    void deleteNode(const QModelIndex& index);
    /// After an edit of the tree; `node`, if there is one, becomes the selected one.
    void treeEdited(TreeNode* node = nullptr);

    QMainWindow* innerWindow_;
    ConfigDock* dock_;
    QTreeView* treeView_ = nullptr;
    QTableView* tableView_ = nullptr;
    QToolBar* toolbar_;
    QLabel* titleLabel_ = nullptr;
    QToolButton* dockButton_ = nullptr;
    QToolButton* maximizeButton_ = nullptr;
    QToolButton* saveButton_ = nullptr;
    QToolButton* modifyButton_ = nullptr;
    QToolButton* insertButton_ = nullptr;
    QToolButton* deleteButton_ = nullptr;
    QToolButton* rereadButton_ = nullptr;
    QAction* maximizeAction_ = nullptr; ///< the toolbar's place for the button
    QAction* dockAction_;
    bool initialised_ = false; ///< the dock may be raised
    int mode_ = User;
};

} // namespace zuLogging
