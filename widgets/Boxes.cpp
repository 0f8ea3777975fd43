#include "widgets/Boxes.h"

#include <QCursor>
#include <QPointer>
#include <QTextDocument>
#include <QToolTip>

namespace zuLogging {

QMessageBox::StandardButton showBox(QWidget* parent, QMessageBox::Icon icon, const QString& title,
                                    const QString& text, QMessageBox::StandardButtons buttons)
{
    const QPointer<QMessageBox> box(new QMessageBox(icon, title, text, buttons, parent));
    box->setTextFormat(Qt::PlainText);
    const int answer = box->exec();
    if (!box)
        return QMessageBox::NoButton;
    delete box;
    return static_cast<QMessageBox::StandardButton>(answer);
}

void showTip(QWidget* widget, const QString& text)
{
    if (text.isEmpty())
        return;
    QToolTip::showText(QCursor::pos(),
                       Qt::mightBeRichText(text) ? Qt::convertFromPlainText(text) : text, widget);
}

QString askForFile(QWidget* parent, QFileDialog::AcceptMode mode, const QString& caption,
                   const QString& proposed, const QString& filter, QFileDialog::Options options)
{
    const QPointer<QFileDialog> dialog(new QFileDialog(parent, caption, QString(), filter));
    dialog->setOptions(options);
    dialog->setAcceptMode(mode);
    dialog->setFileMode(mode == QFileDialog::AcceptOpen ? QFileDialog::ExistingFile
                                                        : QFileDialog::AnyFile);
    if (!proposed.isEmpty())
        dialog->selectFile(proposed);
    const bool accepted = dialog->exec() == QDialog::Accepted;
    if (!dialog)
        return {};
    const QString path = accepted ? dialog->selectedFiles().value(0) : QString();
    delete dialog;
    return path;
}

} // namespace zuLogging
