#include "StandardDescriptors.h"

#include <gtest/gtest.h>

#include <functional>
#include <sys/wait.h>
#include <vector>

namespace {

// The result of a check in a process of its own, some of whose descriptors are closed.
int InChildWithout(const std::vector<int> &closed, const std::function<bool()> &check)
{
    const pid_t child = fork();
    if (child == 0) {
        for (const int descriptor : closed)
            close(descriptor);
        _exit(check() ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool IsClosed(int descriptor)
{
    return fcntl(descriptor, F_GETFD) == -1;
}

TEST(StandardDescriptors, WhatIsOpenedNextDoesNotTakeTheirNumbers)
{
    for (const std::vector<int> &closed :
         {std::vector<int>{0, 1, 2}, {0}, {1}, {2}, {0, 2}, {1, 2}, {}})
        EXPECT_EQ(InChildWithout(closed,
                                 [] {
                                     return vx::HoldStandardDescriptors() && !IsClosed(0) &&
                                            !IsClosed(1) && !IsClosed(2) &&
                                            open("/dev/null", O_RDONLY) > 2;
                                 }),
                  0);
}

TEST(StandardDescriptors, OneThatWasClosedStillFailsWhenItIsUsed)
{
    EXPECT_EQ(InChildWithout({0, 1, 2},
                             [] {
                                 char byte = 0;
                                 return vx::HoldStandardDescriptors() && read(0, &byte, 1) == -1 &&
                                        write(1, &byte, 1) == -1 && write(2, &byte, 1) == -1;
                             }),
              0);
}

TEST(StandardDescriptors, OneThatIsOpenIsLeftAlone)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    EXPECT_EQ(InChildWithout({0, 2},
                             [&] {
                                 dup2(ends[1], 1);
                                 return vx::HoldStandardDescriptors() && write(1, "x", 1) == 1;
                             }),
              0);
    char byte = 0;
    EXPECT_EQ(read(ends[0], &byte, 1), 1);
    close(ends[0]);
    close(ends[1]);
}

}  // namespace
