#include "LostVolumes.h"

#include "BootSector.h"
#include "FirstSector.h"
#include "NtfsBoot.h"
#include "PartOfSource.h"
#include "RebuiltBootSector.h"
#include "ReplacedFront.h"

#include <algorithm>

namespace vx {
namespace {

using bitlocker::BootSector;
using bitlocker::LostVolume;
using bitlocker::MetadataBlock;
using Source = std::shared_ptr<const ByteSource>;

// All partitions that any table names.
std::vector<Partition> PartitionsOf(const ByteSource &disk)
{
    std::vector<Partition> all;
    for (const uint64_t sectorBytes : {512, 4096}) {
        for (PartitionTable &table : PartitionTable::ReadAll(disk, sectorBytes))
            std::move(table.partitions.begin(), table.partitions.end(), std::back_inserter(all));
    }
    return all;
}

// As far as the next partition or the end of the disk.
uint64_t FreeBytes(const std::vector<Partition> &partitions, uint64_t begin, uint64_t diskBytes)
{
    uint64_t end = diskBytes;
    for (const Partition &partition : partitions) {
        if (partition.offset > begin)
            end = std::min(end, partition.offset);
    }
    return end - begin;
}

// A part that is not encrypted ends with the backup of the boot sector of NTFS; on a volume To Go
// the relocated sectors leave room for a small file system with a program.
bool HasPlainPart(const MetadataBlock &block, uint64_t size)
{
    const bool isPartly =
        block.version != 1 && block.encryptedSize > 0 && block.encryptedSize < size;
    return isPartly || bitlocker::IsConverting(block) || bitlocker::IsToGo(block);
}

uint32_t SectorBytes(const ByteSource &volume)
{
    std::array<uint8_t, kFirstSectorBytes> sector;
    const bool isRead = !volume.ReadAt(0, sector.data(), sector.size());
    const uint32_t stated = isRead ? StatedSectorSize(sector) : 0;
    return stated != 0 ? stated : kFirstSectorBytes;
}

}  // namespace

// With the block that its boot sector leads to.
std::vector<LostVolume> LostVolumes::ByBootSector(uint64_t offset) const
{
    std::array<uint8_t, BootSector::kSize> sector;
    if (_disk->ReadAt(offset, sector.data(), sector.size()))
        return {};
    const auto boot = BootSector::Parse(sector);
    if (!boot)
        return {};
    for (const uint64_t place : boot->metadataOffsets) {
        if (place > UINT64_MAX - offset)
            continue;
        for (LostVolume &volume : bitlocker::FindVolumesWithCopyAt(*_disk, offset + place)) {
            if (volume.begin == offset && volume.hasBootSector)
                return {std::move(volume)};
        }
    }
    return {};
}

Result<std::vector<LostVolume>> LostVolumes::Find(uint64_t offset) const
{
    std::vector<LostVolume> found = ByBootSector(offset);
    if (found.empty())
        found = bitlocker::FindVolumesWithCopyAt(*_disk, offset);
    if (!found.empty())
        return found;
    auto searched = bitlocker::FindVolumeAt(*_disk, offset, _cancel, _progress);
    if (!searched)
        return searched.Failure();
    if (searched->has_value())
        found.push_back(std::move(**searched));
    return found;
}

Result<RegainedVolume> LostVolumes::Regain(const Lost &lost, const Partition &place,
                                           bool isEndKnown) const
{
    RegainedVolume volume;
    volume.offset = place.offset;
    volume.isEndKnown = isEndKnown;
    volume.hasPlainPart = HasPlainPart(lost.block, place.size);
    volume.source = place.In(_disk);
    if (lost.hasBootSector)
        return volume;
    const auto sector =
        bitlocker::RebuildBootSector(*volume.source, lost.block, _cancel, _progress);
    if (!sector)
        return sector.Failure();
    volume.source = std::make_shared<ReplacedFront>(
        volume.source, std::vector<uint8_t>(sector->begin(), sector->end()));
    volume.isRebuilt = true;
    volume.note = "the first sector of the encrypted volume is lost; its metadata at byte " +
                  std::to_string(place.offset + lost.block.offset) +
                  " says that it begins at byte " + std::to_string(place.offset);
    return volume;
}

// The metadata of an encrypted volume knows its size better than a table that may be lost.
Result<RegainedVolume> LostVolumes::Regain(const Lost &lost) const
{
    const std::vector<Partition> partitions = PartitionsOf(*_disk);
    const uint64_t left = _disk->Size() - lost.begin;
    const uint64_t stated = bitlocker::StatedVolumeBytes(lost.block);
    Partition place;
    place.offset = lost.begin;
    if (stated != 0) {
        place.size = std::min(stated, left);
        return Regain(lost, place, true);
    }
    for (const Partition &partition : partitions) {
        place.size = std::min(partition.size, left);
        if (partition.offset == lost.begin)
            return Regain(lost, place, true);
    }
    place.size = FreeBytes(partitions, lost.begin, _disk->Size());
    return Regain(lost, place, false);
}

Result<std::vector<RegainedVolume>> LostVolumes::At(uint64_t offset) const
{
    const auto found = Find(offset);
    if (!found)
        return found.Failure();
    if (found->empty())
        return Error{Status::kNoSuchVolume,
                     "no encrypted volume that can be found by its metadata begins at byte " +
                         std::to_string(offset) + ", nor is a usable copy of metadata there; " +
                         kSearchAdvice};
    std::vector<RegainedVolume> volumes;
    for (const LostVolume &lost : *found) {
        auto volume = Regain(lost);
        if (!volume)
            return volume.Failure();
        volumes.push_back(std::move(*volume));
    }
    return volumes;
}

Result<std::optional<RegainedVolume>> LostVolumes::AtFrontOf(const Partition &partition) const
{
    const auto found = bitlocker::FindVolumeAt(*partition.In(_disk), 0, _cancel, _progress);
    if (!found)
        return found.Failure();
    if (!found->has_value())
        return std::optional<RegainedVolume>();
    auto volume = Regain(**found, partition, true);
    if (!volume)
        return volume.Failure();
    return std::optional<RegainedVolume>(std::move(*volume));
}

Result<std::optional<RegainedVolume>>
LostVolumes::AtFrontOfOne(const std::vector<Partition> &partitions) const
{
    std::optional<RegainedVolume> only;
    std::string others;
    for (const Partition &partition : partitions) {
        auto found = AtFrontOf(partition);
        if (!found)
            return found.Failure();
        if (found->has_value() && only)
            others += ", @" + std::to_string(partition.offset);
        else if (found->has_value())
            only = std::move(**found);
    }
    if (others.empty())
        return only;
    return Error{Status::kSeveralVolumes,
                 "several encrypted volumes have lost their first sectors; choose one by its "
                 "offset instead of a number: @" +
                     std::to_string(only->offset) + others};
}

bool ResemblesEncrypted(const ByteSource &volume)
{
    std::array<uint8_t, BootSector::kSize> sector;
    return volume.Size() >= sector.size() && !volume.ReadAt(0, sector.data(), sector.size()) &&
           BootSector::Resembles(sector);
}

Source WithFirstSector(const Source &plain, std::vector<std::string> *notes)
{
    std::vector<uint8_t> sector(kFirstSectorBytes);
    const auto backup = FindNtfsBackupBoot(*plain);
    const bool isRead = backup && !plain->ReadAt(*backup, sector.data(), sector.size());
    if (!isRead)
        std::fill(sector.begin(), sector.end(), uint8_t{0});
    notes->push_back(isRead ? "the first sector of the file system was lost with it; its backup is "
                              "used"
                            : "the first sector of the file system was lost with it");
    return std::make_shared<ReplacedFront>(plain, std::move(sector));
}

Source CutToFileSystem(const Source &plain, FileSystemKind kind)
{
    // The last sector of NTFS is not counted.
    const bool hasBackup = kind == FileSystemKind::kNtfs;
    const uint64_t stated = FileSystemBytes(*plain, kind);
    const uint64_t size = stated + (hasBackup ? SectorBytes(*plain) : 0);
    if (stated == 0 || size < stated || size > plain->Size())
        return plain;
    return std::make_shared<PartOfSource>(plain, 0, size);
}

}  // namespace vx
