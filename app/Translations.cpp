#include "app/Translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>

// The macro declares a function of the global name space, where it must stand.
static void registerTranslations()
{
    Q_INIT_RESOURCE(translations);
}

namespace zuLogging {

namespace {

const QString sourceLanguage = QStringLiteral("en");

/// "de" of "de-AT", "de_AT" and "de".
QString withoutCountry(const QString& language)
{
    return language.section(QLatin1Char('-'), 0, 0).section(QLatin1Char('_'), 0, 0).toLower();
}

/// The locale of programs that are to speak as they were written.
bool isSourceLanguage(const QString& language)
{
    return language == sourceLanguage || language == QLatin1String("c") ||
           language == QLatin1String("posix");
}

} // namespace

Translations::Translations(const QStringList& languages)
    : language_(sourceLanguage)
{
    registerTranslations();
    for (const QString& candidate : languages) {
        const QString language = withoutCountry(candidate);
        if (isSourceLanguage(language))
            return;
        if (load(language)) {
            language_ = language;
            return;
        }
    }
}

Translations::~Translations()
{
    QCoreApplication::removeTranslator(&ours_);
    QCoreApplication::removeTranslator(&qts_);
}

bool Translations::load(const QString& language)
{
    if (!ours_.load(QStringLiteral(":/translations/logdesk_%1.qm").arg(language)))
        return false;
    if (qts_.load(QStringLiteral("qtbase_%1.qm").arg(language),
                  QLibraryInfo::location(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&qts_);
    QCoreApplication::installTranslator(&ours_);
    return true;
}

} // namespace zuLogging
