#include "VolumeSearch.h"

#include "ByteReader.h"
#include "LostVolume.h"
#include "MarkSearch.h"

#include <algorithm>
#include <set>

namespace vx::bitlocker {

namespace {

constexpr size_t kMostDescription = 256;
// What may be checked in addition to as much as was read.
constexpr uint64_t kFreeChecks = 64ULL << 20;

bool IsAmong(const std::vector<uint64_t> &offsets, uint64_t offset)
{
    return std::find(offsets.begin(), offsets.end(), offset) != offsets.end();
}

// The length of the metadata and, of a block that was checked, of what its checksum covers.
size_t CoveredBytes(ByteView header)
{
    const size_t stored = U16At(header, 8);
    return U16At(header, 10) == 1 ? stored : stored * 16;
}

}  // namespace

Error VolumeSearch::Run()
{
    MarkSearch search(_disk, _cancel, _progress);
    Error error = search.Visit({0, UINT64_MAX}, BeginsVolumeOrMetadata,
                               [this](uint64_t at, ByteView sector) { return Visit(at, sector); });
    _unreadBytes = search.UnreadBytes();
    return error;
}

bool VolumeSearch::Visit(uint64_t offset, ByteView sector)
{
    if (BeginsMetadata(sector.data))
        TakeBlock(offset, sector);
    else
        TakeBootSector(offset, sector);
    return true;
}

void VolumeSearch::TakeBootSector(uint64_t offset, ByteView sector)
{
    const Result<BootSector> boot = BootSector::Parse(sector);
    if (boot && _boots.size() < kMostBootSectors)
        _boots.emplace(offset, boot->metadataOffsets);
}

// A sound block has its area for itself. As much as was read so far may be checked, so that forged
// blocks that overlap each other cannot keep the search busy.
void VolumeSearch::TakeBlock(uint64_t offset, ByteView header)
{
    const std::vector<uint64_t> named = MetadataBlock::NamedCopies(header);
    const auto isBefore = [&](uint64_t place) { return place != 0 && place <= offset; };
    if (offset < _soundEnd || std::none_of(named.begin(), named.end(), isBefore))
        return;
    if (_blockCount >= kMostBlocks || _checkedBytes > offset + kFreeChecks) {
        ++_uncheckedBlocks;
        return;
    }
    _checkedBytes += std::min(CoveredBytes(header), MetadataBlock::kAreaSize);
    CheckBlock(offset, {named[0], named[1], named[2]});
}

void VolumeSearch::CheckBlock(uint64_t offset, const Places &places)
{
    std::vector<uint8_t> area(
        static_cast<size_t>(std::min<uint64_t>(MetadataBlock::kAreaSize, _disk.Size() - offset)));
    ByteRanges unread;
    (void)_disk.Salvage(offset, area.data(), area.size(), &unread);
    const Result<MetadataBlock> block = MetadataBlock::Parse(area, places[0]);
    if (!block) {
        if (_damagedCount++ < kMostBlocks)
            _damaged[places].push_back(offset);
        return;
    }
    _soundEnd = offset + CoveredBytes(area);
    ++_blockCount;
    _blocks[{block->volume.bytes, places}].push_back(
        {offset, StatedVolumeBytes(*block), static_cast<Method>(block->method),
         block->description.substr(0, kMostDescription)});
}

bool VolumeSearch::IsBootOf(uint64_t begin, const Places &places) const
{
    const auto boot = _boots.find(begin);
    return boot != _boots.end() && std::any_of(places.begin(), places.end(), [&](uint64_t place) {
               return IsAmong(boot->second, place);
           });
}

// How much speaks for each beginning that the blocks could mean.
VolumeSearch::Votes VolumeSearch::VotesOf(const Kin &kin, const std::vector<Block> &blocks) const
{
    constexpr int kOfBlock = 2;
    const auto damaged = _damaged.find(kin.second);
    Votes votes;
    for (const uint64_t place : std::set<uint64_t>(kin.second.begin(), kin.second.end())) {
        for (const Block &block : blocks) {
            if (place <= block.at)
                votes[block.at - place] += kOfBlock;
        }
        if (damaged == _damaged.end())
            continue;
        for (const uint64_t at : damaged->second) {
            if (place <= at)
                votes[at - place] += 1;
        }
    }
    for (auto &[begin, count] : votes)
        count += IsBootOf(begin, kin.second) ? 1 : 0;
    return votes;
}

uint64_t VolumeSearch::LikeliestBegin(const Block &block, const Places &places, const Votes &votes)
{
    uint64_t begin = 0;
    int most = 0;
    for (const uint64_t place : places) {
        const auto vote = place <= block.at ? votes.find(block.at - place) : votes.end();
        if (vote == votes.end() || vote->second <= most)
            continue;
        begin = vote->first;
        most = vote->second;
    }
    return begin;
}

void VolumeSearch::AddVolumesOf(const Kin &kin, const std::vector<Block> &blocks,
                                std::vector<SearchedVolume> *volumes) const
{
    const Votes votes = VotesOf(kin, blocks);
    std::map<uint64_t, SearchedVolume> byBegin;
    for (const Block &block : blocks) {
        const uint64_t begin = LikeliestBegin(block, kin.second, votes);
        SearchedVolume &volume = byBegin[begin];
        volume.offset = begin;
        volume.bytes = block.bytes;
        volume.hasBootSector = IsBootOf(begin, kin.second);
        volume.method = block.method;
        volume.identifier.bytes = kin.first;
        volume.description = block.description;
        volume.copies.push_back(block.at);
    }
    for (auto &[begin, volume] : byBegin)
        volumes->push_back(std::move(volume));
}

std::vector<SearchedVolume> VolumeSearch::Volumes() const
{
    std::vector<SearchedVolume> volumes;
    for (const auto &[kin, blocks] : _blocks)
        AddVolumesOf(kin, blocks, &volumes);
    std::stable_sort(
        volumes.begin(), volumes.end(),
        [](const SearchedVolume &a, const SearchedVolume &b) { return a.offset < b.offset; });
    return volumes;
}

}  // namespace vx::bitlocker
