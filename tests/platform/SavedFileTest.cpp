#include "platform/SavedFile.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace zuLogging::platform {
namespace {

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable");
}

TEST(SavedFile, OneThatIsHastenedHoldsWhatWasWritten)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("log.json"));
    QByteArray piece(1000003, ' ');
    QByteArray expected;
    SavedFile file(path);
    ASSERT_TRUE(file.open()) << file.error();
    file.hastenCommit(); // of nothing
    for (int i = 0; i < 30; ++i) {
        piece.fill(static_cast<char>('a' + i % 26));
        ASSERT_EQ(file.device().write(piece), piece.size());
        expected += piece;
        file.hastenCommit();
    }
    EXPECT_FALSE(QFile::exists(path));
    ASSERT_TRUE(file.commit()) << file.error();
    EXPECT_TRUE(contentOf(path) == expected);
}

TEST(SavedFile, OneThatIsHastenedAndThenLeftLeavesTheOldFileAndNothingElse)
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("log.json"));
    {
        QFile old(path);
        ASSERT_TRUE(old.open(QIODevice::WriteOnly));
        old.write("old");
    }
    {
        SavedFile file(path);
        ASSERT_TRUE(file.open()) << file.error();
        const QByteArray piece(9000000, 'x');
        ASSERT_EQ(file.device().write(piece), piece.size());
        file.hastenCommit();
    }
    EXPECT_EQ(contentOf(path), QByteArray("old"));
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden),
              QStringList{QStringLiteral("log.json")});
}

} // namespace
} // namespace zuLogging::platform
