#include "store/ViewSettings.h"

#include "platform/DataDirectory.h"
#include "platform/SavedFile.h"
#include "store/LogField.h"

#include <QFile>
#include <QFileInfo>
#include <QPair>
#include <QRegularExpression>
#include <QVector>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <algorithm>

namespace zuLogging {

namespace {

/// A larger file is none of ours.
constexpr qint64 maximumFileSize = 16 * 1024 * 1024;
/// Deeper elements are none of ours; the reader would keep every one that is open.
constexpr int maximumDepth = 1000;

/// The bytes of a settings file; false if there is none that can be read.
bool readFile(const QString& path, QByteArray& bytes)
{
    // A pipe or a device in its place could block or never end.
    if (path.isEmpty() || !QFileInfo(path).isFile())
        return false;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    // Memory for what is there, not for the most that may be.
    bytes = file.read(std::min(file.size(), maximumFileSize) + 1);
    return file.error() == QFileDevice::NoError && bytes.size() <= maximumFileSize;
}

/// The text of the element that has just begun, without that of elements in it, up to its end.
/// False on an error in it: half a value is none.
bool readText(QXmlStreamReader& xml, QString& text)
{
    text.clear();
    int depth = 1;
    while (depth > 0) {
        switch (xml.readNext()) {
        case QXmlStreamReader::StartElement:
            if (++depth > maximumDepth)
                xml.raiseError();
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            break;
        case QXmlStreamReader::Characters:
        case QXmlStreamReader::EntityReference:
            if (depth == 1)
                text += xml.text();
            break;
        default:
            break;
        }
        if (xml.hasError())
            return false;
    }
    return true;
}

bool isTrue(const QString& text)
{
    return text.compare(QLatin1String("True"), Qt::CaseInsensitive) == 0;
}

QString boolText(bool value)
{
    return value ? QStringLiteral("True") : QStringLiteral("False");
}

/// Without the characters that no XML document can hold: one of them would make the whole file
/// unreadable.
QString writable(const QString& text)
{
    QString result;
    result.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const bool pair =
            c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (pair) {
            result += c;
            result += text.at(++i);
        } else if (!c.isSurrogate() && c.unicode() < 0xFFFE &&
                   (c.unicode() >= 0x20 || c == QLatin1Char('\t') || c == QLatin1Char('\n'))) {
            result += c;
        }
    }
    return result;
}

/// What has been read of the current column.
struct PendingColumn
{
    QString name;
    int position = -1;
    int width = -1;

    bool isComplete() const { return !name.isEmpty() && position != -1 && width != -1; }
};

class Reader
{
public:
    Reader(ViewSettings& settings, const QByteArray& bytes)
        : settings_(settings)
        , xml_(bytes)
    {
    }

    bool read()
    {
        int depth = 0;
        while (!xml_.atEnd()) {
            const QXmlStreamReader::TokenType token = xml_.readNext();
            // Entities that name one another could grow without bound; none was ever written.
            if (token == QXmlStreamReader::DTD && !xml_.entityDeclarations().isEmpty())
                return true;
            const bool skipped = enterColumn();
            if (token == QXmlStreamReader::StartElement) {
                if (++depth > maximumDepth)
                    xml_.raiseError();
                else if (!skipped && readElement())
                    --depth;
            } else if (token == QXmlStreamReader::EndElement) {
                --depth;
            }
        }
        return !xml_.hasError();
    }

private:
    /// Enters the pending column once it is complete. A column saved as hidden (width -1) never
    /// is: its name stays pending until the next one comes.
    bool enterColumn()
    {
        if (!pending_.isComplete())
            return false;
        settings_.columnOrder.insert(pending_.name, pending_.position);
        settings_.columnWidths.insert(pending_.position, pending_.width);
        pending_ = PendingColumn();
        return true;
    }

    /// True if the element is one of ours and has been read to its end.
    bool readElement()
    {
        const QString name = xml_.name().toString();
        QString text;
        if (bool* flag = flagOf(name)) {
            if (readText(xml_, text))
                *flag = isTrue(text);
        } else if (QStringList* list = listOf(name)) {
            static const QRegularExpression separator(QStringLiteral(",|;"));
            if (readText(xml_, text) && !text.isEmpty())
                *list = text.split(separator);
        } else if (int* number = numberOf(name)) {
            if (readText(xml_, text))
                *number = text.toInt();
        } else if (name == QLatin1String("Name")) {
            if (readText(xml_, text))
                pending_.name = text;
        } else {
            return false;
        }
        return true;
    }

    bool* flagOf(const QString& name)
    {
        if (name == QLatin1String("FilterEnabled"))
            return &settings_.filterEnabled;
        if (name == QLatin1String("FilterIncludeCs"))
            return &settings_.filterIncludeCs;
        if (name == QLatin1String("FilterExcludeCs"))
            return &settings_.filterExcludeCs;
        if (name == QLatin1String("ConfigurationEnabled"))
            return &settings_.configurationEnabled;
        if (name == QLatin1String("ExpertMode"))
            return &settings_.expertMode;
        if (name == QLatin1String("AutoScrollEnabled"))
            return &settings_.autoScrollEnabled;
        if (name == QLatin1String("TimeDisplay"))
            return &settings_.timeDisplay;
        if (name == QLatin1String("MaximizedScreen"))
            return &settings_.maximizedScreen;
        return nullptr;
    }

    QStringList* listOf(const QString& name)
    {
        if (name == QLatin1String("FilterInclude"))
            return &settings_.filterInclude;
        if (name == QLatin1String("LLFilterInclude"))
            return &settings_.levelFilterInclude;
        if (name == QLatin1String("FilterExclude"))
            return &settings_.filterExclude;
        return nullptr;
    }

    int* numberOf(const QString& name)
    {
        if (name == QLatin1String("MaximumLogMessages"))
            return &settings_.maximumLogMessages;
        if (name == QLatin1String("Column"))
            return &pending_.position;
        if (name == QLatin1String("ColumnWidth"))
            return &pending_.width;
        return nullptr;
    }

    ViewSettings& settings_;
    QXmlStreamReader xml_;
    PendingColumn pending_;
};

void writeDocument(const ViewSettings& settings, QIODevice& device, bool& failed)
{
    QXmlStreamWriter xml(&device);
    const auto writeFlag = [&](const char* name, bool value) {
        xml.writeTextElement(QLatin1String(name), boolText(value));
    };
    const auto writeList = [&](const char* name, const QStringList& list) {
        xml.writeTextElement(QLatin1String(name), writable(list.join(QLatin1Char(','))));
    };

    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("LogDesk"));
    xml.writeTextElement(QStringLiteral("MaximumLogMessages"),
                         QString::number(settings.maximumLogMessages));
    xml.writeStartElement(QStringLiteral("TableView"));
    for (auto column = settings.columnOrder.begin(); column != settings.columnOrder.end();
         ++column) {
        const int position = column.value();
        xml.writeStartElement(QStringLiteral("Item"));
        xml.writeTextElement(QStringLiteral("Name"), writable(column.key()));
        xml.writeTextElement(QStringLiteral("Column"), QString::number(position));
        xml.writeTextElement(QStringLiteral("ColumnWidth"),
                             QString::number(settings.columnWidths.value(position, -1)));
        xml.writeEndElement();
    }
    xml.writeEndElement();
    writeFlag("FilterEnabled", settings.filterEnabled);
    writeList("FilterInclude", settings.filterInclude);
    writeList("LLFilterInclude", settings.levelFilterInclude);
    writeFlag("FilterIncludeCs", settings.filterIncludeCs);
    writeList("FilterExclude", settings.filterExclude);
    writeFlag("FilterExcludeCs", settings.filterExcludeCs);
    writeFlag("ConfigurationEnabled", settings.configurationEnabled);
    writeFlag("ExpertMode", settings.expertMode);
    writeFlag("TimeDisplay", settings.timeDisplay);
    writeFlag("AutoScrollEnabled", settings.autoScrollEnabled);
    writeFlag("MaximizedScreen", settings.maximizedScreen);
    xml.writeEndElement();
    xml.writeEndDocument();
    failed = xml.hasError();
}

} // namespace

ViewSettings& ViewSettings::instance()
{
    static auto* const settings = new ViewSettings;
    return *settings;
}

QString ViewSettings::filePath()
{
    return QFile::decodeName(platform::dataFilePath("Applications/LogDesk.xml").c_str());
}

bool ViewSettings::read()
{
    return readFrom(filePath());
}

bool ViewSettings::write() const
{
    return writeTo(filePath());
}

bool ViewSettings::readFrom(const QString& path)
{
    QByteArray bytes;
    if (!readFile(path, bytes))
        return true;
    return Reader(*this, bytes).read();
}

bool ViewSettings::writeTo(const QString& path) const
{
    if (path.isEmpty())
        return false;
    // Nobody else's business: the texts of a filter may be taken from somebody's messages.
    platform::SavedFile file(path, platform::SavedFile::Rights::OwnerOnly);
    if (!file.open())
        return false;
    bool failed = false;
    writeDocument(*this, file.device(), failed);
    return !failed && file.commit();
}

QList<int> ViewSettings::columnLayout() const
{
    // Position and field, FieldNone for an unknown name; of equal positions in the order of names.
    QVector<QPair<int, int>> named;
    QList<int> unnamed = defaultColumnOrder();
    for (auto column = columnOrder.begin(); column != columnOrder.end(); ++column) {
        const int field = logFieldOf(column.key());
        named.append({column.value(), field});
        unnamed.removeOne(field);
    }
    if (unnamed == defaultColumnOrder())
        return unnamed;
    std::stable_sort(
        named.begin(), named.end(),
        [](const QPair<int, int>& a, const QPair<int, int>& b) { return a.first < b.first; });

    QList<int> layout;
    qint64 next = 0; // the first position that nobody behind has claimed
    for (const QPair<int, int>& column : named) {
        // A gap may be as wide as the number range, but only so many fields can fill it.
        for (; next < column.first && !unnamed.isEmpty(); ++next)
            layout.append(unnamed.takeFirst());
        if (column.second != FieldNone)
            layout.append(column.second);
        next = std::max(next, qint64{column.first} + 1);
    }
    return layout;
}

void ViewSettings::setColumnLayout(const QList<int>& fields)
{
    columnOrder.clear();
    for (const int field : fields) {
        const QString name = logFieldName(field);
        if (!name.isEmpty() && !columnOrder.contains(name))
            columnOrder.insert(name, columnOrder.size());
    }
}

} // namespace zuLogging
