#include "MetadataLocator.h"

#include <algorithm>
#include <cstring>

namespace vx::bitlocker {

namespace {

// Copies of copies could name each other indefinitely; a volume has three.
constexpr size_t kMostCandidates = 32;
constexpr size_t kSearchPiece = 1024 * 1024;
constexpr size_t kSearchStep = 512;

// Whether computing with the place of the relocated sectors cannot overflow.
bool IsRelocationPossible(const MetadataBlock &block)
{
    static constexpr uint64_t kLargestSector = 4096;
    const uint64_t longest = block.relocatedSectors * kLargestSector;
    return block.relocationOffset <= UINT64_MAX - longest;
}

bool AgreesWithBlock(const MetadataBlock &block, uint32_t sectorSize)
{
    const uint64_t length = static_cast<uint64_t>(block.relocatedSectors) * sectorSize;
    return !block.volumeHeader || (block.volumeHeader->offset == block.relocationOffset &&
                                   (sectorSize == 0 || block.volumeHeader->length == length));
}

}  // namespace

uint32_t RecordedSectorSize(const BootSector &boot, const std::vector<MetadataBlock> &copies)
{
    if (boot.sectorSize != 0)
        return boot.sectorSize;
    for (const MetadataBlock &copy : copies)
        if (copy.volumeHeader && copy.volumeHeader->sectorSize != 0)
            return copy.volumeHeader->sectorSize;
    return 0;
}

MetadataLocator::MetadataLocator(const ByteSource &source, const BootSector &boot,
                                 const CancelFlag *cancel)
    : _source(source),
      _boot(boot),
      _cancel(cancel),
      _areaSize(boot.layout == Layout::kVista ? MetadataBlock::kVistaAreaSize
                                              : MetadataBlock::kAreaSize)
{
}

Error MetadataLocator::ReadArea(uint64_t offset, std::vector<uint8_t> &area) const
{
    if (offset >= _source.Size())
        return {Status::kTruncatedImage, "it lies beyond the end"};
    area.resize(static_cast<size_t>(std::min<uint64_t>(_areaSize, _source.Size() - offset)));
    return _source.ReadAt(offset, area.data(), area.size());
}

Result<MetadataBlock> MetadataLocator::ParseChecked(ByteView area, uint64_t offset) const
{
    Result<MetadataBlock> block = MetadataBlock::Parse(area, offset);
    if (!block)
        return block;
    if ((block->version == 1) != (_boot.layout == Layout::kVista))
        return Error{Status::kDamagedMetadata, "its version does not fit the boot sector"};
    if (!IsRelocationPossible(*block))
        return Error{Status::kDamagedMetadata, "it puts the relocated sectors nowhere"};
    const uint32_t sectorSize = _boot.sectorSize != 0 || !block->volumeHeader
                                    ? _boot.sectorSize
                                    : block->volumeHeader->sectorSize;
    if (block->version == 2 && !AgreesWithBlock(*block, sectorSize))
        return Error{Status::kDamagedMetadata, "it contradicts itself about the relocated sectors"};
    return block;
}

void MetadataLocator::AddCandidates(const std::vector<uint64_t> &offsets)
{
    for (uint64_t offset : offsets)
        if (offset != 0 && _seen.size() < kMostCandidates && _seen.insert(offset).second)
            _candidates.push_back(offset);
}

void MetadataLocator::TryCopy(uint64_t offset)
{
    const auto warn = [&](const Error &error) {
        _copies.examined.push_back({offset, error.detail});
        _copies.warnings.push_back("the copy of the metadata at " + std::to_string(offset) +
                                   " cannot be used: " + error.detail);
    };
    std::vector<uint8_t> area;
    if (Error error = ReadArea(offset, area)) {
        if (error.status != Status::kTruncatedImage) {
            _readError = error;
            _allBeyondEnd = false;
        }
        return warn(error);
    }
    AddCandidates(MetadataBlock::NamedCopies(area));
    Result<MetadataBlock> block = ParseChecked(area, offset);
    if (block) {
        _allBeyondEnd = false;
        _copies.examined.push_back({offset, ""});
        _copies.usable.push_back(std::move(*block));
        return;
    }
    _allBeyondEnd = _allBeyondEnd && area.size() < _areaSize;
    warn(block.Failure());
}

// A last resort. The checksum is computed only for a block that states its own offset correctly, so
// that a volume full of signatures costs no more than one that has none.
void MetadataLocator::SearchPiece(ByteView piece, uint64_t begin)
{
    for (size_t at = 0; at + MetadataBlock::kHeaderSize <= piece.size; at += kSearchStep) {
        const std::vector<uint64_t> named = MetadataBlock::NamedCopies(piece.From(at));
        if (std::find(named.begin(), named.end(), begin + at) != named.end())
            AddCandidates({begin + at});
    }
}

Error MetadataLocator::Search()
{
    std::vector<uint8_t> piece(kSearchPiece);
    const uint64_t end = std::min(_source.Size(), kSearchLimit);
    for (uint64_t begin = 0; begin < end; begin += kSearchPiece) {
        if (IsCancelled(_cancel))
            return {Status::kCancelled, ""};
        const auto count = static_cast<size_t>(std::min<uint64_t>(kSearchPiece, end - begin));
        if (!_source.ReadAt(begin, piece.data(), count))
            SearchPiece(ByteView(piece.data(), count), begin);
    }
    return {};
}

Error MetadataLocator::Failure() const
{
    if (_readError)
        return _readError;
    if (_allBeyondEnd)
        return {Status::kTruncatedImage, "it ends before the metadata"};
    return {Status::kDamagedMetadata, "none of its copies can be used"};
}

void MetadataLocator::TryCandidates()
{
    for (; !_candidates.empty(); _candidates.pop_front())
        TryCopy(_candidates.front());
}

void MetadataLocator::TryNamed()
{
    if (!_boot.NamesEveryCopy())
        _copies.warnings.push_back("the boot sector does not name every copy of the metadata");
    AddCandidates(_boot.metadataOffsets);
    _allBeyondEnd = !_candidates.empty();
    TryCandidates();
}

void MetadataLocator::PutNewestFirst()
{
    std::stable_sort(_copies.usable.begin(), _copies.usable.end(),
                     [](const MetadataBlock &a, const MetadataBlock &b) {
                         return a.nonceCounter > b.nonceCounter;
                     });
}

MetadataCopies MetadataLocator::LocateNamed()
{
    TryNamed();
    PutNewestFirst();
    return std::move(_copies);
}

Result<MetadataCopies> MetadataLocator::Locate()
{
    TryNamed();
    if (_copies.usable.empty() && !_allBeyondEnd) {
        if (Error error = Search())
            return error;
        TryCandidates();
    }
    if (_copies.usable.empty())
        return Failure();
    PutNewestFirst();
    return std::move(_copies);
}

}  // namespace vx::bitlocker
