#include "store/LogTableModel.h"
#include "tests/app/AppFixture.h"
#include "tests/service/ProgramRun.h"

#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QProcess>
#include <QTemporaryDir>
#include <QUrl>

#include <array>
#include <cstring>
#include <set>

#include <sys/inotify.h>
#include <unistd.h>

using namespace zuLogging;
using namespace zuLogging::test;

namespace {

class OpenFiles : public AppFixture
{
protected:
    QString write(const char* name, const QByteArray& bytes) const
    {
        QFile file(directory.filePath(QString::fromUtf8(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(bytes), bytes.size());
        return file.fileName();
    }
    int rows() const { return holder->messageView()->fullModel()->rowCount(); }

    /// Drags `urls` over the window and lets go of them. False when the window does not want them.
    bool drop(const QList<QUrl>& urls, Qt::DropActions actions = Qt::CopyAction | Qt::MoveAction)
    {
        QMimeData data;
        data.setUrls(urls);
        const auto buttons = Qt::LeftButton;
        QDragEnterEvent enter(QPoint(50, 50), actions, &data, buttons, Qt::NoModifier);
        QCoreApplication::sendEvent(holder.get(), &enter);
        if (!enter.isAccepted())
            return false;
        EXPECT_EQ(enter.dropAction(), Qt::CopyAction);
        QDropEvent dropped(QPointF(50, 50), actions, &data, buttons, Qt::NoModifier);
        dropped.setDropAction(Qt::MoveAction); // what a file manager may propose
        QCoreApplication::sendEvent(holder.get(), &dropped);
        EXPECT_EQ(dropped.dropAction(), Qt::CopyAction);
        return dropped.isAccepted();
    }

    QTemporaryDir directory;
};

TEST_F(OpenFiles, OfTheCommandLineReachTheTableOnceTheWindowIsShown)
{
    MainView& window = openWindow();
    openFilesOnceShown(window, {write("a.log", "one\ntwo\n"), write("b.log", "three\n")});
    EXPECT_EQ(rows(), 0);
    ASSERT_TRUE(waitFor([this] { return rows() == 3; }));
    EXPECT_EQ(toQString(window.messageView()->fullModel()->messageAt(2)->logMessage()),
              QStringLiteral("three"));
}

TEST_F(OpenFiles, AWindowThatIsNotShownGetsThemALittleLater)
{
    holder = std::make_shared<MainView>(&holder);
    openFilesOnceShown(*holder, {write("a.log", "one\n")});
    EXPECT_TRUE(waitFor([this] { return rows() == 1; }));
}

TEST_F(OpenFiles, AFileThatVanishedMeanwhileIsToldInABox)
{
    MainView& window = openWindow();
    const QString path = write("a.log", "one\n");
    openFilesOnceShown(window, {path});
    ASSERT_TRUE(QFile::remove(path));
    MessageBoxWaiter user(QMessageBox::Ok);
    ASSERT_TRUE(waitFor([&] { return user.boxes().size() == 1; }));
    EXPECT_EQ(user.boxes().first().text, QStringLiteral("Failed to read file '") + path +
                                             QStringLiteral("'. No such file or directory"));
}

TEST_F(OpenFiles, DroppedOnTheWindowReachTheTable)
{
    openWindow();
    EXPECT_TRUE(holder->acceptDrops());
    EXPECT_TRUE(drop({QUrl::fromLocalFile(write("a b%.log", "one\n")),
                      QUrl::fromLocalFile(write("b.log", "two\n"))}));
    EXPECT_EQ(rows(), 0); // the drag ends first
    EXPECT_TRUE(waitFor([this] { return rows() == 2; }));
}

TEST_F(OpenFiles, DroppedOnMessagesTheUserIsAskedWhetherTheyShallGo)
{
    openWindow();
    const QUrl url = QUrl::fromLocalFile(write("a.log", "one\n"));
    EXPECT_TRUE(drop({url}));
    ASSERT_TRUE(waitFor([this] { return rows() == 1; }));
    {
        MessageBoxWaiter user(QMessageBox::No);
        EXPECT_TRUE(drop({url}));
        ASSERT_TRUE(waitFor([this] { return rows() == 2; }));
        ASSERT_EQ(user.boxes().size(), 1);
        EXPECT_EQ(user.boxes().first().text,
                  QStringLiteral("Do you want to clear the current logging?"));
    }
    MessageBoxWaiter user(QMessageBox::Yes);
    EXPECT_TRUE(drop({url}));
    EXPECT_TRUE(waitFor([this] { return rows() == 1; }));
}

TEST_F(OpenFiles, WhatIsNoFileOfThisMachineIsNotTaken)
{
    openWindow();
    const QUrl file = QUrl::fromLocalFile(write("a.log", "one\n"));
    EXPECT_FALSE(drop({}));
    EXPECT_FALSE(drop({QUrl(QStringLiteral("https://example.org/a.log"))}));
    EXPECT_FALSE(drop({file, QUrl(QStringLiteral("https://example.org/a.log"))}));
    EXPECT_FALSE(drop({QUrl(QStringLiteral("file://elsewhere/a.log"))}));
    EXPECT_FALSE(drop({file}, Qt::MoveAction)); // it would be taken away from where it is
    EXPECT_TRUE(drop({file}));
    EXPECT_TRUE(waitFor([this] { return rows() == 1; }));
}

// --- The program itself

TEST_F(OpenFiles, TheProgramTellsItsHelpAndVersionWithoutADisplay)
{
    const QStringList nowhere{QStringLiteral("QT_QPA_PLATFORM=none-such")};
    const ProgramRun help =
        runProgram(QStringLiteral("logdesk"), {QStringLiteral("--help")}, {}, nowhere);
    EXPECT_TRUE(help.ended);
    EXPECT_EQ(help.status, 0);
    EXPECT_TRUE(help.out.startsWith(QStringLiteral("Usage: logdesk ")));
    const ProgramRun version =
        runProgram(QStringLiteral("logdesk"), {QStringLiteral("--version")}, {}, nowhere);
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, QStringLiteral("logdesk 3.1.26\n"));
    EXPECT_EQ(version.err, QString());
}

TEST_F(OpenFiles, TheProgramEndsWithStatus2WhenOneOfTwoFilesIsMissing)
{
    const ProgramRun run = runProgram(QStringLiteral("logdesk"),
                                      {write("a.log", "one\n"), QStringLiteral("none-such.log")},
                                      {}, {QStringLiteral("QT_QPA_PLATFORM=offscreen")});
    EXPECT_TRUE(run.ended);
    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(run.err.endsWith(QStringLiteral("logdesk: there is no file 'none-such.log'\n")))
        << run.err.toStdString();
}

TEST_F(OpenFiles, TheProgramEndsWithStatus2ForAnUnknownOptionButKnowsTheWindowSystems)
{
    const ProgramRun run = runProgram(
        QStringLiteral("logdesk"),
        {QStringLiteral("-platform"), QStringLiteral("offscreen"), QStringLiteral("--foo")}, {},
        {QStringLiteral("QT_QPA_PLATFORM=none-such")});
    EXPECT_TRUE(run.ended);
    EXPECT_EQ(run.status, 2);
    EXPECT_TRUE(run.err.endsWith(
        QStringLiteral("logdesk: unrecognised option '--foo'; try 'logdesk --help'\n")))
        << run.err.toStdString();
}

/// Notices when a file is read by somebody.
class ReadWatch
{
public:
    ReadWatch()
        : descriptor_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
    }
    ~ReadWatch() { close(descriptor_); }
    ReadWatch(const ReadWatch&) = delete;
    ReadWatch& operator=(const ReadWatch&) = delete;

    void add(const QString& path)
    {
        EXPECT_GE(inotify_add_watch(descriptor_, QFile::encodeName(path).constData(), IN_ACCESS),
                  0);
    }
    /// So many files were read since the watch began.
    std::size_t filesRead()
    {
        std::array<char, 4096> buffer;
        const ssize_t count = read(descriptor_, buffer.data(), buffer.size());
        for (ssize_t at = 0; at < count;) {
            inotify_event event;
            std::memcpy(&event, buffer.data() + at, sizeof event);
            if ((event.mask & IN_ACCESS) != 0)
                read_.insert(event.wd);
            at += static_cast<ssize_t>(sizeof event + event.len);
        }
        return read_.size();
    }

private:
    int descriptor_;
    std::set<int> read_;
};

TEST_F(OpenFiles, TheProgramReadsTheFilesOfItsCommandLine)
{
    const PublishedService service;
    ReadWatch watch;
    watch.add(write("a.log", "one\n"));
    watch.add(write("-b.log", "two\n"));
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    program.setProcessEnvironment(environment);
    program.setWorkingDirectory(directory.path());
    program.start(programPath(QStringLiteral("logdesk")),
                  {QStringLiteral("a.log"), QStringLiteral("--"), QStringLiteral("-b.log")});
    EXPECT_TRUE(waitFor([&] { return watch.filesRead() == 2; }, 30000));
    EXPECT_EQ(program.state(), QProcess::Running);
    program.terminate();
    EXPECT_TRUE(program.waitForFinished(10000));
}

} // namespace
