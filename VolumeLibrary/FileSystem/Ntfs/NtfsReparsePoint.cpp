#include "NtfsReparsePoint.h"

#include "ByteReader.h"

#include <algorithm>
#include <iterator>

namespace vx {
namespace {

constexpr uint32_t kMountPoint = 0xA0000003;
constexpr uint32_t kStorageMigration = 0xC0000004;
constexpr uint32_t kStorageMigration2 = 0x80000006;
constexpr uint32_t kSingleInstance = 0x80000007;
constexpr uint32_t kDeduplicated = 0x80000013;
constexpr uint32_t kPlaceholder = 0x80000015;
constexpr uint32_t kPacked = 0x80000017;
constexpr uint32_t kContainerLayer = 0x80000018;
constexpr uint32_t kContainerLayer1 = 0x90001018;
constexpr uint32_t kProjected = 0x9000001C;
constexpr uint32_t kStorageSync = 0x8000001E;
constexpr uint32_t kCloudDrive = 0x80000021;
constexpr uint32_t kStorageSyncFolder = 0x90000027;
// Sixteen tags that differ in these bits.
constexpr uint32_t kCloud = 0x9000001A;
constexpr uint32_t kCloudVariants = 0x0000F000;

constexpr size_t kHeaderBytes = 8;
constexpr uint64_t kMostBytes = uint64_t{16} << 10;

bool IsOfCloud(uint32_t tag)
{
    return (tag & ~kCloudVariants) == kCloud || tag == kPlaceholder || tag == kStorageSync ||
           tag == kCloudDrive || tag == kStorageSyncFolder;
}

// Whose files have data of their own, brought here on demand.
bool BringsData(uint32_t tag)
{
    constexpr uint32_t kTags[] = {kStorageMigration, kStorageMigration2, kSingleInstance,
                                  kContainerLayer,   kContainerLayer1,   kProjected};
    return IsOfCloud(tag) || std::find(std::begin(kTags), std::end(kTags), tag) != std::end(kTags);
}

// Nothing if they cannot be read.
std::vector<uint8_t> BytesOf(const ByteSource &volume, NtfsStream stream)
{
    if (stream.isResident)
        return std::move(stream.bytes);
    const auto count = static_cast<uint32_t>(std::min(stream.extents.size, kMostBytes));
    return ReadExtentBytes(volume, stream.extents, 0, count).value_or(std::vector<uint8_t>());
}

}  // namespace

NtfsReparsePoint NtfsReparsePoint::Read(const NtfsMft &mft, const ByteSource &volume,
                                        const NtfsRecord &file, uint64_t number)
{
    NtfsReparsePoint point;
    NtfsStream stream = FindStream(mft, volume, file, number, NtfsType::kReparsePoint, {});
    point._trouble = stream.trouble;
    if (stream.found != NtfsFound::kYes)
        return point;
    const bool isResident = stream.isResident;
    point._bytes = BytesOf(volume, std::move(stream));
    if (point._bytes.size() >= 4)
        point._tag = U32At(point._bytes, 0);
    else if (point._trouble == VolumeObstacle::kNone)
        point._trouble = isResident ? VolumeObstacle::kDamaged : VolumeObstacle::kUnreadable;
    return point;
}

bool NtfsReparsePoint::LeadsElsewhere() const
{
    return (_tag & kReparseTagNameSurrogate) != 0;
}

// Two versions of two programs, with what each says: that the data lies in the file itself, and how
// it is packed. The other possible place is a disk image (WIM).
std::optional<WofPacking> NtfsReparsePoint::Packing() const
{
    constexpr uint32_t kVersion = 1;
    constexpr uint32_t kInFile = 2;
    ByteReader reader(_bytes, kHeaderBytes);
    const bool isInFile = reader.U32() == kVersion && reader.U32() == kInFile;
    const bool isKnown = reader.U32() == kVersion && isInFile;
    const uint32_t packing = reader.U32();
    if (_tag != kPacked || !reader.Good() || !isKnown ||
        packing > static_cast<uint32_t>(WofPacking::kXpress16K))
        return std::nullopt;
    return static_cast<WofPacking>(packing);
}

VolumeObstacle NtfsReparsePoint::Form() const
{
    if (_tag == kPacked)
        return Packing() ? VolumeObstacle::kNone : VolumeObstacle::kPacked;
    return _tag == kDeduplicated ? VolumeObstacle::kDeduplicated : VolumeObstacle::kNone;
}

VolumeObstacle NtfsReparsePoint::Absence() const
{
    if (_tag == 0)
        return _trouble;
    return IsOfCloud(_tag) ? VolumeObstacle::kOnlyInCloud : VolumeObstacle::kUnknownReparsePoint;
}

bool NtfsReparsePoint::MayBeEmpty() const
{
    return _tag == 0 || _tag == kPacked || _tag == kDeduplicated || BringsData(_tag);
}

// The name to show, or else the one that the system follows.
ByteView NtfsReparsePoint::TargetBytes() const
{
    const bool isSymlink = _tag == kReparseTagSymlink;
    const size_t namesAt = kHeaderBytes + (isSymlink ? 12 : 8);
    if ((!isSymlink && _tag != kMountPoint) || _bytes.size() < namesAt)
        return {};
    const ByteView names = ByteView(_bytes).From(namesAt);
    const auto nameAt = [&](size_t field) {
        return names.From(U16At(_bytes, field)).First(U16At(_bytes, field + 2));
    };
    const ByteView shown = nameAt(kHeaderBytes + 4);
    return shown.size >= 2 ? shown : nameAt(kHeaderBytes);
}

void NtfsReparsePoint::CopyTarget(char16_t *target, size_t capacity) const
{
    const ByteView units = TargetBytes();
    const size_t count = std::min(units.size / 2, capacity - 1);
    for (size_t i = 0; i < count; ++i)
        target[i] = U16At(units, 2 * i);
    target[count] = 0;
}

}  // namespace vx
