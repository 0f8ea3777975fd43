#include "app/Application.h"

#include "app/MainView.h"
#include "app/ProgramArguments.h"
#include "app/Translations.h"
#include "config/LogConfigData.h"
#include "logging/ConnectionInfo.h"
#include "platform/Desktop.h"
#include "store/ViewSettings.h"
#include "view/LogMessageView.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMessageBox>
#include <QTimer>
#include <QWindow>

#include <exception>
#include <iostream>

// The macro declares a function of the global name space, where it must stand.
static void registerIcons()
{
    Q_INIT_RESOURCE(logdesk);
}

namespace zuLogging {

void createMainView(MainViewHolder& holder)
{
    try {
        // Once more than at the start of the program: whatever makes a window shows it by the file.
        ViewSettings::instance().read();
        readConnectionInfo(); // a service that cannot be found ends the start
        LogConfigData::instance()->loadConfiguration(QString());
        holder = std::make_shared<MainView>(&holder);
        holder->show();
    } catch (const std::exception& error) {
        QMessageBox::critical(
            nullptr, QStringLiteral("Arvenza LogDesk"),
            QCoreApplication::translate(
                "zuLogging::Application",
                "Can't execute LogDesk. Please check if the log service is running. (%1)")
                .arg(QString::fromUtf8(error.what())),
            QMessageBox::Ok);
    }
}

void openFilesOnceShown(MainView& window, const QStringList& files)
{
    if (files.isEmpty())
        return;
    constexpr int periodMs = 10;
    constexpr int longestMs = 500;
    QElapsedTimer clock;
    clock.start();
    auto* looks = new QTimer(&window);
    QObject::connect(looks, &QTimer::timeout, &window, [&window, files, looks, clock] {
        const QWindow* handle = window.windowHandle();
        if (!(handle && handle->isExposed()) && clock.elapsed() < longestMs)
            return;
        looks->stop();
        looks->deleteLater();
        // A copy: the timer, and this with it, may be gone before the last question is answered.
        const QStringList paths = files;
        window.messageView()->openLogFiles(paths);
    });
    looks->start(periodMs);
}

int runEventLoop(const MainViewHolder& holder)
{
    if (holder)
        return QApplication::exec();
    QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(exitStatusNoWindow); });
    QApplication::exec();
    // Not what the loop returned: the closed message box was a last window too, and its request to
    // quit, with status 0, may have come first.
    return exitStatusNoWindow;
}

int runApplication(int& argc, char** argv)
{
    ProgramArguments arguments(argc, argv);
    if (const std::optional<int> status = arguments.answer(std::cout))
        return *status;
    registerIcons();
    platform::setProcessDpiAware();
    QCoreApplication::setAttribute(Qt::AA_DisableHighDpiScaling, true);
    QApplication application(argc, argv);
    const Translations translations(QLocale::system().uiLanguages());
    QCoreApplication::addLibraryPath(QStringLiteral("./plugins"));
    QCoreApplication::setOrganizationName(QStringLiteral("Arvenza"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("arvenza.example"));
    QCoreApplication::setApplicationName(QStringLiteral("LogDesk"));
    QGuiApplication::setDesktopFileName(QStringLiteral("example.arvenza.LogDesk"));
    if (!arguments.readFiles(argc, argv, std::cerr))
        return exitStatusUsage;
    ViewSettings::instance().read();

    MainViewHolder holder;
    createMainView(holder);
    if (holder)
        openFilesOnceShown(*holder, arguments.files());
    QObject::connect(&application, &QGuiApplication::lastWindowClosed, &application,
                     &QCoreApplication::quit);
    const int status = runEventLoop(holder);
    if (holder)
        holder->shutDown();
    // Before the application object goes: no widget may outlive it.
    holder.reset();
    return status;
}

} // namespace zuLogging
