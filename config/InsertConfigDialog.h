#pragma once

#include <QDialog>
#include <QMap>
#include <QPersistentModelIndex>
#include <QString>
#include <QStringList>

class QComboBox;
class QGridLayout;
class QLineEdit;
class QPushButton;

namespace zuLogging {

class LogConfigView;
class TreeNode;

/// The one modal dialog for everything that is entered in the configuration: a module's row in user
/// mode; a parameter set, an attribute or a comment in expert mode. It collects, and changes
/// nothing. GUI thread only.
class InsertConfigDialog : public QDialog
{
    Q_OBJECT

public:
    /// `selected` is an index of the tree model with `expert`, else of the table model; it decides
    /// on the fields. `values` is what the selection holds now, by key. The dialog is rejected when
    /// `view` goes.
    InsertConfigDialog(LogConfigView* view, const QModelIndex& selected,
                       const QStringList& moduleNames, const QStringList& levelNames,
                       const QStringList& destinationNames, const QStringList& attributeIds,
                       const QStringList& attributeOps, const QMap<QString, QString>& values,
                       bool insert, bool expert, QWidget* parent);

    /// The text for "level", "destination", "file", "id", "value", "op" or "Comment"; empty for a
    /// key without a field.
    QString result(const QString& key) const;
    using QDialog::result;

public Q_SLOTS:
    void destinationChanged(int index);
    void idChanged(int index);

private:
    void buildUserFields();
    void buildParameterFields();
    void buildAttributeFields();
    void buildCommentField();
    /// What is edited decides on the fields and the title.
    enum class Fields
    {
        User,
        Parameters,
        Attributes,
        Comment
    };
    Fields buildFields();
    QString titleOf(Fields fields) const;
    void finishLayout();

    QComboBox* addCombo(const QString& label, const QString& name, const QStringList& entries);
    QLineEdit* addEdit(const QString& label, const QString& name, const QString& text);
    void addRow(const QString& label, const QString& name, QWidget* field);
    QString current(const QString& key) const { return values_.value(key); }

    LogConfigView* view_;
    QPersistentModelIndex selected_;
    QMap<QString, QString> values_;
    QStringList moduleNames_;
    QStringList levelNames_;
    QStringList destinationNames_;
    QStringList attributeIds_;
    QStringList attributeOps_;
    QStringList processNames_; ///< only ever grows
    bool insert_;
    bool expert_;

    QGridLayout* fields_;
    QComboBox* levelCombo_ = nullptr;
    QComboBox* destinationCombo_ = nullptr;
    QLineEdit* fileEdit_ = nullptr;
    QComboBox* idCombo_ = nullptr;
    QComboBox* valueCombo_ = nullptr;
    QComboBox* opCombo_ = nullptr;
    QLineEdit* commentEdit_ = nullptr;
    QPushButton* okButton_;
    QPushButton* cancelButton_;
};

} // namespace zuLogging
