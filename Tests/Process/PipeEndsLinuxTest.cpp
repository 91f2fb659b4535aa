// What a child could inherit that another thread starts in the moment in which a pipe has just been
// made; so the calls that make one are stand-ins here, for the whole program.
#include "EventPipe.h"
#include "PipedChild.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

int g_made = 0;
int g_inheritable = 0;

int MakeAndLook(int *ends, int flags)
{
    const auto made = static_cast<int>(syscall(SYS_pipe2, ends, flags));
    if (made != 0)
        return made;
    ++g_made;
    for (const int end : {ends[0], ends[1]})
        g_inheritable += (fcntl(end, F_GETFD) & FD_CLOEXEC) == 0 ? 1 : 0;
    return made;
}

}  // namespace

extern "C" int pipe(int *ends) noexcept
{
    return MakeAndLook(ends, 0);
}

extern "C" int pipe2(int *ends, int flags) noexcept
{
    return MakeAndLook(ends, flags);
}

namespace {

class PipeEndsTest : public testing::Test {
protected:
    PipeEndsTest() { g_made = g_inheritable = 0; }
};

TEST_F(PipeEndsTest, ThoseForEventsAreAtNoMomentInheritable)
{
    const vx::EventPipe events;
    EXPECT_EQ(g_made, 1);
    EXPECT_EQ(g_inheritable, 0);
}

TEST_F(PipeEndsTest, ThoseOfAChildAreAtNoMomentInheritable)
{
    const vx::PipedChild child = vx::StartPipedChild("true", {});
    ASSERT_EQ(child.error, 0);
    EXPECT_EQ(waitpid(child.process, nullptr, 0), child.process);
    EXPECT_EQ(g_made, 2);
    EXPECT_EQ(g_inheritable, 0);
}

}  // namespace
