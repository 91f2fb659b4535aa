#include "DestinationTree.h"

#include "LocalFileOpening.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
constexpr size_t kUsualLongestName = 255;

// No error of the system's: a link leads into what is exported.
constexpr int kLeadsBack = -1;

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

DestinationTree::~DestinationTree()
{
    Keep(-1, "");
    if (_root >= 0)
        close(_root);
}

bool DestinationTree::Open(const std::string &path)
{
    _root = open(path.c_str(), kFolder);
    return _root >= 0;
}

size_t DestinationTree::LongestName() const
{
    const long longest = fpathconf(_root, _PC_NAME_MAX);
    return longest > 0 ? static_cast<size_t>(longest) : kUsualLongestName;
}

void DestinationTree::Keep(int folder, const std::string &path)
{
    if (_folder >= 0)
        close(_folder);
    _folder = folder;
    _path = path;
}

int DestinationTree::Enter(const std::string &path, Missing missing, std::string *reason,
                           int *error)
{
    if (path.empty())
        return _root;
    if (_folder >= 0 && path == _path)
        return _folder;
    // The way down begins at the last folder if that lies on it.
    const bool isBelow = _folder >= 0 && path.compare(0, _path.size() + 1, _path + "/") == 0;
    int folder = isBelow ? dup(_folder) : dup(_root);
    size_t start = isBelow ? _path.size() + 1 : 0;
    while (folder >= 0 && start <= path.size()) {
        const size_t end = std::min(path.find('/', start), path.size());
        const int next = EnterBelow(folder, path.substr(start, end - start), missing);
        const int failure = errno;
        close(folder);
        errno = failure;
        folder = next;
        start = end + 1;
    }
    if (folder < 0) {
        *error = errno;
        *reason = ReasonFor(errno);
        return -1;
    }
    Keep(folder, path);
    return folder;
}

int DestinationTree::EnterBelow(int folder, const std::string &name, Missing missing)
{
    int entered = openat(folder, name.c_str(), kFolder | O_NOFOLLOW);
    if (entered < 0 && errno == ENOENT && missing == Missing::kMake &&
        (mkdirat(folder, name.c_str(), 0777) == 0 || errno == EEXIST))
        entered = openat(folder, name.c_str(), kFolder | O_NOFOLLOW);
    if (entered >= 0) {
        struct stat found;
        return Checked(entered, fstat(entered, &found) == 0 && IsSource(found));
    }
    return errno == ENOTDIR || errno == ELOOP ? FollowLink(folder, name) : -1;
}

int DestinationTree::FollowLink(int folder, const std::string &name)
{
    struct stat found;
    if (fstatat(folder, name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0)
        return -1;
    if (!S_ISLNK(found.st_mode)) {
        errno = ENOTDIR;
        return -1;
    }
    const int entered = openat(folder, name.c_str(), kFolder);
    if (entered < 0 && errno == ENOENT)
        errno = ELOOP;
    return entered < 0 ? -1 : Checked(entered, LeadsIntoSource(entered));
}

// The open folder; -1, with the folder closed, if it leads back.
int DestinationTree::Checked(int folder, bool leadsBack) const
{
    if (!leadsBack)
        return folder;
    close(folder);
    errno = kLeadsBack;
    return -1;
}

bool DestinationTree::IsSource(const struct stat &folder) const
{
    return _hasSource && IdentityOf(folder) == _source;
}

// Whether the source is met on the way up, before the destination is.
bool DestinationTree::LeadsIntoSource(int folder) const
{
    struct stat root;
    if (!_hasSource || fstat(_root, &root) != 0)
        return false;
    return IsAnyFolderAbove(dup(folder), root,
                            [this](int, const struct stat &found) { return IsSource(found); });
}

}  // namespace vx
