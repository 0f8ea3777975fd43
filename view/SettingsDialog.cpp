#include "view/SettingsDialog.h"

#include "store/LogField.h"
#include "view/DialogHeight.h"

#include <QCheckBox>
#include <QEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSpinBox>
#include <QVBoxLayout>

#include <iterator>

namespace zuLogging {

namespace {

constexpr int highestMaximum = 100000000;
constexpr int rowSpacing = 2;

const char* changedSlotOf(int field)
{
    switch (field) {
    case FieldServiceMsgID:
        return SLOT(cbServiceMsgIdChanged(int));
    case FieldSourceMsgID:
        return SLOT(cbSourceMsgIdChanged(int));
    case FieldSenderMsgID:
        return SLOT(cbSenderMsgIdChanged(int));
    case FieldTimestamp:
        return SLOT(cbTimestampChanged(int));
    case FieldLogLevelHex:
        return SLOT(cbLogLevelHexChanged(int));
    case FieldLogLevel:
        return SLOT(cbLogLevelStringChanged(int));
    case FieldLogPos:
        return SLOT(cbLogPosChanged(int));
    case FieldModule:
        return SLOT(cbModuleNameChanged(int));
    case FieldGroupName:
        return SLOT(cbGroupNameChanged(int));
    case FieldProcessID:
        return SLOT(cbProcessIdChanged(int));
    case FieldThreadID:
        return SLOT(cbThreadIdChanged(int));
    case FieldLogMessage:
        return SLOT(cbMessageChanged(int));
    default:
        return nullptr; // gets no row
    }
}

QString checkBoxText(int field)
{
    const QString name = logFieldName(field);
    return field == FieldLogLevel || field == FieldLogPos ? name + QStringLiteral(" [String]")
                                                          : name;
}

QLabel* makeHeader(const QString& text, QWidget* parent)
{
    auto* header = new QLabel(text, parent);
    header->setAlignment(Qt::AlignCenter);
    return header;
}

} // namespace

SettingsDialog::SettingsDialog(int maximumMessages, const QMap<int, int>& positions,
                               bool showLineNumbers, QWidget* parent)
    : QDialog(parent)
    , maximumBox_(new QSpinBox(this))
    , lineNumberBox_(new QCheckBox(tr("LineNumber"), this))
{
    setObjectName(QStringLiteral("settingsDialog"));
    setWindowTitle(tr("Settings"));
    setWindowIcon(QIcon(QStringLiteral(":/logging.png")));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
    setModal(true);

    auto* page = new QWidget(this);
    auto* pageLayout = new QVBoxLayout(page);
    pageLayout->setContentsMargins(0, 0, 0, 0);
    pageLayout->addWidget(makeGeneralGroup(maximumMessages));
    pageLayout->addWidget(makeFieldGroup(positions, showLineNumbers));
    pageLayout->addStretch();
    // A low screen shows some of the rows at a time.
    auto* scroller = new QScrollArea(this);
    scroller->setFrameShape(QFrame::NoFrame);
    scroller->setFocusPolicy(Qt::NoFocus);
    scroller->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroller->setWidgetResizable(true);
    scroller->setWidget(page);
    scroller->setMinimumWidth(page->minimumSizeHint().width() +
                              scroller->verticalScrollBar()->sizeHint().width());

    auto* okButton = new QPushButton(tr("OK"), this);
    okButton->setObjectName(QStringLiteral("settingsOk"));
    okButton->setDefault(true);
    auto* cancelButton = new QPushButton(tr("Cancel"), this);
    cancelButton->setObjectName(QStringLiteral("settingsCancel"));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(okButton);
    buttons->addWidget(cancelButton);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(scroller);
    layout->addLayout(buttons);
    const int wholeHeight =
        sizeHint().height() - scroller->sizeHint().height() + page->sizeHint().height();
    resize(sizeHint().width(), qMin(wholeHeight, availableDialogHeight(parent)));

    QWidget* last = maximumBox_;
    const auto tabTo = [&last](QWidget* next) {
        setTabOrder(last, next);
        last = next;
    };
    tabTo(lineNumberBox_);
    for (auto it = checkBoxes_.cbegin(); it != checkBoxes_.cend(); ++it) {
        tabTo(it.value());
        tabTo(spinBoxes_.value(it.key()));
    }
    tabTo(okButton);
    tabTo(cancelButton);
    maximumBox_->setFocus();
    maximumBox_->selectAll();

    connect(okButton, SIGNAL(pressed()), this, SLOT(validateValues()));
    connect(cancelButton, SIGNAL(pressed()), this, SLOT(reject()));
}

QGroupBox* SettingsDialog::makeGeneralGroup(int maximumMessages)
{
    auto* group = new QGroupBox(tr("General"), this);
    group->setObjectName(QStringLiteral("settingsGeneral"));
    maximumBox_->setObjectName(QStringLiteral("settingsMaximum"));
    maximumBox_->setRange(0, highestMaximum);
    maximumBox_->setValue(maximumMessages);
    maximumBox_->setFocusPolicy(Qt::StrongFocus);
    maximumBox_->installEventFilter(this);
    auto* label = new QLabel(tr("Maximum log messages"), group);
    label->setObjectName(QStringLiteral("settingsMaximumLabel"));
    label->setBuddy(maximumBox_);
    auto* grid = new QGridLayout(group);
    grid->addWidget(label, 0, 0);
    grid->addWidget(maximumBox_, 0, 1);
    return group;
}

QGroupBox* SettingsDialog::makeFieldGroup(const QMap<int, int>& positions, bool showLineNumbers)
{
    auto* group = new QGroupBox(tr("View"), this);
    group->setObjectName(QStringLiteral("settingsView"));
    auto* grid = new QGridLayout(group);
    grid->setVerticalSpacing(rowSpacing);
    grid->addWidget(makeHeader(tr("<b>Parameter</b>"), group), 0, 0);
    grid->addWidget(makeHeader(tr("<b>Column</b>"), group), 0, 1);
    lineNumberBox_->setObjectName(QStringLiteral("settingsLineNumber"));
    lineNumberBox_->setChecked(showLineNumbers);
    grid->addWidget(lineNumberBox_, 1, 0);

    int row = 2;
    for (auto it = positions.cbegin(); it != positions.cend(); ++it) {
        const int field = it.key();
        if (logFieldName(field).isEmpty())
            continue;
        auto* checkBox = new QCheckBox(checkBoxText(field), this);
        checkBox->setObjectName(QStringLiteral("settingsShow%1").arg(field));
        auto* spinBox = new QSpinBox(this);
        spinBox->setObjectName(QStringLiteral("settingsColumn%1").arg(field));
        spinBox->setAccessibleName(tr("Column of %1").arg(checkBox->text()));
        spinBox->setRange(0, 0);
        spinBox->setEnabled(false);
        spinBox->setFocusPolicy(Qt::StrongFocus);
        spinBox->installEventFilter(this);
        checkBoxes_.insert(field, checkBox);
        spinBoxes_.insert(field, spinBox);
        grid->addWidget(checkBox, row, 0);
        grid->addWidget(spinBox, row, 1);
        ++row;
        connect(checkBox, SIGNAL(stateChanged(int)), this, changedSlotOf(field));
        checkBox->setChecked(it.value() >= 0);
    }
    // Checking has numbered the fields in the order of the rows; now the numbers that they have.
    for (auto it = spinBoxes_.cbegin(); it != spinBoxes_.cend(); ++it) {
        const int position = positions.value(it.key());
        it.value()->setValue(position < 0 ? 0 : qMin(position, visibleCount_) + 1);
    }
    return group;
}

bool SettingsDialog::eventFilter(QObject* watched, QEvent* event)
{
    const auto* box = qobject_cast<QSpinBox*>(watched);
    if (event->type() == QEvent::Wheel && box && !box->hasFocus()) {
        event->ignore();
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

int SettingsDialog::maximumMessages() const
{
    return maximumBox_->value();
}

bool SettingsDialog::showLineNumbers() const
{
    return lineNumberBox_->isChecked();
}

void SettingsDialog::validateValues()
{
    resultOrder_.clear();
    // A number that is still being typed counts.
    maximumBox_->interpretText();
    for (QSpinBox* box : qAsConst(spinBoxes_))
        box->interpretText();

    for (auto first = spinBoxes_.cbegin(); first != spinBoxes_.cend(); ++first) {
        for (auto second = std::next(first); second != spinBoxes_.cend(); ++second) {
            if (first.value()->value() == 0 || first.value()->value() != second.value()->value())
                continue;
            QMessageBox::warning(this, windowTitle(), tr("Duplicate columns are not allowed."));
            second.value()->setFocus();
            second.value()->selectAll();
            return;
        }
    }

    for (int column = 1; column <= visibleCount_; ++column) {
        int field = FieldNone;
        for (auto it = spinBoxes_.cbegin(); it != spinBoxes_.cend() && field == FieldNone; ++it)
            if (it.value()->value() == column)
                field = it.key();
        resultOrder_.append(field);
    }
    accept();
}

void SettingsDialog::checkBoxChanged(QCheckBox* cb, int state)
{
    const int field = checkBoxes_.key(cb, FieldNone);
    QSpinBox* own = spinBoxes_.value(field);
    if (!own)
        return;
    if (state == Qt::Checked) {
        ++visibleCount_;
        for (QSpinBox* box : qAsConst(spinBoxes_))
            box->setRange(0, visibleCount_);
        own->setValue(visibleCount_);
        own->setEnabled(true);
        return;
    }
    --visibleCount_;
    const int left = own->value();
    for (QSpinBox* box : qAsConst(spinBoxes_))
        if (box->value() > left)
            box->setValue(box->value() - 1);
    own->setValue(0);
    own->setEnabled(false);
}

void SettingsDialog::cbServiceMsgIdChanged(int state)
{
    checkBoxChanged(checkBoxes_.value(FieldServiceMsgID), state);
}

void SettingsDialog::cbSourceMsgIdChanged(int state)
{
    checkBoxChanged(checkBoxes_.value(FieldSourceMsgID), state);
}

void SettingsDialog::cbSenderMsgIdChanged(int state)
{
    checkBoxChanged(checkBoxes_.value(FieldSenderMsgID), state);
}

void SettingsDialog::cbProcessIdChanged(int state)
{
    checkBoxChanged(checkBoxes_.value(FieldProcessID), state);
}

void SettingsDialog::cbThreadIdChanged(int state)
{
    checkBoxChanged(checkBoxes_.value(FieldThreadID), state);
}

void SettingsDialog::cbTimestampChanged(int state)
{
    checkBoxChanged(checkBoxes_.value(FieldTimestamp), state);
}

void SettingsDialog::cbLogLevelHexChanged(int state)
{
    checkBoxChanged(checkBoxes_.value(FieldLogLevelHex), state);
}

void SettingsDialog::cbLogLevelStringChanged(int state)
{
    checkBoxChanged(checkBoxes_.value(FieldLogLevel), state);
}

void SettingsDialog::cbLogPosChanged(int state)
{
    checkBoxChanged(checkBoxes_.value(FieldLogPos), state);
}

void SettingsDialog::cbModuleNameChanged(int state)
{
    checkBoxChanged(checkBoxes_.value(FieldModule), state);
}

void SettingsDialog::cbGroupNameChanged(int state)
{
    checkBoxChanged(checkBoxes_.value(FieldGroupName), state);
}

void SettingsDialog::cbMessageChanged(int state)
{
    checkBoxChanged(checkBoxes_.value(FieldLogMessage), state);
}

} // namespace zuLogging
