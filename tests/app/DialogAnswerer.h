#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <utility>

namespace zuLogging::test {

/// Answers the modal dialogs of a blocking call, as a user would from outside: file dialogs with a
/// path (an empty one cancels), message boxes with a button, others with a function of the test's.
class DialogAnswerer
{
public:
    explicit DialogAnswerer(QString path = {}, std::function<void(QDialog&)> other = {})
        : path_(std::move(path))
        , other_(std::move(other))
    {
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { look(); });
        timer_.start(5);
    }

    QMessageBox::StandardButton button = QMessageBox::Ok;
    /// Called for each before it is answered.
    std::function<void(QMessageBox&)> onBox;
    /// Called for each instead of the answer; it must close it.
    std::function<void(QFileDialog&)> onFiles;

    QStringList fileCaptions;
    QStringList fileFilters;
    QStringList fileDirectories;
    /// "TITLE: TEXT" of each message box.
    QStringList boxes;

private:
    void look()
    {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || modal == last_)
            return;
        last_ = modal;
        QObject::connect(modal, &QObject::destroyed, &timer_, [this] { last_ = nullptr; });
        if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            boxes.append(box->windowTitle() + QStringLiteral(": ") + box->text());
            if (onBox)
                onBox(*box);
            if (QAbstractButton* chosen = box->button(button))
                chosen->click();
            else
                box->reject();
        } else if (auto* files = qobject_cast<QFileDialog*>(modal)) {
            fileCaptions.append(files->windowTitle());
            fileFilters.append(files->nameFilters());
            fileDirectories.append(files->directory().path());
            if (onFiles) {
                onFiles(*files);
                return;
            }
            if (path_.isEmpty()) {
                files->reject();
                return;
            }
            files->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path_);
            // Later: it may ask something, and then this timer is needed again.
            QMetaObject::invokeMethod(files, "accept", Qt::QueuedConnection);
        } else if (auto* dialog = qobject_cast<QDialog*>(modal)) {
            if (other_)
                other_(*dialog);
            else
                dialog->reject();
        }
    }

    QString path_;
    std::function<void(QDialog&)> other_;
    QTimer timer_;
    QWidget* last_ = nullptr;
};

} // namespace zuLogging::test
