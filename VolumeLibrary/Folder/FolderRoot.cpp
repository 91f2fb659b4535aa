#include "FolderRoot.h"

#include "OpenBeneath.h"
#include "RetryInterrupted.h"
#include "VolumePath.h"

#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/statvfs.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY;
// Without blocking, since what lies there may turn out to be a FIFO or a device.
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

Result<FolderRoot> FolderRoot::Open(const char *path)
{
    UniqueFd folder(RetryInterrupted([&] { return open(path, kFolderFlags | O_CLOEXEC); }));
    if (!folder)
        return Error{Status::kSystemError, "", errno};
    const CanonicalPath canonical = Canonical(path);
    if (!canonical)
        return Error{Status::kSystemError, "", errno};
    return FolderRoot(std::move(folder), canonical.get());
}

FolderRoot::FolderRoot(UniqueFd folder, std::string path)
    : _folder(std::move(folder)),
      _presence(std::make_shared<FolderPresence>(_folder.Get())),
      _path(std::move(path)),
      _prefix(_path == "/" ? _path : _path + '/')
{
}

std::optional<FolderSpace> FolderRoot::Space() const
{
    struct statvfs found;
    if (fstatvfs(_folder.Get(), &found) != 0)
        return std::nullopt;
    return FolderSpace{uint64_t{found.f_blocks} * found.f_frsize,
                       uint64_t{found.f_bfree} * found.f_frsize};
}

UniqueFd FolderRoot::OpenFolder(const std::string &relative) const
{
    return Checked(OpenBeneath(_folder.Get(), relative, kFolderFlags));
}

UniqueFd FolderRoot::OpenFile(const std::string &relative) const
{
    UniqueFd file = OpenBeneath(_folder.Get(), relative, kFileFlags);
    if (!file && errno == ELOOP)
        file = OpenLinkTarget(relative);
    return IfRegularFile(Checked(std::move(file)));
}

// What did not open may be gone, with everything else.
UniqueFd FolderRoot::Checked(UniqueFd opened) const
{
    if (!opened)
        _presence->Check();
    return opened;
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
    return path && Stat(*path, target);
}

bool FolderRoot::Stat(const std::string &relative, EntryStat *stat) const
{
    const UniqueFd folder = OpenFolder(ParentOfRelative(relative));
    const std::string name = relative.empty() ? "." : NameOfRelative(relative);
    return folder && StatEntry(folder.Get(), name.c_str(), stat);
}

std::optional<std::string> FolderRoot::TextOfLink(const std::string &link) const
{
    const UniqueFd folder = OpenFolder(ParentOfRelative(link));
    std::string text(PATH_MAX, '\0');
    const ssize_t length =
        !folder ? -1
                : readlinkat(folder.Get(), NameOfRelative(link).c_str(), text.data(), text.size());
    if (length < 0)
        return std::nullopt;
    text.resize(static_cast<size_t>(length));
    return text;
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
