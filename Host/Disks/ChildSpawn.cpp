#include "ChildSpawn.h"

#include "ArgumentVector.h"

#include <cerrno>
#include <fcntl.h>
#include <signal.h>

extern char **environ;

namespace vx {
namespace {

// Above the standard descriptors, of which some may be closed in this process.
UniqueFd Raised(int descriptor)
{
    const UniqueFd taken(descriptor);
    return UniqueFd(fcntl(taken.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

struct Pipe {
    UniqueFd out;
    UniqueFd in;

    int Open()
    {
        int ends[2];
        if (pipe(ends) != 0)
            return errno;
        out = Raised(ends[0]);
        in = Raised(ends[1]);
        return out && in ? 0 : EMFILE;
    }
};

class SpawnSettings {
public:
    SpawnSettings()
    {
        posix_spawn_file_actions_init(&_actions);
        posix_spawnattr_init(&_attributes);
    }
    ~SpawnSettings()
    {
        posix_spawn_file_actions_destroy(&_actions);
        posix_spawnattr_destroy(&_attributes);
    }
    SpawnSettings(const SpawnSettings &) = delete;
    SpawnSettings &operator=(const SpawnSettings &) = delete;

    int Prepare(const Pipe &output, const Pipe &errors)
    {
        short flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
        int error =
            posix_spawn_file_actions_addopen(&_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        if (error == 0)
            error = posix_spawn_file_actions_adddup2(&_actions, output.in.Get(), STDOUT_FILENO);
        if (error == 0)
            error = posix_spawn_file_actions_adddup2(&_actions, errors.in.Get(), STDERR_FILENO);
        if (error == 0)
            error = CloseOthersInChild(&_actions, &flags);
        return error == 0 ? SetSignals(flags) : error;
    }
    const posix_spawn_file_actions_t *Actions() const { return &_actions; }
    const posix_spawnattr_t *Attributes() const { return &_attributes; }

private:
    // No signal is blocked or ignored in the child, whatever this process has.
    int SetSignals(short flags)
    {
        sigset_t none, all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&_attributes, &none);
        posix_spawnattr_setsigdefault(&_attributes, &all);
        return posix_spawnattr_setflags(&_attributes, flags);
    }

    posix_spawn_file_actions_t _actions;
    posix_spawnattr_t _attributes;
};

}  // namespace

StartedChild StartChild(const std::string &program, const std::vector<std::string> &arguments)
{
    StartedChild child;
    Pipe output, errors;
    SpawnSettings settings;
    child.error = output.Open();
    if (child.error == 0)
        child.error = errors.Open();
    if (child.error == 0)
        child.error = settings.Prepare(output, errors);
    if (child.error != 0)
        return child;
    const std::vector<char *> vector = ArgumentVector(program, arguments);
    child.error = posix_spawnp(&child.process, program.c_str(), settings.Actions(),
                               settings.Attributes(), vector.data(), environ);
    child.output = std::move(output.out);
    child.errors = std::move(errors.out);
    return child;
}

}  // namespace vx
