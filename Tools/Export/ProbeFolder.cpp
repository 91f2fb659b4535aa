#include "ProbeFolder.h"

#include "FolderListing.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <random>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr char kPrefix[] = ".volume-export-";
constexpr char kDigits[] = "0123456789";
constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
// Another run can take the folder for one that was left, before it is locked.
constexpr int kAttempts = 10;

// File systems do not agree on the error of a name that they refuse.
bool IsRefusal(int error)
{
    switch (error) {
    case EINVAL:
    case EPERM:
    case EACCES:
    case ENOENT:
    case EILSEQ:
    case ENOTSUP:
        return true;
    default:
        return false;
    }
}

bool Lock(const UniqueFd &folder)
{
    return folder && flock(folder.Get(), LOCK_EX | LOCK_NB) == 0;
}

// Empty files only: nothing else is made in it.
void Remove(int parent, const std::string &name, int folder)
{
    for (const std::string &file : NamesIn(folder)) {
        struct stat found;
        if (fstatat(folder, file.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(found.st_mode) && found.st_size == 0)
            unlinkat(folder, file.c_str(), 0);
    }
    unlinkat(parent, name.c_str(), AT_REMOVEDIR);
}

// Those that nobody has locked.
void RemoveLeftFolders(int parent)
{
    for (const std::string &name : NamesIn(parent, kPrefix)) {
        if (name.find_first_not_of(kDigits, sizeof(kPrefix) - 1) != std::string::npos)
            continue;
        const UniqueFd folder(openat(parent, name.c_str(), kFolder));
        if (Lock(folder))
            Remove(parent, name, folder.Get());
    }
}

}  // namespace

ProbeFolder::ProbeFolder(int parent) : _parent(parent)
{
    RemoveLeftFolders(parent);
    for (int i = 0; i < kAttempts; ++i) {
        if (MakeFolder())
            return;
    }
}

bool ProbeFolder::MakeFolder()
{
    std::random_device random;
    _name = kPrefix + std::to_string(random());
    if (mkdirat(_parent, _name.c_str(), 0700) != 0)
        return false;
    UniqueFd folder(openat(_parent, _name.c_str(), kFolder));
    // Where folders cannot be locked, another run does not remove them either.
    const bool isOwn = Lock(folder) || errno != EWOULDBLOCK;
    struct stat found;
    if (!folder || !isOwn || fstat(folder.Get(), &found) != 0 || found.st_nlink == 0)
        return false;
    _folder = std::move(folder);
    return true;
}

ProbeFolder::~ProbeFolder()
{
    if (_folder)
        Remove(_parent, _name, _folder.Get());
}

UniqueFd ProbeFolder::Make(const std::string &name) const
{
    return UniqueFd(
        openat(_folder.Get(), name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
}

bool ProbeFolder::Has(const std::string &name) const
{
    struct stat found;
    return fstatat(_folder.Get(), name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0;
}

bool ProbeFolder::Refuses(const std::string &name) const
{
    return !Make(name) && IsRefusal(errno);
}

bool ProbeFolder::RefusesOrChanges(const std::string &name) const
{
    const bool isMade = bool(Make(name));
    if (!isMade)
        return IsRefusal(errno);
    const std::vector<std::string> names = NamesIn(_folder.Get());
    return std::find(names.begin(), names.end(), name) == names.end();
}

}  // namespace vx
