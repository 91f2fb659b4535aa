// One system call resolves the whole path; the walk serves where the call cannot be made.
#include "OpenBeneath.h"

#include "RetryInterrupted.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vx {
namespace {

int OpenAt2(int root, const char *path, int flags)
{
    open_how how = {};
    how.flags = static_cast<unsigned>(flags | O_CLOEXEC | O_NOFOLLOW);
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS | RESOLVE_NO_SYMLINKS;
    return static_cast<int>(syscall(SYS_openat2, root, path, &how, sizeof how));
}

// True for a kernel or a sandbox without the call, a path longer than the kernel takes at once,
// and a race that the kernel gave up on.
bool MustWalk(int error)
{
    return error == ENOSYS || error == EPERM || error == ENAMETOOLONG || error == EAGAIN;
}

}  // namespace

UniqueFd OpenBeneath(int root, const std::string &relative, int flags)
{
    const char *path = relative.empty() ? "." : relative.c_str();
    UniqueFd opened(RetryInterrupted([&] { return OpenAt2(root, path, flags); }));
    if (opened || !MustWalk(errno))
        return opened;
    return OpenBeneathByWalking(root, relative, flags);
}

}  // namespace vx
