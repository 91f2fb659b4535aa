// Asks the kernel, so Linux only.
#include "CoreDumps.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

TEST(CoreDumps, AForbiddenOneForGoodMeansNoCoreFileAndAnUndumpableProcess)
{
    const pid_t child = fork();
    if (child == 0) {
        vx::ForbidCoreDumpsForGood();
        struct rlimit limit = {1, 1};
        getrlimit(RLIMIT_CORE, &limit);
        const bool isPrevented =
            limit.rlim_cur == 0 && limit.rlim_max == 0 && prctl(PR_GET_DUMPABLE) == 0;
        _exit(isPrevented ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

}  // namespace
