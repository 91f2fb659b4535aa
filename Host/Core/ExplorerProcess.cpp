#include "ExplorerProcess.h"

#include "ArgumentVector.h"
#include "ThreadChecks.h"

#include <cerrno>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

extern char **environ;

namespace {

// A child starts with no signal blocked and the default for SIGPIPE, whatever the host has.
class SpawnAttributes {
public:
    SpawnAttributes()
    {
        sigset_t none, defaults;
        sigemptyset(&none);
        sigemptyset(&defaults);
        sigaddset(&defaults, SIGPIPE);
        posix_spawnattr_init(&_attributes);
        posix_spawnattr_setsigmask(&_attributes, &none);
        posix_spawnattr_setsigdefault(&_attributes, &defaults);
        posix_spawnattr_setflags(&_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&_attributes); }
    SpawnAttributes(const SpawnAttributes &) = delete;
    SpawnAttributes &operator=(const SpawnAttributes &) = delete;

    const posix_spawnattr_t *Get() const { return &_attributes; }

private:
    posix_spawnattr_t _attributes;
};

}  // namespace

namespace vx {

ExplorerProcess::~ExplorerProcess()
{
    Kill();
}

int ExplorerProcess::Start(const std::string &program, const std::vector<const char *> &arguments)
{
    AssertMainThread();
    const SpawnAttributes attributes;
    const std::vector<char *> vector = ArgumentVector(program, arguments);
    pid_t pid = -1;
    const int error =
        posix_spawn(&pid, program.c_str(), nullptr, attributes.Get(), vector.data(), environ);
    if (error == 0)
        _pid = pid;
    return error;
}

bool ExplorerProcess::HasEnded()
{
    AssertMainThread();
    return _pid == -1 || Reap(WNOHANG);
}

void ExplorerProcess::Signal(int signal)
{
    AssertMainThread();
    if (!HasEnded())
        kill(_pid, signal);
}

void ExplorerProcess::Kill()
{
    AssertMainThread();
    if (HasEnded())
        return;
    kill(_pid, SIGKILL);
    Reap(0);
}

std::string ExplorerProcess::DescribeEnd() const
{
    AssertMainThread();
    if (WIFSIGNALED(_status))
        return "signal " + std::to_string(WTERMSIG(_status));
    return "exit status " + std::to_string(WEXITSTATUS(_status));
}

bool ExplorerProcess::Reap(int flags)
{
    pid_t reaped;
    do {
        reaped = waitpid(_pid, &_status, flags);
    } while (reaped == -1 && errno == EINTR);
    if (reaped == 0)
        return false;
    _pid = -1;
    return true;
}

}  // namespace vx
