#pragma once

#include <QString>
#include <QTemporaryDir>

#include <functional>
#include <ostream>
#include <string>

namespace zuLogging::test {

/// Gives the test process a connection info name, a data directory and a runtime directory of its
/// own (also for the programs that it starts), so that tests run side by side and beside a real
/// service. Made once, by the test program's main.
class TestEnvironment
{
public:
    TestEnvironment();
    ~TestEnvironment();

    static TestEnvironment& instance();

    QString dataDirectory() const { return directory_.filePath(QStringLiteral("data")); }
    QString runtimeDirectory() const { return directory_.filePath(QStringLiteral("run")); }
    std::string connectionInfoName() const { return connectionInfoName_; }

private:
    QTemporaryDir directory_;
    std::string connectionInfoName_;
};

/// Handles events until `condition` holds; false if it does not within `limitMs`.
bool waitFor(const std::function<bool()>& condition, int limitMs = 10000);

/// The folder with the built programs (logdesk, zulogsvc, zulog).
QString programPath(const QString& name);

} // namespace zuLogging::test

// So that a failed comparison of Qt strings shows the strings.
inline void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}
