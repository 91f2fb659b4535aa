#include "SpawnedProcess.h"

#include "ArgumentVector.h"
#include "ChildSpawn.h"
#include "EventPipe.h"

#include <cerrno>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <system_error>

namespace {

// Keeps the signals away from a thread that is started meanwhile.
class SignalsBlocked {
public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &_former);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &_former, nullptr); }
    SignalsBlocked(const SignalsBlocked &) = delete;
    SignalsBlocked &operator=(const SignalsBlocked &) = delete;

private:
    sigset_t _former;
};

}  // namespace

namespace vx {

Inheritance::Inheritance(int descriptor)
    : _descriptor(descriptor), _place(fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1))
{
}

SpawnedProcess::~SpawnedProcess()
{
    Kill();
}

int SpawnedProcess::Start(const std::string &program, const std::vector<const char *> &arguments,
                          const Inheritance *inheritance)
{
    AssertBoundThread(_thread);
    if (inheritance != nullptr && inheritance->Number() == -1)
        return EMFILE;
    ChildSpawn spawn(ChildSpawn::IgnoredSignals::kStayIgnored);
    if (inheritance != nullptr)
        spawn.Give(inheritance->Descriptor(), inheritance->Number());
    spawn.CloseOthers();
    pid_t pid = -1;
    const int error = spawn.Start(program, ArgumentVector(program, arguments), &pid);
    if (error != 0)
        return error;
    _pid = pid;
    if (Watch())
        return 0;
    Kill();
    return EAGAIN;
}

// The child stays a zombie until it is reaped, so that its number is not given to another process.
bool SpawnedProcess::Watch()
{
    const auto awaitEnd = [this, pid = _pid] {
        siginfo_t info;
        while (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT) == -1 &&
               errno == EINTR) {
        }
        _isOver = true;
        _events.Post(SIGCHLD);
    };
    const SignalsBlocked blocked;
    try {
        _watch = std::thread(awaitEnd);
    } catch (const std::system_error &) {
        return false;
    }
    return true;
}

bool SpawnedProcess::HasEnded()
{
    AssertBoundThread(_thread);
    if (_pid != -1 && _isOver)
        Reap();
    return _pid == -1;
}

void SpawnedProcess::Signal(int signal)
{
    AssertBoundThread(_thread);
    if (!HasEnded())
        kill(_pid, signal);
}

void SpawnedProcess::Kill()
{
    AssertBoundThread(_thread);
    if (HasEnded())
        return;
    kill(_pid, SIGKILL);
    Reap();
}

std::string SpawnedProcess::DescribeEnd() const
{
    AssertBoundThread(_thread);
    if (WIFSIGNALED(_status))
        return "signal " + std::to_string(WTERMSIG(_status));
    return "exit status " + std::to_string(WEXITSTATUS(_status));
}

int SpawnedProcess::ExitStatus() const
{
    AssertBoundThread(_thread);
    return WIFEXITED(_status) ? WEXITSTATUS(_status) : -1;
}

void SpawnedProcess::Reap()
{
    if (_watch.joinable())
        _watch.join();
    while (waitpid(_pid, &_status, 0) == -1 && errno == EINTR) {
    }
    _pid = -1;
}

}  // namespace vx
