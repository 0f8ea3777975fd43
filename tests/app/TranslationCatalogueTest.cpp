// The catalogue of German texts against the sources: nothing missing, nothing left over, and
// nothing in a translation that the program could not put right.

#include "tests/support/TestEnvironment.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace zuLogging::test {
namespace {

struct Text
{
    QString context;
    QString source;
    QString comment;
    QStringList translations; ///< one, or one for each plural form
    QString state;            ///< "unfinished", "obsolete", "vanished", or nothing

    std::string name() const { return (context + QStringLiteral(": ") + source).toStdString(); }
};

std::vector<Text> readCatalogue(const QString& path)
{
    std::vector<Text> texts;
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    QXmlStreamReader xml(&file);
    QString context;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        const auto name = xml.name();
        if (name == QLatin1String("name")) {
            context = xml.readElementText();
        } else if (name == QLatin1String("message")) {
            texts.push_back({context, {}, {}, {}, {}});
        } else if (name == QLatin1String("source")) {
            texts.back().source = xml.readElementText();
        } else if (name == QLatin1String("comment")) {
            texts.back().comment = xml.readElementText();
        } else if (name == QLatin1String("translation")) {
            Text& text = texts.back();
            text.state = xml.attributes().value(QLatin1String("type")).toString();
            QString plain;
            while (!(xml.readNext() == QXmlStreamReader::EndElement &&
                     xml.name() == QLatin1String("translation")) &&
                   !xml.atEnd()) {
                if (xml.isCharacters())
                    plain += xml.text();
                else if (xml.isStartElement())
                    text.translations << xml.readElementText();
            }
            if (text.translations.isEmpty())
                text.translations << plain;
        }
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    return texts;
}

const QString committed = QStringLiteral(LOGDESK_TRANSLATIONS "/logdesk_de.ts");

std::set<std::string> namesOf(const std::vector<Text>& texts)
{
    std::set<std::string> names;
    for (const Text& text : texts)
        names.insert(text.name() + " | " + text.comment.toStdString() +
                     (text.translations.size() > 1 ? " | plural" : ""));
    return names;
}

QStringList sortedMatches(const QString& text, const char* pattern)
{
    QStringList found;
    QRegularExpressionMatchIterator match =
        QRegularExpression(QLatin1String(pattern)).globalMatch(text);
    while (match.hasNext())
        found << match.next().captured();
    std::sort(found.begin(), found.end());
    return found;
}

QString edge(const QString& text, const char* pattern)
{
    return QRegularExpression(QLatin1String(pattern)).match(text).captured();
}

} // namespace

TEST(TranslationCatalogue, HoldsExactlyTheTextsOfTheSources)
{
    const QTemporaryDir folder;
    const QString fresh = folder.filePath(QStringLiteral("fresh_de.ts"));
    QProcess lupdate;
    lupdate.setWorkingDirectory(QStringLiteral(LOGDESK_SOURCE_DIR));
    lupdate.start(QStringLiteral(LOGDESK_LUPDATE),
                  QStringLiteral(LOGDESK_LUPDATE_ARGUMENTS).split(QLatin1Char('|')) +
                      QStringList{QStringLiteral("-ts"), fresh});
    ASSERT_TRUE(lupdate.waitForFinished(60000));
    ASSERT_EQ(lupdate.exitCode(), 0) << lupdate.readAllStandardError().toStdString();
    // A text of which the tool cannot tell whose it is would never be found at run time.
    EXPECT_EQ(lupdate.readAllStandardError().toStdString(), "");
    const std::set<std::string> wanted = namesOf(readCatalogue(fresh));
    const std::set<std::string> present = namesOf(readCatalogue(committed));
    std::vector<std::string> different;
    std::set_symmetric_difference(wanted.begin(), wanted.end(), present.begin(), present.end(),
                                  std::back_inserter(different));
    EXPECT_GT(wanted.size(), 200U);
    EXPECT_EQ(different, std::vector<std::string>())
        << "build the target update_translations, then translate what is new in "
        << committed.toStdString();
}

TEST(TranslationCatalogue, IsComplete)
{
    for (const Text& text : readCatalogue(committed)) {
        EXPECT_EQ(text.state, QString()) << text.name();
        for (const QString& translation : text.translations)
            EXPECT_FALSE(translation.trimmed().isEmpty()) << text.name();
    }
}

TEST(TranslationCatalogue, KeepsArgumentsMarkupAndFilePatterns)
{
    for (const Text& text : readCatalogue(committed))
        for (const QString& translation : text.translations)
            for (const char* pattern : {"%L?[0-9n]+", "<[^>]*>", R"(\([*][^)]*\))",
                                        R"(\((info|warn|err|fatal|debug|trace)\))", R"(\(F3\))"})
                EXPECT_EQ(sortedMatches(translation, pattern), sortedMatches(text.source, pattern))
                    << text.name();
}

TEST(TranslationCatalogue, KeepsAccelerators)
{
    for (const Text& text : readCatalogue(committed))
        for (const QString& translation : text.translations)
            for (const char* pattern : {"&&", "(?<!&)&(?!&)"})
                EXPECT_EQ(sortedMatches(translation, pattern).size(),
                          sortedMatches(text.source, pattern).size())
                    << text.name();
}

TEST(TranslationCatalogue, KeepsEllipsesColonsLineBreaksAndBlanksAtTheEnds)
{
    for (const Text& text : readCatalogue(committed))
        for (const QString& translation : text.translations) {
            EXPECT_EQ(edge(translation, R"((\.\.\.|:)?\s*$)"),
                      edge(text.source, R"((\.\.\.|:)?\s*$)"))
                << text.name();
            EXPECT_EQ(edge(translation, R"(^[\s,]*)"), edge(text.source, R"(^[\s,]*)"))
                << text.name();
            EXPECT_EQ(translation.count(QLatin1Char('\n')), text.source.count(QLatin1Char('\n')))
                << text.name();
        }
}

} // namespace zuLogging::test
