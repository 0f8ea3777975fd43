#include "app/UserGuide.h"

#include "app/MarkdownHtml.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QFontMetrics>
#include <QImage>
#include <QKeyEvent>
#include <QRegularExpression>
#include <QScrollBar>
#include <QStringList>
#include <QUrl>

namespace zuLogging {

namespace {

const char firstPage[] = "user-guide.md";

/// Build folders lie so deep in the sources at most.
constexpr int stepsToSources = 3;

/// Images are shown no wider.
constexpr int widestImage = 720;

QString titleOf(const QString& markdown)
{
    static const QRegularExpression heading(QStringLiteral("^# +(.*)$"),
                                            QRegularExpression::MultilineOption);
    return heading.match(markdown).captured(1).trimmed();
}

} // namespace

bool UserGuide::show(QWidget* owner)
{
    auto* guide = owner->findChild<UserGuide*>(QString(), Qt::FindDirectChildrenOnly);
    if (guide == nullptr) {
        const QString folder = folderAmong(foldersFor(QCoreApplication::applicationDirPath()));
        if (folder.isEmpty())
            return false;
        guide = new UserGuide(folder, owner);
        if (!guide->open(QString::fromLatin1(firstPage))) {
            delete guide;
            return false;
        }
    }
    guide->setVisible(true);
    guide->raise();
    guide->activateWindow();
    return true;
}

QString UserGuide::folderAmong(const QStringList& folders)
{
    for (const QString& folder : folders)
        if (QFileInfo(QDir(folder).filePath(QString::fromLatin1(firstPage))).isFile())
            return folder;
    return {};
}

QStringList UserGuide::foldersFor(const QString& programFolder)
{
    const QDir program(programFolder);
    QStringList folders{
        QDir::cleanPath(program.filePath(QStringLiteral(LOGDESK_DOC_DIR_FROM_PROGRAM))),
        QStringLiteral(LOGDESK_DOC_DIR)};
    QString up = QStringLiteral("..");
    for (int i = 0; i < stepsToSources; ++i, up += QLatin1String("/.."))
        folders.append(QDir::cleanPath(program.filePath(up + QLatin1String("/docs"))));
    return folders;
}

UserGuide::UserGuide(const QString& folder, QWidget* owner)
    : QTextBrowser(owner)
    , folder_(folder)
{
    setWindowFlag(Qt::Window);
    setAttribute(Qt::WA_DeleteOnClose);
    setOpenLinks(false);
    document()->setDocumentMargin(fontMetrics().averageCharWidth() * 2);
    connect(this, &QTextBrowser::anchorClicked, this, &UserGuide::followLink);
    const QFontMetrics metrics(font());
    resize(metrics.averageCharWidth() * 110, metrics.lineSpacing() * 45);
}

bool UserGuide::open(const QString& link)
{
    const int hash = link.indexOf(QLatin1Char('#'));
    const QString page = hash < 0 ? link : link.left(hash);
    const Place from{page_, verticalScrollBar()->value()};
    if (!page.isEmpty() && page != page_ && !load(page))
        return false;
    if (!from.page.isEmpty())
        history_.append(from);
    if (hash >= 0)
        scrollToAnchor(link.mid(hash + 1));
    else
        verticalScrollBar()->setValue(0);
    return true;
}

void UserGuide::backward()
{
    if (history_.isEmpty())
        return;
    const Place place = history_.takeLast();
    if (place.page == page_ || load(place.page))
        verticalScrollBar()->setValue(place.scrollValue);
}

void UserGuide::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape)
        close();
    else if (event->key() == Qt::Key_Backspace)
        backward();
    else
        QTextBrowser::keyPressEvent(event);
}

void UserGuide::followLink(const QUrl& link)
{
    if (link.isRelative())
        open(link.toString());
    else
        QDesktopServices::openUrl(link);
}

bool UserGuide::load(const QString& page)
{
    QFile file(QDir(folder_).filePath(page));
    // Only what lies beside the guide: it links to nothing else.
    if (page.contains(QLatin1Char('/')) || !page.endsWith(QLatin1String(".md")) ||
        !file.open(QIODevice::ReadOnly) || file.size() > maximumPage)
        return false;
    const QString markdown = QString::fromUtf8(file.read(maximumPage));
    page_ = page;
    setHtml(markdownToHtml(markdown));
    const QString title = titleOf(markdown);
    setWindowTitle(title);
    setAccessibleName(title);
    return true;
}

/// The pictures; nothing that is not below the guide's folder.
QVariant UserGuide::loadResource(int type, const QUrl& name)
{
    const QString path = name.toString();
    if (type != QTextDocument::ImageResource || !name.isRelative() ||
        path.contains(QLatin1String("..")))
        return {};
    const QImage image(QDir(folder_).filePath(path));
    return image.width() > widestImage ? image.scaledToWidth(widestImage, Qt::SmoothTransformation)
                                       : image;
}

} // namespace zuLogging
