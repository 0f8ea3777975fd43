#include "app/UserGuide.h"
#include "app/MarkdownHtml.h"
#include "tests/app/AppFixture.h"
#include "tests/app/Browser.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>
#include <QTextDocument>
#include <QUrl>

#include <gtest/gtest.h>

namespace zuLogging::test {
namespace {

QString htmlOf(const char* markdown)
{
    return markdownToHtml(QString::fromUtf8(markdown)).remove(QLatin1Char('\n'));
}

TEST(MarkdownHtml, ParagraphsAreJoinedLines)
{
    EXPECT_EQ(htmlOf("one\ntwo\n\nthree"), QStringLiteral("<p>one two</p><p>three</p>"));
}

TEST(MarkdownHtml, HeadingsHaveTheAnchorsThatLinksName)
{
    EXPECT_EQ(
        htmlOf("## Who may do `what`?"),
        QStringLiteral("<h2><a name=\"who-may-do-what\"></a>Who may do <code>what</code>?</h2>"));
    EXPECT_EQ(htmlOf("#no heading"), QStringLiteral("<p>#no heading</p>"));
    EXPECT_EQ(htmlOf("####### none"), QStringLiteral("<p>####### none</p>"));
}

TEST(MarkdownHtml, InlineMarksAreShownAndTheirTextsEscaped)
{
    EXPECT_EQ(htmlOf("a **b** `<c & *d*>` [e](f.md#g) *h*"),
              QStringLiteral("<p>a <b>b</b> <code>&lt;c &amp; *d*&gt;</code> "
                             "<a href=\"f.md#g\">e</a> <i>h</i></p>"));
    EXPECT_EQ(htmlOf("![x \"y\"](images/z.png)"),
              QStringLiteral("<p><img src=\"images/z.png\" alt=\"x &quot;y&quot;\"></p>"));
}

TEST(MarkdownHtml, HtmlInTheTextIsShownAsItIsWritten)
{
    EXPECT_EQ(htmlOf("<script>x</script>"),
              QStringLiteral("<p>&lt;script&gt;x&lt;/script&gt;</p>"));
}

TEST(MarkdownHtml, AnOpeningWithoutAnEndIsText)
{
    EXPECT_EQ(htmlOf("`a **b [c](d"), QStringLiteral("<p>`a **b [c](d</p>"));
}

TEST(MarkdownHtml, IndentedAndFencedBlocksAreShownAsTheyAre)
{
    EXPECT_EQ(markdownToHtml(QStringLiteral("a\n\n    x **y**\n\n      z\n\nb")),
              QStringLiteral("<p>a</p>\n<pre>x **y**\n\n  z</pre>\n<p>b</p>\n"));
    EXPECT_EQ(markdownToHtml(QStringLiteral("```sh\na | b\n\n# c\n```\nd")),
              QStringLiteral("<pre>a | b\n\n# c</pre>\n<p>d</p>\n"));
    EXPECT_EQ(markdownToHtml(QStringLiteral("```\nno end")), QStringLiteral("<pre>no end</pre>\n"));
}

TEST(MarkdownHtml, TablesHaveAHeadAndCells)
{
    const QString html = htmlOf("| a | b |\n|---|---|\n| `c|d` | e \\| f |\n\ng");
    EXPECT_TRUE(html.contains(QStringLiteral(
        "<tr><th align=\"left\">a</th><th align=\"left\">b</th></tr>"
        "<tr><td align=\"left\"><code>c|d</code></td><td align=\"left\">e | f</td></tr></table>"
        "<p>g</p>")))
        << html.toStdString();
}

TEST(MarkdownHtml, ItemsHoldParagraphsBlocksAndItems)
{
    EXPECT_EQ(htmlOf("- a\n  b\n- c\n\n      d\n\n  e\n\nh\n\n1. f\n2. g"),
              QStringLiteral("<ul><li><p>a b</p></li><li><p>c</p><pre>d</pre><p>e</p></li></ul>"
                             "<p>h</p><ol><li><p>f</p></li><li><p>g</p></li></ol>"));
    EXPECT_EQ(htmlOf("- a\n  - b\n  - c\n- d"),
              QStringLiteral("<ul><li><p>a</p><ul><li><p>b</p></li><li><p>c</p></li></ul></li>"
                             "<li><p>d</p></li></ul>"));
}

TEST(MarkdownHtml, TextOfAnyKindComesToAnEnd)
{
    QString deep;
    for (int i = 0; i < 2000; ++i)
        deep += QLatin1String("- ");
    EXPECT_FALSE(markdownToHtml(deep).isEmpty());
    EXPECT_FALSE(markdownToHtml(QString(100000, QLatin1Char('['))).isEmpty());
    EXPECT_FALSE(markdownToHtml(QString(100000, QLatin1Char('*'))).isEmpty());
    EXPECT_TRUE(markdownToHtml(QString(100000, QLatin1Char('\n'))).isEmpty());
}

/// The sources' own guide, and a folder of the test's.
class UserGuideTest : public AppFixture
{
protected:
    static QString documents() { return QStringLiteral(LOGDESK_SOURCE_DIR "/docs"); }

    void write(const char* name, const char* text)
    {
        QFile file(folder.filePath(QString::fromLatin1(name)));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }

    QTemporaryDir folder;
};

TEST_F(UserGuideTest, EveryPictureAndLinkOfTheGuideIsFound)
{
    UserGuide guide(documents(), nullptr);
    ASSERT_TRUE(guide.open(QStringLiteral("user-guide.md")));
    EXPECT_EQ(guide.windowTitle(), QStringLiteral("LogDesk user guide"));
    int pictures = 0;
    int links = 0;
    QSet<QString> names;
    const QTextDocument* document = guide.document();
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next())
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            const QTextCharFormat format = part.fragment().charFormat();
            for (const QString& name : format.anchorNames())
                names.insert(name);
            if (format.isImageFormat()) {
                const QUrl name(format.toImageFormat().name());
                EXPECT_FALSE(
                    document->resource(QTextDocument::ImageResource, name).value<QImage>().isNull())
                    << name.toString().toStdString();
                ++pictures;
            }
        }
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next())
        for (auto part = block.begin(); !part.atEnd(); ++part) {
            const QString link = part.fragment().charFormat().anchorHref();
            if (link.isEmpty())
                continue;
            ++links;
            if (link.startsWith(QLatin1Char('#'))) {
                EXPECT_TRUE(names.contains(link.mid(1))) << link.toStdString();
            } else {
                EXPECT_TRUE(UserGuide(documents(), nullptr).open(link)) << link.toStdString();
            }
        }
    EXPECT_GE(pictures, 8);
    EXPECT_GE(links, 3);
}

TEST_F(UserGuideTest, LinksLeadToOtherPagesAndBack)
{
    write("user-guide.md", "# First\n\n[other](second.md#there)\n");
    write("second.md", "# Second\n\ntext\n\n## There\n");
    UserGuide guide(folder.path(), nullptr);
    ASSERT_TRUE(guide.open(QStringLiteral("user-guide.md")));
    Q_EMIT guide.anchorClicked(QUrl(QStringLiteral("second.md#there")));
    EXPECT_EQ(guide.page(), QStringLiteral("second.md"));
    EXPECT_EQ(guide.windowTitle(), QStringLiteral("Second"));
    QTest::keyClick(&guide, Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(guide.page(), QStringLiteral("user-guide.md"));
    QTest::keyClick(&guide, Qt::Key_Backspace);
    EXPECT_EQ(guide.windowTitle(), QStringLiteral("First"));
}

TEST_F(UserGuideTest, ALinkToAPlaceScrollsThere)
{
    QByteArray text = "# First\n";
    for (int i = 0; i < 300; ++i)
        text += "\ntext\n";
    write("user-guide.md", (text + "\n## There\n").constData());
    UserGuide guide(folder.path(), nullptr);
    guide.resize(300, 200);
    guide.setVisible(true);
    ASSERT_TRUE(guide.open(QStringLiteral("user-guide.md")));
    EXPECT_EQ(guide.verticalScrollBar()->value(), 0);
    EXPECT_TRUE(guide.open(QStringLiteral("#there")));
    EXPECT_GT(guide.verticalScrollBar()->value(), 1000);
    guide.backward();
    EXPECT_EQ(guide.verticalScrollBar()->value(), 0);
}

TEST_F(UserGuideTest, APageThatIsNotThereOrLiesElsewhereChangesNothing)
{
    write("user-guide.md", "# First\n");
    UserGuide guide(folder.path(), nullptr);
    ASSERT_TRUE(guide.open(QStringLiteral("user-guide.md")));
    for (const char* link : {"none.md", "../user-guide.md", "/etc/passwd", "images"})
        EXPECT_FALSE(guide.open(QString::fromLatin1(link))) << link;
    EXPECT_EQ(guide.page(), QStringLiteral("user-guide.md"));
    EXPECT_EQ(guide.windowTitle(), QStringLiteral("First"));
}

TEST_F(UserGuideTest, TheFirstFolderWithAGuideIsTaken)
{
    EXPECT_EQ(UserGuide::folderAmong({}), QString());
    EXPECT_EQ(UserGuide::folderAmong({folder.path(), documents()}), documents());
    write("user-guide.md", "# First\n");
    EXPECT_EQ(UserGuide::folderAmong({folder.path(), documents()}), folder.path());
}

TEST_F(UserGuideTest, ItIsLookedForWhereItIsInstalledAndInTheSources)
{
    const QStringList folders = UserGuide::foldersFor(QStringLiteral("/opt/x/bin"));
    EXPECT_EQ(folders.value(0), QStringLiteral("/opt/x/share/doc/logdesk"));
    EXPECT_TRUE(folders.value(1).endsWith(QStringLiteral("/share/doc/logdesk")));
    EXPECT_TRUE(UserGuide::foldersFor(QStringLiteral("/home/me/logdesk/build/dev/bin"))
                    .contains(QStringLiteral("/home/me/logdesk/docs")));
}

UserGuide* guideOf(MainView& window)
{
    return window.findChild<UserGuide*>(QString(), Qt::FindDirectChildrenOnly);
}

TEST_F(UserGuideTest, TheOneInTheNetIsOpenedWhereThatIsPossible)
{
    MainView& window = openWindow();
    const Browser browser;
    QMetaObject::invokeMethod(&window, "openHelp");
    ASSERT_EQ(browser.opened.size(), 1);
    EXPECT_TRUE(browser.opened.first().path().contains(QStringLiteral("/3.1/")))
        << browser.opened.first().toString().toStdString();
    EXPECT_EQ(guideOf(window), nullptr);
}

TEST_F(UserGuideTest, TheOneOnThisMachineIsShownWhereItIsNot)
{
    MainView& window = openWindow();
    // Without a display nothing opens addresses.
    QMetaObject::invokeMethod(&window, "openHelp");
    UserGuide* guide = guideOf(window);
    ASSERT_NE(guide, nullptr);
    EXPECT_TRUE(guide->isVisible());
    EXPECT_TRUE(guide->isWindow());
    EXPECT_FALSE(guide->accessibleName().isEmpty());
    EXPECT_EQ(guide->page(), QStringLiteral("user-guide.md"));

    QMetaObject::invokeMethod(&window, "openHelp");
    EXPECT_EQ(window.findChildren<UserGuide*>(QString(), Qt::FindDirectChildrenOnly).size(), 1);

    QTest::keyClick(guide, Qt::Key_Escape);
    EXPECT_TRUE(waitFor([&] { return guideOf(window) == nullptr; }));
}

} // namespace
} // namespace zuLogging::test
