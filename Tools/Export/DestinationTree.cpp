#include "DestinationTree.h"

#include "LocalFileOpening.h"
#include "TerminalText.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vx {
namespace {

constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_NONBLOCK | O_CLOEXEC;

// No errors of the system: where a link leads.
constexpr int kLeadsBack = -1;
constexpr int kLeadsOut = -2;

UniqueFd FailWith(int error)
{
    errno = error;
    return UniqueFd();
}

std::string ReasonFor(int error, const std::string &path)
{
    switch (error) {
    case kLeadsBack:
        return "its folder leads back into the folder that is exported";
    case kLeadsOut:
        return "the link " + TerminalText(path) +
               " stands where its folder should be, and leads out of the destination";
    case ENOTDIR:
        return "a file of this machine stands where its folder should be";
    case ELOOP:
        return "a link that leads nowhere stands where its folder should be";
    default:
        return std::string("its folder could not be made: ") + strerror(error);
    }
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
    _root = std::make_shared<const UniqueFd>(open(path.c_str(), kFolder));
    return bool(*_root);
}

DestinationTree::Folder DestinationTree::Enter(const std::string &path, Missing missing,
                                               std::string *reason, int *error)
{
    size_t start = 0;
    Folder nearest = NearestKept(path, &start);
    if (start == path.size())
        return nearest;
    UniqueFd folder;
    int above = nearest->Get();
    while (start < path.size()) {
        start += path[start] == '/' ? 1 : 0;
        const size_t end = std::min(path.find('/', start), path.size());
        UniqueFd entered = EnterBelow(above, path.substr(start, end - start), missing);
        if (!entered) {
            *error = errno;
            *reason = ReasonFor(errno, path.substr(0, end));
            return nullptr;
        }
        folder = std::move(entered);
        above = folder.Get();
        start = end;
    }
    return Keep(path, std::move(folder));
}

// The folder that lies deepest on the way to the path, of those that are open; length: of its path.
DestinationTree::Folder DestinationTree::NearestKept(const std::string &path, size_t *length)
{
    const MutexLock lock(_mutex);
    Kept *nearest = nullptr;
    for (auto &[own, kept] : _kept) {
        const bool isOnWay = path.compare(0, own.size(), own) == 0 &&
                             (path.size() == own.size() || path[own.size()] == '/');
        if (isOnWay && own.size() > *length) {
            nearest = &kept;
            *length = own.size();
        }
    }
    if (nearest == nullptr)
        return _root;
    nearest->lastUse = ++_uses;
    return nearest->folder;
}

// Another thread may have opened it meanwhile: then that one is given to all.
DestinationTree::Folder DestinationTree::Keep(const std::string &path, UniqueFd folder)
{
    const Folder opened = std::make_shared<const UniqueFd>(std::move(folder));
    const MutexLock lock(_mutex);
    Folder kept = _kept.insert({path, {opened, ++_uses}}).first->second.folder;
    if (_kept.size() > kMostKept)
        _kept.erase(
            std::min_element(_kept.begin(), _kept.end(), [](const auto &first, const auto &other) {
                return first.second.lastUse < other.second.lastUse;
            }));
    return kept;
}

UniqueFd DestinationTree::EnterBelow(int folder, const std::string &name, Missing missing) const
{
    UniqueFd entered(openat(folder, name.c_str(), kFolder | O_NOFOLLOW));
    if (!entered && errno == ENOENT && missing == Missing::kMake &&
        (mkdirat(folder, name.c_str(), 0777) == 0 || errno == EEXIST))
        entered = UniqueFd(openat(folder, name.c_str(), kFolder | O_NOFOLLOW));
    if (!entered)
        return errno == ENOTDIR || errno == ELOOP ? FollowLink(folder, name) : UniqueFd();
    struct stat found;
    const bool leadsBack = fstat(entered.Get(), &found) == 0 && IsSource(found);
    return leadsBack ? FailWith(kLeadsBack) : std::move(entered);
}

UniqueFd DestinationTree::FollowLink(int folder, const std::string &name) const
{
    struct stat found;
    if (fstatat(folder, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0)
        return UniqueFd();
    if (!S_ISLNK(found.st_mode))
        return FailWith(ENOTDIR);
    UniqueFd entered(openat(folder, name.c_str(), kFolder));
    if (!entered)
        return FailWith(errno == ENOENT ? ELOOP : errno);
    if (LeadsIntoSource(entered.Get()))
        return FailWith(kLeadsBack);
    return LiesInDestination(entered.Get()) ? std::move(entered) : FailWith(kLeadsOut);
}

// Whether the destination is met on the way up. What cannot be asked lies outside.
bool DestinationTree::LiesInDestination(int folder) const
{
    struct stat root;
    if (fstat(Root(), &root) != 0)
        return false;
    const FileIdentity own = IdentityOf(root);
    return IsAnyFolderAbove(dup(folder), {}, [&own](int, const struct stat &found) {
        return IdentityOf(found) == own;
    });
}

bool DestinationTree::IsSource(const struct stat &folder) const
{
    return _hasSource && IdentityOf(folder) == _source;
}

// Whether the source is met on the way up, before the destination is.
bool DestinationTree::LeadsIntoSource(int folder) const
{
    struct stat root;
    if (!_hasSource || fstat(Root(), &root) != 0)
        return false;
    return IsAnyFolderAbove(dup(folder), root,
                            [this](int, const struct stat &found) { return IsSource(found); });
}

}  // namespace vx
