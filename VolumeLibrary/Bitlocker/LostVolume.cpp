#include "LostVolume.h"

#include "BootSector.h"
#include "MarkSearch.h"
#include "MetadataLocator.h"

#include <algorithm>
#include <set>
#include <tuple>

namespace vx::bitlocker {

namespace {

// A volume that claims more than these in its front is made to deceive.
constexpr size_t kMostCandidates = 1024;

// The area of a copy, with zeros for what cannot be read; empty beyond the end.
std::vector<uint8_t> ReadArea(const ByteSource &disk, uint64_t offset)
{
    if (offset >= disk.Size())
        return {};
    std::vector<uint8_t> area(
        static_cast<size_t>(std::min<uint64_t>(MetadataBlock::kAreaSize, disk.Size() - offset)));
    ByteRanges unread;
    (void)disk.Salvage(offset, area.data(), area.size(), &unread);
    return area;
}

// Whether the first sector is that of this volume.
bool HasBootSector(const ByteSource &disk, const LostVolume &volume)
{
    std::array<uint8_t, BootSector::kSize> sector;
    if (disk.ReadAt(volume.begin, sector.data(), sector.size()))
        return false;
    const Result<BootSector> boot = BootSector::Parse(sector);
    if (!boot)
        return false;
    const auto &copies = volume.block.copies;
    return std::any_of(boot->metadataOffsets.begin(), boot->metadataOffsets.end(),
                       [&](uint64_t offset) {
                           return std::find(copies.begin(), copies.end(), offset) != copies.end();
                       });
}

bool NamesPlaces(ByteView area, const std::array<uint64_t, 3> &places)
{
    const std::vector<uint64_t> named = MetadataBlock::NamedCopies(area);
    return std::equal(named.begin(), named.end(), places.begin(), places.end());
}

// The volume with this beginning, if one of the places in it holds a sound copy of the metadata
// that names the same places.
std::optional<LostVolume> VolumeAt(const ByteSource &disk, uint64_t begin,
                                   const std::array<uint64_t, 3> &places)
{
    std::optional<LostVolume> volume;
    size_t markedCopies = 0;
    for (const uint64_t place : std::set<uint64_t>(places.begin(), places.end())) {
        if (place > UINT64_MAX - begin)
            continue;
        const std::vector<uint8_t> area = ReadArea(disk, begin + place);
        if (!NamesPlaces(area, places))
            continue;
        ++markedCopies;
        auto block = MetadataBlock::Parse(area, place);
        if (block && !volume)
            volume = LostVolume{begin, std::move(*block), 1};
        else if (block && volume->block.volume == block->volume)
            ++volume->soundCopies;
    }
    if (!volume)
        return volume;
    volume->markedCopies = markedCopies;
    volume->hasBootSector = HasBootSector(disk, *volume);
    return volume;
}

std::array<uint64_t, 3> AsArray(const std::vector<uint64_t> &named)
{
    return {named[0], named[1], named[2]};
}

bool IsLikelier(const LostVolume &a, const LostVolume &b)
{
    return std::tie(a.hasBootSector, a.soundCopies, a.markedCopies) >
           std::tie(b.hasBootSector, b.soundCopies, b.markedCopies);
}

}  // namespace

std::vector<LostVolume> FindVolumesWithCopyAt(const ByteSource &disk, uint64_t offset)
{
    const std::vector<uint64_t> named = MetadataBlock::NamedCopies(ReadArea(disk, offset));
    std::vector<LostVolume> volumes;
    for (const uint64_t place : std::set<uint64_t>(named.begin(), named.end())) {
        if (place > offset)
            continue;
        if (auto volume = VolumeAt(disk, offset - place, AsArray(named)))
            volumes.push_back(std::move(*volume));
    }
    std::stable_sort(volumes.begin(), volumes.end(), IsLikelier);
    const auto isWorse = [&](const LostVolume &volume) {
        return IsLikelier(volumes.front(), volume);
    };
    volumes.erase(std::find_if(volumes.begin(), volumes.end(), isWorse), volumes.end());
    return volumes;
}

Result<std::optional<LostVolume>> FindVolumeAt(const ByteSource &disk, uint64_t begin,
                                               const CancelFlag *cancel,
                                               const ProgressReceiver &progress)
{
    std::optional<LostVolume> best;
    std::set<std::array<uint64_t, 3>> seen;
    const auto visit = [&](uint64_t offset, ByteView sector) {
        const std::vector<uint64_t> named = MetadataBlock::NamedCopies(sector);
        if (std::find(named.begin(), named.end(), offset - begin) == named.end() ||
            seen.size() >= kMostCandidates || !seen.insert(AsArray(named)).second)
            return true;
        auto volume = VolumeAt(disk, begin, AsArray(named));
        if (volume && (!best || IsLikelier(*volume, *best)))
            best = std::move(volume);
        return !best || best->soundCopies < best->block.copies.size();
    };
    MarkSearch search(disk, cancel, progress);
    Error error = search.Visit({begin, MetadataLocator::kSearchLimit}, BeginsMetadata, visit);
    if (error)
        return error;
    return best;
}

uint64_t StatedVolumeBytes(const MetadataBlock &block)
{
    constexpr uint16_t kEncrypted = 4;
    const bool isWhole = block.state == kEncrypted && block.nextState == kEncrypted;
    const auto last = std::max_element(block.copies.begin(), block.copies.end());
    const bool holdsItsCopies = last == block.copies.end() || block.encryptedSize > *last;
    return block.version != 1 && isWhole && holdsItsCopies ? block.encryptedSize : 0;
}

}  // namespace vx::bitlocker
