#include "tools/ModulesCommand.h"

#include "tests/service/RunningService.h"
#include "tests/tools/StandInService.h"
#include "tests/tools/ToolRun.h"
#include "tools/EscapedText.h"

#include <gtest/gtest.h>

namespace zuLogging {
namespace {

using test::isOneLine;
using test::runTool;
using test::StandInService;
using test::ToolRun;

ToolRun modulesOf(const std::string& list)
{
    const StandInService service({{LogClientCommand::GetModules, list}});
    return runTool({"modules"});
}

TEST(ModulesCommand, NamesAreListedOnceInTheOrderOfTheirBytes)
{
    const ToolRun run = modulesOf(std::string("b\0a\0\0b\0Z\0\xC3\xA4\0a b\0", 16));
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, "Z\na\na b\nb\n\xC3\xA4\n");
    EXPECT_EQ(run.err, "");
}

TEST(ModulesCommand, ALastNameWithoutAnEndCounts)
{
    EXPECT_EQ(modulesOf(std::string("a\0b", 3)).out, "a\nb\n");
    EXPECT_EQ(modulesOf("one").out, "one\n");
}

TEST(ModulesCommand, AnEmptyListIsNoLine)
{
    for (const std::string& list :
         {std::string(), std::string("\0", 1), std::string("\0\0\0", 3)}) {
        const ToolRun run = modulesOf(list);
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out + run.err, "");
    }
}

TEST(ModulesCommand, ControlCharactersAreEscaped)
{
    EXPECT_EQ(modulesOf("two\nlines\x1B[31m\x7F\\").out, "two\\x0alines\\x1b[31m\\x7f\\\\\n");
}

TEST(ModulesCommand, AListOfManyPacketsIsReadWhole)
{
    std::string list;
    std::string lines;
    for (int i = 10000; i < 20000; ++i) {
        list += "module " + std::to_string(i) + '\0';
        lines += "module " + std::to_string(i) + '\n';
    }
    EXPECT_EQ(modulesOf(list).out, lines);
}

TEST(ModulesCommand, ListsTheModulesThatHaveSentSomething)
{
    const test::RunningService service;
    EXPECT_EQ(runTool({"send", "--module", "Second", "x"}).status, 0);
    EXPECT_EQ(runTool({"send", "--module", "First", "x"}).status, 0);
    EXPECT_EQ(runTool({"modules"}).out, "First\nSecond\n");
}

TEST(ModulesCommand, ARefusalIsOneLineAndStatus1)
{
    const StandInService service;
    const ToolRun run = runTool({"modules"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "zulog: The command was not successful (negative acknowledge received)\n");
}

TEST(EscapedText, EveryByteStaysOrBecomesItsNumber)
{
    for (int byte = 1; byte < 256; ++byte) {
        const std::string text(1, static_cast<char>(byte));
        if (byte < 0x20 || byte == 0x7F) {
            EXPECT_EQ(escapedText(text).size(), 4U) << byte;
            EXPECT_EQ(std::stoi(escapedText(text).substr(2), nullptr, 16), byte);
        } else {
            EXPECT_EQ(escapedText(text), byte == '\\' ? "\\\\" : text) << byte;
        }
    }
    EXPECT_EQ(escapedText(std::string(1, '\0')), "\\x00");
}

TEST(EscapedText, WhatTurnsOrEndsALineIsEscapedAndOtherTextStays)
{
    EXPECT_EQ(escapedText("a\xC2\x85\xC2\x9F"
                          "b"),
              "a\\xc2\\x85\\xc2\\x9fb");
    EXPECT_EQ(escapedText("\xE2\x80\xA8\xE2\x80\xAE"), "\\xe2\\x80\\xa8\\xe2\\x80\\xae");
    EXPECT_EQ(escapedText("\xE2\x81\xA6\xE2\x81\xA9"), "\\xe2\\x81\\xa6\\xe2\\x81\\xa9");
    for (const char* text :
         {"\xC2\xA0", "\xE2\x80\xA7", "\xE2\x80\xAF", "\xE2\x81\xA5", "\xE2\x81\xAA", "\xC3\x85",
          "\xF0\x9F\x9A\x80", "\xE2", "\xC2", "\x85"})
        EXPECT_EQ(escapedText(text), text);
}

} // namespace
} // namespace zuLogging
