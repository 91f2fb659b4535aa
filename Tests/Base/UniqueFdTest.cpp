#include "UniqueFd.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <utility>

namespace vx {
namespace {

UniqueFd OpenNull()
{
    return UniqueFd(open("/dev/null", O_RDONLY | O_CLOEXEC));
}

bool IsOpen(int fd)
{
    return fcntl(fd, F_GETFD) >= 0;
}

TEST(UniqueFd, TheDescriptorIsClosedWhenTheOwnerGoes)
{
    int fd = -1;
    {
        const UniqueFd owner = OpenNull();
        fd = owner.Get();
        ASSERT_TRUE(IsOpen(fd));
    }
    EXPECT_FALSE(IsOpen(fd));
}

TEST(UniqueFd, AMoveHandsTheDescriptorOver)
{
    UniqueFd owners[] = {OpenNull(), UniqueFd()};
    const int fd = owners[0].Get();
    owners[1] = std::move(owners[0]);
    const UniqueFd second(std::move(owners[1]));
    EXPECT_EQ(second.Get(), fd);
    for (const UniqueFd &owner : owners)
        EXPECT_FALSE(owner);
    EXPECT_TRUE(IsOpen(fd));
}

TEST(UniqueFd, AnAssignmentClosesWhatWasOwned)
{
    UniqueFd first = OpenNull();
    const int closed = first.Get();
    UniqueFd second = OpenNull();
    const int kept = second.Get();
    first = std::move(second);
    EXPECT_EQ(first.Get(), kept);
    EXPECT_FALSE(IsOpen(closed));
    EXPECT_TRUE(IsOpen(kept));
}

TEST(UniqueFd, AReleasedDescriptorStaysOpen)
{
    UniqueFd owner = OpenNull();
    const UniqueFd other(owner.Release());
    EXPECT_FALSE(owner);
    EXPECT_TRUE(IsOpen(other.Get()));
}

TEST(UniqueFd, ClosingKeepsTheReasonOfAnEarlierFailure)
{
    errno = ELOOP;
    {
        const UniqueFd stale(1 << 20);
    }
    EXPECT_EQ(errno, ELOOP);
}

}  // namespace
}  // namespace vx
