#include "ChildSpawn.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

extern char **environ;

namespace vx {

ChildSpawn::ChildSpawn(IgnoredSignals ignored)
{
    sigset_t none, defaults;
    sigemptyset(&none);
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    if (ignored == IgnoredSignals::kHaveDefaults)
        sigfillset(&defaults);
    posix_spawn_file_actions_init(&_actions);
    posix_spawnattr_init(&_attributes);
    posix_spawnattr_setsigmask(&_attributes, &none);
    posix_spawnattr_setsigdefault(&_attributes, &defaults);
}

ChildSpawn::~ChildSpawn()
{
    posix_spawnattr_destroy(&_attributes);
    posix_spawn_file_actions_destroy(&_actions);
}

void ChildSpawn::Give(int descriptor, int number)
{
    Keep(posix_spawn_file_actions_adddup2(&_actions, descriptor, number));
    _given.insert(number);
}

void ChildSpawn::GiveNoInput()
{
    Keep(posix_spawn_file_actions_addopen(&_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0));
    _given.insert(STDIN_FILENO);
}

void ChildSpawn::CloseOthers()
{
    Keep(CloseOthersInChild(_given, &_actions, &_flags));
}

void ChildSpawn::Keep(int error)
{
    if (_error == 0)
        _error = error;
}

int ChildSpawn::Start(const std::string &program, const std::vector<char *> &vector, pid_t *child)
{
    Keep(posix_spawnattr_setflags(&_attributes, _flags));
    if (_error == 0)
        Keep(posix_spawn(child, program.c_str(), &_actions, &_attributes, vector.data(), environ));
    return _error;
}

int ChildSpawn::StartNamed(const std::string &program, const std::vector<char *> &vector,
                           pid_t *child)
{
    Keep(posix_spawnattr_setflags(&_attributes, _flags));
    if (_error == 0)
        Keep(posix_spawnp(child, program.c_str(), &_actions, &_attributes, vector.data(), environ));
    return _error;
}

}  // namespace vx
