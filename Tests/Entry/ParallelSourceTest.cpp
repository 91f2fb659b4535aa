#include "ParallelSource.h"

#include "MemoryByteSource.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

namespace vx {
namespace {

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

}  // namespace
}  // namespace vx
