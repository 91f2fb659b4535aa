#include "PipedChild.h"

#include "ArgumentVector.h"
#include "ChildSpawn.h"
#include "PipeEnds.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace vx {
namespace {

// Above the standard descriptors, of which some may be closed in this process.
UniqueFd Raised(const UniqueFd &descriptor)
{
    return UniqueFd(fcntl(descriptor.Get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
}

// Returns 0, or an errno.
int MakeRaised(PipeEnds *raised)
{
    PipeEnds ends;
    if (!MakePipe(&ends))
        return errno;
    *raised = {Raised(ends.out), Raised(ends.in)};
    return raised->out && raised->in ? 0 : EMFILE;
}

}  // namespace

PipedChild StartPipedChild(const std::string &program, const std::vector<std::string> &arguments)
{
    PipedChild child;
    PipeEnds output, errors;
    child.error = MakeRaised(&output);
    if (child.error == 0)
        child.error = MakeRaised(&errors);
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
