#include "NtfsContents.h"

#include <algorithm>
#include <utility>

namespace vx {
namespace {

uint64_t WrittenBytes(const FileExtents &extents)
{
    return std::min(extents.initialised, extents.size);
}

// Appends a stored run; what of it was not written is zeros.
void AppendWritten(const FileRun &run, uint64_t written, std::vector<FileRun> *runs)
{
    const uint64_t stored = std::min(run.length, written - std::min(written, run.position));
    if (stored > 0)
        runs->push_back({run.position, stored, run.offset, FileRun::Kind::kStored});
    if (stored < run.length)
        runs->push_back({run.position + stored, run.length - stored, 0, FileRun::Kind::kZeros});
}

// Removes the holes, those after the end of what was written as well; false if there are none.
bool RemoveHoles(FileExtents *extents)
{
    std::vector<FileRun> kept;
    bool found = false;
    for (const FileRun &run : extents->runs) {
        const bool isHole = run.kind == FileRun::Kind::kZeros;
        found = found || (isHole && run.position < extents->size);
        if (!isHole)
            AppendWritten(run, WrittenBytes(*extents), &kept);
    }
    if (!found)
        return false;
    extents->runs = std::move(kept);
    extents->initialised = extents->size;
    return true;
}

// For a file whose data may be elsewhere: a hole is not zeros, but data that was never brought
// here. In a compressed file it may be either, so it counts only if nothing at all is stored.
VolumeObstacle TakeAbsent(VolumeObstacle absence, NtfsContents *contents)
{
    NtfsStream &data = contents->data;
    if (data.isResident)
        return VolumeObstacle::kNone;
    const bool isHere = StoredBytes(data.extents.runs, 0, WrittenBytes(data.extents)) > 0;
    const bool isCompressed = (data.flags & NtfsAttribute::kCompressed) != 0;
    contents->canOpen = isHere;
    return !isHere || (!isCompressed && RemoveHoles(&data.extents)) ? absence
                                                                    : VolumeObstacle::kNone;
}

bool IsEncrypted(const NtfsStream &stream)
{
    return (stream.flags & NtfsAttribute::kEncrypted) != 0;
}

VolumeObstacle ObstacleOf(const NtfsReparsePoint &point, NtfsContents *contents)
{
    if (contents->data.Size() == 0) {
        contents->canOpen = point.MayBeEmpty();
        return contents->canOpen ? VolumeObstacle::kNone : VolumeObstacle::kUnknownReparsePoint;
    }
    contents->canOpen = false;
    if (IsEncrypted(contents->data))
        return VolumeObstacle::kEncryptedFile;
    if (point.Form() != VolumeObstacle::kNone)
        return point.Form();
    contents->canOpen = true;
    contents->packing = point.Packing();
    if (contents->packing)
        return VolumeObstacle::kNone;
    const VolumeObstacle absence = point.Absence();
    return absence != VolumeObstacle::kNone ? TakeAbsent(absence, contents) : VolumeObstacle::kNone;
}

// For a packed file: the unnamed stream has its size, and is otherwise a hole.
VolumeObstacle TakePacked(NtfsStream packed, NtfsContents *contents)
{
    contents->canOpen = packed.found == NtfsFound::kYes && !IsEncrypted(packed);
    contents->data = std::move(packed);
    if (IsEncrypted(contents->data))
        return VolumeObstacle::kEncryptedFile;
    return contents->data.found == NtfsFound::kNo ? VolumeObstacle::kDamaged
                                                  : contents->data.trouble;
}

}  // namespace

NtfsContents FindContents(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &file,
                          uint64_t number, const NtfsReparsePoint &point)
{
    NtfsContents contents;
    if (point.LeadsElsewhere()) {
        contents.obstacle = VolumeObstacle::kLink;
        return contents;
    }
    contents.data = FindStream(mft, volume, file, number, NtfsType::kData, {});
    if (contents.data.found == NtfsFound::kNo) {  // even an empty file has an attribute of data
        contents.obstacle = VolumeObstacle::kDamaged;
        return contents;
    }
    const VolumeObstacle trouble = contents.data.trouble;
    contents.size = contents.data.Size();
    if (contents.data.found != NtfsFound::kDamaged)
        contents.obstacle = ObstacleOf(point, &contents);
    if (contents.packing) {
        NtfsStream packed = FindStream(mft, volume, file, number, NtfsType::kData, kWofStreamName);
        contents.obstacle = TakePacked(std::move(packed), &contents);
        return contents;
    }
    if (contents.obstacle == VolumeObstacle::kNone)
        contents.obstacle = trouble != VolumeObstacle::kNone ? trouble : point.Trouble();
    return contents;
}

}  // namespace vx
