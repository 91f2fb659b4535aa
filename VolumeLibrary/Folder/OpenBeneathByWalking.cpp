#include "OpenBeneath.h"
#include "RetryInterrupted.h"

#include <fcntl.h>

namespace vx {
namespace {

UniqueFd OpenStep(int folder, const std::string &name, int flags)
{
    return UniqueFd(RetryInterrupted(
        [&] { return openat(folder, name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC); }));
}

}  // namespace

UniqueFd OpenBeneathByWalking(int root, const std::string &relative, int flags)
{
    if (relative.empty())
        return OpenStep(root, ".", flags);
    UniqueFd folder;
    size_t start = 0;
    for (size_t slash = relative.find('/'); slash != relative.npos;
         slash = relative.find('/', start)) {
        folder = OpenStep(folder ? folder.Get() : root, relative.substr(start, slash - start),
                          O_RDONLY | O_DIRECTORY);
        if (!folder)
            return folder;
        start = slash + 1;
    }
    return OpenStep(folder ? folder.Get() : root, relative.substr(start), flags);
}

}  // namespace vx
