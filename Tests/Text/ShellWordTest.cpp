#include "ShellWord.h"

#include "ToolRun.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

// As bash reads the word.
std::string ReadBack(const std::string &word)
{
    ToolRun run("/bin/bash", {"-c", "printf %s " + word});
    EXPECT_EQ(run.Wait(), 0) << word;
    return run.Output();
}

TEST(ShellWord, AnOrdinaryPathIsUnchanged)
{
    EXPECT_EQ(ShellWord("/dev/sdb1"), "/dev/sdb1");
    EXPECT_EQ(ShellWord("disk.E01#2"), "disk.E01#2");
    EXPECT_EQ(ShellWord("disk@1048576"), "disk@1048576");
}

TEST(ShellWord, WhatAShellWouldChangeIsQuoted)
{
    EXPECT_EQ(ShellWord("my disk.E01#2"), "'my disk.E01#2'");
    EXPECT_EQ(ShellWord("#1"), "'#1'");
    EXPECT_EQ(ShellWord(""), "''");
}

TEST(ShellWord, AWordThatLooksLikeAnOptionBecomesAPath)
{
    EXPECT_EQ(ShellWord("-disk"), "./-disk");
}

TEST(ShellWord, WhatCouldDriveTheTerminalIsEscaped)
{
    EXPECT_EQ(ShellWord("a\x1b[2J"), "$'a\\x1b[2J'");
    EXPECT_EQ(ShellWord("\u202etxt"), "$'\\u202etxt'");
}

TEST(ShellWord, AShellReadsEveryWordBack)
{
    for (const char *text :
         {"/a b/c", "it's", "$HOME `id` \"x\" \\ !1", "~", "a\nb\tc", "\x1b'\\\\'\x7f", "*?[a]",
          "\u00fc\u65e5", "\u202e'\u009b", "{a,b}", "a;b|c&d<e>f(g)", "\xff\xfe z"})
        EXPECT_EQ(ReadBack(ShellWord(text)), text);
}

}  // namespace
}  // namespace vx
