// The small pieces that the file systems are made of, on bytes written here by hand.
#include "ExtentFile.h"
#include "FatTime.h"
#include "Lznt1.h"
#include "NtfsRuns.h"
#include "ParallelSource.h"
#include "Wtf8.h"

#include "MemoryByteSource.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

namespace vx {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(Lznt1, AChunkThatIsNotPackedIsCopied)
{
    uint8_t out[6] = {};
    ASSERT_EQ(DecompressLznt1(Bytes{0x02, 0x30, 'a', 'b', 'c'}, true, out, sizeof out), sizeof out);
    EXPECT_EQ(std::string(out, out + 6), std::string("abc\0\0\0", 6));
}

TEST(Lznt1, AReferenceRepeatsWhatLiesBack)
{
    // "ab", then six bytes from two back.
    uint8_t out[8] = {};
    ASSERT_EQ(DecompressLznt1(Bytes{0x04, 0xB0, 0x04, 'a', 'b', 0x03, 0x10}, true, out, sizeof out),
              sizeof out);
    EXPECT_EQ(std::string(out, out + 8), "abababab");
}

TEST(Lznt1, WhatLeadsBeforeTheBeginningOrBehindTheEndIsDamaged)
{
    uint8_t out[8] = {};
    EXPECT_EQ(DecompressLznt1(Bytes{0x02, 0xB0, 0x01, 0x00, 0x00}, true, out, sizeof out), 0u);
    EXPECT_EQ(DecompressLznt1(Bytes{0x03, 0xB0, 0x02, 'a', 0x00, 0x10}, true, out, sizeof out), 0u);
    EXPECT_EQ(DecompressLznt1(Bytes{0x03, 0xB0, 0x02, 'a', 0xFF, 0x00}, true, out, sizeof out), 0u);
    EXPECT_EQ(DecompressLznt1(Bytes{0xFF, 0xBF, 0x00}, true, out, sizeof out), 0u);
}

constexpr NtfsGeometry kGeometry = {4096, 1024, 1000};

TEST(NtfsRuns, RunsAndHolesAreToldApart)
{
    std::vector<FileRun> runs;
    // Two clusters at 16, a hole of three, one cluster four before the first one.
    ASSERT_TRUE(AppendRuns(Bytes{0x11, 2, 16, 0x01, 3, 0x11, 1, 0xFC, 0}, 0, kGeometry, &runs));
    ASSERT_EQ(runs.size(), 3u);
    EXPECT_EQ(runs[0].offset, 16u * 4096);
    EXPECT_EQ(runs[0].length, 2u * 4096);
    EXPECT_EQ(runs[1].kind, FileRun::Kind::kZeros);
    EXPECT_EQ(runs[1].position, 2u * 4096);
    EXPECT_EQ(runs[2].offset, 12u * 4096);
    EXPECT_EQ(runs[2].position, 5u * 4096);
}

TEST(NtfsRuns, WhatLiesOffTheVolumeOrHasNoLengthIsDamaged)
{
    const Bytes damaged[] = {
        {0x21, 2, 0xE7, 0x03, 0},
        {0x11, 1, 0x80, 0},
        {0x11, 0, 5, 0},
        {0x11, 0xFF, 5, 0},
        {0x10, 5, 0},
        {0x88, 1, 2},
        {0x9F, 1, 2},
        {0x18, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F, 1},
    };
    for (const Bytes &list : damaged) {
        std::vector<FileRun> runs;
        EXPECT_FALSE(AppendRuns(list, 0, kGeometry, &runs)) << int{list[0]};
    }
}

TEST(NtfsRuns, AListThatBeginsBeforeTheLastOneEndsIsDamaged)
{
    std::vector<FileRun> runs;
    ASSERT_TRUE(AppendRuns(Bytes{0x11, 2, 16, 0}, 0, kGeometry, &runs));
    EXPECT_FALSE(AppendRuns(Bytes{0x11, 2, 16, 0}, 1, kGeometry, &runs));
    EXPECT_TRUE(AppendRuns(Bytes{0x11, 2, 16, 0}, 2, kGeometry, &runs));
}

TEST(NtfsRuns, AListThatBeginsFurtherOnLeavesAGap)
{
    std::vector<FileRun> runs;
    ASSERT_TRUE(AppendRuns(Bytes{0x11, 2, 16, 0}, 0, kGeometry, &runs));
    ASSERT_TRUE(AppendRuns(Bytes{0x11, 2, 18, 0}, 3, kGeometry, &runs));
    ASSERT_EQ(runs.size(), 2u);
    EXPECT_EQ(runs[1].position, uint64_t{3} * kGeometry.clusterBytes);
    EXPECT_TRUE(AreCovered(runs, 0, uint64_t{2} * kGeometry.clusterBytes));
    EXPECT_FALSE(AreCovered(runs, 0, uint64_t{2} * kGeometry.clusterBytes + 1));
    EXPECT_TRUE(AreCovered(runs, runs[1].position + 1, uint64_t{2} * kGeometry.clusterBytes - 1));
    EXPECT_FALSE(AreCovered(runs, runs[1].position, uint64_t{2} * kGeometry.clusterBytes + 1));
    EXPECT_TRUE(AreCovered(runs, 0, 0));
}

TEST(ExtentFile, AReadGoesAcrossRunsAndStopsAtAnError)
{
    const MemoryByteSource source({'a', 'b', 'c', 'd'});
    const std::vector<FileRun> runs = {{0, 2, 2, FileRun::Kind::kStored},
                                       {2, 2, 0, FileRun::Kind::kZeros},
                                       {4, 2, 0, FileRun::Kind::kStored},
                                       {6, 2, 100, FileRun::Kind::kStored}};
    char bytes[8] = {};
    uint32_t done = 0;
    EXPECT_FALSE(ReadRuns(source, runs, 1, bytes, 7, &done));
    EXPECT_EQ(std::string(bytes, done), std::string("d\0\0ab", 5));
}

TEST(ExtentFile, WhatNoRunHoldsCannotBeRead)
{
    const MemoryByteSource source({'a', 'b', 'c', 'd'});
    char byte = 0;
    uint32_t done = 0;
    EXPECT_FALSE(ReadRuns(source, {{2, 2, 0, FileRun::Kind::kStored}}, 0, &byte, 1, &done));
    EXPECT_FALSE(ReadRuns(source, {}, 0, &byte, 1, &done));
}

TEST(ExtentFile, AHoleInTheListOfRunsIsZerosAndUnread)
{
    const auto source =
        std::make_shared<MemoryByteSource>(std::vector<uint8_t>{'a', 'b', 'c', 'd'});
    ExtentFile file(source, {10,
                             10,
                             {{1, 2, 0, FileRun::Kind::kStored},
                              {5, 2, 2, FileRun::Kind::kStored},
                              {8, 1, 0, FileRun::Kind::kZeros}}});
    std::string buffer(12, '?');
    uint32_t done = 0;
    EXPECT_FALSE(file.Read(buffer.data(), 12, &done));
    EXPECT_EQ(buffer, std::string("\0ab\0\0cd\0\0\0\0\0", 12));
    EXPECT_EQ(done, 5u);
    EXPECT_EQ(file.Position(), 10);
    ASSERT_EQ(file.UnreadRanges().size(), 4u);
    EXPECT_EQ(file.UnreadRanges()[1].offset, 3u);
    EXPECT_EQ(file.UnreadRanges()[1].length, 2u);
    EXPECT_EQ(file.UnreadRanges()[3].offset, 9u);
}

TEST(ExtentFile, WhatWasNeverWrittenIsZeros)
{
    const MemoryByteSource source({'a', 'b', 'c', 'd'});
    const FileExtents extents = {4, 2, {{0, 4, 0, FileRun::Kind::kStored}}};
    char bytes[4] = {'x', 'x', 'x', 'x'};
    uint32_t done = 0;
    EXPECT_TRUE(ReadExtents(source, extents, 1, bytes, 3, &done));
    EXPECT_EQ(std::string(bytes, done), std::string("b\0\0", 3));
}

TEST(ParallelSource, ALongReadIsTheSameAsItsParts)
{
    std::vector<uint8_t> bytes(3 << 20);
    for (size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
    const ParallelSource source(std::make_shared<MemoryByteSource>(bytes));
    std::vector<uint8_t> read(bytes.size() - 777);
    ASSERT_FALSE(source.ReadAt(700, read.data(), read.size()));
    EXPECT_TRUE(std::equal(read.begin(), read.end(), bytes.begin() + 700));
    EXPECT_TRUE(source.ReadAt(800, read.data(), read.size()));
}

TEST(Wtf8, NamesOfEveryKindAreConverted)
{
    EXPECT_EQ(Wtf8FromUtf16(Bytes{'a', 0, 0xE9, 0, 0x3D, 0xD8, 0x00, 0xDE}),
              "a\xC3\xA9\xF0\x9F\x98\x80");
    EXPECT_EQ(Wtf8FromUtf16(Bytes{0x3D, 0xD8, 'a', 0}), "\xED\xA0\xBD"
                                                        "a");
    EXPECT_EQ(Wtf8FromUtf16(Bytes{0x00, 0xDE}), "\xED\xB8\x80");
}

TEST(Wtf8, WhatNoPathCanHoldIsNoName)
{
    for (const std::string &name : {std::string(), std::string("."), std::string(".."),
                                    std::string("a/b"), std::string("a\0b", 3)})
        EXPECT_FALSE(IsEntryName(name));
    EXPECT_TRUE(IsEntryName("..."));
}

TEST(FatTime, ATimeWithAZoneIsExact)
{
    // 2021-03-04 05:06:08 and 1.5 s, one hour east of UTC.
    const uint32_t stamp = (41u << 9 | 3 << 5 | 4) << 16 | (5 << 11 | 6 << 5 | 4);
    constexpr uint64_t kUtc = (1614834368u + 1 - 3600 + 11644473600u) * 10000000ull + 5000000;
    EXPECT_EQ(FileTimeFromExfat(stamp, 150, 0x84), kUtc);
}

TEST(FatTime, ADateThatIsNoneIsZero)
{
    EXPECT_EQ(FileTimeFromFat(0, 0, 0), 0u);
    EXPECT_EQ(FileTimeFromFat(41u << 9 | 13 << 5 | 1, 0, 0), 0u);
}

}  // namespace
}  // namespace vx
