// Maps of GNU ddrescue: ours are read by the real programs, and theirs by us.
#include "RescueMap.h"
#include "DiskAreas.h"
#include "RescueMapParser.h"
#include "RescueMapWriter.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"
#include "VolumeOpeningOptions.h"

#include <gtest/gtest.h>

#include <climits>
#include <unistd.h>
#include <utility>
#include <vector>

namespace vx {
namespace {

using Ranges = std::vector<std::pair<uint64_t, uint64_t>>;

constexpr uint64_t kEnd = INT64_MAX;

Ranges RangesOf(const ByteRanges &ranges)
{
    Ranges pairs;
    for (const ByteRange &range : ranges)
        pairs.emplace_back(range.offset, range.length);
    return pairs;
}

class Map : public testing::Test {
protected:
    // What is unread by the text; the error, if there is one, in error.
    Ranges Read(const std::string &text)
    {
        folder.WriteFile("map", text);
        return ReadFile("map");
    }

    Ranges ReadFile(const std::string &name)
    {
        error.clear();
        const auto map = RescueMap::Read(folder.At(name), &error);
        EXPECT_EQ(map.has_value(), error.empty());
        return map ? RangesOf(map->unread) : Ranges();
    }

    std::string ErrorOf(const std::string &text)
    {
        EXPECT_EQ(Read(text), Ranges()) << text;
        const std::string begin = "the map " + folder.At("map") + " is not a map of ddrescue: ";
        EXPECT_EQ(error.rfind(begin, 0), 0u) << error;
        return error.substr(std::min(begin.size(), error.size()));
    }

    // Runs ddrescue or ddrescuelog in the folder; its exit status.
    int Run(const std::string &program, const std::vector<std::string> &arguments)
    {
        ToolRun::Settings settings;
        settings.folder = folder.Path();
        ToolRun run("/usr/bin/" + program, arguments, settings);
        const int status = run.Wait();
        output = run.Output() + run.Errors();
        return status;
    }

    const TemporaryFolder folder{};
    std::string error;
    std::string output;
};

class RealMap : public Map {
protected:
    void SetUp() override
    {
        if (access("/usr/bin/ddrescue", X_OK) != 0)
            GTEST_SKIP() << "ddrescue is not installed";
        std::string bytes(1 << 20, '\0');
        for (size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<char>(i * 2654435761u >> 15 | 1);
        folder.WriteFile("image", bytes);
    }
};

TEST_F(Map, EverythingButRescuedIsUnread)
{
    EXPECT_EQ(Read("# Mapfile\n"
                   "0x00120000     ?               1\n"
                   "0x00000000  0x00117000  +\n"
                   "0x00117000  0x00000200  -\n"
                   "0x00117200  0x00001000  /\n"
                   "0x00118200  0x00007E00  *\n"
                   "0x00120000  0x00048000  ?\n"
                   "0x00168000  0x00001000  +\n"),
              (Ranges{{0x117000, 0x51000}, {0x169000, kEnd - 0x169000}}));
}

TEST_F(Map, WhatItDoesNotMentionIsUnread)
{
    EXPECT_EQ(Read("0 ? 1\n4096 4096 +\n"), (Ranges{{0, 4096}, {8192, kEnd - 8192}}));
}

TEST_F(Map, NumbersAreWrittenAsInASource)
{
    EXPECT_EQ(Read("0 +\n0 010 +\n8 0x8 -\n0X10 16 +\n"), (Ranges{{8, 8}, {32, kEnd - 32}}));
}

TEST_F(Map, CommentsEmptyLinesAndCarriageReturnsAreLeftOut)
{
    EXPECT_EQ(Read("# " + std::string(100000, 'x') + "\n\n 0 ? 1 # here\r\n\t0 512\t+ #\r\n"),
              (Ranges{{512, kEnd - 512}}));
}

TEST_F(Map, OneToTheEndOfAllPlacesLeavesNothing)
{
    EXPECT_EQ(Read("0 ? 1\n0 0x7FFFFFFFFFFFFFFF +"), Ranges());
}

TEST_F(Map, ErrorsNameTheLine)
{
    EXPECT_EQ(ErrorOf(""), "it is empty or holds only comments");
    EXPECT_EQ(ErrorOf("# only\n"), "it is empty or holds only comments");
    EXPECT_EQ(ErrorOf("0 ? 1\n"), "it names no areas");
    EXPECT_EQ(ErrorOf("PK\x03\x04\n"), "line 1: the status line does not begin with a position");
    EXPECT_EQ(ErrorOf("0 x 1\n"), "line 1: the status line has no status character");
    EXPECT_EQ(ErrorOf("0 ? one\n"), "line 1: the number of the pass is not a number");
    EXPECT_EQ(ErrorOf("0 ? 1 2\n"), "line 1: there is something after the last field");
    const std::string begin = "# a\n0 ? 1\n";
    EXPECT_EQ(ErrorOf(begin + "0 512 +\n256 512 -\n"),
              "line 4: the area overlaps the one before it");
    EXPECT_EQ(ErrorOf(begin + "512 512 +\n0 512 -\n"),
              "line 4: the area overlaps the one before it");
    EXPECT_EQ(ErrorOf(begin + "0 512 +\n1024 512 -\n"),
              "line 4: there is a gap between the area and the one before it");
    EXPECT_EQ(ErrorOf(begin + "0 512 =\n"),
              "line 3: the status of an area is not one of ? * / - +");
    EXPECT_EQ(ErrorOf(begin + "0 512\n"), "line 3: the status of an area is not one of ? * / - +");
    const char *const wrongNumber =
        "line 3: an area needs a position and a size, each a number below 2^63";
    for (const char *area : {"0 5x +", "-1 5 +", "0 0x +", "0 09 +", "0 0x8000000000000000 +",
                             "0x7FFFFFFFFFFFFFFF 1 +", "0 18446744073709551616 +", "+ 0 512"})
        EXPECT_EQ(ErrorOf(begin + area + "\n"), wrongNumber) << area;
    EXPECT_EQ(ErrorOf(begin + "0 512 + more\n"), "line 3: there is something after the last field");
    EXPECT_EQ(ErrorOf(begin + std::string(100000, ' ') + "\n"), "line 3: it is too long");
}

TEST_F(Map, WhatCannotBeReadIsNamed)
{
    EXPECT_EQ(ReadFile("none"), Ranges());
    EXPECT_EQ(error, "the map " + folder.At("none") + " cannot be read: No such file or directory");
    folder.MakeFolder("folder");
    EXPECT_EQ(ReadFile("folder"), Ranges());
    EXPECT_EQ(error, "the map " + folder.At("folder") + " cannot be read: Is a directory");
}

TEST_F(Map, MoreAreasThanFitIntoMemoryAreRefused)
{
    RescueMapParser parser;
    ASSERT_TRUE(parser.Take("0 ? 1"));
    uint64_t at = 0;
    bool isTaken = true;
    uint64_t pairs = 0;
    for (; isTaken && pairs <= VolumeOpeningOptions::kMostRanges; ++pairs, at += 2)
        isTaken = parser.Take(std::to_string(at) + " 1 -") &&
                  parser.Take(std::to_string(at + 1) + " 1 +");
    EXPECT_FALSE(isTaken);
    EXPECT_EQ(pairs, VolumeOpeningOptions::kMostRanges + 1);
    EXPECT_NE(parser.Error().find("more areas than the 4,194,304"), std::string::npos);
}

TEST_F(RealMap, TheirMapOfAPartIsRead)
{
    ASSERT_EQ(Run("ddrescue",
                  {"-q", "-b", "4096", "-i", "64KiB", "-s", "128KiB", "image", "copy", "map"}),
              0)
        << output;
    EXPECT_EQ(ReadFile("map"), (Ranges{{0, 65536}, {196608, kEnd - 196608}}));
}

TEST_F(RealMap, TheirMapOfAnOddSizeIsRead)
{
    ASSERT_EQ(Run("ddrescue", {"-q", "-s", "1001", "image", "copy", "map"}), 0) << output;
    EXPECT_EQ(ReadFile("map"), (Ranges{{1001, kEnd - 1001}}));
}

TEST_F(RealMap, TheirProgramsAcceptOursAndFetchJustThat)
{
    const ByteRanges wanted = {{512, 1024}, {65536, 4096}, {1048064, 512}};
    ASSERT_TRUE(WriteRescueMap(folder.At("domain"), wanted, 1 << 20, &error)) << error;
    EXPECT_EQ(Run("ddrescuelog", {"-t", "domain"}), 0) << output;
    EXPECT_NE(output.find("rescued:     5632 B"), std::string::npos) << output;
    ASSERT_EQ(Run("ddrescue", {"-q", "--domain-mapfile=domain", "image", "copy", "map"}), 0)
        << output;
    EXPECT_EQ(ReadFile("map"),
              (Ranges{{0, 512}, {1536, 64000}, {69632, 978432}, {1 << 20, kEnd - (1 << 20)}}));
    const std::string image = folder.ReadFile("image");
    std::string expected(image.size(), '\0');
    for (const ByteRange &range : wanted)
        expected.replace(range.offset, range.length, image, range.offset, range.length);
    EXPECT_TRUE(folder.ReadFile("copy") == expected);
}

TEST_F(RealMap, AMapThatTheyRefuseIsRefused)
{
    for (const char *text : {"0 ? 1\n0 512 +\n1024 512 -\n", "0 ? 1\n0 512 +\n256 512 -\n",
                             "0 ? 1\n0 512 =\n", "0 ? 1\n0 09 +\n", "none\n"}) {
        folder.WriteFile("map", text);
        EXPECT_NE(Run("ddrescuelog", {"-t", "map"}), 0) << text;
        ErrorOf(text);
    }
}

TEST_F(Map, AWrittenMapReplacesAnOlderOneAndLeavesNothingElse)
{
    folder.WriteFile("map", "older");
    ASSERT_TRUE(WriteRescueMap(folder.At("map"), {{0, 512}}, 1024, &error)) << error;
    EXPECT_EQ(ReadFile("map"), (Ranges{{512, kEnd - 512}}));
    EXPECT_NE(access(folder.At(".map.partial").c_str(), F_OK), 0);
    EXPECT_FALSE(WriteRescueMap(folder.At("none/map"), {}, 1024, &error));
    EXPECT_EQ(error,
              "the map " + folder.At("none/map") + " cannot be written: No such file or directory");
}

TEST_F(Map, WritingOneTouchesNoOtherFile)
{
    folder.WriteFile(".map.partial", "mine");
    folder.WriteFile("map.partial", "mine, too");
    ASSERT_TRUE(WriteRescueMap(folder.At("map"), {{0, 512}}, 1024, &error)) << error;
    EXPECT_EQ(folder.ReadFile(".map.partial"), "mine");
    EXPECT_EQ(folder.ReadFile("map.partial"), "mine, too");
}

TEST(DiskAreas, TheyAreSortedWholeSectors)
{
    DiskAreas areas;
    areas.Add(5000, 1);
    areas.Add(100, 10);
    areas.Add(4608, 512);
    areas.Add(0, 0);
    areas.Add(511, 2);
    EXPECT_EQ(RangesOf(areas.All()), (Ranges{{0, 1024}, {4608, 512}}));
}

TEST(DiskAreas, NothingIsLostWhenThereAreTooMany)
{
    constexpr uint64_t kCount = 1000;
    DiskAreas areas(16);
    for (uint64_t i = 0; i < kCount; ++i)
        areas.Add((i * 7919 % kCount) * 10240, 1);
    const ByteRanges all = areas.All();
    EXPECT_LE(all.size(), 32u);
    for (uint64_t i = 0; i < kCount; ++i)
        EXPECT_GT(EndOfRangeAt(all, i * 10240), i * 10240) << i;
}

}  // namespace
}  // namespace vx
