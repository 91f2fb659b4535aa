#include "FolderRoot.h"

#include "OpenBeneath.h"
#include "RetryInterrupted.h"
#include "StatusFromErrno.h"
#include "VolumePath.h"

#include <cstdlib>
#include <fcntl.h>
#include <memory>

namespace vx {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY;
// Without blocking, since what lies there may be a FIFO or a device until it has been looked at.
constexpr int kFileFlags = O_RDONLY | O_NONBLOCK | O_NOCTTY;

struct FreeMemory {
    void operator()(char *memory) const { std::free(memory); }
};
using CanonicalPath = std::unique_ptr<char, FreeMemory>;

CanonicalPath Canonical(const char *path)
{
    return CanonicalPath(realpath(path, nullptr));
}

UniqueFd IfRegularFile(UniqueFd file)
{
    struct stat found;
    const bool regular = file && fstat(file.Get(), &found) == 0 && S_ISREG(found.st_mode);
    return regular ? std::move(file) : UniqueFd();
}

}  // namespace

VolumeLibraryStatus FolderRoot::Open(const char *path, std::optional<FolderRoot> *root)
{
    UniqueFd folder(RetryInterrupted([&] { return open(path, kFolderFlags | O_CLOEXEC); }));
    if (!folder)
        return StatusFromErrno(errno);
    const CanonicalPath canonical = Canonical(path);
    if (!canonical)
        return StatusFromErrno(errno);
    root->emplace(FolderRoot(std::move(folder), canonical.get()));
    return VolumeLibraryStatus::kSuccess;
}

FolderRoot::FolderRoot(UniqueFd folder, std::string path)
    : _folder(std::move(folder)),
      _path(std::move(path)),
      _prefix(_path == "/" ? _path : _path + '/')
{
}

UniqueFd FolderRoot::OpenFolder(const std::string &relative) const
{
    return OpenBeneath(_folder.Get(), relative, kFolderFlags);
}

UniqueFd FolderRoot::OpenFile(const std::string &relative) const
{
    UniqueFd file = OpenBeneath(_folder.Get(), relative, kFileFlags);
    if (!file && errno == ELOOP)
        file = OpenLinkTarget(relative);
    return IfRegularFile(std::move(file));
}

UniqueFd FolderRoot::OpenLinkTarget(const std::string &link) const
{
    // Beneath a link to a folder there is nothing, as its refused listing says.
    if (!OpenFolder(ParentOfRelative(link)))
        return UniqueFd();
    const auto target = LinkTarget(link);
    return target ? OpenBeneath(_folder.Get(), *target, kFileFlags) : UniqueFd();
}

bool FolderRoot::StatLinkTarget(const std::string &link, EntryStat *target) const
{
    const auto path = LinkTarget(link);
    if (!path)
        return false;
    const UniqueFd folder = OpenFolder(ParentOfRelative(*path));
    const std::string name = path->empty() ? "." : NameOfRelative(*path);
    return folder && StatEntry(folder.Get(), name.c_str(), target);
}

// Where the link leads at this moment, relative to this folder, if it does lead beneath it.
std::optional<std::string> FolderRoot::LinkTarget(const std::string &link) const
{
    const CanonicalPath canonical = Canonical((_prefix + link).c_str());
    if (!canonical)
        return std::nullopt;
    const std::string target = canonical.get();
    if (target == _path)
        return std::string();
    if (target.compare(0, _prefix.size(), _prefix) != 0)
        return std::nullopt;
    return target.substr(_prefix.size());
}

}  // namespace vx
