#include "ChildProcess.h"

#include "ArgumentVector.h"
#include "Eventually.h"

#include <cstdlib>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace {

int OpenUnnamedFile()
{
    char path[] = "/tmp/vx-output-XXXXXX";
    const int descriptor = mkstemp(path);
    unlink(path);
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    return descriptor;
}

}  // namespace

ChildProcess::ChildProcess(const std::string &program, const std::vector<std::string> &arguments)
    : _output(OpenUnnamedFile())
{
    int ends[2];
    if (pipe(ends) == -1)
        abort();
    _input = ends[1];
    fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, _output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, _output, STDERR_FILENO);
    const std::vector<char *> vector = vx::ArgumentVector(program, arguments);
    if (posix_spawn(&_pid, program.c_str(), &actions, nullptr, vector.data(), environ) != 0)
        _end = -1000;
    posix_spawn_file_actions_destroy(&actions);
    close(ends[0]);
}

ChildProcess::~ChildProcess()
{
    CloseInput();
    if (!HasEnded()) {
        kill(_pid, SIGKILL);
        AwaitEnd();
    }
    close(_output);
}

void ChildProcess::CloseInput()
{
    if (_input != -1)
        close(_input);
    _input = -1;
}

void ChildProcess::Signal(int signal)
{
    if (!HasEnded())
        kill(_pid, signal);
}

bool ChildProcess::HasEnded()
{
    int status = 0;
    if (_end || waitpid(_pid, &status, WNOHANG) != _pid)
        return _end.has_value();
    _end = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
    return true;
}

std::optional<int> ChildProcess::AwaitEnd()
{
    Eventually([this] { return HasEnded(); }, std::chrono::seconds(40));
    return _end;
}

std::string ChildProcess::Output() const
{
    struct stat status = {};
    fstat(_output, &status);
    std::string text(static_cast<size_t>(status.st_size), '\0');
    const ssize_t count = pread(_output, text.data(), text.size(), 0);
    text.resize(count > 0 ? static_cast<size_t>(count) : 0);
    return text;
}
