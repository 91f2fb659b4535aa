#include "NoNewThreads.h"
#include "ReadAheadTest.h"

namespace vx {
namespace {

TEST_F(ReadAhead, WithoutAThreadTheFileIsReadByTheCaller)
{
    const NoNewThreads none;
    const auto file = Open();
    EXPECT_EQ(ReadToEnd(*file, 4 * kMiB), kSize);
    EXPECT_EQ(script.ByOthers(), 0u);
}

}  // namespace
}  // namespace vx
