#include "DiskVolumes.h"

#include "RoundedSizeText.h"
#include "VolumeLabel.h"

#include <algorithm>

namespace vx {
namespace {

using Source = DiskVolumes::Source;

constexpr size_t kMostDescribed = 16;

void Probe(const Source &disk, DiskVolume *volume)
{
    const auto kind = ProbeFileSystem(*volume->In(disk), &volume->isByBackup);
    volume->kind = kind ? *kind : FileSystemKind::kUnreadable;
}

void SortByOffset(std::vector<DiskVolume> *volumes)
{
    std::stable_sort(volumes->begin(), volumes->end(),
                     [](const DiskVolume &a, const DiskVolume &b) { return a.offset < b.offset; });
}

// By what the partitions of a table hold.
DiskVolumes VolumesOf(const Source &disk, PartitionTable table, uint32_t sectorBytes)
{
    DiskVolumes found;
    found.kind = table.kind;
    found.sectorBytes = sectorBytes;
    found.unread = std::move(table.unread);
    found.note = std::move(table.note);
    for (Partition &partition : table.partitions) {
        DiskVolume volume = {std::move(partition)};
        Probe(disk, &volume);
        const bool isOther = volume.kind == FileSystemKind::kUnknown;
        std::vector<DiskVolume> *list = isOther ? &found.others : &found.volumes;
        if (list->size() < DiskVolumes::kMostPartitions)
            list->push_back(std::move(volume));
        else
            found.isCut = true;
    }
    SortByOffset(&found.volumes);
    SortByOffset(&found.others);
    return found;
}

// The label of an encrypted volume is unreadable; the description that Windows stored replaces it.
std::string DescribeVolume(const DiskVolume &volume, const Source &disk)
{
    const std::string label = WithoutControls(VolumeLabel(*volume.In(disk), volume.kind));
    const std::string quoted = label.empty() ? "" : "\"" + label + "\"";
    std::string text = FileSystemName(volume.kind);
    if (volume.kind == FileSystemKind::kEncrypted)
        text += ", " + RoundedSizeText(volume.size) + (label.empty() ? "" : ", " + quoted);
    else
        text += (label.empty() ? "" : " " + quoted) + ", " + RoundedSizeText(volume.size);
    return volume.name.empty() ? text : text + " (" + volume.name + ")";
}

}  // namespace

DiskVolumes DiskVolumes::Read(const Source &disk)
{
    DiskVolumes best;
    for (const uint32_t sectorBytes : {512, 4096}) {
        for (PartitionTable &table : PartitionTable::ReadAll(*disk, sectorBytes)) {
            DiskVolumes found = VolumesOf(disk, std::move(table), sectorBytes);
            if (!found.volumes.empty())
                return found;
            if (best.unread)
                found.unread = best.unread;
            if (best.others.empty())
                best = std::move(found);
        }
    }
    return best;
}

const KnownContents *DiskVolumes::ContentsOf(const Partition &partition, const Source &disk)
{
    if (partition.use == PartitionUse::kStorageSpaces)
        return &kPartOfStorageSpaces;
    if (const KnownContents *known = KnownContents::FindMarked(*partition.In(disk)))
        return known;
    return partition.use == PartitionUse::kDynamicDisk ? &kPartOfDynamicDisk : nullptr;
}

const DiskVolume *DiskVolumes::Choose(size_t number, bool isUnlocking) const
{
    if (number > 0)
        return number <= volumes.size() ? &volumes[number - 1] : nullptr;
    if (unread.status == Status::kSystemError)
        return nullptr;
    const auto fits = [&](const DiskVolume &volume) {
        return !isUnlocking || volume.kind == FileSystemKind::kEncrypted ||
               volume.kind == FileSystemKind::kUnreadable;
    };
    const auto only = std::find_if(volumes.begin(), volumes.end(), fits);
    if (only == volumes.end())
        return volumes.size() == 1 ? &volumes.front() : nullptr;
    return std::none_of(std::next(only), volumes.end(), fits) ? &*only : nullptr;
}

Error DiskVolumes::NotChosen(const Source &disk, size_t number) const
{
    std::string list = DescribeVolumes(disk);
    const std::string unopened = DescribeOthers(disk);
    if (!unopened.empty())
        list += "; without a number, since it does not open here: " + unopened;
    if (number == 0 && unread.status == Status::kSystemError)
        list += "; there may be more, since part of the table of partitions cannot be read";
    if (!note.empty())
        list += "; " + note;
    if (number == 0)
        return {Status::kSeveralVolumes, std::move(list)};
    if (!unread)
        return {Status::kNoSuchVolume, std::move(list)};
    Error error = unread;
    error.detail += "; there are " + list;
    return error;
}

std::vector<Partition> DiskVolumes::PlacesOfLost(const Source &disk, size_t number) const
{
    constexpr size_t kMostPlaces = 4;
    const auto isEncrypted = [](const DiskVolume &volume) {
        return volume.kind == FileSystemKind::kEncrypted;
    };
    if (number == 0 && std::any_of(volumes.begin(), volumes.end(), isEncrypted))
        return {};
    std::vector<Partition> places;
    for (size_t i = 0; i < volumes.size(); ++i) {
        const bool isMeant = number == 0 || number == i + 1;
        if (isMeant && volumes[i].kind == FileSystemKind::kUnreadable)
            places.push_back(volumes[i]);
    }
    for (const DiskVolume &other : others) {
        if (number == 0 && ContentsOf(other, disk) == nullptr)
            places.push_back(other);
    }
    places.resize(std::min(places.size(), kMostPlaces));
    return places;
}

std::string DiskVolumes::DescribeVolumes(const Source &disk) const
{
    std::string text;
    for (size_t i = 0; i < volumes.size(); ++i)
        text +=
            (i == 0 ? "" : "; ") + std::to_string(i + 1) + ": " + DescribeVolume(volumes[i], disk);
    return text;
}

std::string DiskVolumes::DescribeOthers(const Source &disk) const
{
    std::string text;
    for (size_t i = 0; i < std::min(others.size(), kMostDescribed); ++i) {
        if (const KnownContents *known = ContentsOf(others[i], disk))
            text += (text.empty() ? "" : "; ") + known->Phrase(RoundedSizeText(others[i].size));
    }
    return text;
}

}  // namespace vx
