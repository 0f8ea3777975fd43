#include "logging/PropertyTreeJson.h"

#include "tests/support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <boost/property_tree/exceptions.hpp>

#include <string>

using namespace zuLogging;
using boost::property_tree::ptree_error;

namespace {

class PropertyTreeJson : public ::testing::Test
{
protected:
    std::string fileWith(const std::string& text, const QString& name = QStringLiteral("a.json"))
    {
        QFile file(directory.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(text.data(), static_cast<qint64>(text.size())),
                  static_cast<qint64>(text.size()));
        return QFile::encodeName(file.fileName()).toStdString();
    }

    QTemporaryDir directory;
};

std::string again(std::string_view json)
{
    return writePropertyTree(readPropertyTree(json), JsonForm::Compact);
}

std::string nested(int depth, const char* open, const char* close, const char* inner)
{
    std::string text;
    for (int i = 0; i < depth; ++i)
        text += open;
    text += inner;
    for (int i = 0; i < depth; ++i)
        text += close;
    return text;
}

} // namespace

TEST_F(PropertyTreeJson, MembersKeepTheirOrderAndMayBeThereTwice)
{
    EXPECT_EQ(again(R"( { "b" : "1" , "a" : "2", "b":["x","y"], "b":{"c":{"d":""}} } )"),
              R"({"b":"1","a":"2","b":["x","y"],"b":{"c":{"d":""}}})");
}

TEST_F(PropertyTreeJson, EveryValueBecomesAText)
{
    EXPECT_EQ(again(R"({"a":1.0e5,"b":true,"c":null,"d":[],"e":{}})"),
              R"({"a":"1.0e5","b":"true","c":"null","d":"","e":""})");
}

TEST_F(PropertyTreeJson, TextsWithControlCharactersAndUnicodeStay)
{
    const std::string json = "{\"k\\u0001\":\"\\\"\\\\\\b\\f\\n\\r\\t\\u0000 \xE2\x82\xAC\"}";
    EXPECT_EQ(again(json), json);
    EXPECT_EQ(again(R"({"a":"\ud83c\udf0d\/"})"), "{\"a\":\"\xF0\x9F\x8C\x8D\\/\"}");
}

TEST_F(PropertyTreeJson, TheCompactFormHasNoLineBreak)
{
    EXPECT_EQ(writePropertyTree(PropertyTree(), JsonForm::Compact), "{}");
    const PropertyTree tree = readPropertyTree(R"({"a":{"b":["1","2"]}})");
    EXPECT_EQ(writePropertyTree(tree, JsonForm::Compact), R"({"a":{"b":["1","2"]}})");
    const std::string indented = writePropertyTree(tree, JsonForm::Indented);
    EXPECT_EQ(indented.back(), '\n');
    EXPECT_NE(indented.find("\n    \"a\""), std::string::npos);
    EXPECT_EQ(readPropertyTree(indented), tree);
}

TEST_F(PropertyTreeJson, ATreeWithoutJsonFormIsAnError)
{
    PropertyTree both("value");
    both.push_back({"member", PropertyTree("x")});
    PropertyTree tree;
    tree.push_back({"a", both});
    EXPECT_THROW(writePropertyTree(tree, JsonForm::Compact), ptree_error);
    EXPECT_THROW(writePropertyTree(PropertyTree("x"), JsonForm::Indented), ptree_error);
}

TEST_F(PropertyTreeJson, ATextThatIsNotJsonIsAnError)
{
    for (const char* text : {"",
                             " ",
                             "{",
                             "}",
                             "{\"a\"}",
                             "{\"a\":}",
                             "{\"a\":1,}",
                             "[1,]",
                             "{}{}",
                             "{} x",
                             "'a'",
                             "{a:1}",
                             "\"open",
                             "{\"a\":\"\\x\"}",
                             "{\"a\":\"\\ud800\"}",
                             "{\"a\":\"\n\"}",
                             "01",
                             "{\"a\":\"\xFF\"}",
                             "{\"a\":\"\xC3\"}",
                             "\xFF\xFE{\0}\0"})
        EXPECT_THROW(readPropertyTree(text), ptree_error) << text;
}

TEST_F(PropertyTreeJson, ATextOfMoreValuesThanATreeMayTakeIsRefused)
{
    std::string text = "[0";
    for (std::size_t i = 2; i < maximumJsonValues; ++i)
        text += ",0";
    EXPECT_EQ(readPropertyTree(text + "]").size(), maximumJsonValues - 1);
    EXPECT_EQ(readPropertyTree(text + ",0]").size(), maximumJsonValues);
    EXPECT_THROW(readPropertyTree(text + ",0,0]"), boost::property_tree::ptree_error);
    EXPECT_NO_THROW(readPropertyTree("[\"" + std::string(2 * maximumJsonValues, ',') + "\"]"));
}

TEST_F(PropertyTreeJson, AByteOrderMarkIsSkipped)
{
    EXPECT_EQ(again("\xEF\xBB\xBF{\"a\":\"1\"}"), R"({"a":"1"})");
    EXPECT_EQ(readPropertyTreeObject("\xEF\xBB\xBF {\"a\":\"1\"}").size(), 1U);
    EXPECT_THROW(readPropertyTree("\xEF\xBB{}"), ptree_error);
}

TEST_F(PropertyTreeJson, NestingIsReadToTheLimitAndNoFurther)
{
    const std::string deepest = nested(maximumJsonDepth, "{\"a\":", "}", "\"x\"");
    EXPECT_EQ(again(deepest), deepest);
    EXPECT_NO_THROW(readPropertyTree(nested(maximumJsonDepth, "[", "]", "\"x\"")));
    EXPECT_THROW(readPropertyTree(nested(maximumJsonDepth + 1, "{\"a\":", "}", "\"x\"")),
                 ptree_error);
    EXPECT_THROW(readPropertyTree(nested(maximumJsonDepth + 1, "[", "]", "")), ptree_error);
    EXPECT_THROW(readPropertyTree(std::string(10000000, '[')), ptree_error);
}

TEST_F(PropertyTreeJson, BracketsInTextsAreNoNesting)
{
    const std::string brackets(1000, '[');
    EXPECT_NO_THROW(readPropertyTree("{\"a\":\"\\\"" + brackets + "\"}"));
    EXPECT_NO_THROW(readPropertyTree("{\"" + brackets + "\\\\\":\"\"}"));
}

TEST_F(PropertyTreeJson, SiblingsAreNoNesting)
{
    std::string text = "[";
    for (int i = 0; i < 2000; ++i)
        text += i == 0 ? "[{}]" : ",[{}]";
    EXPECT_EQ(readPropertyTree(text + "]").size(), 2000U);
}

TEST_F(PropertyTreeJson, ADocumentIsAnObject)
{
    EXPECT_EQ(readPropertyTreeObject(" \t\r\n{\"a\":\"1\"}").size(), 1U);
    EXPECT_TRUE(readPropertyTreeObject("{}").empty());
    for (const char* text : {"", "  ", "[]", "[{}]", "\"\"", "\"{}\"", "5", "true", "null", "{"})
        EXPECT_THROW(readPropertyTreeObject(text), ptree_error) << text;
}

TEST_F(PropertyTreeJson, AFileIsReadWhole)
{
    EXPECT_EQ(readPropertyTreeFile(fileWith("{\"a\":\"" + std::string(300000, 'x') + "\"}"))
                  .get<std::string>("a")
                  .size(),
              300000U);
    EXPECT_EQ(readPropertyTreeFile(fileWith("[\"1\"]")).size(), 1U);
    EXPECT_THROW(readPropertyTreeObjectFile(fileWith("[\"1\"]")), ptree_error);
    EXPECT_EQ(readPropertyTreeObjectFile(fileWith("{\"a\":\"\"}")).size(), 1U);
}

TEST_F(PropertyTreeJson, AFileMayHaveANonAsciiName)
{
    const QString name = QString::fromUtf8("Gr\xC3\xB6\xC3\x9F"
                                           "e \xF0\x9F\x8C\x8D.json");
    EXPECT_EQ(readPropertyTreeFile(fileWith("{\"a\":\"\"}", name)).size(), 1U);
}

TEST_F(PropertyTreeJson, WhatIsNoReadableFileIsAnError)
{
    EXPECT_THROW(readPropertyTreeFile(""), ptree_error);
    EXPECT_THROW(readPropertyTreeFile(directory.filePath(QStringLiteral("none")).toStdString()),
                 ptree_error);
    EXPECT_THROW(readPropertyTreeFile(directory.path().toStdString()), ptree_error);
    EXPECT_THROW(readPropertyTreeFile(fileWith("")), ptree_error);
    EXPECT_THROW(readPropertyTreeFile(fileWith("{")), ptree_error);
    // It has no end; on other systems it is not there.
    EXPECT_THROW(readPropertyTreeFile("/dev/zero"), ptree_error);
}

TEST_F(PropertyTreeJson, AFileThatIsTooLongIsAnError)
{
    const std::string path = fileWith("{}");
    QFile file(QFile::decodeName(path.c_str()));
    // Zeros that take no room on the disk.
    ASSERT_TRUE(file.resize(static_cast<qint64>(maximumJsonFileSize) * 1000));
    EXPECT_THROW(readPropertyTreeFile(path), ptree_error);
}
