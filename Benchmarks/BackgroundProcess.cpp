#include "BackgroundProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

BackgroundProcess::BackgroundProcess(const std::vector<std::string> &command)
{
    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string &argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    if (posix_spawnp(&_id, arguments[0], &actions, nullptr, arguments.data(), environ) != 0)
        _id = -1;
    posix_spawn_file_actions_destroy(&actions);
}

BackgroundProcess::~BackgroundProcess()
{
    if (!Runs())
        return;
    kill(_id, SIGKILL);
    while (waitpid(_id, nullptr, 0) < 0 && errno == EINTR) {
    }
}

bool BackgroundProcess::Runs()
{
    if (_id > 0 && waitpid(_id, nullptr, WNOHANG) == _id)
        _id = -1;
    return _id > 0;
}
