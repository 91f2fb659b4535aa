#include "MountedVolume.h"

#include "CodePoints.h"

#include <cerrno>
#include <iterator>

namespace vx {
namespace {

int ErrorOf(VolumeObstacle obstacle)
{
    switch (obstacle) {
    case VolumeObstacle::kLink:
        return ELOOP;
    case VolumeObstacle::kPacked:
    case VolumeObstacle::kOnlyInCloud:
    case VolumeObstacle::kDeduplicated:
    case VolumeObstacle::kEncryptedFile:
    case VolumeObstacle::kUnknownReparsePoint:
        return EOPNOTSUPP;
    case VolumeObstacle::kNoPermission:
        return EACCES;
    case VolumeObstacle::kNotThere:
        return ENOENT;
    case VolumeObstacle::kOutOfMemory:
        return ENOMEM;
    case VolumeObstacle::kNone:
    case VolumeObstacle::kDamaged:
    case VolumeObstacle::kUnreadable:
    case VolumeObstacle::kDeviceGone:
    case VolumeObstacle::kSameName:
        break;
    }
    return EIO;
}

bool IsDamage(VolumeObstacle obstacle)
{
    return obstacle == VolumeObstacle::kDamaged || obstacle == VolumeObstacle::kUnreadable;
}

// A text that leads nowhere on this machine but to a neighbour of the link.
std::string TargetText(std::u16string_view target)
{
    std::string text;
    for (size_t at = 0; at < target.size() && target[at] != 0;) {
        const char32_t point = CharacterAt(target, at);
        at += UnitCount(point);
        AppendUtf8(point == U'/'        ? U'\\'
                   : IsSurrogate(point) ? kReplacementCharacter
                                        : point,
                   &text);
    }
    if (text.empty() || text == "." || text == "..")
        text += '\\';
    return text;
}

}  // namespace

int MountedVolume::Find(Number folder, std::string_view name, Found *found)
{
    Folder listed;
    if (const int error = OpenFolder(folder, &listed))
        return error;
    const auto place = listed->Find(name);
    if (!place)
        return listed->IsWhole() ? ENOENT : EIO;
    *found = Enter(folder, *listed, *place);
    return found->number == 0 ? ESTALE : 0;
}

int MountedVolume::Describe(Number number, ShownEntry *entry) const
{
    const auto known = _nodes.EntryOf(number);
    if (!known)
        return ESTALE;
    *entry = *known;
    return 0;
}

int MountedVolume::OpenFolder(Number number, Folder *folder)
{
    *folder = _folders.Find(number);
    if (*folder != nullptr)
        return 0;
    const auto path = _nodes.PathOf(number);
    if (!path)
        return ESTALE;
    *folder = ShownFolder::Read(_volume, _reports, *path);
    if (*folder == nullptr)
        return path->empty() ? EIO : WhyNotOpen(*path);
    _folders.Keep(number, *folder);
    return 0;
}

MountedVolume::Found MountedVolume::Enter(Number number, const ShownFolder &folder, size_t place)
{
    const ShownEntry &entry = folder.At(place);
    const Number entered = _nodes.Enter(number, folder.VolumeNameOf(place), entry);
    return {entered, _nodes.EntryOf(entered).value_or(entry)};
}

MountedVolume::Number MountedVolume::NumberOf(Number number, const ShownFolder &folder,
                                              size_t place) const
{
    return _nodes.NumberOf(number, folder.VolumeNameOf(place));
}

int MountedVolume::OpenFile(Number number, std::unique_ptr<MountedFile> *file, bool *hasOtherSize,
                            bool *isFirst)
{
    const auto entry = _nodes.EntryOf(number);
    const auto path = _nodes.PathOf(number);
    if (!entry || !path)
        return ESTALE;
    *file = MountedFile::Open(_volume, *path, _readsOfFile);
    if (*file == nullptr)
        return WhyNotOpen(*path);
    VolumeEntryReport report;
    if (_reports.DescribeEntry(*path, &report) && IsDamage(report.obstacle))
        return ErrorOf(report.obstacle);
    *hasOtherSize = (*file)->Size() != entry->size;
    *isFirst = _nodes.NoteOpened(number, (*file)->Size());
    return 0;
}

// Of what the library opens no more than it should, it knows no obstacle.
int MountedVolume::WhyNotOpen(const std::u16string &path) const
{
    VolumeEntryReport report;
    _reports.DescribeEntry(path, &report);
    return ErrorOf(report.obstacle);
}

int MountedVolume::ReadLink(Number number, std::string *target) const
{
    const auto path = _nodes.PathOf(number);
    if (!path)
        return ESTALE;
    VolumeEntryReport report;
    if (!_reports.DescribeEntry(*path, &report))
        return EIO;
    *target = TargetText(std::u16string_view(report.target, std::size(report.target)));
    return 0;
}

}  // namespace vx
