#include "FolderOpening.h"

#include "MethodReplacement.h"
#include "ThreadChecks.h"

#import <AppKit/AppKit.h>

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vx {
namespace {

using OpenURL = BOOL (*)(id, SEL, NSURL *);
OpenURL libraryOpenURL = nullptr;

class SpawnActions {
public:
    SpawnActions()
    {
        posix_spawn_file_actions_init(&_actions);
        posix_spawn_file_actions_addopen(&_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&_actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&_actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&_actions); }
    SpawnActions(const SpawnActions &) = delete;
    SpawnActions &operator=(const SpawnActions &) = delete;

    const posix_spawn_file_actions_t *get() const { return &_actions; }

private:
    posix_spawn_file_actions_t _actions;
};

// The child leads its own process group, so that a signal to ours does not reach the file viewer,
// and starts with no signal blocked.
class SpawnAttributes {
public:
    SpawnAttributes()
    {
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_init(&_attributes);
        posix_spawnattr_setpgroup(&_attributes, 0);
        posix_spawnattr_setsigmask(&_attributes, &none);
        posix_spawnattr_setflags(&_attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&_attributes); }
    SpawnAttributes(const SpawnAttributes &) = delete;
    SpawnAttributes &operator=(const SpawnAttributes &) = delete;

    const posix_spawnattr_t *get() const { return &_attributes; }

private:
    posix_spawnattr_t _attributes;
};

void *awaitEnd(void *child)
{
    const auto pid = static_cast<pid_t>(reinterpret_cast<intptr_t>(child));
    while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
    }
    return nullptr;
}

// If the system cannot start a thread, the ended child stays a zombie until this process ends. A
// std::thread would throw then, which cannot be caught in Objective-C++ here.
void reap(pid_t child)
{
    pthread_t waiting;
    void *const argument = reinterpret_cast<void *>(static_cast<intptr_t>(child));
    if (pthread_create(&waiting, nullptr, awaitEnd, argument) == 0)
        pthread_detach(waiting);
}

BOOL isFolder(NSURL *url)
{
    BOOL folder = NO;
    if (![url isFileURL])
        return NO;
    return
        [[NSFileManager defaultManager] fileExistsAtPath:[url path] isDirectory:&folder] && folder;
}

BOOL openURL(id workspace, SEL selector, NSURL *url)
{
    AssertMainThread();
    NSString *named =
        [[NSUserDefaults standardUserDefaults] stringForKey:@"GSWorkspaceApplication"];
    // Without a workspace application the library cannot show a folder, and shows an error.
    if ([named length] == 0 && isFolder(url))
        return startDetached("xdg-open", [[url path] fileSystemRepresentation]);
    return libraryOpenURL(workspace, selector, url);
}

}  // namespace

bool startDetached(const std::string &program, const std::string &argument)
{
    AssertMainThread();
    const SpawnActions actions;
    const SpawnAttributes attributes;
    char *const arguments[] = {const_cast<char *>(program.c_str()),
                               const_cast<char *>(argument.c_str()), nullptr};
    pid_t child = 0;
    if (posix_spawnp(&child, program.c_str(), actions.get(), attributes.get(), arguments,
                     environ) != 0)
        return false;
    reap(child);
    return true;
}

void installFolderOpening()
{
    AssertMainThread();
    if (libraryOpenURL != nullptr)
        return;
    libraryOpenURL = reinterpret_cast<OpenURL>(
        replaceMethod([NSWorkspace class], @selector(openURL:), reinterpret_cast<IMP>(openURL)));
}

}  // namespace vx
