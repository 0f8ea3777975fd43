#pragma once

#include "tests/support/TestEnvironment.h"

#include <QProcess>
#include <QProcessEnvironment>
#include <QString>

namespace zuLogging::test {

/// A display of its own without a window manager, for as long as the object lives.
class VirtualDisplay
{
public:
    VirtualDisplay()
    {
        // -noreset: what a program leaves on the display stays there when it was the last one, as
        // on a desktop, where one always runs.
        server_.start(QStringLiteral("Xvfb"),
                      {QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-screen"),
                       QStringLiteral("0"), QStringLiteral("1280x900x24"),
                       QStringLiteral("-nolisten"), QStringLiteral("tcp"),
                       QStringLiteral("-noreset")});
        if (waitFor([this] { return server_.canReadLine(); }))
            name_ = QLatin1Char(':') + QString::fromLatin1(server_.readLine()).trimmed();
    }
    ~VirtualDisplay()
    {
        server_.terminate();
        if (!server_.waitForFinished(5000))
            server_.kill();
        server_.waitForFinished(5000);
    }

    const QString& name() const { return name_; }

private:
    QProcess server_;
    QString name_;
};

/// The environment of a program whose window is to be on `display`.
inline QProcessEnvironment
environmentOn(const QString& display,
              QProcessEnvironment environment = QProcessEnvironment::systemEnvironment())
{
    environment.insert(QStringLiteral("DISPLAY"), display);
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("xcb"));
#if defined(LOGDESK_ADDRESS_SANITIZER)
    // What the libraries of such a window keep is taken for a leak, for they are unloaded before
    // anybody looks.
    const QString options = QStringLiteral("ASAN_OPTIONS");
    environment.insert(options, environment.value(options) + QStringLiteral(":detect_leaks=0"));
#endif
    return environment;
}

} // namespace zuLogging::test
