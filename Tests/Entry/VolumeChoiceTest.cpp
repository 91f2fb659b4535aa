#include "VolumeChoice.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace vx {
namespace {

// The path, the number and the offset, as one text.
std::string Parsed(const std::string &device)
{
    const VolumeChoice choice = VolumeChoice::Parse(device);
    const std::string offset = choice.offset ? std::to_string(*choice.offset) : "-";
    return choice.path + " " + std::to_string(choice.number) + " " + offset;
}

TEST(VolumeChoiceTest, APathAloneChoosesNothing)
{
    EXPECT_EQ(Parsed("/dev/none"), "/dev/none 0 -");
    EXPECT_EQ(Parsed(""), " 0 -");
}

TEST(VolumeChoiceTest, ANumberFollowsTheHash)
{
    EXPECT_EQ(Parsed("/dev/none#2"), "/dev/none 2 -");
    EXPECT_EQ(Parsed("/dev/none#0012"), "/dev/none 12 -");
}

TEST(VolumeChoiceTest, AnOffsetFollowsTheAtSignInEitherForm)
{
    EXPECT_EQ(Parsed("/dev/none@1048576"), "/dev/none 0 1048576");
    EXPECT_EQ(Parsed("/dev/none@0x100000"), "/dev/none 0 1048576");
    EXPECT_EQ(Parsed("/dev/none@0XaBc"), "/dev/none 0 2748");
    EXPECT_EQ(Parsed("/dev/none@0"), "/dev/none 0 0");
    EXPECT_EQ(Parsed("/dev/none@18446744073709551615"), "/dev/none 0 18446744073709551615");
}

TEST(VolumeChoiceTest, WhatIsNoNumberBelongsToTheName)
{
    for (const char *name :
         {"/dev/none#", "/dev/none#2a", "/dev/none#-1", "/dev/none#12345", "/dev/none@",
          "/dev/none@0x", "/dev/none@1g", "/dev/none@-5", "/dev/none@ 5", "/dev/none@1f",
          "/dev/none@18446744073709551616", "/dev/none@0x10000000000000000"})
        EXPECT_EQ(Parsed(name), std::string(name) + " 0 -");
}

TEST(VolumeChoiceTest, OnlyTheLastMarkCounts)
{
    EXPECT_EQ(Parsed("/dev/a#1@2"), "/dev/a#1 0 2");
    EXPECT_EQ(Parsed("/dev/a@1#2"), "/dev/a@1 2 -");
}

TEST(VolumeChoiceTest, ANameThatExistsWins)
{
    const TemporaryFolder folder;
    for (const char *name : {"disk@512", "disk#2"}) {
        const std::string path = folder.At(name);
        std::ofstream(path) << "x";
        EXPECT_EQ(Parsed(path), path + " 0 -");
        EXPECT_EQ(Parsed(path + "@16"), path + " 0 16");
        EXPECT_EQ(Parsed(path + "#3"), path + " 3 -");
    }
}

}  // namespace
}  // namespace vx
