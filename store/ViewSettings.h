#pragma once

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

namespace zuLogging {

/// The user's settings of the log view: one record a process, and the small XML file in which it
/// is kept between runs (Applications/LogDesk.xml in the directory that ARZDATA names).
/// GUI thread only. No failure of the file is shown: the settings are then those in memory.
class ViewSettings
{
public:
    /// The process's record, made with the defaults on first use and never freed.
    static ViewSettings& instance();

    /// Empty when ARZDATA is not set.
    static QString filePath();

    /// Fills the record from the file. False only when the XML is malformed; what was read before
    /// the error stays.
    bool read();
    /// Replaces the file by the record; the old file stays whole if that fails. False when there is
    /// no path or it cannot be written. Makes no directory.
    bool write() const;

    /// The same for a given file; what `read` and `write` do.
    bool readFrom(const QString& path);
    bool writeTo(const QString& path) const;

    /// Every field as on the first start.
    void reset() { *this = ViewSettings(); }

    /// The fields that the column order names, left to right by position. An unknown name is left
    /// out; a position that no name claims belonged to a column saved as hidden, which comes back:
    /// the first field not named yet takes it. The default order when no column is named.
    QList<int> columnLayout() const;
    /// Records `fields` as the column order.
    void setColumnLayout(const QList<int>& fields);

    static constexpr int defaultMaximumLogMessages = 100000;

    int maximumLogMessages = defaultMaximumLogMessages;
    bool filterEnabled = false;
    bool filterIncludeCs = false;
    bool filterExcludeCs = false;
    bool configurationEnabled = false;
    bool expertMode = false;
    bool autoScrollEnabled = false;
    bool timeDisplay = true; ///< true: date and time; false: seconds since beginning of logging
    bool maximizedScreen = false;
    QStringList filterInclude;
    QStringList levelFilterInclude;
    QStringList filterExclude;
    QMap<QString, int> columnOrder; ///< column name to position
    QMap<int, int> columnWidths;    ///< position to width in pixels; -1: hidden
};

} // namespace zuLogging
