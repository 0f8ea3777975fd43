#pragma once

#include <QApplication>
#include <QTimer>

#include <functional>

namespace zuLogging::test {

/// Runs the event loop as the program does, until its last window is closed. False when that takes
/// longer than `limitMs`; `atTheLimit` is called then.
inline bool runUntilTheLastWindowCloses(int limitMs, const std::function<void()>& atTheLimit = {})
{
    bool late = false;
    QTimer limit;
    limit.setSingleShot(true);
    QObject::connect(&limit, &QTimer::timeout, &limit, [&] {
        late = true;
        if (atTheLimit)
            atTheLimit();
        QCoreApplication::exit(1);
    });
    limit.start(limitMs);
    const auto quits =
        QObject::connect(qApp, &QGuiApplication::lastWindowClosed, qApp, &QCoreApplication::quit);
    QApplication::exec();
    QObject::disconnect(quits);
    return !late;
}

} // namespace zuLogging::test
