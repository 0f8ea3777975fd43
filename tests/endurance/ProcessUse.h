#pragma once

#include <QDir>
#include <QFile>
#include <QString>

#include <cstdint>

namespace zuLogging::test {

/// What a process of this machine takes at a moment; 0 where the system does not tell.
struct ProcessUse
{
    std::int64_t residentKib = 0;
    int threads = 0;
    int descriptors = 0;
};

inline ProcessUse useOf(qint64 processId)
{
    ProcessUse use;
    const QString folder = QStringLiteral("/proc/%1/").arg(processId);
    QFile status(folder + QStringLiteral("status"));
    if (status.open(QIODevice::ReadOnly)) {
        const QList<QByteArray> lines = status.readAll().split('\n');
        for (const QByteArray& line : lines) {
            if (line.startsWith("VmRSS:"))
                use.residentKib = line.mid(6).trimmed().split(' ').first().toLongLong();
            if (line.startsWith("Threads:"))
                use.threads = line.mid(8).trimmed().toInt();
        }
    }
    const QDir descriptors(folder + QStringLiteral("fd"));
    use.descriptors =
        descriptors.entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size();
    return use;
}

/// Whether each thread of the process stands still: a signal reaches them one after another.
inline bool isStandingStill(qint64 processId)
{
    const QString folder = QStringLiteral("/proc/%1/task/").arg(processId);
    const QStringList threads = QDir(folder).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& thread : threads) {
        QFile stat(folder + thread + QStringLiteral("/stat"));
        if (!stat.open(QIODevice::ReadOnly))
            return false;
        const QByteArray line = stat.readAll();
        if (line.mid(line.lastIndexOf(')') + 2, 1) != "T")
            return false;
    }
    return !threads.isEmpty();
}

} // namespace zuLogging::test
