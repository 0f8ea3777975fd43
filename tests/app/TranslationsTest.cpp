#include "app/Translations.h"

#include "logging/PropertyTreeJson.h"
#include "tests/app/DialogAnswerer.h"
#include "tests/app/EveryWindow.h"
#include "view/LostMessages.h"

#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QToolButton>

#include <gtest/gtest.h>

#include <optional>

namespace zuLogging::test {
namespace {

const QStringList german{QStringLiteral("de-DE")};

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return file.readAll();
}

/// The entries of a menu, "|" for a separator, those of a submenu behind its title.
QStringList entriesOf(const QMenu* menu)
{
    QStringList entries;
    for (const QAction* action : menu->actions()) {
        entries << (action->isSeparator() ? QStringLiteral("|") : action->text());
        if (action->menu() != nullptr)
            entries << entriesOf(action->menu());
    }
    return entries;
}

QList<QMenu*> menusOf(const QMainWindow& window)
{
    QList<QMenu*> menus;
    for (const QAction* action : window.menuBar()->actions())
        if (action->menu() != nullptr)
            menus << action->menu();
    return menus;
}

QString acceleratorOf(const QString& text)
{
    for (int i = 0; i + 1 < text.size(); ++i)
        if (text.at(i) == QLatin1Char('&')) {
            if (text.at(i + 1) != QLatin1Char('&'))
                return text.mid(i + 1, 1).toLower();
            ++i;
        }
    return {};
}

void expectUniqueAccelerators(const QList<QAction*>& actions, const char* where)
{
    QStringList seen;
    for (const QAction* action : actions) {
        const QString key = acceleratorOf(action->text());
        EXPECT_FALSE(!key.isEmpty() && seen.contains(key))
            << where << ": " << action->text().toStdString();
        seen << key;
        if (action->menu() != nullptr)
            expectUniqueAccelerators(action->menu()->actions(), where);
    }
}

class GermanWindow : public EveryWindow
{
protected:
    const Translations translations_{german};
};

class SavedAlike : public EveryWindow
{
protected:
    struct Saved
    {
        QByteArray settings;
        QByteArray text;
        QByteArray json;
        QString clipboard;
        std::string configuration;
    };

    /// A session of a user who touches all that is kept.
    Saved session(const QString& language)
    {
        const Translations translations({language});
        EXPECT_EQ(translations.language(), language);
        const QTemporaryDir folder;
        Saved saved;
        ViewSettings::instance().reset();
        MainView& window = openFilledWindow();
        LogMessageView& view = *window.messageView();
        view.setShownFields({FieldTimestamp, FieldLogLevel, FieldLogLevelHex, FieldModule,
                             FieldLogPos, FieldLogMessage});
        FilterDialog& filter = *view.filterDialog();
        filter.findChild<QCheckBox*>(QStringLiteral("levelSelectAll"))->setChecked(true);
        filter.findChild<QCheckBox*>(QStringLiteral("level_trace"))->setChecked(false);
        filter.filterText()->setText(QStringLiteral("text"));
        filter.addIncludeFilter();
        filter.accept();
        // Seconds: the first row says that it is the reference.
        window.secondsAction()->setChecked(true);
        view.updateView();
        view.messageViewClipboardClicked();
        saved.clipboard = QApplication::clipboard()->text();
        saved.text = savedAs(folder.filePath(QStringLiteral("a.log")),
                             [&] { view.messageViewSaveClicked(); });
        saved.json = savedAs(folder.filePath(QStringLiteral("a.json")),
                             [&] { view.saveLogMessagesToJSONClicked(); });
        PropertyTree tree;
        const TreeModel& model = *LogConfigData::instance()->treeModel();
        model.toPropertyTree(model.root(), tree);
        saved.configuration = writePropertyTree(tree, JsonForm::Indented);
        holder.reset();
        saved.settings = contentOf(ViewSettings::filePath());
        return saved;
    }

private:
    static QByteArray savedAs(const QString& path, const std::function<void()>& save)
    {
        const DialogAnswerer user(path);
        save();
        return contentOf(path);
    }
};

TEST(Translations, TheFirstLanguageOfTheUserThatIsSpokenIsTaken)
{
    const auto taken = [](const QStringList& languages) {
        return Translations(languages).language();
    };
    EXPECT_EQ(taken({"de-DE"}), "de");
    EXPECT_EQ(taken({"de-AT"}), "de");
    EXPECT_EQ(taken({"de_CH"}), "de");
    EXPECT_EQ(taken({"de"}), "de");
    EXPECT_EQ(taken({"en-US"}), "en");
    EXPECT_EQ(taken({"C"}), "en");
    EXPECT_EQ(taken({"POSIX"}), "en");
    EXPECT_EQ(taken({"fr-FR"}), "en");
    EXPECT_EQ(taken({"fr-FR", "de-DE", "en-US"}), "de");
    EXPECT_EQ(taken({}), "en");
    EXPECT_EQ(taken({""}), "en");
    EXPECT_EQ(taken({"../de", "deu", "d"}), "en");
}

TEST(Translations, WhoPrefersEnglishToGermanGetsEnglish)
{
    const Translations translations({"en-GB", "de-DE"});
    EXPECT_EQ(translations.language(), "en");
    EXPECT_EQ(QCoreApplication::translate("zuLogging::MainView", "&File"), "&File");
}

TEST(Translations, QtsOwnTextsComeWithOursAndGoWithThem)
{
    const auto yes = [] { return QCoreApplication::translate("QPlatformTheme", "Cancel"); };
    const auto file = [] { return QCoreApplication::translate("zuLogging::MainView", "&File"); };
    {
        const Translations translations(german);
        EXPECT_EQ(yes(), "Abbrechen");
        EXPECT_EQ(file(), "&Datei");
    }
    EXPECT_EQ(yes(), "Cancel");
    EXPECT_EQ(file(), "&File");
    // Qt speaks French, the program does not: all of it stays English.
    const Translations french({"fr-FR"});
    EXPECT_EQ(yes(), "Cancel");
    EXPECT_EQ(file(), "&File");
}

TEST_F(GermanWindow, TheMenusAreGerman)
{
    const MainView& window = openWindow();
    QStringList titles;
    for (const QMenu* menu : menusOf(window))
        titles << menu->title();
    EXPECT_EQ(titles,
              (QStringList{"&Datei", "&Bearbeiten", "&Log", "&Suchen", "&Ansicht", "&Hilfe"}));
    const QList<QMenu*> menus = menusOf(window);
    EXPECT_EQ(entriesOf(menus.at(0)),
              (QStringList{"Konfiguration öffnen...", "Konfiguration zurücksetzen", "|",
                           "Log aus JSON laden...", "Log als JSON speichern...",
                           "Log-Ansicht speichern...", "Log leeren", "|", "&Beenden"}));
    EXPECT_EQ(entriesOf(menus.at(1)),
              (QStringList{"Kopieren", "Alles kopieren", "|", "Einstellungen der Log-Ansicht...",
                           "|", "Einstellungen des Dienstes..."}));
    EXPECT_EQ(entriesOf(menus.at(2)), (QStringList{"Logging starten", "Logging beenden",
                                                   "Verlauf wiedergeben && starten"}));
    EXPECT_EQ(entriesOf(menus.at(3)), (QStringList{"Suchen...", "Filter...", "Gehe zu..."}));
    EXPECT_EQ(
        entriesOf(menus.at(4)),
        (QStringList{"Konfiguration", "Konfigurationsmodus", "Benutzermodus", "Expertenmodus", "|",
                     "Zeitformat", "Datum und Uhrzeit", "Sekunden seit Beginn des Loggings", "|",
                     "Einstellungen der Log-Ansicht...", "Automatischer Bildlauf",
                     "Zeilenhöhe anpassen", "|", "Ansicht zurücksetzen"}));
    EXPECT_EQ(entriesOf(menus.at(5)), (QStringList{"Benutzer&handbuch", "|", "Ü&ber"}));
}

TEST_F(GermanWindow, NoTwoEntriesOfAMenuHaveTheSameAccelerator)
{
    const MainView& window = openWindow();
    expectUniqueAccelerators(window.menuBar()->actions(), "the menu bar");
    for (const QMenu* menu : menusOf(window))
        EXPECT_FALSE(acceleratorOf(menu->title()).isEmpty()) << menu->title().toStdString();
}

TEST_F(GermanWindow, TheToolbarAndTheStatusBarAreGerman)
{
    MainView& window = openWindow();
    const LogMessageView& view = *window.messageView();
    const auto label = [&](const char* name) {
        return view.findChild<QLabel*>(QLatin1String(name))->text();
    };
    EXPECT_EQ(window.statusBar()->currentMessage(), "Bereit");
    EXPECT_EQ(label("countTitle"), "Log-Meldungen: ");
    EXPECT_EQ(label("filteredTitle"), ", gefiltert: ");
    EXPECT_EQ(label("queuedTitle"), ", wartend: ");
    EXPECT_EQ(label("serviceTitle"), "ZU-Log-Dienst: ");
    EXPECT_EQ(label("serviceLabel"), "Gestoppt");
    EXPECT_EQ(view.findChild<QToolButton*>(QStringLiteral("clearButton"))->toolTip(),
              "Das Log-Fenster leeren");
    EXPECT_EQ(window.windowTitle(), "Arvenza LogDesk");
}

TEST_F(GermanWindow, TheDialogsHaveGermanTitles)
{
    QStringList titles;
    visitDialogs([&](const std::string&, QWidget& dialog) { titles << dialog.windowTitle(); });
    EXPECT_EQ(titles, (QStringList{"Filter", "Suchen", "Gehe zu...", "Einstellungen",
                                   "Einstellungen des Dienstes", "Einfügen ", "Ändern ",
                                   "Kommentar ändern", "Parameter ändern", "Attribute ändern",
                                   "Über den Log-Dienst", "Logging starten", "Log-Meldungen"}));
}

TEST_F(GermanWindow, MessageBoxesAndFileDialogsAreGermanWithTheirButtons)
{
    LogMessageView& view = *openFilledWindow().messageView();
    QStringList buttons;
    QString text;
    visitBox(
        "the question", [&] { view.setMaximumMessages(2); },
        [&](const std::string&, QWidget& box) {
            text = qobject_cast<QMessageBox*>(&box)->text();
            for (const QPushButton* button : box.findChildren<QPushButton*>())
                buttons << button->text();
        });
    EXPECT_EQ(text, "Die maximale Anzahl der Log-Meldungen (2) ist kleiner als die aktuelle Anzahl "
                    "(6).\nMöchten Sie die ältesten Meldungen entfernen und die neuesten "
                    "behalten?");
    EXPECT_EQ(buttons, (QStringList{"OK", "Abbrechen"}));

    QStringList fileButtons;
    visitBox(
        "the file dialog", [&] { view.messageViewSaveClicked(); },
        [&](const std::string&, QWidget& dialog) {
            EXPECT_EQ(dialog.windowTitle(), "Log-Datei speichern");
            EXPECT_EQ(qobject_cast<QFileDialog*>(&dialog)->nameFilters(),
                      QStringList{"Textdateien (*.log)"});
            for (const QPushButton* button : dialog.findChildren<QPushButton*>())
                fileButtons << button->text();
        });
    EXPECT_TRUE(fileButtons.contains("Abbrechen")) << fileButtons.join(' ').toStdString();
}

TEST_F(GermanWindow, AFailedStartIsToldInGerman)
{
    MessageBoxWaiter user(QMessageBox::Ok);
    MainViewHolder none;
    createMainView(none);
    ASSERT_EQ(user.boxes().size(), 1);
    EXPECT_TRUE(user.boxes().first().text.startsWith(
        "LogDesk kann nicht gestartet werden. Bitte prüfen Sie, ob der Log-Dienst läuft. ("))
        << user.boxes().first().text.toStdString();
}

TEST_F(GermanWindow, FilesThatCannotBeReadAreCountedInTheRightForm)
{
    LogMessageView& view = *openWindow().messageView();
    const auto told = [&](int files) {
        QStringList paths;
        for (int i = 0; i < files; ++i)
            paths << QStringLiteral("/nowhere/%1.log").arg(i);
        MessageBoxWaiter user(QMessageBox::Ok);
        view.openLogFiles(paths);
        EXPECT_EQ(user.boxes().size(), 1);
        return user.boxes().value(0).text.section(QLatin1Char('\n'), -1);
    };
    EXPECT_EQ(told(11), "1 weitere Datei konnte nicht gelesen werden.");
    EXPECT_EQ(told(12), "2 weitere Dateien konnten nicht gelesen werden.");
    EXPECT_TRUE(told(1).startsWith("Die Datei \"/nowhere/0.log\" konnte nicht gelesen werden. "));
}

TEST_F(GermanWindow, WhatNamesThingsInFilesIsTheSameInEveryLanguage)
{
    ViewSettings::instance().configurationEnabled = true;
    MainView& window = openFilledWindow();
    const LogTableModel& model = *window.messageView()->fullModel();
    QStringList headers;
    for (int column = 0; column < model.columnCount(); ++column)
        headers << model.headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    EXPECT_EQ(headers, (QStringList{"ServiceMsgID", "SourceMsgID", "SenderMsgID", "Timestamp",
                                    "LogLevel [Hex]", "LogLevel", "LogPos", "Module", "GroupName",
                                    "ProcessID", "ThreadID", "LogMessage"}));
    const TableModel& table = *LogConfigData::instance()->tableModel();
    EXPECT_EQ(table.index(0, 0).data().toString(), "default");
    EXPECT_EQ(table.index(0, 1).data().toString(), "info");
    // What only stands above things is translated.
    EXPECT_EQ(table.headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(), "Modul");
    EXPECT_EQ(table.headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(), "Stufe");
    const TreeModel& tree = *LogConfigData::instance()->treeModel();
    EXPECT_EQ(tree.headerData(0, Qt::Horizontal, Qt::DisplayRole).toString(), "Parameter");
    EXPECT_EQ(tree.headerData(1, Qt::Horizontal, Qt::DisplayRole).toString(), "Wert");
    EXPECT_FALSE(tree.headerData(2, Qt::Horizontal, Qt::DisplayRole).isValid());
    EXPECT_EQ(tree.root()->data(1).toString(), "Value");
}

TEST_F(SavedAlike, AGermanSessionSavesWhatAnEnglishOneSaves)
{
    const Saved english = session(QStringLiteral("en"));
    const Saved germans = session(QStringLiteral("de"));
    EXPECT_FALSE(english.settings.isEmpty());
    EXPECT_TRUE(english.settings.contains("info,warn,err,fatal,debug"));
    EXPECT_TRUE(english.text.contains("*REF*"));
    EXPECT_EQ(english.text.count('\n'), 5 + 5) << "the header, and the rows that pass the filter";
    EXPECT_TRUE(english.json.contains("\"LogLevel\": \"err\""));
    EXPECT_EQ(germans.settings, english.settings);
    EXPECT_EQ(germans.text, english.text);
    EXPECT_EQ(germans.json, english.json);
    EXPECT_EQ(germans.clipboard, english.clipboard);
    EXPECT_FALSE(english.configuration.empty());
    EXPECT_EQ(germans.configuration, english.configuration);
}

TEST_F(SavedAlike, TheSettingsOfAGermanSessionHoldInAnEnglishOne)
{
    session(QStringLiteral("de"));
    const QByteArray written = contentOf(ViewSettings::filePath());
    ViewSettings::instance().reset();
    ASSERT_TRUE(ViewSettings::instance().read());
    const Translations translations({QStringLiteral("en")});
    MainView& window = openFilledWindow();
    FilterDialog& filter = *window.messageView()->filterDialog();
    EXPECT_TRUE(filter.findChild<QCheckBox*>(QStringLiteral("level_err"))->isChecked());
    EXPECT_FALSE(filter.findChild<QCheckBox*>(QStringLiteral("level_trace"))->isChecked());
    EXPECT_EQ(filter.includeTexts(), QStringList{"text"});
    EXPECT_EQ(window.messageView()->fullModel()->columns(),
              (QList<int>{FieldTimestamp, FieldLogLevel, FieldLogLevelHex, FieldModule, FieldLogPos,
                          FieldLogMessage}));
    EXPECT_TRUE(window.secondsAction()->isChecked());
    holder.reset();
    EXPECT_EQ(contentOf(ViewSettings::filePath()), written);
}

} // namespace
} // namespace zuLogging::test
