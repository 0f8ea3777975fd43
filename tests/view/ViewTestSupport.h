#pragma once

#include "store/LogContainer.h"
#include "store/LogField.h"
#include "store/LogTableModel.h"
#include "store/ViewSettings.h"
#include "tests/support/TestEnvironment.h"
#include "view/LogMessageView.h"
#include "view/LogTableView.h"
#include "view/LogViewHost.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTimer>
#include <QToolBar>
#include <QToolButton>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

// Outside of any namespace, as the resource system wants it.
inline void initTestIcons()
{
    Q_INIT_RESOURCE(logdesk);
}

namespace zuLogging::test {

inline constexpr quint64 firstTime = 19000000000000000ULL;

inline std::shared_ptr<LogMessage> message(int number, const QString& text,
                                           LogLevel level = LogLevel::Info,
                                           const QString& module = QStringLiteral("module"))
{
    const auto id = static_cast<std::uint64_t>(number);
    auto record = std::make_shared<LogMessage>(
        id, id, id, firstTime + id * 250000U, static_cast<std::uint64_t>(level),
        QStringLiteral("main.cpp:1"), module, QStringLiteral("group"), text, 7U, 8U);
    record->renderTimestamp();
    return record;
}

/// The main window as far as the message view is concerned.
class TestWindow final : public QMainWindow, public LogViewHost
{
public:
    explicit TestWindow(std::shared_ptr<LogContainer> store)
        : store_(std::move(store))
    {
        resizeRows.setCheckable(true);
        dateAndTime.setCheckable(true);
        dateAndTime.setChecked(true);
        seconds.setCheckable(true);
    }

    std::shared_ptr<LogContainer> messageStore() const override { return store_; }
    bool isConfigurationModified() const override { return configurationModified; }
    QAction* filterAction() const override { return actions ? &filter : nullptr; }
    QAction* resizeRowsAction() const override { return actions ? &resizeRows : nullptr; }
    QAction* replayAction() const override { return actions ? &replay : nullptr; }
    QAction* startAction() const override { return actions ? &start : nullptr; }
    QAction* stopAction() const override { return actions ? &stop : nullptr; }
    QAction* dateAndTimeAction() const override { return actions ? &dateAndTime : nullptr; }
    QAction* secondsAction() const override { return actions ? &seconds : nullptr; }

    bool actions = true;
    bool configurationModified = false;
    mutable QAction filter{QStringLiteral("Filter...")};
    mutable QAction resizeRows{QStringLiteral("Resize rows")};
    mutable QAction replay{QStringLiteral("Replay && start history")};
    mutable QAction start{QStringLiteral("Start logging")};
    mutable QAction stop{QStringLiteral("Stop logging")};
    mutable QAction dateAndTime{QStringLiteral("Date and Time")};
    mutable QAction seconds{QStringLiteral("Seconds since beginning of logging")};

private:
    std::shared_ptr<LogContainer> store_;
};

/// Answers each message box as it opens, and keeps what it said.
class BoxAnswerer : public QObject
{
public:
    struct Seen
    {
        QMessageBox::Icon icon;
        QString title;
        QString text;
        QMessageBox::StandardButtons buttons;
    };

    explicit BoxAnswerer(QMessageBox::StandardButton answer = QMessageBox::Ok)
    {
        connect(&timer_, &QTimer::timeout, this, [this, answer] {
            auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box || (hold && hold()))
                return;
            seen.push_back({box->icon(), box->windowTitle(), box->text(), box->standardButtons()});
            if (QAbstractButton* button = box->button(answer))
                button->click();
            else
                box->reject();
        });
        timer_.start(5);
    }

    /// While it says true the box is left open.
    std::function<bool()> hold;
    std::vector<Seen> seen;

private:
    QTimer timer_;
};

/// Answers the file dialog of `call` with a path, and boxes with No, or where there is none with
/// OK.
inline void withFile(const QString& path, const std::function<void()>& call)
{
    QTimer user;
    QPointer<QWidget> answered;
    QObject::connect(&user, &QTimer::timeout, [&] {
        QWidget* modal = QApplication::activeModalWidget();
        if (!modal || modal == answered)
            return;
        if (auto* dialog = qobject_cast<QFileDialog*>(modal)) {
            answered = modal;
            dialog->setOption(QFileDialog::DontConfirmOverwrite);
            dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(path);
            QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
        } else if (auto* box = qobject_cast<QMessageBox*>(modal)) {
            QAbstractButton* no = box->button(QMessageBox::No);
            (no ? no : box->button(QMessageBox::Ok))->click();
        }
    });
    user.start(1);
    call();
}

/// A window with a message view, on fresh settings.
class ViewFixture : public ::testing::Test
{
protected:
    void SetUp() override
    {
        initTestIcons();
        // What the signals of models carry, for QSignalSpy.
        qRegisterMetaType<QList<QPersistentModelIndex>>("QList<QPersistentModelIndex>");
        qRegisterMetaType<QAbstractItemModel::LayoutChangeHint>(
            "QAbstractItemModel::LayoutChangeHint");
        ViewSettings::instance().reset();
        QFile::remove(ViewSettings::filePath());
    }
    void TearDown() override
    {
        view = nullptr;
        window.reset();
        store.reset();
        EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    }

    void open(std::shared_ptr<LogContainer> withStore = nullptr, bool show = false)
    {
        store = withStore ? std::move(withStore) : std::make_shared<LogContainer>();
        window = std::make_unique<TestWindow>(store);
        view = new LogMessageView(window->statusBar(), window.get());
        window->setCentralWidget(view);
        window->resize(1000, 600);
        if (show) {
            window->show();
            waitFor([this] { return window->isVisible(); });
        }
    }

    void add(const QString& text, LogLevel level = LogLevel::Info)
    {
        view->fullModel()->addMessage(message(view->fullModel()->rowCount() + 1, text, level));
    }
    void addNumbered(int count)
    {
        for (int i = 0; i < count; ++i)
            add(QStringLiteral("text %1").arg(i));
        view->updateView();
    }

    template <class Widget>
    Widget* child(const char* name) const
    {
        auto* widget = view->findChild<Widget*>(QLatin1String(name));
        EXPECT_NE(widget, nullptr) << name;
        return widget;
    }
    QString label(const char* name) const { return child<QLabel>(name)->text(); }
    bool startEnabled() const { return child<QToolButton>("startButton")->isEnabled(); }
    bool stopEnabled() const { return child<QToolButton>("stopButton")->isEnabled(); }
    QString status() const { return window->statusBar()->currentMessage(); }

    int columnOf(const char* header) const
    {
        for (int i = 0; i < view->shownModel()->columnCount(); ++i)
            if (view->shownModel()->headerData(i, Qt::Horizontal).toString() ==
                QLatin1String(header))
                return i;
        ADD_FAILURE() << "no column " << header;
        return -1;
    }

    std::shared_ptr<LogContainer> store;
    std::unique_ptr<TestWindow> window;
    LogMessageView* view = nullptr;
};

/// The same, with files.
class ViewAndFilesFixture : public ViewFixture
{
protected:
    QString path(const char* name) const { return directory.filePath(QLatin1String(name)); }
    QString write(const char* name, const QByteArray& bytes) const
    {
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(bytes), bytes.size());
        return path(name);
    }
    QStringList texts(const LogTableModel* model) const
    {
        QStringList all;
        for (int row = 0; row < model->rowCount(); ++row)
            all << model->cellText(row, columnOf("LogMessage"));
        return all;
    }
    QComboBox* files() const { return child<QComboBox>("filesCombo"); }
    QToolBar* infoToolbar() const { return child<QToolBar>("logMessageInfoToolbar"); }
    QCheckBox* filterBox() const { return child<QCheckBox>("filterBox"); }

    QTemporaryDir directory;
};

} // namespace zuLogging::test
