#include "view/LoadedFilesToolbar.h"

#include <QComboBox>
#include <QLabel>

namespace zuLogging {

LoadedFilesToolbar::LoadedFilesToolbar(QWidget* parent)
    : QToolBar(tr("Log Message Info Toolbar"), parent)
    , files_(new QComboBox(this))
{
    setObjectName(QStringLiteral("logMessageInfoToolbar"));
    setStyleSheet(QStringLiteral("QToolBar{ padding: 0px;}"));
    auto* label = new QLabel(tr("Files: "), this);
    label->setObjectName(QStringLiteral("filesLabel"));
    addWidget(label);
    label->ensurePolished(); // the polish at the first show would take its margins away
    label->setFont(QFont(QStringLiteral("Verdana"), 10));
    label->setContentsMargins(100, 0, 5, 0);
    files_->setObjectName(QStringLiteral("filesCombo"));
    files_->setAccessibleName(tr("Files"));
    label->setBuddy(files_);
    addWidget(files_);
    hide();
}

void LoadedFilesToolbar::add(const QStringList& paths)
{
    files_->addItems(paths);
    files_->setCurrentIndex(files_->count() - 1);
    show();
}

void LoadedFilesToolbar::clearFiles()
{
    files_->clear();
    hide();
}

} // namespace zuLogging
