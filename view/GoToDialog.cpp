#include "view/GoToDialog.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QShowEvent>
#include <QSpinBox>
#include <QVBoxLayout>

namespace zuLogging {

namespace {
constexpr int goToButtonWidth = 100;
constexpr int highestLine = 100000000;
} // namespace

GoToDialog::GoToDialog(QWidget* parent)
    : QDialog(parent)
    , lineBox_(new QSpinBox(this))
{
    setObjectName(QStringLiteral("goToDialog"));
    setWindowTitle(tr("Go To..."));
    setWindowIcon(QIcon(QStringLiteral(":/logging.png")));
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);

    lineBox_->setObjectName(QStringLiteral("goToLine"));
    lineBox_->setRange(0, highestLine);
    lineBox_->setMinimumWidth(lineBox_->sizeHint().width());
    lineBox_->setRange(0, 0);
    auto* label = new QLabel(tr("Go to line:"), this);
    label->setObjectName(QStringLiteral("goToLineLabel"));
    label->setBuddy(lineBox_);

    auto* goButton = new QPushButton(tr("Go"), this);
    goButton->setObjectName(QStringLiteral("goToGo"));
    goButton->setMaximumWidth(goToButtonWidth);
    goButton->setDefault(true);
    auto* closeButton = new QPushButton(tr("Close"), this);
    closeButton->setObjectName(QStringLiteral("goToClose"));
    closeButton->setMaximumWidth(goToButtonWidth);

    auto* grid = new QGridLayout;
    grid->addWidget(label, 0, 0);
    grid->addWidget(lineBox_, 0, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(goButton);
    buttons->addWidget(closeButton);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addLayout(buttons);
    setFixedSize(sizeHint());

    connect(goButton, SIGNAL(clicked()), this, SLOT(accept()));
    connect(closeButton, SIGNAL(clicked()), this, SLOT(closeSignal()));
}

int GoToDialog::line() const
{
    return lineBox_->value();
}

void GoToDialog::setLineCount(int count)
{
    lineBox_->setRange(1, qMax(1, count));
}

void GoToDialog::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    lineBox_->setFocus();
    lineBox_->selectAll();
}

void GoToDialog::closeSignal()
{
    reject();
}

} // namespace zuLogging
