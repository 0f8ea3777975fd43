#pragma once

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QString>
#include <QTimer>

namespace zuLogging::test {

/// Chooses `path` in the file dialog that opens next while `owner` lives; `gone`: the file is
/// removed then.
inline void chooseNext(QObject* owner, const QString& path, bool gone = false)
{
    auto* timer = new QTimer(owner);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, path, gone] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        timer->stop();
        if (gone)
            QObject::connect(dialog, &QDialog::finished, dialog, [path] { QFile::remove(path); });
        dialog->setOption(QFileDialog::DontConfirmOverwrite);
        dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path);
        QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
    });
    timer->start(1);
}

} // namespace zuLogging::test
