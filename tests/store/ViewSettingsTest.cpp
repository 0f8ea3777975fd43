#include "store/ViewSettings.h"
#include "store/LogField.h"
#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <limits>

#include <sys/stat.h>

using namespace zuLogging;

namespace {

/// Sets or unsets an environment variable and puts it back.
class EnvironmentGuard
{
public:
    explicit EnvironmentGuard(const char* name)
        : name_(name)
        , wasSet_(qEnvironmentVariableIsSet(name))
        , old_(qgetenv(name))
    {
    }
    ~EnvironmentGuard()
    {
        if (wasSet_)
            qputenv(name_, old_);
        else
            qunsetenv(name_);
    }
    EnvironmentGuard(const EnvironmentGuard&) = delete;
    EnvironmentGuard& operator=(const EnvironmentGuard&) = delete;

private:
    const char* name_;
    bool wasSet_;
    QByteArray old_;
};

class ViewSettingsFile : public ::testing::Test
{
protected:
    QString path() const { return directory_.filePath(QStringLiteral("LogDesk.xml")); }

    void put(const QByteArray& bytes) const
    {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        ASSERT_EQ(file.write(bytes), bytes.size());
    }

    QByteArray bytes() const
    {
        QFile file(path());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// Reads a document with `content` in its root element.
    bool readContent(const QByteArray& content)
    {
        put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<LogDesk>" + content + "</LogDesk>\n");
        return settings_.readFrom(path());
    }

    QTemporaryDir directory_;
    ViewSettings settings_;
};

bool equal(const ViewSettings& a, const ViewSettings& b)
{
    return a.maximumLogMessages == b.maximumLogMessages && a.filterEnabled == b.filterEnabled &&
           a.filterIncludeCs == b.filterIncludeCs && a.filterExcludeCs == b.filterExcludeCs &&
           a.configurationEnabled == b.configurationEnabled && a.expertMode == b.expertMode &&
           a.autoScrollEnabled == b.autoScrollEnabled && a.timeDisplay == b.timeDisplay &&
           a.maximizedScreen == b.maximizedScreen && a.filterInclude == b.filterInclude &&
           a.levelFilterInclude == b.levelFilterInclude && a.filterExclude == b.filterExclude &&
           a.columnOrder == b.columnOrder && a.columnWidths == b.columnWidths;
}

ViewSettings unusualSettings()
{
    ViewSettings settings;
    settings.maximumLogMessages = 1234;
    settings.filterEnabled = true;
    settings.filterIncludeCs = true;
    settings.filterExcludeCs = true;
    settings.configurationEnabled = true;
    settings.expertMode = true;
    settings.autoScrollEnabled = true;
    settings.timeDisplay = false;
    settings.maximizedScreen = true;
    settings.filterInclude =
        QStringList{QStringLiteral("a <b> & \"c\""), QString::fromUtf8("\xC3\xA4")};
    settings.levelFilterInclude = QStringList{QStringLiteral("info"), QStringLiteral("err")};
    settings.filterExclude = QStringList{QStringLiteral(" x "), QStringLiteral("]]>")};
    settings.columnOrder = {{QStringLiteral("Timestamp"), 0},
                            {QStringLiteral("LogMessage"), 1},
                            {QStringLiteral("LogLevel [Hex]"), 2}};
    settings.columnWidths = {{0, 150}, {1, 800}, {2, 60}};
    return settings;
}

QByteArray item(const char* name, const char* column, const char* width)
{
    return QByteArray("\n  <Item>\n    <Name>") + name + "</Name>\n    <Column>" + column +
           "</Column>\n    <ColumnWidth>" + width + "</ColumnWidth>\n  </Item>";
}

} // namespace

TEST(ViewSettings, TheDefaultsAreThoseOfAFirstStart)
{
    const ViewSettings settings;
    EXPECT_EQ(settings.maximumLogMessages, 100000);
    EXPECT_FALSE(settings.filterEnabled);
    EXPECT_FALSE(settings.filterIncludeCs);
    EXPECT_FALSE(settings.filterExcludeCs);
    EXPECT_FALSE(settings.configurationEnabled);
    EXPECT_FALSE(settings.expertMode);
    EXPECT_FALSE(settings.autoScrollEnabled);
    EXPECT_TRUE(settings.timeDisplay);
    EXPECT_FALSE(settings.maximizedScreen);
    EXPECT_TRUE(settings.filterInclude.isEmpty());
    EXPECT_TRUE(settings.levelFilterInclude.isEmpty());
    EXPECT_TRUE(settings.filterExclude.isEmpty());
    EXPECT_TRUE(settings.columnOrder.isEmpty());
    EXPECT_TRUE(settings.columnWidths.isEmpty());
}

TEST(ViewSettings, ThereIsOneRecord)
{
    EXPECT_EQ(&ViewSettings::instance(), &ViewSettings::instance());
}

TEST(ViewSettings, ResetBringsBackTheDefaults)
{
    ViewSettings settings = unusualSettings();
    settings.reset();
    EXPECT_TRUE(equal(settings, ViewSettings()));
}

TEST(ViewSettings, TheFileStandsInTheDataDirectory)
{
    EXPECT_EQ(ViewSettings::filePath(), QDir(test::TestEnvironment::instance().dataDirectory())
                                            .filePath(QStringLiteral("Applications/LogDesk.xml")));
}

TEST(ViewSettings, WithTheDataDirectoryUnsetReadingKeepsTheDefaultsAndWritingWritesNothing)
{
    const EnvironmentGuard guard("ARZDATA");
    qunsetenv("ARZDATA");
    EXPECT_TRUE(ViewSettings::filePath().isEmpty());
    ViewSettings settings;
    EXPECT_TRUE(settings.read());
    EXPECT_TRUE(equal(settings, ViewSettings()));
    EXPECT_FALSE(settings.write());
    EXPECT_FALSE(QFileInfo::exists(QStringLiteral("Applications/LogDesk.xml")));
    EXPECT_FALSE(QFileInfo::exists(QStringLiteral("LogDesk.xml")));
}

TEST(ViewSettings, WhatIsWrittenToTheDataDirectoryIsReadFromThere)
{
    const QString path = ViewSettings::filePath();
    ASSERT_TRUE(unusualSettings().write());
    EXPECT_TRUE(QFileInfo::exists(path));
    ViewSettings settings;
    EXPECT_TRUE(settings.read());
    EXPECT_TRUE(equal(settings, unusualSettings()));
    EXPECT_TRUE(QFile::remove(path));
}

TEST(ViewSettings, TheDirectoryOfTheFileIsNotCreated)
{
    const QTemporaryDir directory;
    const EnvironmentGuard guard("ARZDATA");
    qputenv("ARZDATA", directory.path().toLocal8Bit());
    EXPECT_FALSE(ViewSettings().write());
    EXPECT_TRUE(QDir(directory.path()).isEmpty());
}

TEST_F(ViewSettingsFile, AMissingFileLeavesTheDefaults)
{
    EXPECT_TRUE(settings_.readFrom(path()));
    EXPECT_TRUE(equal(settings_, ViewSettings()));
}

TEST_F(ViewSettingsFile, ADirectoryOrAPipeInItsPlaceIsNotRead)
{
    ASSERT_TRUE(QDir().mkdir(path()));
    EXPECT_TRUE(settings_.readFrom(path()));
    EXPECT_FALSE(settings_.writeTo(path()));
    ASSERT_TRUE(QDir().rmdir(path()));
    ASSERT_EQ(mkfifo(QFile::encodeName(path()).constData(), 0600), 0);
    EXPECT_TRUE(settings_.readFrom(path()));
    EXPECT_TRUE(equal(settings_, ViewSettings()));
}

TEST_F(ViewSettingsFile, EverythingComesBack)
{
    const ViewSettings written = unusualSettings();
    ASSERT_TRUE(written.writeTo(path()));
    EXPECT_TRUE(settings_.readFrom(path()));
    EXPECT_TRUE(equal(settings_, written));
}

TEST_F(ViewSettingsFile, TheDocumentIsWrittenInItsOrder)
{
    ViewSettings settings;
    settings.filterInclude = QStringList{QStringLiteral("a"), QStringLiteral("b c")};
    settings.levelFilterInclude = QStringList{QStringLiteral("info"), QStringLiteral("err")};
    settings.filterExclude = QStringList{QStringLiteral("x&y")};
    settings.expertMode = true;
    settings.columnOrder = {{QStringLiteral("Timestamp"), 0}, {QStringLiteral("LogPos"), 1}};
    settings.columnWidths = {{0, 150}, {1, 80}};
    ASSERT_TRUE(settings.writeTo(path()));
    EXPECT_EQ(bytes().toStdString(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                     "<LogDesk>\n"
                                     "    <MaximumLogMessages>100000</MaximumLogMessages>\n"
                                     "    <TableView>\n"
                                     "        <Item>\n"
                                     "            <Name>LogPos</Name>\n"
                                     "            <Column>1</Column>\n"
                                     "            <ColumnWidth>80</ColumnWidth>\n"
                                     "        </Item>\n"
                                     "        <Item>\n"
                                     "            <Name>Timestamp</Name>\n"
                                     "            <Column>0</Column>\n"
                                     "            <ColumnWidth>150</ColumnWidth>\n"
                                     "        </Item>\n"
                                     "    </TableView>\n"
                                     "    <FilterEnabled>False</FilterEnabled>\n"
                                     "    <FilterInclude>a,b c</FilterInclude>\n"
                                     "    <LLFilterInclude>info,err</LLFilterInclude>\n"
                                     "    <FilterIncludeCs>False</FilterIncludeCs>\n"
                                     "    <FilterExclude>x&amp;y</FilterExclude>\n"
                                     "    <FilterExcludeCs>False</FilterExcludeCs>\n"
                                     "    <ConfigurationEnabled>False</ConfigurationEnabled>\n"
                                     "    <ExpertMode>True</ExpertMode>\n"
                                     "    <TimeDisplay>True</TimeDisplay>\n"
                                     "    <AutoScrollEnabled>False</AutoScrollEnabled>\n"
                                     "    <MaximizedScreen>False</MaximizedScreen>\n"
                                     "</LogDesk>\n");
}

TEST_F(ViewSettingsFile, AColumnWithoutAWidthIsWrittenWithMinusOne)
{
    ViewSettings settings;
    settings.columnOrder = {{QStringLiteral("Timestamp"), 3}};
    settings.columnWidths = {{2, 150}};
    ASSERT_TRUE(settings.writeTo(path()));
    EXPECT_TRUE(bytes().contains("<ColumnWidth>-1</ColumnWidth>"));
    EXPECT_FALSE(bytes().contains("150"));
}

TEST_F(ViewSettingsFile, AColumnSavedWithWidthMinusOneDisappearsFromBothMaps)
{
    ViewSettings written = unusualSettings();
    written.columnWidths[1] = -1;
    ASSERT_TRUE(written.writeTo(path()));
    EXPECT_TRUE(settings_.readFrom(path()));
    EXPECT_EQ(settings_.columnOrder, (QMap<QString, int>{{QStringLiteral("Timestamp"), 0},
                                                         {QStringLiteral("LogLevel [Hex]"), 2}}));
    EXPECT_EQ(settings_.columnWidths, (QMap<int, int>{{0, 150}, {2, 60}}));
}

TEST_F(ViewSettingsFile, AHiddenColumnsNameAndPositionAreOverwrittenByTheNextItem)
{
    EXPECT_TRUE(readContent("<TableView>" + item("LogPos", "1", "-1") + item("Module", "2", "70") +
                            "\n</TableView>"));
    EXPECT_EQ(settings_.columnOrder, (QMap<QString, int>{{QStringLiteral("Module"), 2}}));
    EXPECT_EQ(settings_.columnWidths, (QMap<int, int>{{2, 70}}));
}

TEST_F(ViewSettingsFile, WhatAHiddenColumnLeftPendingIsUsedByAnItemThatLacksIt)
{
    EXPECT_TRUE(readContent("<TableView>" + item("LogPos", "1", "-1") +
                            "<Item><ColumnWidth>70</ColumnWidth></Item></TableView>"));
    EXPECT_EQ(settings_.columnOrder, (QMap<QString, int>{{QStringLiteral("LogPos"), 1}}));
    EXPECT_EQ(settings_.columnWidths, (QMap<int, int>{{1, 70}}));
}

TEST_F(ViewSettingsFile, TheTokenBehindACompleteColumnIsSkipped)
{
    // With white space in between the next element counts, without it does not.
    const QByteArray column = "<Name>LogPos</Name><Column>1</Column><ColumnWidth>7</ColumnWidth>";
    EXPECT_TRUE(readContent(column + "<ExpertMode>True</ExpertMode>"));
    EXPECT_FALSE(settings_.expertMode);
    EXPECT_EQ(settings_.columnOrder, (QMap<QString, int>{{QStringLiteral("LogPos"), 1}}));
    EXPECT_TRUE(readContent(column + " <ExpertMode>True</ExpertMode>"));
    EXPECT_TRUE(settings_.expertMode);
}

TEST_F(ViewSettingsFile, AColumnThatIsCompleteWhenTheDocumentBreaksOffIsEntered)
{
    put("<LogDesk><Name>LogPos</Name><Column>1</Column><ColumnWidth>7</ColumnWidth>");
    EXPECT_FALSE(settings_.readFrom(path()));
    EXPECT_EQ(settings_.columnOrder, (QMap<QString, int>{{QStringLiteral("LogPos"), 1}}));
}

TEST_F(ViewSettingsFile, AnItemReplacesAnEntryOfTheSameNameOrPosition)
{
    settings_.columnOrder = {{QStringLiteral("LogPos"), 9}, {QStringLiteral("Module"), 4}};
    settings_.columnWidths = {{1, 10}};
    EXPECT_TRUE(readContent("<TableView>" + item("LogPos", "1", "70") + "\n</TableView>"));
    EXPECT_EQ(settings_.columnOrder,
              (QMap<QString, int>{{QStringLiteral("LogPos"), 1}, {QStringLiteral("Module"), 4}}));
    EXPECT_EQ(settings_.columnWidths, (QMap<int, int>{{1, 70}}));
}

TEST_F(ViewSettingsFile, AFilterEnabledElementWithTrueInLowerCaseReadsAsTrue)
{
    EXPECT_TRUE(readContent("<FilterEnabled>true</FilterEnabled>"));
    EXPECT_TRUE(settings_.filterEnabled);
}

TEST_F(ViewSettingsFile, AFilterEnabledElementWith1ReadsAsFalse)
{
    settings_.filterEnabled = true;
    EXPECT_TRUE(readContent("<FilterEnabled>1</FilterEnabled>"));
    EXPECT_FALSE(settings_.filterEnabled);
}

TEST_F(ViewSettingsFile, AnythingButTrueIsFalse)
{
    for (const char* text : {"", "yes", "True ", "False", "truetrue"}) {
        settings_.timeDisplay = true;
        EXPECT_TRUE(readContent(QByteArray("<TimeDisplay>") + text + "</TimeDisplay>"));
        EXPECT_FALSE(settings_.timeDisplay) << text;
    }
}

TEST_F(ViewSettingsFile, AFilterIncludeElementIsSplitAtCommaAndSemicolon)
{
    EXPECT_TRUE(readContent("<FilterInclude>a;b,c</FilterInclude>"));
    EXPECT_EQ(settings_.filterInclude,
              (QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")}));
}

TEST_F(ViewSettingsFile, EmptyPartsOfAListAreKept)
{
    EXPECT_TRUE(readContent("<FilterExclude>,a;;</FilterExclude>"));
    EXPECT_EQ(settings_.filterExclude,
              (QStringList{QString(), QStringLiteral("a"), QString(), QString()}));
}

TEST_F(ViewSettingsFile, AnEmptyFilterIncludeElementKeepsTheListReadEarlier)
{
    EXPECT_TRUE(readContent("<FilterInclude>a</FilterInclude><FilterInclude></FilterInclude>"
                            "<FilterInclude/>"));
    EXPECT_EQ(settings_.filterInclude, QStringList{QStringLiteral("a")});
    ViewSettings fresh;
    put("<LogDesk><FilterInclude/></LogDesk>");
    EXPECT_TRUE(fresh.readFrom(path()));
    EXPECT_TRUE(fresh.filterInclude.isEmpty());
}

TEST_F(ViewSettingsFile, AnEntryWithACommaComesBackAsSeveral)
{
    ViewSettings settings;
    settings.filterInclude = QStringList{QStringLiteral("a,b;c")};
    ASSERT_TRUE(settings.writeTo(path()));
    EXPECT_TRUE(settings_.readFrom(path()));
    EXPECT_EQ(settings_.filterInclude.size(), 3);
}

TEST_F(ViewSettingsFile, ANumberThatIsNoneIsZero)
{
    for (const char* text : {"", "abc", "12x", "1.5", "0x10", "99999999999", "10 0"}) {
        settings_.maximumLogMessages = 5;
        EXPECT_TRUE(
            readContent(QByteArray("<MaximumLogMessages>") + text + "</MaximumLogMessages>"));
        EXPECT_EQ(settings_.maximumLogMessages, 0) << text;
    }
    EXPECT_TRUE(readContent("<MaximumLogMessages>-7</MaximumLogMessages>"));
    EXPECT_EQ(settings_.maximumLogMessages, -7);
}

TEST_F(ViewSettingsFile, APositionThatIsNoNumberIsZero)
{
    EXPECT_TRUE(readContent("<TableView>" + item("LogPos", "first", "wide") + "\n</TableView>"));
    EXPECT_EQ(settings_.columnOrder, (QMap<QString, int>{{QStringLiteral("LogPos"), 0}}));
    EXPECT_EQ(settings_.columnWidths, (QMap<int, int>{{0, 0}}));
}

TEST_F(ViewSettingsFile, AnItemWithoutANameIsNotEntered)
{
    EXPECT_TRUE(readContent("<TableView>" + item("", "1", "5") + "\n</TableView>"));
    EXPECT_TRUE(settings_.columnOrder.isEmpty());
    EXPECT_TRUE(settings_.columnWidths.isEmpty());
}

TEST_F(ViewSettingsFile, TheNameOfTheRootElementAndUnknownElementsDoNotMatter)
{
    put("<Something a=\"b\"><!-- c --><Unknown><Deeper>x</Deeper></Unknown>"
        "<Group><ExpertMode>True</ExpertMode></Group></Something>");
    EXPECT_TRUE(settings_.readFrom(path()));
    EXPECT_TRUE(settings_.expertMode);
}

TEST_F(ViewSettingsFile, ElementNamesAreCaseSensitive)
{
    EXPECT_TRUE(readContent("<expertmode>True</expertmode><EXPERTMODE>True</EXPERTMODE>"));
    EXPECT_FALSE(settings_.expertMode);
}

TEST_F(ViewSettingsFile, AnElementWithElementsInItIsReadWithoutThem)
{
    EXPECT_TRUE(readContent("<ExpertMode>Tr<b>x<c/></b>ue</ExpertMode>"
                            "<FilterEnabled><FilterEnabled>True</FilterEnabled></FilterEnabled>"
                            "<AutoScrollEnabled>True</AutoScrollEnabled>"));
    EXPECT_TRUE(settings_.expertMode);
    EXPECT_FALSE(settings_.filterEnabled);
    EXPECT_TRUE(settings_.autoScrollEnabled);
}

TEST_F(ViewSettingsFile, AMalformedFileKeepsWhatWasReadBeforeTheError)
{
    settings_.timeDisplay = false;
    put("<LogDesk><ExpertMode>True</ExpertMode><Broken><TimeDisplay>True</TimeDisplay></LogDesk>"
        "<MaximumLogMessages>5</MaximumLogMessages>");
    EXPECT_FALSE(settings_.readFrom(path()));
    EXPECT_TRUE(settings_.expertMode);
    EXPECT_TRUE(settings_.timeDisplay);
    EXPECT_EQ(settings_.maximumLogMessages, 100000);
}

TEST_F(ViewSettingsFile, AValueThatIsCutInHalfIsNotTaken)
{
    put("<LogDesk><ExpertMode>True</ExpertMode><MaximumLogMessages>50");
    EXPECT_FALSE(settings_.readFrom(path()));
    EXPECT_TRUE(settings_.expertMode);
    EXPECT_EQ(settings_.maximumLogMessages, 100000);
}

TEST_F(ViewSettingsFile, AFileCutAnywhereGivesOnlyValuesThatWereWritten)
{
    const ViewSettings written = unusualSettings();
    ASSERT_TRUE(written.writeTo(path()));
    const QByteArray whole = bytes();
    const ViewSettings defaults;
    for (int length = 0; length < whole.size(); ++length) {
        put(whole.left(length));
        ViewSettings settings;
        // Only the last line feed may be missing.
        EXPECT_EQ(settings.readFrom(path()), length >= whole.size() - 1) << length;
        EXPECT_TRUE(settings.maximumLogMessages == written.maximumLogMessages ||
                    settings.maximumLogMessages == defaults.maximumLogMessages);
        EXPECT_TRUE(settings.filterInclude == written.filterInclude ||
                    settings.filterInclude.isEmpty());
        EXPECT_TRUE(settings.filterExclude == written.filterExclude ||
                    settings.filterExclude.isEmpty());
        for (auto column = settings.columnOrder.begin(); column != settings.columnOrder.end();
             ++column) {
            EXPECT_EQ(written.columnOrder.value(column.key(), -5), column.value());
            EXPECT_EQ(written.columnWidths.value(column.value()),
                      settings.columnWidths.value(column.value()));
        }
    }
}

TEST_F(ViewSettingsFile, AFileThatIsNoXmlIsMalformed)
{
    const QByteArray files[] = {"", "abc", QByteArray(100, '\0'), "<", "<a", "<a></b>", "\xFF\xFE"};
    for (const QByteArray& file : files) {
        put(file);
        EXPECT_FALSE(settings_.readFrom(path())) << file.toStdString();
        EXPECT_TRUE(equal(settings_, ViewSettings()));
    }
}

TEST_F(ViewSettingsFile, AFileOfHostileSizeIsNotRead)
{
    put("<LogDesk><ExpertMode>True</ExpertMode>" + QByteArray(17 * 1024 * 1024, ' ') +
        "</LogDesk>");
    EXPECT_TRUE(settings_.readFrom(path()));
    EXPECT_TRUE(equal(settings_, ViewSettings()));
}

TEST_F(ViewSettingsFile, ElementsOfHostileDepthEndTheReading)
{
    QByteArray nested;
    for (int i = 0; i < 1'000'000; ++i)
        nested += "<a>";
    EXPECT_FALSE(readContent("<ExpertMode>True</ExpertMode>" + nested));
    EXPECT_TRUE(settings_.expertMode);
    EXPECT_FALSE(readContent("<FilterInclude>" + nested));
    EXPECT_TRUE(settings_.filterInclude.isEmpty());
}

TEST_F(ViewSettingsFile, ManyElementsSideBySideAreNotDeep)
{
    QByteArray many;
    for (int i = 0; i < 5000; ++i)
        many += "<a><b/></a><Name>x</Name>";
    EXPECT_TRUE(readContent(many + "<ExpertMode>True</ExpertMode>"));
    EXPECT_TRUE(settings_.expertMode);
}

TEST_F(ViewSettingsFile, EntitiesThatNameOneAnotherAreNotExpanded)
{
    QByteArray entities = "<!DOCTYPE LogDesk [<!ENTITY a0 \"xxxxxxxxxx\">";
    for (int i = 1; i < 20; ++i) {
        entities += "<!ENTITY a" + QByteArray::number(i) + " \"";
        for (int j = 0; j < 10; ++j)
            entities += "&a" + QByteArray::number(i - 1) + ";";
        entities += "\">";
    }
    put(entities + "]><LogDesk><FilterInclude>&a19;</FilterInclude></LogDesk>");
    settings_.readFrom(path());
    EXPECT_TRUE(equal(settings_, ViewSettings()));
}

TEST_F(ViewSettingsFile, CharactersThatXmlCannotHoldAreLeftOut)
{
    ViewSettings settings;
    settings.filterInclude =
        QStringList{QStringLiteral("a") + QChar(1) + QChar(0) + QChar(0xD800) + QChar(0xFFFF) +
                    QStringLiteral("b\tc") + QString::fromUtf8("\xF0\x9F\x98\x80")};
    settings.expertMode = true;
    ASSERT_TRUE(settings.writeTo(path()));
    EXPECT_TRUE(settings_.readFrom(path()));
    EXPECT_EQ(settings_.filterInclude,
              QStringList{QStringLiteral("ab\tc") + QString::fromUtf8("\xF0\x9F\x98\x80")});
    EXPECT_TRUE(settings_.expertMode);
}

TEST_F(ViewSettingsFile, WritingReplacesTheFileAndLeavesNothingBeside)
{
    put(QByteArray(100'000, 'x'));
    ASSERT_TRUE(ViewSettings().writeTo(path()));
    EXPECT_TRUE(bytes().startsWith("<?xml"));
    EXPECT_LT(bytes().size(), 2000);
    EXPECT_EQ(QDir(directory_.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

TEST_F(ViewSettingsFile, WritingWithoutAPathOrADirectoryFails)
{
    EXPECT_FALSE(ViewSettings().writeTo(QString()));
    EXPECT_FALSE(ViewSettings().writeTo(directory_.filePath(QStringLiteral("none/LogDesk.xml"))));
    EXPECT_TRUE(QDir(directory_.path()).isEmpty());
}

TEST(ViewSettingsLayout, WithoutNamedColumnsTheLayoutIsTheDefault)
{
    ViewSettings settings;
    EXPECT_EQ(settings.columnLayout(), defaultColumnOrder());
    settings.columnOrder = {{QStringLiteral("Unknown"), 0}};
    EXPECT_EQ(settings.columnLayout(), defaultColumnOrder());
}

TEST(ViewSettingsLayout, ColumnsStandLeftToRightByPosition)
{
    ViewSettings settings;
    settings.columnOrder = {{QStringLiteral("LogMessage"), 0},
                            {QStringLiteral("Timestamp"), 2},
                            {QStringLiteral("Module"), 1}};
    EXPECT_EQ(settings.columnLayout(), (QList<int>{FieldLogMessage, FieldModule, FieldTimestamp}));
}

TEST(ViewSettingsLayout, AHiddenColumnComesBackAtItsPosition)
{
    ViewSettings settings;
    settings.setColumnLayout(defaultColumnOrder());
    settings.columnOrder.remove(QStringLiteral("Timestamp"));
    EXPECT_EQ(settings.columnLayout(), defaultColumnOrder());
}

TEST(ViewSettingsLayout, APositionThatNoNameClaimsIsTakenByTheFirstFieldNotNamedYet)
{
    ViewSettings settings;
    settings.columnOrder = {{QStringLiteral("ServiceMsgID"), 1}, {QStringLiteral("LogMessage"), 4}};
    EXPECT_EQ(settings.columnLayout(),
              (QList<int>{FieldSourceMsgID, FieldServiceMsgID, FieldSenderMsgID, FieldTimestamp,
                          FieldLogMessage}));
}

TEST(ViewSettingsLayout, AnUnknownNameIsLeftOutAndKeepsItsPositionFromBeingFilled)
{
    ViewSettings settings;
    settings.columnOrder = {{QStringLiteral("LogMessage"), 0},
                            {QStringLiteral("Unknown"), 1},
                            {QStringLiteral("Module"), 2}};
    EXPECT_EQ(settings.columnLayout(), (QList<int>{FieldLogMessage, FieldModule}));
}

TEST(ViewSettingsLayout, ColumnsOfOnePositionFollowInTheOrderOfTheirNames)
{
    ViewSettings settings;
    settings.columnOrder = {{QStringLiteral("ThreadID"), 0},
                            {QStringLiteral("Module"), 0},
                            {QStringLiteral("GroupName"), 0},
                            {QStringLiteral("LogPos"), 1}};
    EXPECT_EQ(settings.columnLayout(),
              (QList<int>{FieldGroupName, FieldModule, FieldThreadID, FieldLogPos}));
}

TEST(ViewSettingsLayout, PositionsFarOutsideFillTheRestOnly)
{
    ViewSettings settings;
    settings.columnOrder = {{QStringLiteral("Module"), std::numeric_limits<int>::max()},
                            {QStringLiteral("LogPos"), std::numeric_limits<int>::min()},
                            {QStringLiteral("Timestamp"), -5},
                            {QStringLiteral("Unknown"), std::numeric_limits<int>::max()}};
    EXPECT_EQ(settings.columnLayout(),
              (QList<int>{FieldLogPos, FieldTimestamp, FieldServiceMsgID, FieldSourceMsgID,
                          FieldSenderMsgID, FieldLogLevelHex, FieldLogLevel, FieldGroupName,
                          FieldProcessID, FieldThreadID, FieldLogMessage, FieldModule}));
}

TEST(ViewSettingsLayout, ALayoutThatIsSetComesBack)
{
    const QList<int> layout{FieldLogMessage, FieldServiceMsgID, FieldThreadID};
    ViewSettings settings;
    settings.columnOrder = {{QStringLiteral("Unknown"), 0}};
    settings.setColumnLayout(layout);
    EXPECT_EQ(settings.columnOrder.size(), 3);
    EXPECT_EQ(settings.columnOrder.value(QStringLiteral("LogMessage")), 0);
    EXPECT_EQ(settings.columnOrder.value(QStringLiteral("ServiceMsgID")), 1);
    EXPECT_EQ(settings.columnOrder.value(QStringLiteral("ThreadID")), 2);
    EXPECT_EQ(settings.columnLayout(), layout);
}

TEST(ViewSettingsLayout, WhatIsNoFieldAndWhatIsNamedAlreadyTakesNoPosition)
{
    ViewSettings settings;
    settings.setColumnLayout({FieldModule, FieldNone, 77, FieldModule, FieldLogPos});
    EXPECT_EQ(settings.columnLayout(), (QList<int>{FieldModule, FieldLogPos}));
    settings.setColumnLayout({});
    EXPECT_EQ(settings.columnLayout(), defaultColumnOrder());
}
