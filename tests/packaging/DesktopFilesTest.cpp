// The files by which a desktop knows the program, as the desktop's own tools judge them.

#include "tests/packaging/PackagingSupport.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/VirtualDisplay.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using test::runSystemTool;
using test::ToolOutput;

const QString desktopName = QStringLiteral("example.arvenza.LogDesk.desktop");
const QString metainfoName = QStringLiteral("example.arvenza.LogDesk.metainfo.xml");

/// A copy under the same name in which `before` has become `after`.
class ChangedCopy
{
public:
    ChangedCopy(const QString& name, const char* before, const char* after)
        : name_(name)
    {
        QString text = test::textOf(test::packagingFile(name));
        EXPECT_TRUE(text.contains(QLatin1String(before))) << before;
        text.replace(QLatin1String(before), QLatin1String(after));
        QFile file(path());
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text.toUtf8());
    }
    QString path() const { return folder_.filePath(name_); }

private:
    QTemporaryDir folder_;
    QString name_;
};

ToolOutput validateDesktop(const QString& path)
{
    return runSystemTool(QStringLiteral("desktop-file-validate"), {path});
}

ToolOutput validateMetainfo(const QString& path)
{
    return runSystemTool(QStringLiteral("appstreamcli"),
                         {QStringLiteral("validate"), QStringLiteral("--no-net"),
                          QStringLiteral("--no-color"), path},
                         {QStringLiteral("LC_ALL=C.UTF-8")});
}

TEST(DesktopFile, IsValidWithoutAWord)
{
    const ToolOutput run = validateDesktop(test::packagingFile(desktopName));
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out + run.err, QString());
}

TEST(DesktopFile, AMistakeWouldBeNoticed)
{
    const ChangedCopy copy(desktopName, "Terminal=false", "Terminal=perhaps");
    EXPECT_NE(validateDesktop(copy.path()).status, 0);
}

TEST(Metainfo, IsValid)
{
    const ToolOutput run = validateMetainfo(test::packagingFile(metainfoName));
    EXPECT_EQ(run.status, 0) << run.out.toStdString();
    // The one note is that the organisation's domain is none that the tool knows.
    static const QRegularExpression note(QStringLiteral("^[EWI]: .*$"),
                                         QRegularExpression::MultilineOption);
    for (auto notes = note.globalMatch(run.out); notes.hasNext();) {
        const QString text = notes.next().captured();
        EXPECT_TRUE(text.contains(QLatin1String("cid-maybe-not-rdns"))) << text.toStdString();
    }
}

TEST(Metainfo, AMistakeWouldBeNoticed)
{
    const ChangedCopy copy(metainfoName, "<metadata_license>MIT<", "<metadata_license>None such<");
    EXPECT_NE(validateMetainfo(copy.path()).status, 0);
}

TEST(DesktopFile, WhatPeopleReadIsThereInGermanToo)
{
    const QString desktop = test::textOf(test::packagingFile(desktopName));
    for (const char* key : {"GenericName", "Comment", "Keywords"})
        for (const char* language : {"", "[de]"})
            EXPECT_TRUE(desktop.contains(QLatin1Char('\n') + QLatin1String(key) +
                                         QLatin1String(language) + QLatin1Char('=')))
                << key << language;
    // The name is the same in every language.
    EXPECT_FALSE(desktop.contains(QLatin1String("\nName[de]=")));

    const QString metainfo = test::textOf(test::packagingFile(metainfoName));
    for (const char* element : {"summary", "p", "li"}) {
        const QString name = QLatin1String(element);
        const int english = metainfo.count(QStringLiteral("<%1>").arg(name));
        EXPECT_GE(english, 1) << element;
        EXPECT_EQ(metainfo.count(QStringLiteral("<%1 xml:lang=\"de\">").arg(name)), english)
            << element;
    }
}

TEST(DesktopFile, TheDesktopFindsItByTheWindow)
{
    const test::VirtualDisplay display;
    ASSERT_FALSE(display.name().isEmpty()) << "no Xvfb";
    test::ServiceProcess service;
    ASSERT_TRUE(service.start());
    QProcess program;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), display.name());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
    program.setProcessEnvironment(environment);
    program.start(test::programPath(QStringLiteral("logdesk")), QStringList());

    static const QRegularExpression line(QStringLiteral("^StartupWMClass=(.*)$"),
                                         QRegularExpression::MultilineOption);
    const QString windowClass =
        line.match(test::textOf(test::packagingFile(desktopName))).captured(1);
    ASSERT_FALSE(windowClass.isEmpty());
    const QStringList here{QStringLiteral("DISPLAY=") + display.name()};
    const ToolOutput window = runSystemTool(
        QStringLiteral("xdotool"),
        {QStringLiteral("search"), QStringLiteral("--sync"), QStringLiteral("--onlyvisible"),
         QStringLiteral("--name"), QStringLiteral("Arvenza LogDesk")},
        here, 30000);
    const ToolOutput found =
        runSystemTool(QStringLiteral("xprop"),
                      {QStringLiteral("-id"), window.out.section(QLatin1Char('\n'), 0, 0),
                       QStringLiteral("WM_CLASS")},
                      here);
    EXPECT_EQ(found.out.trimmed(),
              QStringLiteral("WM_CLASS(STRING) = \"logdesk\", \"%1\"").arg(windowClass));
    program.kill();
    program.waitForFinished(5000);
    EXPECT_EQ(service.terminate(), 0);
}

} // namespace
} // namespace zuLogging
