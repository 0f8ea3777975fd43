// The names by which files of different kinds mean the same thing.

#include "tests/packaging/PackagingSupport.h"

#include <QDir>
#include <QImage>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <algorithm>

namespace zuLogging {
namespace {

using test::packagingFile;
using test::sourcePath;
using test::textOf;

const QString id = QStringLiteral("example.arvenza.LogDesk");

/// The group of `pattern` in the text, where it stands exactly once.
QString only(const QString& text, const QString& pattern)
{
    const QRegularExpression expression(pattern, QRegularExpression::MultilineOption);
    QStringList found;
    for (auto i = expression.globalMatch(text); i.hasNext();)
        found.append(i.next().captured(1));
    EXPECT_EQ(found.size(), 1) << pattern.toStdString();
    return found.isEmpty() ? QString() : found.first();
}

QStringList every(const QString& text, const QString& pattern)
{
    QStringList found;
    for (auto i = QRegularExpression(pattern).globalMatch(text); i.hasNext();)
        found.append(i.next().captured(1));
    return found;
}

class Identifiers : public testing::Test
{
protected:
    QString ofDesktop(const char* key) const
    {
        return only(desktop_, QStringLiteral("^%1=(.*)$").arg(QLatin1String(key)));
    }
    QString ofMetainfo(const char* element) const
    {
        return only(metainfo_, QStringLiteral("<%1[^>]*>([^<]*)</").arg(QLatin1String(element)));
    }

    const QString desktop_ = textOf(packagingFile(id + QStringLiteral(".desktop")));
    const QString metainfo_ = textOf(packagingFile(id + QStringLiteral(".metainfo.xml")));
    const QString application_ = textOf(sourcePath(QStringLiteral("app/Application.cpp")));
};

TEST_F(Identifiers, TheProgramsIsItsOrganisationsDomainBackwardsAndItsName)
{
    const auto given = [this](const char* setter) {
        return only(
            application_,
            QStringLiteral("::%1\\(QStringLiteral\\(\"([^\"]*)\"").arg(QLatin1String(setter)));
    };
    QStringList words = given("setOrganizationDomain").split(QLatin1Char('.'));
    std::reverse(words.begin(), words.end());
    words.append(given("setApplicationName"));
    EXPECT_EQ(words.join(QLatin1Char('.')), id);
    EXPECT_EQ(given("setDesktopFileName"), id);
    EXPECT_EQ(ofDesktop("Name"), given("setApplicationName"));
    EXPECT_EQ(ofMetainfo("name"), given("setApplicationName"));
}

TEST_F(Identifiers, MenuEntryMetainfoAndIconHaveTheSame)
{
    EXPECT_EQ(ofMetainfo("id"), id);
    EXPECT_EQ(ofMetainfo("launchable"), id + QStringLiteral(".desktop"));
    EXPECT_EQ(ofMetainfo("icon"), id);
    EXPECT_EQ(ofDesktop("Icon"), id);
    const QString rules = textOf(packagingFile(QStringLiteral("CMakeLists.txt")));
    EXPECT_EQ(only(rules, QStringLiteral("^set\\(id (.*)\\)$")), id);
}

TEST_F(Identifiers, MenuEntryAndMetainfoNameTheSameProgramFilesAndKinds)
{
    EXPECT_EQ(ofDesktop("Exec"), ofMetainfo("binary") + QStringLiteral(" %F"));
    EXPECT_EQ(ofMetainfo("binary"), QStringLiteral("logdesk"));
    const auto list = [this](const char* key) {
        QStringList words = ofDesktop(key).split(QLatin1Char(';'));
        words.removeAll(QString());
        return words;
    };
    EXPECT_EQ(every(metainfo_, QStringLiteral("<mediatype>([^<]*)<")), list("MimeType"));
    QStringList categories = list("Categories");
    categories.removeAll(QStringLiteral("Qt")); // the toolkit, of no interest to a reader
    EXPECT_EQ(every(metainfo_, QStringLiteral("<category>([^<]*)<")), categories);
    EXPECT_EQ(only(desktop_, QStringLiteral("^Comment\\[de\\]=(.*)$")),
              only(metainfo_, QStringLiteral("<summary xml:lang=\"de\">([^<]*)<")));
    EXPECT_EQ(ofDesktop("Comment"), only(metainfo_, QStringLiteral("<summary>([^<]*)<")));
}

TEST_F(Identifiers, TheNewestReleaseIsThisOne)
{
    const QString day = only(textOf(sourcePath(QStringLiteral("CHANGELOG.md"))),
                             QStringLiteral("^## " LOGDESK_VERSION " - (.*)$"));
    EXPECT_EQ(every(metainfo_, QStringLiteral("<release ([^>]*)/>")).first(),
              QStringLiteral("version=\"" LOGDESK_VERSION "\" date=\"%1\"").arg(day));
    const test::ToolOutput program = test::runSystemTool(
        QStringLiteral(LOGDESK_BINARY_DIR "/bin/logdesk"), {QStringLiteral("--version")});
    EXPECT_EQ(program.out.trimmed(), QStringLiteral("logdesk " LOGDESK_VERSION));
}

TEST_F(Identifiers, EveryIconHasTheSizeThatItSays)
{
    const QString rules = textOf(packagingFile(QStringLiteral("CMakeLists.txt")));
    QStringList installed;
    for (const QString& size :
         only(rules, QStringLiteral("^foreach\\(size IN ITEMS (.*)\\)$")).split(QLatin1Char(' '))) {
        installed.append(size + QStringLiteral(".png"));
        const QImage image(packagingFile(QStringLiteral("icons/") + installed.last()));
        EXPECT_EQ(image.size(), QSize(size.toInt(), size.toInt())) << size.toStdString();
        EXPECT_TRUE(image.hasAlphaChannel()) << size.toStdString();
    }
    // The drawing is the window's, and the results are as new as it.
    for (const char* name : {"32 logging", "64 logging@2x"}) {
        const QStringList pair = QString::fromLatin1(name).split(QLatin1Char(' '));
        EXPECT_EQ(QImage(packagingFile(QStringLiteral("icons/%1.png").arg(pair.first()))),
                  QImage(sourcePath(QStringLiteral("resources/png/%1.png").arg(pair.last()))))
            << name;
    }
    QStringList drawn = QDir(packagingFile(QStringLiteral("icons"))).entryList(QDir::Files);
    drawn.sort();
    installed.sort();
    EXPECT_EQ(installed, drawn);
}

TEST_F(Identifiers, ManualPagesAndCompletionsAreCalledLikeThePrograms)
{
    struct Program
    {
        const char* name;
        const char* section;
    };
    for (const Program& program :
         {Program{"logdesk", "1"}, Program{"zulog", "1"}, Program{"zulogsvc", "8"}}) {
        const QString name = QLatin1String(program.name);
        const QString page = textOf(
            packagingFile(QStringLiteral("man/%1.%2").arg(name, QLatin1String(program.section))));
        EXPECT_TRUE(page.startsWith(
            QStringLiteral(".TH %1 %2 ").arg(name.toUpper(), QLatin1String(program.section))))
            << program.name;
        EXPECT_TRUE(page.contains(QStringLiteral("\n.SH NAME\n%1 \\- ").arg(name))) << program.name;
        const QString completion = textOf(packagingFile(QStringLiteral("completions/") + name));
        EXPECT_EQ(only(completion, QStringLiteral("^complete -F \\w+ (.*)$")), name);
    }
    EXPECT_EQ(QDir(packagingFile(QStringLiteral("man"))).entryList(QDir::Files).size(), 3);
    EXPECT_EQ(QDir(packagingFile(QStringLiteral("completions"))).entryList(QDir::Files).size(), 3);
}

TEST_F(Identifiers, EverybodyMeansTheSameServiceAndUser)
{
    const QString view = textOf(sourcePath(QStringLiteral("view/LogMessageView.cpp")));
    const QString service = only(view, QStringLiteral("serviceName = \"(.*)\";$"));
    const QString unit = textOf(packagingFile(service + QStringLiteral(".service")));
    const QString users = textOf(packagingFile(QStringLiteral("zulogsvc.sysusers")));
    const QString user = only(users, QStringLiteral("^u (\\S+) "));
    EXPECT_EQ(only(unit, QStringLiteral("^User=(.*)$")), user);
    EXPECT_EQ(only(unit, QStringLiteral("^Group=(.*)$")), user);
    const QString home = only(users, QStringLiteral("^u .* (/\\S+)$"));
    EXPECT_EQ(home,
              QStringLiteral("/var/lib/") + only(unit, QStringLiteral("^StateDirectory=(\\S+)")));

    for (const char* name : {"postinst", "prerm", "postrm"}) {
        const QString script =
            textOf(packagingFile(QStringLiteral("debian/zulogsvc/") + QLatin1String(name)));
        for (const QString& found : every(script, QStringLiteral("(\\w+)\\.service")))
            EXPECT_EQ(found, service) << name;
        for (const QString& found : every(script, QStringLiteral("(/var/lib/\\w+)")))
            EXPECT_EQ(found, home) << name;
    }
}

} // namespace
} // namespace zuLogging
