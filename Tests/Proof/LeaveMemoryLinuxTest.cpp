// Whether a copy really leaves memory, by what the system says of its pages.
#include "CopyOnDisk.h"
#include "TemporaryFolder.h"
#include "UniqueFd.h"

#include <algorithm>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/magic.h>
#include <sys/mman.h>
#include <sys/statfs.h>
#include <unistd.h>
#include <vector>

namespace vx {
namespace {

// Pages of the file that memory holds.
size_t PagesInMemory(int file, size_t size)
{
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void *mapped = mmap(nullptr, size, PROT_READ, MAP_SHARED, file, 0);
    std::vector<unsigned char> pages((size + page - 1) / page);
    EXPECT_EQ(mincore(mapped, size, pages.data()), 0);
    munmap(mapped, size);
    return static_cast<size_t>(std::count_if(pages.begin(), pages.end(),
                                             [](unsigned char held) { return (held & 1) != 0; }));
}

TEST(MemoryOfLinux, AFileThatLeavesMemoryIsReadFromTheDiskAgain)
{
    const TemporaryFolder folder;
    struct statfs system;
    ASSERT_EQ(statfs(folder.Path().c_str(), &system), 0);
    if (system.f_type == TMPFS_MAGIC)
        GTEST_SKIP() << "the temporary folder lies in memory";
    const std::string contents(size_t{8} << 20, 'x');
    const UniqueFd file(open(folder.WriteFile("file", contents).c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_GT(PagesInMemory(file.Get(), contents.size()), 0u);
    ASSERT_TRUE(LeaveMemory(file.Get()));
    EXPECT_EQ(PagesInMemory(file.Get(), contents.size()), 0u);
}

}  // namespace
}  // namespace vx
