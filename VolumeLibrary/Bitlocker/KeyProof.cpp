#include "KeyProof.h"

#include "ByteReader.h"
#include "FirstSector.h"

#include <algorithm>

namespace vx::bitlocker {
namespace {

using Sector = std::array<uint8_t, kFirstSectorBytes>;
using Bytes = std::vector<uint8_t>;

// What a file system has at a place, whatever its files are.
struct KnownPlace {
    uint64_t offset;
    Bytes bytes;
};

std::optional<Sector> SectorAt(const DecryptedVolume &volume, uint64_t offset)
{
    Sector sector{};
    if (offset >= volume.Size() || volume.ReadAt(offset, sector.data(), sector.size()))
        return std::nullopt;
    return sector;
}

bool IsNamed(ByteView sector)
{
    return HasName(sector, kNtfsName) || HasName(sector, kExfatName) || HasName(sector, kFatName) ||
           LooksLikeFat(sector);
}

// Shown by a name of eight letters, or by as many bytes of numbers that agree with each other. A
// wrong key gives neither.
bool IsFirstSector(ByteView sector, uint32_t sectorSize)
{
    const uint32_t stated = StatedSectorSize(sector);
    const bool isRefs = HasName(sector, kRefsName) && HasTextAt(sector, 16, "FSRS");
    return (IsNamed(sector) || isRefs) && (stated == 0 || stated == sectorSize);
}

// A backup must not be found where there is none.
bool IsBackup(ByteView sector, uint32_t sectorSize)
{
    return EndsAsBootSector(sector) && IsNamed(sector) && StatedSectorSize(sector) == sectorSize;
}

std::vector<uint64_t> PlacesOfBackups(const DecryptedVolume &volume)
{
    constexpr uint64_t kFat32Sector = 6;
    constexpr uint64_t kExfatSector = 12;
    constexpr uint64_t kNtfsBytes = 4096;  // at the end; the last sector may lie a little before
    const uint64_t sectorSize = volume.SectorSize();
    std::vector<uint64_t> offsets = {kFat32Sector * sectorSize, kExfatSector * sectorSize};
    for (uint64_t left = sectorSize; left <= std::min(kNtfsBytes, volume.Size());
         left += sectorSize)
        offsets.push_back(volume.Size() - left);
    return offsets;
}

// The first sector or, if it is none, a backup of it; encrypted or not.
std::optional<Sector> AnyBootSector(const DecryptedVolume &volume)
{
    const uint32_t sectorSize = volume.SectorSize();
    const std::optional<Sector> first = SectorAt(volume, 0);
    if (first && IsFirstSector(*first, sectorSize))
        return first;
    for (const uint64_t offset : PlacesOfBackups(volume)) {
        const std::optional<Sector> backup = SectorAt(volume, offset);
        if (backup && IsBackup(*backup, sectorSize))
            return backup;
    }
    return std::nullopt;
}

// 0 if it says none that is possible.
uint64_t NtfsClusterSize(const Sector &boot, uint32_t sectorSize)
{
    constexpr uint8_t kMostSectors = 128;  // what is larger stands as a negative power of two
    constexpr unsigned kLargestPower = 12;
    const uint8_t stated = U8At(boot, 13);
    if (stated <= kMostSectors)
        return uint64_t{stated} * sectorSize;
    const unsigned power = 256U - stated;
    return power <= kLargestPower ? uint64_t{sectorSize} << power : 0;
}

std::vector<KnownPlace> PlacesOfNtfs(const Sector &boot, uint32_t sectorSize)
{
    constexpr size_t kTableAt = 48;
    constexpr size_t kMirrorAt = 56;
    const uint64_t clusterSize = NtfsClusterSize(boot, sectorSize);
    std::vector<KnownPlace> places;
    for (const size_t at : {kTableAt, kMirrorAt}) {
        const uint64_t cluster = U64At(boot, at);
        if (clusterSize != 0 && cluster < UINT64_MAX / clusterSize)
            places.push_back({cluster * clusterSize, {'F', 'I', 'L', 'E'}});
    }
    return places;
}

std::vector<KnownPlace> PlacesOfTables(uint64_t first, uint64_t size, unsigned count,
                                       const Bytes &bytes)
{
    constexpr unsigned kMostTables = 2;
    std::vector<KnownPlace> places;
    for (unsigned i = 0; i < std::min(count, kMostTables); ++i)
        places.push_back({first + i * size, bytes});
    return places;
}

std::vector<KnownPlace> PlacesOfExfat(const Sector &boot, uint32_t sectorSize)
{
    const Bytes start = {0xf8, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
    return PlacesOfTables(uint64_t{U32At(boot, 80)} * sectorSize,
                          uint64_t{U32At(boot, 84)} * sectorSize, U8At(boot, 110), start);
}

std::vector<KnownPlace> PlacesOfFat(const Sector &boot, uint32_t sectorSize)
{
    const uint16_t shortSize = U16At(boot, 22);
    const uint64_t size = shortSize != 0 ? shortSize : U32At(boot, 36);
    return PlacesOfTables(uint64_t{U16At(boot, 14)} * sectorSize, size * sectorSize, U8At(boot, 16),
                          {U8At(boot, 21), 0xff, 0xff});
}

std::vector<KnownPlace> KnownPlaces(const Sector &boot, uint32_t sectorSize)
{
    if (HasName(boot, kNtfsName))
        return PlacesOfNtfs(boot, sectorSize);
    if (HasName(boot, kExfatName))
        return PlacesOfExfat(boot, sectorSize);
    return LooksLikeFat(boot) ? PlacesOfFat(boot, sectorSize) : std::vector<KnownPlace>();
}

bool HasFirst(const DecryptedVolume &volume)
{
    const std::optional<Sector> first = SectorAt(volume, 0);
    return volume.IsEncrypted(0) && first && IsFirstSector(*first, volume.SectorSize());
}

// Of one place. A sector of zeros was wiped, or never read into the image.
KeyProof ProofAt(const DecryptedVolume &volume, const KnownPlace &place)
{
    if (!volume.IsEncrypted(place.offset) || volume.IsBlank(place.offset))
        return KeyProof::kUnknown;
    const std::optional<Sector> sector = SectorAt(volume, place.offset);
    if (!sector)
        return KeyProof::kUnknown;
    const bool isRight = std::equal(place.bytes.begin(), place.bytes.end(), sector->begin());
    return isRight ? KeyProof::kProven : KeyProof::kRefuted;
}

}  // namespace

bool HasBackup(const DecryptedVolume &volume)
{
    const std::vector<uint64_t> offsets = PlacesOfBackups(volume);
    return std::any_of(offsets.begin(), offsets.end(), [&](uint64_t offset) {
        const bool isEncrypted = volume.IsEncrypted(offset);
        const std::optional<Sector> sector = isEncrypted ? SectorAt(volume, offset) : std::nullopt;
        return sector && IsBackup(*sector, volume.SectorSize());
    });
}

KeyProof ProofOfKey(const DecryptedVolume &volume)
{
    if (HasFirst(volume) || HasBackup(volume))
        return KeyProof::kProven;
    const std::optional<Sector> boot = AnyBootSector(volume);
    if (!boot)
        return KeyProof::kUnknown;
    KeyProof proof = KeyProof::kUnknown;
    for (const KnownPlace &place : KnownPlaces(*boot, volume.SectorSize())) {
        const KeyProof here = ProofAt(volume, place);
        if (here == KeyProof::kProven)
            return here;
        if (here == KeyProof::kRefuted)
            proof = here;
    }
    return proof;
}

}  // namespace vx::bitlocker
