#include "PipedChild.h"

#include "ArgumentVector.h"
#include "ChildSpawn.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

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

}  // namespace

PipedChild StartPipedChild(const std::string &program, const std::vector<std::string> &arguments)
{
    PipedChild child;
    Pipe output, errors;
    child.error = output.Open();
    if (child.error == 0)
        child.error = errors.Open();
    if (child.error != 0)
        return child;
    ChildSpawn spawn(ChildSpawn::IgnoredSignals::kHaveDefaults);
    spawn.GiveNoInput();
    spawn.Give(output.in.Get(), STDOUT_FILENO);
    spawn.Give(errors.in.Get(), STDERR_FILENO);
    spawn.CloseOthers();
    child.error = spawn.StartNamed(program, ArgumentVector(program, arguments), &child.process);
    child.output = std::move(output.out);
    child.errors = std::move(errors.out);
    return child;
}

}  // namespace vx
