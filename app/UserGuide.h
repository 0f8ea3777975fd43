#pragma once

#include <QString>
#include <QTextBrowser>
#include <QVector>

class QUrl;

namespace zuLogging {

/// A window that shows the user guide that lies on this machine, for when the one in the net cannot
/// be opened. Its links lead to other pages beside it, to places in them, and out to what the
/// desktop opens. Window's thread.
class UserGuide final : public QTextBrowser
{
    Q_OBJECT

public:
    /// Pages larger than this are not shown.
    static constexpr qint64 maximumPage = 4 << 20;

    /// Shows the guide in a window that belongs to `owner`, the one that is open already if there
    /// is one. False when this machine has no guide.
    static bool show(QWidget* owner);

    /// The first of the folders that has the guide; empty when none has.
    static QString folderAmong(const QStringList& folders);
    /// Where a program in that folder looks for it: where it is installed with the program,
    /// wherever that was moved to; where it is installed; the sources of a build.
    static QStringList foldersFor(const QString& programFolder);

    UserGuide(const QString& folder, QWidget* owner);

    /// Goes to "user-guide.md", "service.md#its-files", "#time". False, and nothing changes, when
    /// there is no such page.
    bool open(const QString& link);
    /// The page that is shown.
    const QString& page() const { return page_; }

public Q_SLOTS:
    /// To where the last link was followed: Backspace, or Alt and the arrow to the left.
    void backward() override;

protected:
    /// Escape closes the window.
    void keyPressEvent(QKeyEvent* event) override;

private:
    void followLink(const QUrl& link);
    bool load(const QString& page);
    QVariant loadResource(int type, const QUrl& name) override;

    struct Place
    {
        QString page;
        int scrollValue;
    };

    const QString folder_;
    QString page_;
    QVector<Place> history_;
};

} // namespace zuLogging
