#pragma once

#include <QString>
#include <QStringList>
#include <QTranslator>

namespace zuLogging {

/// The language of the window: the texts of the program and those of Qt, for as long as the object
/// lives. The program's own are compiled into it; Qt's come from its installation and are taken
/// only together with ours, so that no window speaks two languages. Made after the application
/// object, before the first widget; GUI thread only.
class Translations
{
public:
    /// The first of `languages` ("de-AT", "en", as QLocale::uiLanguages names them) that the
    /// program speaks. English is what the sources are written in: it ends the search, as does the
    /// end of the list.
    explicit Translations(const QStringList& languages);
    ~Translations();
    Translations(const Translations&) = delete;
    Translations& operator=(const Translations&) = delete;

    /// "de"; "en" where nothing was loaded.
    const QString& language() const { return language_; }

private:
    bool load(const QString& language);

    QString language_;
    QTranslator ours_;
    QTranslator qts_;
};

} // namespace zuLogging
