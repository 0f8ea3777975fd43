#include "view/FindDialog.h"

#include <QCheckBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QShortcut>
#include <QShowEvent>
#include <QVBoxLayout>

namespace zuLogging {

FindDialog::FindDialog(QWidget* parent)
    : QDialog(parent)
    , text_(new QLineEdit(this))
    , up_(new QRadioButton(tr("Up"), this))
    , down_(new QRadioButton(tr("Down"), this))
    , matchCase_(new QCheckBox(tr("Match case"), this))
{
    setObjectName(QStringLiteral("findDialog"));
    setWindowTitle(tr("Find"));
    setWindowIcon(QIcon(QStringLiteral(":/logging.png")));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);

    text_->setObjectName(QStringLiteral("findText"));
    up_->setObjectName(QStringLiteral("findUp"));
    down_->setObjectName(QStringLiteral("findDown"));
    down_->setChecked(true);
    // As after every later choice: Tab goes to the chosen one, the arrow keys to the other.
    up_->setFocusPolicy(Qt::ClickFocus);
    matchCase_->setObjectName(QStringLiteral("findMatchCase"));
    auto* label = new QLabel(tr("Find what:"), this);
    label->setObjectName(QStringLiteral("findTextLabel"));
    label->setBuddy(text_);

    auto* direction = new QGroupBox(tr("Direction"), this);
    direction->setObjectName(QStringLiteral("findDirection"));
    auto* directionLayout = new QHBoxLayout(direction);
    directionLayout->addWidget(up_);
    directionLayout->addWidget(down_);
    auto* mode = new QGroupBox(tr("Search Mode"), this);
    mode->setObjectName(QStringLiteral("findSearchMode"));
    auto* modeLayout = new QHBoxLayout(mode);
    modeLayout->addWidget(matchCase_);

    auto* nextButton = new QPushButton(tr("Find next (F3)"), this);
    nextButton->setObjectName(QStringLiteral("findNext"));
    nextButton->setShortcut(QKeySequence(Qt::Key_F3));
    nextButton->setDefault(true);
    auto* closeButton = new QPushButton(tr("Close"), this);
    closeButton->setObjectName(QStringLiteral("findClose"));

    auto* textRow = new QHBoxLayout;
    textRow->addWidget(label);
    textRow->addWidget(text_);
    auto* groups = new QHBoxLayout;
    groups->addWidget(direction);
    groups->addWidget(mode);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(nextButton);
    buttons->addWidget(closeButton);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(textRow);
    layout->addLayout(groups);
    layout->addLayout(buttons);
    setFixedHeight(sizeHint().height());

    connect(nextButton, SIGNAL(clicked()), this, SLOT(findNextSignal()));
    connect(closeButton, SIGNAL(clicked()), this, SLOT(closeSignal()));

    if (parent) {
        parentShortcut_ = new QShortcut(nextButton->shortcut(), parent);
        parentShortcut_->setEnabled(false);
        connect(parentShortcut_, SIGNAL(activated()), this, SLOT(findNextSignal()));
    }
}

void FindDialog::reject()
{
    closeSignal();
}

void FindDialog::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    text_->setFocus();
    text_->selectAll();
    if (parentShortcut_)
        parentShortcut_->setEnabled(true);
}

void FindDialog::hideEvent(QHideEvent* event)
{
    if (parentShortcut_)
        parentShortcut_->setEnabled(false);
    QDialog::hideEvent(event);
}

void FindDialog::closeSignal()
{
    Q_EMIT clearSearch();
    QDialog::reject();
}

void FindDialog::findNextSignal()
{
    Q_EMIT findNext(text_->text(), down_->isChecked(),
                    matchCase_->isChecked() ? Qt::CaseSensitive : Qt::CaseInsensitive);
}

} // namespace zuLogging
