#include "ExtentFile.h"

#include "MemoryByteSource.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace vx {
namespace {

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

}  // namespace
}  // namespace vx
