// Which processes have the descriptor: the child that is started with it, and no program that this
// one starts or that the host starts besides.
#include "ChannelPeer.h"
#include "ChildChannel.h"
#include "HostChannel.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

extern char **environ;

namespace vx {
namespace {

// The exit status of a shell that tries to use the descriptor; inherited: whether it is given it.
int StatusOfShell(int descriptor, bool inherited)
{
    const std::string script = "true <&" + std::to_string(descriptor);
    const char *arguments[] = {"sh", "-c", script.c_str(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    if (inherited)
        posix_spawn_file_actions_adddup2(&actions, descriptor, descriptor);
    pid_t child = -1;
    int status = -1;
    if (posix_spawn(&child, "/bin/sh", &actions, nullptr, const_cast<char **>(arguments),
                    environ) == 0)
        waitpid(child, &status, 0);
    posix_spawn_file_actions_destroy(&actions);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// sh gives descriptors of one digit only.
UniqueFd Low(int descriptor)
{
    return UniqueFd(fcntl(descriptor, F_DUPFD, 3));
}

TEST(ChannelInheritance, IsOnlyForTheChildThatIsGivenTheDescriptor)
{
    HostChannel host;
    ASSERT_TRUE(host.Prepare({"volume", "none", ""}));
    ASSERT_LT(host.ChildDescriptor(), 10);
    EXPECT_EQ(StatusOfShell(host.ChildDescriptor(), true), 0);
    EXPECT_NE(StatusOfShell(host.ChildDescriptor(), false), 0);
    EXPECT_NE(StatusOfShell(host.Descriptor(), false), 0);
}

TEST(ChannelInheritance, EndsAtTheLibrary)
{
    RawPair pair;
    UniqueFd inherited = Low(pair.one.Get());
    const int number = inherited.Get();
    ASSERT_LT(number, 10);
    EXPECT_EQ(StatusOfShell(number, false), 0);
    const ChildChannel child(std::move(inherited));
    EXPECT_NE(StatusOfShell(number, false), 0);
}

}  // namespace
}  // namespace vx
