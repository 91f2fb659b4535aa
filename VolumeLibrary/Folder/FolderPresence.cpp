#include "FolderPresence.h"

#include "RetryInterrupted.h"
#include "UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace vx {
namespace {

// The errors with which an existing folder, too, may fail to open.
bool SaysNothing(int error)
{
    return error == EACCES || error == EPERM || error == EMFILE || error == ENFILE ||
           error == ENOMEM;
}

}  // namespace

void FolderPresence::Check()
{
    const int error = errno;
    if (!IsThere())
        _isGone = true;
    errno = error;
}

// A removed folder has no name left. One whose disk is gone cannot be opened once more, though what
// the system remembers of it may still be asked for.
bool FolderPresence::IsThere() const
{
    struct stat found;
    if (fstat(_folder, &found) != 0 || found.st_nlink == 0)
        return false;
    const UniqueFd again(
        RetryInterrupted([&] { return openat(_folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
    return again || SaysNothing(errno);
}

}  // namespace vx
