#include "Background.h"

#include "EndingSignal.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vx {
namespace {

volatile sig_atomic_t child = 0;

// One that was sent to the parent alone; those of the terminal reach both.
void PassOn(int number)
{
    const int error = errno;
    kill(static_cast<pid_t>(child), number);
    errno = error;
}

// The child decides what a signal ends.
void LeaveSignalsToChild()
{
    for (const int number : {SIGINT, SIGQUIT})
        signal(number, SIG_IGN);
    struct sigaction action = {};
    action.sa_handler = PassOn;
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGTERM, SIGHUP})
        sigaction(number, &action, nullptr);
}

// Whether the child has detached itself; not if it ended.
bool HasDetached(int fromChild)
{
    char byte = 0;
    ssize_t count = 0;
    do {
        count = read(fromChild, &byte, 1);
    } while (count < 0 && errno == EINTR);
    return count == 1;
}

[[noreturn]] void EndAs(pid_t process)
{
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status))
        EndBySignal(WTERMSIG(status));
    _exit(WEXITSTATUS(status));
}

}  // namespace

bool Background::Begin()
{
    _null = UniqueFd(open("/dev/null", O_RDWR | O_CLOEXEC));
    int ends[2];
    if (!_null || pipe2(ends, O_CLOEXEC) != 0)
        return false;
    const UniqueFd fromChild(ends[0]);
    _toParent = UniqueFd(ends[1]);
    const pid_t process = fork();
    if (process <= 0)
        return process == 0;
    child = process;
    LeaveSignalsToChild();
    _toParent.Close();
    if (HasDetached(fromChild.Get()))
        _exit(0);
    EndAs(process);
}

void Background::Detach()
{
    if (!_toParent)
        return;
    setsid();
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        dup2(_null.Get(), descriptor);
    _null.Close();
    const char byte = 0;
    (void)!write(_toParent.Get(), &byte, 1);
    _toParent.Close();
}

}  // namespace vx
