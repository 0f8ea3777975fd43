// The packages that CPack makes of this build. ctest has them made before the first of these.

#include "tests/packaging/PackagingSupport.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace zuLogging {
namespace {

using test::runSystemTool;
using test::ToolOutput;

const QStringList packageNames{QStringLiteral("libzulog-dev"), QStringLiteral("libzulog1"),
                               QStringLiteral("logdesk"), QStringLiteral("zulog"),
                               QStringLiteral("zulogsvc")};

/// Empty, and the test has failed, when there is not exactly one.
QString packageFile(const QString& name)
{
    const QDir folder(QStringLiteral(LOGDESK_PACKAGES_DIR));
    const QStringList files = folder.entryList({name + QStringLiteral("_*.deb")}, QDir::Files);
    if (files.size() != 1) {
        ADD_FAILURE() << files.size() << " packages " << name.toStdString()
                      << "; ctest makes them before it runs this";
        return {};
    }
    return folder.filePath(files.first());
}

QString field(const QString& package, const char* name)
{
    const ToolOutput run =
        runSystemTool(QStringLiteral("dpkg-deb"),
                      {QStringLiteral("-f"), packageFile(package), QString::fromUtf8(name)});
    EXPECT_EQ(run.status, 0) << run.err.toStdString();
    return run.out.trimmed();
}

/// Everything of a package in a folder: its files, and "DEBIAN" with what the package manager
/// reads.
class UnpackedPackage
{
public:
    explicit UnpackedPackage(const QString& name)
    {
        const ToolOutput run = runSystemTool(QStringLiteral("dpkg-deb"),
                                             {QStringLiteral("-R"), packageFile(name), folder()});
        EXPECT_EQ(run.status, 0) << run.err.toStdString();
    }

    QString folder() const { return folder_.filePath(QStringLiteral("root")); }
    QString path(const QString& relative) const { return folder() + QLatin1Char('/') + relative; }
    QStringList control() const
    {
        return QDir(path(QStringLiteral("DEBIAN"))).entryList(QDir::Files, QDir::Name);
    }
    /// Without symbolic links, sorted.
    QStringList files() const
    {
        QStringList files;
        for (QDirIterator i(folder(), QDir::Files | QDir::NoSymLinks, QDirIterator::Subdirectories);
             i.hasNext();)
            files.append(QDir(folder()).relativeFilePath(i.next()));
        files = files.filter(QRegularExpression(QStringLiteral("^(?!DEBIAN/)")));
        files.sort();
        return files;
    }

private:
    QTemporaryDir folder_;
};

ToolOutput lintian(const QStringList& files)
{
    return runSystemTool(QStringLiteral("lintian"),
                         QStringList{QStringLiteral("--fail-on"), QStringLiteral("error,warning"),
                                     QStringLiteral("--tag-display-limit"), QStringLiteral("0")} +
                             files,
                         {}, 200000);
}

class Package : public testing::TestWithParam<const char*>
{
protected:
    static QString name() { return QString::fromUtf8(GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(All, Package,
                         testing::Values("libzulog-dev", "libzulog1", "logdesk", "zulog",
                                         "zulogsvc"),
                         [](const auto& package) {
                             std::string name = package.param;
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });

TEST(Packages, AreTheseAndNoOthers)
{
    QStringList expected;
    for (const QString& name : packageNames)
        expected.append(QFileInfo(packageFile(name)).fileName());
    EXPECT_EQ(QDir(QStringLiteral(LOGDESK_PACKAGES_DIR))
                  .entryList(QDir::Files, QDir::Name | QDir::LocaleAware),
              expected);
}

TEST(Packages, LintianHasNoErrorAndNoWarning)
{
    QStringList files;
    for (const QString& name : packageNames)
        files.append(packageFile(name));
    const ToolOutput run = lintian(files);
    EXPECT_EQ(run.status, 0) << run.out.toStdString() << run.err.toStdString();
    EXPECT_EQ(run.out, QString());
}

TEST(Packages, LintianWouldNotice)
{
    const UnpackedPackage package(QStringLiteral("zulog"));
    ASSERT_TRUE(QFile::remove(package.path(QStringLiteral("usr/share/man/man1/zulog.1.gz"))));
    QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("zulog.deb"));
    ASSERT_EQ(
        runSystemTool(QStringLiteral("dpkg-deb"), {QStringLiteral("--root-owner-group"),
                                                   QStringLiteral("-b"), package.folder(), file})
            .status,
        0);
    const ToolOutput run = lintian({file});
    EXPECT_NE(run.status, 0);
    EXPECT_TRUE(run.out.contains(QLatin1String("no-manual-page"))) << run.out.toStdString();
}

TEST_P(Package, SaysWhatItIs)
{
    EXPECT_EQ(field(name(), "Package"), name());
    EXPECT_EQ(field(name(), "Source"), QStringLiteral("logdesk"));
    EXPECT_EQ(field(name(), "Version"), QStringLiteral(LOGDESK_VERSION "-1"));
    EXPECT_TRUE(field(name(), "Maintainer").contains(QLatin1Char('@')));
    EXPECT_TRUE(field(name(), "Homepage").startsWith(QLatin1String("https://arvenza.example/")));
    // A first line for lists, and what is behind it.
    const QStringList description = field(name(), "Description").split(QLatin1Char('\n'));
    ASSERT_GE(description.size(), 3);
    EXPECT_LE(description.first().size(), 60);

    static const std::map<QString, QString> sections{
        {QStringLiteral("libzulog-dev"), QStringLiteral("libdevel")},
        {QStringLiteral("libzulog1"), QStringLiteral("libs")}};
    const auto section = sections.find(name());
    EXPECT_EQ(field(name(), "Section"),
              section == sections.end() ? QStringLiteral("admin") : section->second);
}

TEST_P(Package, HasASumForEveryFile)
{
    const UnpackedPackage package(name());
    QStringList listed;
    const QString sums = test::textOf(package.path(QStringLiteral("DEBIAN/md5sums")));
    for (const QString& line : sums.split(QLatin1Char('\n')))
        if (!line.isEmpty())
            listed.append(line.section(QStringLiteral("  "), 1));
    listed.sort();
    EXPECT_EQ(listed, package.files());
    const ToolOutput run = runSystemTool(
        QStringLiteral("sh"),
        {QStringLiteral("-c"), QStringLiteral("cd \"$1\" && md5sum --check --quiet DEBIAN/md5sums"),
         QStringLiteral("sh"), package.folder()});
    EXPECT_EQ(run.status, 0) << run.err.toStdString();
}

TEST_P(Package, HasTheLicenceAndTheChanges)
{
    const UnpackedPackage package(name());
    const QString documents = QStringLiteral("usr/share/doc/") + name();
    EXPECT_TRUE(test::textOf(package.path(documents + QStringLiteral("/copyright")))
                    .endsWith(test::textOf(test::sourcePath(QStringLiteral("LICENSE")))));

    const QString changes = package.path(documents + QStringLiteral("/changelog.Debian.gz"));
    const ToolOutput text = runSystemTool(QStringLiteral("zcat"), {changes});
    EXPECT_TRUE(text.out.startsWith(QStringLiteral("logdesk (" LOGDESK_VERSION "-1) ")));
    QFile file(changes);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray start = file.read(9);
    EXPECT_EQ(start.mid(3, 6), QByteArray("\0\0\0\0\0\2", 6)) << "no name, no time, best";

    EXPECT_EQ(runSystemTool(QStringLiteral("zcat"),
                            {package.path(documents + QStringLiteral("/changelog.gz"))})
                  .out,
              test::textOf(test::sourcePath(QStringLiteral("CHANGELOG.md"))));
}

TEST_P(Package, BelongsToRootAndCanBeReadByAll)
{
    const ToolOutput run =
        runSystemTool(QStringLiteral("dpkg-deb"), {QStringLiteral("-c"), packageFile(name())});
    static const QRegularExpression good(
        QStringLiteral("^(drwxr-xr-x|-rw-r--r--|-rwxr-xr-x|lrwxrwxrwx) root/root "));
    for (const QString& line : run.out.trimmed().split(QLatin1Char('\n')))
        EXPECT_TRUE(good.match(line).hasMatch()) << line.toStdString();
}

TEST_P(Package, HasNoScriptThatItDoesNotNeed)
{
    static const std::map<QString, QStringList> expected{
        {QStringLiteral("zulogsvc"),
         {QStringLiteral("postinst"), QStringLiteral("postrm"), QStringLiteral("prerm")}},
        {QStringLiteral("libzulog1"), {QStringLiteral("shlibs"), QStringLiteral("triggers")}}};
    QStringList control = UnpackedPackage(name()).control();
    control.removeAll(QStringLiteral("control"));
    control.removeAll(QStringLiteral("md5sums"));
    const auto own = expected.find(name());
    EXPECT_EQ(control, own == expected.end() ? QStringList() : own->second);
}

TEST(Packages, KnowWhatTheyNeed)
{
    const auto needs = [](const char* package, const char* other, const char* how = "Depends") {
        return field(QString::fromUtf8(package), how)
            .contains(QRegularExpression(QStringLiteral("(^|, )%1\\b").arg(QLatin1String(other))));
    };
    EXPECT_TRUE(needs("logdesk", "libqt5widgets5"));
    EXPECT_TRUE(needs("logdesk", "zulogsvc", "Recommends"));
    EXPECT_TRUE(needs("zulog", "libc6"));
    EXPECT_FALSE(needs("zulog", "libqt5gui5"));
    EXPECT_TRUE(needs("zulogsvc", "systemd"));
    EXPECT_FALSE(needs("libzulog1", "libqt5core5a"));
    EXPECT_EQ(field(QStringLiteral("libzulog-dev"), "Depends"),
              QStringLiteral("libzulog1 (= " LOGDESK_VERSION "-1)"));
}

TEST(Packages, TheLibraryTellsWhoIsBuiltWithItWhatToDependOn)
{
    const UnpackedPackage package(QStringLiteral("libzulog1"));
    EXPECT_EQ(test::textOf(package.path(QStringLiteral("DEBIAN/shlibs"))).trimmed(),
              QStringLiteral("libzulog 1 libzulog1 (>= " LOGDESK_VERSION "-1)"));
    EXPECT_EQ(test::textOf(package.path(QStringLiteral("DEBIAN/triggers"))).trimmed(),
              QStringLiteral("activate-noawait ldconfig"));
}

TEST(Packages, NothingNamesTheFolderWhereTheyWereMade)
{
    for (const QString& name : packageNames) {
        const UnpackedPackage package(name);
        for (const QString& path : package.files()) {
            if (path.startsWith(QLatin1String("usr/bin/")) || path.contains(QLatin1String(".so.")))
                continue; // the compiler's own traces of a build for development
            QFile file(package.path(path));
            ASSERT_TRUE(file.open(QIODevice::ReadOnly));
            EXPECT_FALSE(file.readAll().contains(LOGDESK_BINARY_DIR)) << path.toStdString();
        }
    }
}

} // namespace
} // namespace zuLogging
