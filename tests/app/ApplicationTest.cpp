#include "app/Application.h"

#include "tests/app/AppFixture.h"

#include <QApplication>
#include <QTextStream>
#include <QTimer>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {
using Application = AppFixture;

void writeSettingsFile(const ViewSettings& settings)
{
    ASSERT_TRUE(settings.writeTo(ViewSettings::filePath()));
}
} // namespace

TEST_F(Application, WithoutAServiceACriticalMessageIsShownAndNoWindowIsMade)
{
    MessageBoxWaiter user(QMessageBox::Ok);
    createMainView(holder);
    EXPECT_EQ(holder, nullptr);
    ASSERT_EQ(user.boxes().size(), 1);
    const MessageBoxWaiter::Box& box = user.boxes().first();
    EXPECT_EQ(box.title, QStringLiteral("Arvenza LogDesk"));
    EXPECT_EQ(box.text,
              QStringLiteral("Can't execute LogDesk. Please check if the log service is running. "
                             "(Failed to connect to the shared memory with connection info: "
                             "Shared memory error)"));
    EXPECT_EQ(box.icon, QMessageBox::Critical);
    EXPECT_EQ(box.buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
    EXPECT_FALSE(box.hasParent);
}

TEST_F(Application, ABrokenConnectionInfoIsToldAsTheCause)
{
    platform::SharedMemoryPublisher publisher;
    ASSERT_EQ(publisher.publish(connectionInfoName(), std::vector<std::uint8_t>(24, 0)),
              platform::SharedMemoryPublisher::Result::Published);
    MessageBoxWaiter user(QMessageBox::Ok);
    createMainView(holder);
    EXPECT_EQ(holder, nullptr);
    ASSERT_EQ(user.boxes().size(), 1);
    EXPECT_TRUE(user.boxes().first().text.endsWith(
        QStringLiteral(" (Failed to retrieve valid connection info)")));
}

TEST_F(Application, AWindowThatWasThereStaysWhenTheServiceHasGone)
{
    MainView& window = openWindow();
    MessageBoxWaiter user(QMessageBox::Ok);
    createMainView(holder);
    EXPECT_EQ(user.boxes().size(), 1);
    EXPECT_EQ(holder.get(), &window);
}

TEST_F(Application, WithAServiceTheWindowIsMadeAndShownWithoutAQuestion)
{
    PublishedService service;
    MessageBoxWaiter user(QMessageBox::Ok);
    createMainView(holder);
    ASSERT_NE(holder, nullptr);
    EXPECT_TRUE(holder->isVisible());
    EXPECT_EQ(holder->holder(), &holder);
    EXPECT_TRUE(user.boxes().isEmpty());
    EXPECT_EQ(service.subscribers(), 0U);
}

TEST_F(Application, TheSettingsFileIsReadBeforeTheWindowIsBuilt)
{
    PublishedService service;
    ViewSettings saved;
    saved.configurationEnabled = true;
    saved.maximumLogMessages = 4321;
    writeSettingsFile(saved);
    ViewSettings::instance().reset();
    createMainView(holder);
    ASSERT_NE(holder, nullptr);
    EXPECT_TRUE(action("Configuration")->isChecked());
    EXPECT_EQ(holder->messageStore()->maximumMessages(), 4321);
}

TEST_F(Application, WithoutAWindowTheEventLoopEndsByItselfWithStatus1)
{
    // As in the program: the closed message box is a last window too, and asks to quit.
    QApplication::setQuitOnLastWindowClosed(true);
    {
        MessageBoxWaiter user(QMessageBox::Ok);
        createMainView(holder);
    }
    EXPECT_EQ(runEventLoop(holder), 1);
    QApplication::setQuitOnLastWindowClosed(false);
}

TEST_F(Application, ClosingTheWindowEndsTheEventLoopWithStatus0)
{
    PublishedService service;
    createMainView(holder);
    ASSERT_NE(holder, nullptr);
    const auto connection =
        QObject::connect(qApp, &QGuiApplication::lastWindowClosed, qApp, &QCoreApplication::quit);
    QTimer::singleShot(0, holder.get(), [this] { holder->close(); });
    EXPECT_EQ(runEventLoop(holder), 0);
    QObject::disconnect(connection);
}

TEST_F(Application, AnOpenDialogDoesNotKeepTheProgramAliveWhenTheWindowIsClosed)
{
    PublishedService service;
    createMainView(holder);
    ASSERT_NE(holder, nullptr);
    const auto connection =
        QObject::connect(qApp, &QGuiApplication::lastWindowClosed, qApp, &QCoreApplication::quit);
    QTimer::singleShot(0, holder.get(), [this] {
        action("Find...")->trigger();
        action("Filter...")->trigger();
        action("Go to...")->trigger();
        holder->close();
    });
    EXPECT_EQ(runEventLoop(holder), 0);
    QObject::disconnect(connection);
}
