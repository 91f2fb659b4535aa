// Fuzz target: searching a disk for encrypted volumes, and opening them without their first
// sectors.
//
// An input chooses what is put where on a disk of zeros:
//   u8 flags (1: renew the checksums), then pieces: u8 place (in 1 KiB), u8 volume, u8 kind (0 to
//   2: a copy of the metadata, 3: the first sector), u8 count of changes, and each change: u16
//   offset, u8 value
#include "../HeapLimit.h"
#include "../Require.h"
#include "FuzzVolumes.h"

#include "ByteReader.h"
#include "LostVolume.h"
#include "Maker/MetadataWriter.h"
#include "MemoryByteSource.h"
#include "PartOfSource.h"
#include "RebuiltBootSector.h"
#include "ReplacedFront.h"
#include "VolumeOpener.h"
#include "VolumeSearch.h"

#include <algorithm>

using namespace vx;
using namespace vx::bitlocker;

namespace {

constexpr size_t kSector = 512;
constexpr size_t kPlaceUnit = 1024;
constexpr size_t kDiskBytes = 256 * kPlaceUnit;
constexpr size_t kMetadataBytes = 4096;  // enough for all of it
constexpr uint8_t kRenewChecksums = 1;

// Renews the checksum if it lies on the disk.
void Renew(std::vector<uint8_t> &disk, size_t at)
{
    ByteReader reader(disk, at + 8);
    const size_t stored = reader.U16();
    const size_t covered = reader.U16() == 1 ? stored : stored * 16;
    if (reader.Good() && at + covered + 8 <= disk.size())
        maker::RenewChecksum(disk, at);
}

void PutPiece(ByteReader &reader, const std::vector<FuzzVolume> &volumes, bool renews,
              std::vector<uint8_t> &disk)
{
    const size_t at = reader.U8() * kPlaceUnit;
    const FuzzVolume &volume = volumes[reader.U8() % volumes.size()];
    const size_t kind = reader.U8() % 4;
    const size_t from = kind < 3 ? static_cast<size_t>(volume.plan.copies[kind]) : 0;
    const size_t wanted = kind < 3 ? kMetadataBytes : kSector;
    const size_t count = std::min({wanted, disk.size() - at, volume.image.size() - from});
    std::copy_n(volume.image.begin() + static_cast<std::ptrdiff_t>(from), count,
                disk.begin() + static_cast<std::ptrdiff_t>(at));
    for (size_t changes = reader.U8(); changes > 0 && reader.Left() >= 3; --changes) {
        const size_t place = at + reader.U16();
        const uint8_t value = reader.U8();
        if (place < disk.size())
            disk[place] = value;
    }
    if (renews && kind < 3)
        Renew(disk, at);
}

// What an opening does with a copy that the search has found.
void OpenAt(const std::shared_ptr<const ByteSource> &disk, uint64_t copy)
{
    static const Result<Secret> password = Secret::FromPassword(kFuzzPassword);
    const std::vector<LostVolume> found = FindVolumesWithCopyAt(*disk, copy);
    Require(found.size() <= 3, "a copy belongs to three beginnings at most");
    for (const LostVolume &lost : found) {
        Require(lost.begin <= copy, "a volume begins before its metadata");
        const auto part =
            std::make_shared<PartOfSource>(disk, lost.begin, disk->Size() - lost.begin);
        const auto sector = RebuildBootSector(*part, lost.block, nullptr, {});
        Require(static_cast<bool>(sector), "nothing cancels the search for a record");
        Require(static_cast<bool>(BootSector::Parse(*sector)), "a rebuilt sector is read");
        const auto whole = std::make_shared<ReplacedFront>(
            part, std::vector<uint8_t>(sector->begin(), sector->end()));
        const auto opened = VolumeOpener(whole, nullptr, KeyStretcher(1)).Open(*password);
        uint8_t byte = 0;
        if (opened)
            (void)opened->volume->ReadAt(opened->volume->Size() / 2, &byte, 1);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const std::vector<FuzzVolume> volumes = MakeFuzzVolumes();
    const vx::HeapLimit limit;
    ByteReader reader({data, size});
    const bool renews = (reader.U8() & kRenewChecksums) != 0;
    std::vector<uint8_t> bytes(kDiskBytes);
    while (reader.Left() >= 4)
        PutPiece(reader, volumes, renews, bytes);
    const auto disk = std::make_shared<MemoryByteSource>(std::move(bytes));
    VolumeSearch search(*disk, nullptr, {});
    Require(!search.Run(), "a disk in memory is searched to its end");
    size_t opened = 0;
    for (const SearchedVolume &volume : search.Volumes()) {
        Require(!volume.copies.empty(), "a volume has a copy of its metadata");
        for (const uint64_t copy : volume.copies) {
            Require(copy >= volume.offset, "a volume begins before its metadata");
            Require(!FindVolumesWithCopyAt(*disk, copy).empty(), "what was found is found again");
            if (++opened <= 4)
                OpenAt(disk, copy);
        }
        (void)FindVolumeAt(*disk, volume.offset, nullptr, {});
    }
    return 0;
}
