#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QStringList>
#include <QTimer>

#include <gtest/gtest.h>

namespace zuLogging::test {

/// Answers every modal message box that opens during its life with one button, as a user would
/// from outside of the blocking call, and remembers what the boxes said.
class MessageBoxWaiter
{
public:
    struct Box
    {
        QString title;
        QString text;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        QMessageBox::StandardButtons buttons;
        bool hasParent = false;
    };

    explicit MessageBoxWaiter(QMessageBox::StandardButton answer)
        : answer_(answer)
    {
        QObject::connect(&timer_, &QTimer::timeout, &timer_, [this] { look(); });
        timer_.start(5);
    }

    const QList<Box>& boxes() const { return boxes_; }

private:
    void look()
    {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return;
        boxes_.append({box->windowTitle(), box->text(), box->icon(), box->standardButtons(),
                       box->parentWidget() != nullptr});
        if (QAbstractButton* button = box->button(answer_)) {
            button->click();
            return;
        }
        ADD_FAILURE() << "the box has no such button";
        box->close();
    }

    QMessageBox::StandardButton answer_;
    QTimer timer_;
    QList<Box> boxes_;
};

} // namespace zuLogging::test
