#include "service/ModuleRegistry.h"

#include "tests/support/TraceCapture.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

class Modules : public ::testing::Test
{
protected:
    QString path() const { return directory_.filePath(QStringLiteral("modules.txt")); }
    std::string pathText() const { return path().toStdString(); }
    void writeFile(const QByteArray& bytes)
    {
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }
    QByteArray readFile()
    {
        QFile file(path());
        file.open(QIODevice::ReadOnly);
        return file.readAll();
    }

    test::TraceCapture trace_;
    QTemporaryDir directory_;
};

std::u16string nameOf(int number)
{
    return QStringLiteral("module %1").arg(number).toStdU16String();
}

TEST_F(Modules, AreSortedByTheirBytesUniqueAndEachFollowedByANul)
{
    ModuleRegistry registry;
    EXPECT_TRUE(registry.note(u"b"));
    EXPECT_TRUE(registry.note(u"\u00dc"));
    EXPECT_TRUE(registry.note(u"B"));
    EXPECT_FALSE(registry.note(u"b"));
    EXPECT_EQ(registry.list({}), std::string("B\0b\0\xC3\x9C\0", 7));
    EXPECT_EQ(registry.list({"a", "b", "z"}), std::string("B\0a\0b\0z\0\xC3\x9C\0", 11));
    EXPECT_EQ(ModuleRegistry().list({}), "");
}

TEST_F(Modules, NamesThatCannotBeListedAreNotRemembered)
{
    ModuleRegistry registry;
    EXPECT_FALSE(registry.note(u""));
    EXPECT_FALSE(registry.note(std::u16string_view(u"a\0b", 3)));
    EXPECT_FALSE(registry.note(u"a\nb"));
    EXPECT_FALSE(registry.note(std::u16string(257, u'x')));
    EXPECT_FALSE(registry.note(std::u16string(129, u'\u00dc')));
    EXPECT_TRUE(registry.note(std::u16string(256, u'x')));
    EXPECT_EQ(registry.list({"", std::string("c\0d", 3), std::string(257, 'y'), "ok"}),
              std::string("ok\0", 3) + std::string(256, 'x') + '\0');
}

TEST_F(Modules, AreKeptAcrossARestart)
{
    {
        ModuleRegistry registry(pathText());
        registry.note(u"second");
        registry.note(u"\u00dcber");
        registry.save();
    }
    EXPECT_EQ(readFile(), QByteArray("second\n\xC3\x9C"
                                     "ber\n"));
    ModuleRegistry registry(pathText());
    EXPECT_FALSE(registry.note(u"second"));
    EXPECT_TRUE(registry.note(u"first"));
    EXPECT_EQ(registry.list({}), std::string("first\0second\0\xC3\x9C"
                                             "ber\0",
                                             19));
    EXPECT_TRUE(trace_.calls().empty());
}

TEST_F(Modules, AreWrittenOnlyWhenNewOnesHaveCome)
{
    ModuleRegistry registry(pathText());
    registry.save();
    EXPECT_FALSE(QFile::exists(path()));
    registry.note(u"a");
    registry.save();
    ASSERT_TRUE(QFile::remove(path()));
    registry.note(u"a");
    registry.save();
    EXPECT_FALSE(QFile::exists(path()));
    EXPECT_EQ(QDir(directory_.path()).entryList(QDir::Files | QDir::Hidden).size(), 0);
}

TEST_F(Modules, AFailedWriteIsSaidAndTriedAgain)
{
    const std::string folder = directory_.filePath(QStringLiteral("later")).toStdString();
    ModuleRegistry registry(folder + "/modules.txt");
    registry.note(u"a");
    registry.save();
    EXPECT_EQ(trace_.countStartingWith("Failed to write the list of modules '"), 1U);
    ASSERT_TRUE(QDir().mkpath(QString::fromStdString(folder)));
    registry.save();
    EXPECT_TRUE(QFile::exists(QString::fromStdString(folder + "/modules.txt")));
}

TEST_F(Modules, AFloodOfInventedNamesFindsAnEndAndThatIsSaidOnce)
{
    ModuleRegistry registry(pathText());
    for (int i = 0; i < 4096; ++i)
        EXPECT_TRUE(registry.note(nameOf(i)));
    EXPECT_FALSE(registry.note(nameOf(0)));
    EXPECT_TRUE(trace_.calls().empty());
    for (int i = 4096; i < 10000; ++i)
        EXPECT_FALSE(registry.note(nameOf(i)));
    EXPECT_EQ(trace_.calls().size(), 1U);
    registry.save();
    EXPECT_EQ(readFile().count('\n'), 4096);
    // The configuration's own names have their place all the same.
    EXPECT_EQ(registry.list({"a"}).compare(0, 2, std::string("a\0", 2)), 0);
}

TEST_F(Modules, WhateverStandsInTheFileIsBoundedAndWhole)
{
    QByteArray bytes("good\n\n\xFF\xFE\n" + QByteArray(300, 'x') + "\nz\x01\nlast");
    writeFile(bytes);
    EXPECT_EQ(ModuleRegistry(pathText()).list({}),
              std::string("good\0last\0\xEF\xBF\xBD\xEF\xBF\xBD\0", 17));
    writeFile(QByteArray(4096 * 257 + 1, 'x'));
    EXPECT_EQ(ModuleRegistry(pathText()).list({}), "");
    EXPECT_EQ(trace_.countStartingWith("Failed to read the list of modules '"), 1U);
}

} // namespace
} // namespace zuLogging
