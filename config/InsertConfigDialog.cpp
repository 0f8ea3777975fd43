#include "config/InsertConfigDialog.h"

#include "config/DocumentKeys.h"
#include "config/LogConfigView.h"
#include "config/TreeModel.h"
#include "platform/ProcessList.h"

#include <QComboBox>
#include <QFile>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <limits>

namespace zuLogging {

namespace {

constexpr int narrowestField = 180;
// Names come from elsewhere; a long one must not make the dialog wider than the screen.
constexpr int widestField = 500;

// A field that cut off what it cannot show would change it.
constexpr int longestText = std::numeric_limits<int>::max();

void makeEditable(QComboBox* combo)
{
    combo->setEditable(true);
    combo->lineEdit()->setMaxLength(longestText);
    combo->lineEdit()->setAccessibleName(combo->accessibleName());
}

int indexOf(const QComboBox* combo, const QString& text)
{
    return combo->findText(text, Qt::MatchExactly | Qt::MatchCaseSensitive);
}

void select(QComboBox* combo, const QString& text)
{
    combo->setCurrentIndex(qMax(0, indexOf(combo, text)));
}

/// Selects `text` also when it is not offered.
void selectOrAdd(QComboBox* combo, const QString& text)
{
    if (indexOf(combo, text) < 0) {
        if (indexOf(combo, QString()) < 0)
            combo->insertItem(0, QString());
        if (!text.isEmpty())
            combo->addItem(text);
    }
    select(combo, text);
}

} // namespace

InsertConfigDialog::InsertConfigDialog(
    LogConfigView* view, const QModelIndex& selected, const QStringList& moduleNames,
    const QStringList& levelNames, const QStringList& destinationNames,
    const QStringList& attributeIds, const QStringList& attributeOps,
    const QMap<QString, QString>& values, bool insert, bool expert, QWidget* parent)
    : QDialog(parent)
    , view_(view)
    , selected_(selected)
    , values_(values)
    , moduleNames_(moduleNames)
    , levelNames_(levelNames)
    , destinationNames_(destinationNames)
    , attributeIds_(attributeIds)
    , attributeOps_(attributeOps)
    , insert_(insert)
    , expert_(expert)
    , fields_(new QGridLayout)
    , okButton_(new QPushButton(tr("OK"), this))
    , cancelButton_(new QPushButton(tr("Cancel"), this))
{
    setObjectName(QStringLiteral("insertConfigDialog"));
    setWindowTitle(tr("Configuration"));
    setWindowIcon(QIcon(QStringLiteral(":/logging.png")));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    setModal(true);

    setWindowTitle(titleOf(buildFields()));
    finishLayout();

    connect(okButton_, SIGNAL(pressed()), this, SLOT(accept()));
    connect(cancelButton_, SIGNAL(pressed()), this, SLOT(reject()));
    if (view_ != nullptr)
        connect(view_, SIGNAL(destroyed()), this, SLOT(reject()));
}

/// Whole texts: other languages do not put the words in this order.
QString InsertConfigDialog::titleOf(Fields fields) const
{
    switch (fields) {
    case Fields::Comment:
        return insert_ ? tr("Insert comment") : tr("Modify comment");
    case Fields::Parameters:
        return insert_ ? tr("Insert parameters") : tr("Modify parameters");
    case Fields::Attributes:
        return insert_ ? tr("Insert attributes") : tr("Modify attributes");
    case Fields::User:
        break;
    }
    return insert_ ? tr("Insert ") : tr("Modify ");
}

InsertConfigDialog::Fields InsertConfigDialog::buildFields()
{
    const auto* tree = qobject_cast<const TreeModel*>(selected_.model());
    if (expert_ && tree != nullptr) {
        const TreeNode* node = tree->nodeOf(selected_);
        if (node->nodeKind() == TreeNode::Comment) {
            buildCommentField();
            return Fields::Comment;
        }
        const TreeNode* parent = node->parent() == nullptr ? node : node->parent();
        if (parent->nodeKind() == TreeNode::ParameterSet) {
            buildParameterFields();
            return Fields::Parameters;
        }
        if (parent->nodeKind() == TreeNode::Attribute) {
            buildAttributeFields();
            return Fields::Attributes;
        }
    }
    buildUserFields();
    return Fields::User;
}

void InsertConfigDialog::buildUserFields()
{
    const bool isDefaultRow = !expert_ && !insert_ && selected_.row() == 0;
    valueCombo_ = addCombo(isDefaultRow ? tr("Value") : tr("Module"), valueKey, moduleNames_);
    makeEditable(valueCombo_);
    selectOrAdd(valueCombo_, current(valueKey));
    // The default level is nobody's in particular.
    valueCombo_->setEnabled(!isDefaultRow);
    levelCombo_ = addCombo(tr("Level"), levelKey, levelNames_);
    select(levelCombo_, current(levelKey));
}

void InsertConfigDialog::buildParameterFields()
{
    levelCombo_ = addCombo(levelKey, levelKey, levelNames_);
    select(levelCombo_, current(levelKey));
    destinationCombo_ = addCombo(destinationKey, destinationKey, destinationNames_);
    select(destinationCombo_, current(destinationKey));
    fileEdit_ = addEdit(fileKey, fileKey, current(fileKey));
    connect(destinationCombo_, SIGNAL(currentIndexChanged(int)), this,
            SLOT(destinationChanged(int)));
    destinationChanged(destinationCombo_->currentIndex());
}

void InsertConfigDialog::buildAttributeFields()
{
    idCombo_ = addCombo(idKey, idKey, attributeIds_);
    select(idCombo_, current(idKey));
    valueCombo_ = addCombo(valueKey, valueKey, {});
    opCombo_ = addCombo(opKey, opKey, attributeOps_);
    select(opCombo_, current(opKey));
    connect(idCombo_, SIGNAL(currentIndexChanged(int)), this, SLOT(idChanged(int)));
    idChanged(idCombo_->currentIndex());
}

void InsertConfigDialog::buildCommentField()
{
    commentEdit_ =
        addEdit(tr("Comment"), QStringLiteral("comment"), current(QStringLiteral("Comment")));
    commentEdit_->selectAll();
}

void InsertConfigDialog::finishLayout()
{
    okButton_->setObjectName(QStringLiteral("insertConfigOk"));
    okButton_->setDefault(true);
    cancelButton_->setObjectName(QStringLiteral("insertConfigCancel"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(okButton_);
    buttons->addWidget(cancelButton_);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(fields_);
    layout->addLayout(buttons);
    // Minimum and maximum follow the layout's size, also when the values offered change it.
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->activate();
}

QComboBox* InsertConfigDialog::addCombo(const QString& label, const QString& name,
                                        const QStringList& entries)
{
    auto* combo = new QComboBox(this);
    combo->addItems(entries);
    combo->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    addRow(label, name, combo);
    return combo;
}

QLineEdit* InsertConfigDialog::addEdit(const QString& label, const QString& name,
                                       const QString& text)
{
    auto* edit = new QLineEdit(this);
    edit->setMaxLength(longestText);
    edit->setText(text);
    addRow(label, name, edit);
    return edit;
}

void InsertConfigDialog::addRow(const QString& label, const QString& name, QWidget* field)
{
    field->setObjectName(name);
    field->setAccessibleName(label);
    field->setMinimumWidth(narrowestField);
    field->setMaximumWidth(widestField);
    auto* text = new QLabel(label, this);
    text->setObjectName(name + QStringLiteral("Label"));
    text->setBuddy(field);
    const int row = fields_->rowCount();
    fields_->addWidget(text, row, 0);
    fields_->addWidget(field, row, 1);
    // The buttons were made first, and come last.
    setTabOrder(field, okButton_);
    setTabOrder(okButton_, cancelButton_);
    if (focusWidget() == nullptr)
        field->setFocus();
}

QString InsertConfigDialog::result(const QString& key) const
{
    const auto textOf = [](const QComboBox* combo) {
        return combo == nullptr ? QString() : combo->currentText();
    };
    if (key == levelKey)
        return textOf(levelCombo_);
    if (key == destinationKey)
        return textOf(destinationCombo_);
    if (key == fileKey)
        return textOf(destinationCombo_) == QLatin1String("file") ? fileEdit_->text() : QString();
    if (key == idKey)
        return textOf(idCombo_);
    if (key == valueKey)
        return textOf(valueCombo_);
    if (key == opKey)
        return textOf(opCombo_);
    if (key == QLatin1String("Comment") && commentEdit_ != nullptr)
        return commentEdit_->text();
    return QString();
}

void InsertConfigDialog::destinationChanged(int)
{
    if (fileEdit_ != nullptr)
        fileEdit_->setEnabled(destinationCombo_->currentText() == QLatin1String("file"));
}

void InsertConfigDialog::idChanged(int)
{
    if (idCombo_ == nullptr)
        return;
    valueCombo_->clear();
    if (idCombo_->currentText() == moduleId) {
        valueCombo_->addItems(moduleNames_);
        makeEditable(valueCombo_);
        selectOrAdd(valueCombo_, current(valueKey));
        valueCombo_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
        return;
    }
    // Appended to what is there already: who goes back and forth sees each name again.
    for (const std::string& program : platform::runningProgramNames()) {
        const QString name = QFile::decodeName(program.c_str());
        if (!name.contains(QLatin1String("unknown")))
            processNames_.append(name);
    }
    valueCombo_->addItems(processNames_);
    makeEditable(valueCombo_);
    select(valueCombo_, current(valueKey));
}

} // namespace zuLogging
