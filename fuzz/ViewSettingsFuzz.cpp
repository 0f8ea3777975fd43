// The view settings file: read, written and read again it says the same.

#include "fuzz/FuzzCheck.h"
#include "store/ViewSettings.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

using namespace zuLogging;
using fuzz::check;

namespace {

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    check(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(),
          "the temporary folder cannot be written");
}

QByteArray contentsOf(const QString& path)
{
    QFile file(path);
    check(file.open(QIODevice::ReadOnly), "a written file cannot be read");
    return file.readAll();
}

/// What is left of a text in a file: the reader can be given a carriage return by its number, and
/// the writer leaves it out.
QString kept(QString text)
{
    return text.remove(QLatin1Char('\r'));
}

QStringList kept(const QStringList& list)
{
    static const QRegularExpression separator(QStringLiteral(",|;"));
    const QString text = kept(list.join(QLatin1Char(',')));
    return text.isEmpty() ? QStringList() : text.split(separator);
}

bool haveCarriageReturn(const QStringList& texts)
{
    return texts.join(QLatin1Char(' ')).contains(QLatin1Char('\r'));
}

void compare(const ViewSettings& a, const ViewSettings& b)
{
    check(a.maximumLogMessages == b.maximumLogMessages, "the limit changes");
    check(a.filterEnabled == b.filterEnabled && a.filterIncludeCs == b.filterIncludeCs &&
              a.filterExcludeCs == b.filterExcludeCs &&
              a.configurationEnabled == b.configurationEnabled && a.expertMode == b.expertMode &&
              a.autoScrollEnabled == b.autoScrollEnabled && a.timeDisplay == b.timeDisplay &&
              a.maximizedScreen == b.maximizedScreen,
          "a flag changes");
    check(kept(a.filterInclude) == b.filterInclude &&
              kept(a.levelFilterInclude) == b.levelFilterInclude &&
              kept(a.filterExclude) == b.filterExclude,
          "a list changes");
    if (haveCarriageReturn(a.columnOrder.keys()))
        return; // two names may become one, or none
    check(a.columnOrder == b.columnOrder, "the order of columns changes");
    for (const int position : a.columnOrder)
        check(a.columnWidths.value(position, -1) == b.columnWidths.value(position, -1),
              "a column's width changes");
}

void checkLayout(const ViewSettings& settings)
{
    const QList<int> layout = settings.columnLayout();
    ViewSettings other;
    other.setColumnLayout(layout);
    check(other.columnLayout().size() >= other.columnOrder.size(), "a column gets lost");
    for (const int field : layout)
        check(field >= 1 && field <= 12, "there is no such column");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::silenceTrace();
    static const QTemporaryDir folder;
    check(folder.isValid(), "there is no temporary folder");
    const QString given = folder.filePath(QStringLiteral("given.xml"));
    const QString first = folder.filePath(QStringLiteral("first.xml"));
    const QString second = folder.filePath(QStringLiteral("second.xml"));

    writeFile(given, QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    ViewSettings settings;
    settings.readFrom(given);
    checkLayout(settings);

    check(settings.writeTo(first), "the settings cannot be written");
    ViewSettings again;
    check(again.readFrom(first), "what was written is malformed");
    compare(settings, again);

    check(again.writeTo(second), "the settings cannot be written again");
    ViewSettings third;
    check(third.readFrom(second), "what was written again is malformed");
    compare(again, third);
    check(again.columnOrder == third.columnOrder, "the order of columns changes once more");
    check(third.writeTo(first) && contentsOf(first) == contentsOf(second),
          "the same settings make two files");
    return 0;
}
