#include "tests/view/ViewTestSupport.h"
#include "view/LogCellDelegate.h"

#include <QClipboard>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QHeaderView>
#include <QLineEdit>
#include <QPixmap>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTextCodec>
#include <QTextDocument>
#include <QToolTip>

namespace zuLogging::test {
namespace {

/// Texts that a message may bring along and that nobody would write by hand.
QStringList hostileTexts()
{
    return {
        QStringLiteral("two\nlines"),
        QStringLiteral("carriage\rreturn\r\nboth"),
        QStringLiteral("\n\n\n"),
        QStringLiteral("tab\tin\tit"),
        QStringLiteral("form\ffeed\vvertical\bback\x7F"),
        QStringLiteral("line") + QChar(0x2028) + QStringLiteral("paragraph") + QChar(0x2029),
        QString(QChar(0)),
        QStringLiteral("before") + QChar(0) + QStringLiteral("after"),
        QString(QChar(0x202E)) + QStringLiteral("right to left") + QChar(0x2066),
        QStringLiteral("abc ") + QChar(0x05D0) + QChar(0x05D1) + QStringLiteral(" def"),
        QStringLiteral("byte order ") + QChar(0xFEFF) + QStringLiteral("mark") + QChar(0xFFFE) +
            QChar(0xFFFF),
        QString::fromUcs4(U"\U0001F600 in a pair"),
        QString(300, QChar(0x0301)),
        QStringLiteral("<b>bold</b><img src=\"file:///etc/passwd\"><script>alert(1)</script>"),
        QStringLiteral("<!DOCTYPE html><table><tr><td>"),
        QStringLiteral("&lt;&amp;&#0;&"),
        QStringLiteral("\"quotes\" and \\u0000 \\\\ %1 %n %s"),
        QString(100000, QLatin1Char('x')),
        QStringLiteral("word ").repeated(20000),
        QString(100000, QLatin1Char('\n')),
    };
}

QStringList loneSurrogates()
{
    return {QString(QChar(0xD800)), QStringLiteral("a") + QChar(0xDC00) + QStringLiteral("b"),
            QString(QChar(0xDFFF)) + QChar(0xD800), QString(1000, QChar(0xDBFF))};
}

std::u16string_view toView(const QString& text)
{
    return {reinterpret_cast<const char16_t*>(text.utf16()), static_cast<std::size_t>(text.size())};
}

/// As a message that comes in UTF-16: nothing is replaced on the way.
std::shared_ptr<LogMessage> hostileMessage(const QString& text)
{
    auto record = std::make_shared<LogMessage>(1U, 1U, 1U, firstTime, 8U, u"", u"m", u"",
                                               toView(text), 7U, 8U);
    record->renderTimestamp();
    return record;
}

class HostileTextTest : public ViewFixture
{
protected:
    void openWith(const QStringList& texts, bool show = false)
    {
        ViewSettings::instance().setColumnLayout({FieldModule, FieldLogMessage});
        open(nullptr, show);
        for (const QString& text : texts)
            view->fullModel()->addMessage(hostileMessage(text));
        view->updateView();
    }
    /// What the record keeps of a text, which is what everything else works on.
    QString kept(int row) const
    {
        return toQString(view->fullModel()->messageAt(row)->logMessage());
    }

    /// Answers the next file dialog with `path`.
    static void withFile(const QString& path, const std::function<void()>& action)
    {
        bool answered = false;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] {
            QWidget* modal = QApplication::activeModalWidget();
            if (auto* box = qobject_cast<QMessageBox*>(modal)) {
                box->button(QMessageBox::No)->click();
                return;
            }
            auto* dialog = qobject_cast<QFileDialog*>(modal);
            if (!dialog || answered)
                return;
            answered = true;
            dialog->findChild<QLineEdit*>("fileNameEdit")->setText(path);
            QMetaObject::invokeMethod(dialog, "accept", Qt::QueuedConnection);
        });
        timer.start(5);
        action();
        EXPECT_TRUE(answered);
    }
    static bool isPainted(const QPixmap& picture)
    {
        const QImage image = picture.toImage();
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x)
                if (image.pixel(x, y) != image.pixel(0, 0))
                    return true;
        return false;
    }

    QTemporaryDir directory;
};

TEST_F(HostileTextTest, TheTablePaintsThemWithRowsOfEitherKind)
{
    openWith(hostileTexts() + loneSurrogates(), true);
    QElapsedTimer clock;
    for (const bool resized : {false, true}) {
        clock.start();
        view->setResizeRows(resized);
        for (int row = 0; row < view->shownModel()->rowCount(); ++row) {
            view->table()->scrollTo(view->shownModel()->index(row, 1));
            EXPECT_TRUE(isPainted(view->table()->grab())) << row;
        }
        RecordProperty(resized ? "resized_ms" : "plain_ms", static_cast<int>(clock.elapsed()));
        EXPECT_LE(view->table()->verticalHeader()->length(), 2000 * 30);
    }
}

// Without a bound on what is shown of a text this takes a minute.
TEST_F(HostileTextTest, ThousandsOfLongOnesDoNotStopTheWindow)
{
    openWith({}, true);
    view->fullModel()->addMessages(std::vector<std::shared_ptr<LogMessage>>(
        2000, message(1, QStringLiteral("word ").repeated(20000))));
    QElapsedTimer clock;
    clock.start();
    view->updateView(); // fits the columns
    view->table()->grab();
    view->table()->setColumnWidth(1, 300);
    view->setResizeRows(true);
    view->table()->grab();
    RecordProperty("all_ms", static_cast<int>(clock.elapsed()));
    EXPECT_LT(clock.elapsed(), 20000);
    EXPECT_GT(view->table()->rowHeight(0), 40);
}

TEST_F(HostileTextTest, OfALongTextTheBeginningIsShownAndTheWholeIsInTheToolTip)
{
    const QString longText = QString(LogCellDelegate::shownUnits, QLatin1Char('x'));
    const QLocale locale;
    const auto* delegate = qobject_cast<LogCellDelegate*>([this] {
        openWith({QString(50000, QLatin1Char('y'))}, true);
        return view->table()->itemDelegate();
    }());
    ASSERT_NE(delegate, nullptr);
    EXPECT_EQ(delegate->displayText(longText, locale), longText);
    EXPECT_EQ(delegate->displayText(longText + "z", locale), longText + QChar(0x2026));
    const QString pair = QString::fromUcs4(U"\U0001F600");
    EXPECT_EQ(delegate->displayText(longText.chopped(1) + pair, locale),
              longText.chopped(1) + QChar(0x2026));
    view->table()->setCurrentIndex(view->shownModel()->index(0, 1));
    view->displayCell();
    EXPECT_EQ(QToolTip::text().size(), 50000);
    QToolTip::hideText();
}

TEST_F(HostileTextTest, AToolTipShowsThemAndNeverAsMarkup)
{
    openWith(hostileTexts() + loneSurrogates(), true);
    for (int row = 0; row < view->shownModel()->rowCount(); ++row) {
        view->table()->setCurrentIndex(view->shownModel()->index(row, 1));
        view->displayCell();
        const QString shown = QToolTip::text();
        EXPECT_TRUE(shown == kept(row) || shown == Qt::convertFromPlainText(kept(row))) << row;
        EXPECT_TRUE(shown == Qt::convertFromPlainText(kept(row)) || !Qt::mightBeRichText(shown))
            << row;
        QApplication::processEvents();
    }
    QToolTip::hideText();
}

TEST_F(HostileTextTest, TheClipboardGetsThemAsTheyAre)
{
    const QStringList texts = hostileTexts() + loneSurrogates();
    openWith(texts);
    QString all;
    for (int row = 0; row < texts.size(); ++row)
        all += QStringLiteral("m\t") + kept(row) + QStringLiteral("\t\n");
    view->messageViewClipboardClicked();
    EXPECT_EQ(QApplication::clipboard()->text(), all);
    view->table()->selectAll();
    view->selectionClipboardClicked();
    QStringList lines;
    for (int row = 0; row < texts.size(); ++row)
        lines << QStringLiteral("m\t") + kept(row);
    EXPECT_EQ(QApplication::clipboard()->text(), lines.join('\n'));
}

TEST_F(HostileTextTest, TheTextFileGetsThemAsTheyAreInTheLocalEncoding)
{
    QTextCodec* const before = QTextCodec::codecForLocale();
    for (const char* name : {"UTF-8", "ISO-8859-1"}) {
        QTextCodec* const codec = QTextCodec::codecForName(name);
        ASSERT_NE(codec, nullptr);
        QTextCodec::setCodecForLocale(codec);
        const QStringList texts = hostileTexts() + loneSurrogates() + QStringList{"\u00FC\u00DF"};
        openWith(texts);
        const QString path = directory.filePath(QLatin1String(name));
        withFile(path, [this] { view->messageViewSaveClicked(); });
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        QByteArray bytes = file.readAll();
        for (int line = 0; line < 5; ++line)
            bytes.remove(0, bytes.indexOf('\n') + 1);
        QString body;
        for (int row = 0; row < texts.size(); ++row)
            body += "m\t" + kept(row) + "\t\n";
        const QByteArray expected = codec->fromUnicode(body);
        EXPECT_EQ(bytes.size(), expected.size()) << name;
        EXPECT_TRUE(bytes == expected) << name;
        EXPECT_TRUE(bytes.endsWith(codec->fromUnicode("m\t\u00FC\u00DF\t\n"))) << name;
    }
    QTextCodec::setCodecForLocale(before);
}

TEST_F(HostileTextTest, AJsonFileGivesThemBack)
{
    const QStringList texts = hostileTexts();
    openWith(texts);
    const QString path = directory.filePath("log.json");
    withFile(path, [this] { view->saveLogMessagesToJSONClicked(); });
    view->messageViewClearClicked();
    withFile(path, [this] { view->loadLogMessagesFromJSON(); });
    ASSERT_EQ(view->fullModel()->rowCount(), texts.size());
    for (int row = 0; row < texts.size(); ++row)
        EXPECT_EQ(kept(row), texts.at(row)) << row;
}

// No text file can hold half a pair, so what comes back is what Unicode puts in its place.
TEST_F(HostileTextTest, LoneSurrogatesInAJsonFileDoNoHarmToTheirNeighbours)
{
    openWith(loneSurrogates() + QStringList{"after"});
    const QString path = directory.filePath("log.json");
    withFile(path, [this] { view->saveLogMessagesToJSONClicked(); });
    view->messageViewClearClicked();
    withFile(path, [this] { view->loadLogMessagesFromJSON(); });
    ASSERT_EQ(view->fullModel()->rowCount(), loneSurrogates().size() + 1);
    EXPECT_EQ(kept(loneSurrogates().size()), "after");
    EXPECT_TRUE(kept(1).startsWith('a') && kept(1).endsWith('b'));
}

TEST_F(HostileTextTest, TheyCanBeSearchedForFilteredAndSortedBy)
{
    const QStringList texts = hostileTexts() + loneSurrogates();
    openWith(texts);
    BoxAnswerer boxes; // a text that occurs once is not found again from its own cell
    for (int row = 0; row < texts.size(); ++row) {
        view->search(kept(row), true, Qt::CaseSensitive);
        store->setFilter({kept(row)}, {}, {}, true, false);
        if (!kept(row).contains(',')) {
            EXPECT_GE(view->filteredModel()->rowCount(), 1) << row;
        }
    }
    view->clearSearch();
    view->table()->sortByColumn(1, Qt::DescendingOrder);
    EXPECT_EQ(view->shownModel()->rowCount(), texts.size());
    for (const BoxAnswerer::Seen& box : boxes.seen)
        EXPECT_EQ(box.title, "Search");
}

TEST_F(HostileTextTest, ASearchWarningShowsItsTextAsItIs)
{
    openWith({"a"});
    Qt::TextFormat format = Qt::AutoText;
    BoxAnswerer boxes;
    boxes.hold = [&] {
        format = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())->textFormat();
        return false;
    };
    view->search(QStringLiteral("<b>x</b>"), true);
    ASSERT_EQ(boxes.seen.size(), 1U);
    EXPECT_EQ(boxes.seen[0].text, "Can't find the text:\n\"<b>x</b>\"");
    EXPECT_EQ(format, Qt::PlainText);
}

} // namespace
} // namespace zuLogging::test
