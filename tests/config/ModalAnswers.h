#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QIcon>
#include <QMessageBox>
#include <QStringList>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>
#include <vector>

// Outside of any namespace, as the resource system wants it.
inline void initTestIcons()
{
    Q_INIT_RESOURCE(logdesk);
}

namespace zuLogging::test {

/// Answers message boxes and dialogs from outside of the blocking call, as a user would, and keeps
/// what the boxes said.
class ModalAnswers : public QObject
{
public:
    struct Box
    {
        QMessageBox::Icon icon;
        QString title;
        QString text;
        QString informativeText;
        QStringList buttons;
        bool hasWindowIcon;
        bool waitCursor;
        Qt::TextFormat format;
    };

    /// `answer` is the text of the button to press.
    explicit ModalAnswers(QString answer = QStringLiteral("OK"))
        : answer_(std::move(answer))
    {
        connect(&timer_, &QTimer::timeout, this, [this] { look(); });
        timer_.start(5);
    }

    void answerWith(const QString& answer) { answer_ = answer; }

    /// Called once for each dialog that is no message box; it must close it.
    std::function<void(QDialog&)> onDialog;
    /// Called for each message box instead of the answer.
    std::function<void(QMessageBox&)> onBox;

    std::vector<Box> boxes;
    int dialogs = 0;

    /// The only box so far.
    Box onlyBox() const
    {
        EXPECT_EQ(boxes.size(), 1U);
        return boxes.empty() ? Box{} : boxes.front();
    }

private:
    void look()
    {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (dialog == nullptr || dialog->property("answered").toBool())
            return;
        dialog->setProperty("answered", true);
        if (auto* box = qobject_cast<QMessageBox*>(dialog)) {
            answerBox(*box);
            return;
        }
        ++dialogs;
        if (onDialog) {
            onDialog(*dialog);
        } else {
            ADD_FAILURE() << "a dialog that nobody expects: "
                          << dialog->windowTitle().toStdString();
            dialog->reject();
        }
    }

    void answerBox(QMessageBox& box)
    {
        QStringList buttons;
        QAbstractButton* chosen = nullptr;
        for (QAbstractButton* button : box.buttons()) {
            buttons.append(button->text().remove(QLatin1Char('&')));
            if (buttons.last() == answer_)
                chosen = button;
        }
        boxes.push_back({box.icon(), box.windowTitle(), box.text(), box.informativeText(), buttons,
                         !box.windowIcon().isNull(), QApplication::overrideCursor() != nullptr,
                         box.textFormat()});
        if (onBox) {
            onBox(box);
            return;
        }
        if (chosen != nullptr) {
            chosen->click();
            return;
        }
        ADD_FAILURE() << "the box has no such button: " << box.text().toStdString();
        box.reject();
    }

    QString answer_;
    QTimer timer_;
};

} // namespace zuLogging::test
