// The real window as a screen reader meets it: over the accessibility bus, with the real service.

#include "tests/e2e/AccessibilityBus.h"
#include "tests/e2e/AccessibleObject.h"
#include "tests/service/ProgramRun.h"
#include "tests/service/ServiceProcess.h"
#include "tests/support/VirtualDisplay.h"

#include <QDBusConnectionInterface>
#include <QProcess>

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <tuple>

namespace zuLogging::test {
namespace {

struct Language
{
    const char* code;
    const char* fileMenu;
    const char* start;
    const char* stop;
    const char* table;
};

/// Whether the reader, and with it the bus, is there before the program or comes to it.
enum class Reader
{
    First,
    Later
};

class AccessibilityTree : public ::testing::TestWithParam<std::tuple<Language, Reader>>
{
protected:
    void SetUp() override
    {
        qDBusRegisterMetaType<AccessibleReference>();
        qDBusRegisterMetaType<QList<AccessibleReference>>();
        ASSERT_FALSE(display_.name().isEmpty()) << "no Xvfb";
        bus_.emplace(display_.name());
        ASSERT_TRUE(service_.start());
        if (reader() == Reader::First) {
            ASSERT_TRUE(bus_->open()) << bus_->error().toStdString();
        }
        QProcessEnvironment environment = environmentOn(display_.name(), bus_->environment());
        environment.insert(QStringLiteral("QT_LINUX_ACCESSIBILITY_ALWAYS_ON"), QStringLiteral("1"));
        environment.insert(QStringLiteral("LANGUAGE"), QLatin1String(language().code));
        program_.setProcessEnvironment(environment);
        program_.start(programPath(QStringLiteral("logdesk")), QStringList());
        ASSERT_TRUE(program_.waitForStarted());
        QProcess search;
        search.setProcessEnvironment(environment);
        search.start(QStringLiteral("xdotool"),
                     {QStringLiteral("search"), QStringLiteral("--sync"),
                      QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
                      QStringLiteral("Arvenza LogDesk")});
        ASSERT_TRUE(search.waitForFinished(20000)) << "no window";
        if (reader() == Reader::Later) {
            ASSERT_TRUE(bus_->open()) << bus_->error().toStdString();
        }
        connection_.emplace(
            QDBusConnection::connectToBus(bus_->address(), QStringLiteral("accessibility-test")));
        ASSERT_TRUE(connection_->isConnected());
        ASSERT_TRUE(waitFor([this] { return !window().isNull(); }, 20000))
            << "the window is not on the accessibility bus";
    }

    void TearDown() override
    {
        if (program_.state() != QProcess::NotRunning) {
            program_.terminate();
            if (!program_.waitForFinished(5000)) {
                program_.kill();
                program_.waitForFinished(5000);
            }
        }
        connection_.reset();
        QDBusConnection::disconnectFromBus(QStringLiteral("accessibility-test"));
        bus_.reset();
        EXPECT_TRUE(AccessibilityBus::children().isEmpty()) << "something still runs";
    }

    static Reader reader() { return std::get<Reader>(GetParam()); }
    static const Language& language() { return std::get<Language>(GetParam()); }

    /// The main window; null while it is not there. Its program is looked for among the
    /// connections.
    AccessibleObject window() const
    {
        const QStringList names = connection_->interface()->registeredServiceNames();
        for (const QString& name : names) {
            if (!name.startsWith(QLatin1Char(':')) || name == connection_->baseService())
                continue;
            for (const AccessibleObject& candidate :
                 AccessibleObject::root(*connection_, name).children())
                if (candidate.role() == AccessibleObject::Frame &&
                    candidate.name() == QLatin1String("Arvenza LogDesk"))
                    return candidate;
        }
        return {};
    }

    /// Every object below, until `look` says no; false when it did, or the tree has no end.
    static bool walk(const AccessibleObject& object,
                     const std::function<bool(const AccessibleObject&)>& look, int& left)
    {
        if (--left < 0 || !look(object))
            return false;
        for (const AccessibleObject& child : object.children())
            if (!walk(child, look, left))
                return false;
        return true;
    }

    AccessibleObject find(int role, const char* name) const
    {
        AccessibleObject found;
        int left = mostObjects;
        walk(
            window(),
            [&](const AccessibleObject& object) {
                if (object.role() != role || object.name() != QString::fromUtf8(name))
                    return true;
                found = object;
                return false;
            },
            left);
        return found;
    }

    static constexpr int mostObjects = 2000;

    const VirtualDisplay display_;
    std::optional<AccessibilityBus> bus_;
    ServiceProcess service_;
    QProcess program_;
    std::optional<QDBusConnection> connection_;
};

TEST_P(AccessibilityTree, HasNoControlWithoutAName)
{
    int left = mostObjects;
    int focusable = 0;
    const bool whole = walk(
        window(),
        [&](const AccessibleObject& object) {
            if (!object.has(AccessibleObject::Focusable))
                return true;
            ++focusable;
            EXPECT_FALSE(object.name().trimmed().isEmpty()) << "role " << object.role();
            return true;
        },
        left);
    EXPECT_TRUE(whole) << "more than " << mostObjects << " objects";
    EXPECT_GE(focusable, 8) << "the buttons of the tool bar, the filter box and the table";
    EXPECT_FALSE(find(AccessibleObject::MenuItem, language().fileMenu).isNull());
}

TEST_P(AccessibilityTree, LoggingIsStartedAndAMessageIsRead)
{
    const AccessibleObject start = find(AccessibleObject::MenuItem, language().start);
    const AccessibleObject stop = find(AccessibleObject::PushButton, language().stop);
    const AccessibleObject table = find(AccessibleObject::Table, language().table);
    ASSERT_FALSE(start.isNull());
    ASSERT_FALSE(stop.isNull());
    ASSERT_FALSE(table.isNull());
    EXPECT_FALSE(stop.has(AccessibleObject::Enabled));
    EXPECT_EQ(table.rows(), 0);

    ASSERT_TRUE(start.press());
    ASSERT_TRUE(waitFor([&] { return stop.has(AccessibleObject::Enabled); }));
    const ProgramRun sent =
        runProgram(QStringLiteral("zulog"),
                   {QStringLiteral("send"), QStringLiteral("--reliable"), QStringLiteral("--level"),
                    QStringLiteral("err"), QStringLiteral("read me aloud")});
    ASSERT_EQ(sent.status, 0) << sent.err.toStdString();
    ASSERT_TRUE(waitFor([&] { return table.rows() == 1; }));
    EXPECT_EQ(table.cell(0, 11).name(), "read me aloud");
    EXPECT_EQ(table.cell(0, 5).name(), "err");

    ASSERT_TRUE(stop.press());
    EXPECT_TRUE(waitFor([&] { return !stop.has(AccessibleObject::Enabled); }));
}

INSTANTIATE_TEST_SUITE_P(
    LanguagesAndReaders, AccessibilityTree,
    ::testing::Combine(::testing::Values(Language{"en", "File", "Start logging", "Stop logging",
                                                  "Log messages"},
                                         Language{"de", "Datei", "Logging starten",
                                                  "Logging beenden", "Log-Meldungen"}),
                       ::testing::Values(Reader::First, Reader::Later)),
    [](const auto& param) {
        const bool first = std::get<Reader>(param.param) == Reader::First;
        return std::string(std::get<Language>(param.param).code) +
               (first ? "ReaderFirst" : "ReaderLater");
    });

} // namespace
} // namespace zuLogging::test
