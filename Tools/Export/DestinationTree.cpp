#include "DestinationTree.h"

#include "LocalFileOpening.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vx {
namespace {

constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr size_t kUsualLongestName = 255;

// Not an error of the system: a link leads into the exported folder.
constexpr int kLeadsBack = -1;

UniqueFd LeadingBack()
{
    errno = kLeadsBack;
    return UniqueFd();
}

std::string ReasonFor(int error)
{
    if (error == kLeadsBack)
        return "its folder leads back into the folder that is exported";
    if (error == ENOTDIR)
        return "a file of this machine stands where its folder should be";
    if (error == ELOOP)
        return "a link that leads nowhere stands where its folder should be";
    return std::string("its folder could not be made: ") + strerror(error);
}

}  // namespace

DestinationTree::DestinationTree(const std::string &source)
{
    struct stat found;
    _hasSource = !source.empty() && stat(source.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
    if (_hasSource)
        _source = IdentityOf(found);
}

bool DestinationTree::Open(const std::string &path)
{
    _root = UniqueFd(open(path.c_str(), kFolder));
    return bool(_root);
}

size_t DestinationTree::LongestName() const
{
    const long longest = fpathconf(_root.Get(), _PC_NAME_MAX);
    return longest > 0 ? static_cast<size_t>(longest) : kUsualLongestName;
}

int DestinationTree::Enter(const std::string &path, Missing missing, std::string *reason,
                           int *error)
{
    if (path.empty())
        return _root.Get();
    if (_folder && path == _path)
        return _folder.Get();
    // The way down begins at the last folder if that lies on it.
    const bool isBelow = _folder && path.compare(0, _path.size() + 1, _path + "/") == 0;
    UniqueFd folder(dup(isBelow ? _folder.Get() : _root.Get()));
    size_t start = isBelow ? _path.size() + 1 : 0;
    while (folder && start <= path.size()) {
        const size_t end = std::min(path.find('/', start), path.size());
        folder = EnterBelow(folder, path.substr(start, end - start), missing);
        start = end + 1;
    }
    if (!folder) {
        *error = errno;
        *reason = ReasonFor(errno);
        return -1;
    }
    _folder = std::move(folder);
    _path = path;
    return _folder.Get();
}

UniqueFd DestinationTree::EnterBelow(const UniqueFd &folder, const std::string &name,
                                     Missing missing)
{
    UniqueFd entered(openat(folder.Get(), name.c_str(), kFolder | O_NOFOLLOW));
    if (!entered && errno == ENOENT && missing == Missing::kMake &&
        (mkdirat(folder.Get(), name.c_str(), 0777) == 0 || errno == EEXIST))
        entered = UniqueFd(openat(folder.Get(), name.c_str(), kFolder | O_NOFOLLOW));
    if (!entered)
        return errno == ENOTDIR || errno == ELOOP ? FollowLink(folder, name) : UniqueFd();
    struct stat found;
    const bool leadsBack = fstat(entered.Get(), &found) == 0 && IsSource(found);
    return leadsBack ? LeadingBack() : std::move(entered);
}

UniqueFd DestinationTree::FollowLink(const UniqueFd &folder, const std::string &name)
{
    struct stat found;
    if (fstatat(folder.Get(), name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0)
        return UniqueFd();
    if (!S_ISLNK(found.st_mode)) {
        errno = ENOTDIR;
        return UniqueFd();
    }
    UniqueFd entered(openat(folder.Get(), name.c_str(), kFolder));
    if (!entered && errno == ENOENT)
        errno = ELOOP;
    return entered && LeadsIntoSource(entered.Get()) ? LeadingBack() : std::move(entered);
}

bool DestinationTree::IsSource(const struct stat &folder) const
{
    return _hasSource && IdentityOf(folder) == _source;
}

// Whether the source is met on the way up, before the destination is.
bool DestinationTree::LeadsIntoSource(int folder) const
{
    struct stat root;
    if (!_hasSource || fstat(_root.Get(), &root) != 0)
        return false;
    return IsAnyFolderAbove(dup(folder), root,
                            [this](int, const struct stat &found) { return IsSource(found); });
}

}  // namespace vx
