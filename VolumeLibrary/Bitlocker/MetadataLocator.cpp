#include "MetadataLocator.h"

#include <algorithm>
#include <cstring>

namespace vx::bitlocker {

namespace {

// Copies of copies could name each other for ever; a volume has three.
constexpr size_t kMostCandidates = 32;
constexpr size_t kSearchPiece = 1024 * 1024;
constexpr size_t kSearchStep = 512;

// Whether the place of the relocated sectors can be computed with at all.
bool isRelocationPossible(const MetadataBlock &block)
{
    static constexpr uint64_t kLargestSector = 4096;
    const uint64_t longest = block.relocatedSectors * kLargestSector;
    return block.relocationOffset <= UINT64_MAX - longest;
}

bool agreesWithBlock(const MetadataBlock &block, uint32_t sectorSize)
{
    const uint64_t length = static_cast<uint64_t>(block.relocatedSectors) * sectorSize;
    return !block.volumeHeader || (block.volumeHeader->offset == block.relocationOffset &&
                                   (sectorSize == 0 || block.volumeHeader->length == length));
}

}  // namespace

MetadataLocator::MetadataLocator(const ByteSource &source, const BootSector &boot,
                                 const CancelFlag *cancel)
    : _source(source),
      _boot(boot),
      _cancel(cancel),
      _areaSize(boot.layout == Layout::Vista ? MetadataBlock::kVistaAreaSize
                                             : MetadataBlock::kAreaSize)
{
}

Error MetadataLocator::readArea(uint64_t offset, std::vector<uint8_t> &area) const
{
    if (offset >= _source.size())
        return {Status::TruncatedImage, "it lies behind the end"};
    area.resize(static_cast<size_t>(std::min<uint64_t>(_areaSize, _source.size() - offset)));
    return _source.readAt(offset, area.data(), area.size());
}

Result<MetadataBlock> MetadataLocator::parseChecked(ByteView area, uint64_t offset) const
{
    Result<MetadataBlock> block = MetadataBlock::parse(area, offset);
    if (!block)
        return block;
    if ((block->version == 1) != (_boot.layout == Layout::Vista))
        return Error{Status::DamagedMetadata, "its version does not fit the boot sector"};
    if (!isRelocationPossible(*block))
        return Error{Status::DamagedMetadata, "it puts the relocated sectors nowhere"};
    const uint32_t sectorSize = _boot.sectorSize != 0 || !block->volumeHeader
                                    ? _boot.sectorSize
                                    : block->volumeHeader->sectorSize;
    if (block->version == 2 && !agreesWithBlock(*block, sectorSize))
        return Error{Status::DamagedMetadata, "it contradicts itself about the relocated sectors"};
    return block;
}

void MetadataLocator::addCandidates(const std::vector<uint64_t> &offsets)
{
    for (uint64_t offset : offsets)
        if (offset != 0 && _seen.size() < kMostCandidates && _seen.insert(offset).second)
            _candidates.push_back(offset);
}

void MetadataLocator::tryCopy(uint64_t offset)
{
    const auto warn = [&](const Error &error) {
        _copies.warnings.push_back("the copy of the metadata at " + std::to_string(offset) +
                                   " cannot be used: " + error.detail);
    };
    std::vector<uint8_t> area;
    if (Error error = readArea(offset, area)) {
        if (error.status != Status::TruncatedImage) {
            _readError = error;
            _allBehindEnd = false;
        }
        return warn(error);
    }
    addCandidates(MetadataBlock::namedCopies(area));
    Result<MetadataBlock> block = parseChecked(area, offset);
    if (block) {
        _allBehindEnd = false;
        _copies.usable.push_back(std::move(*block));
        return;
    }
    _allBehindEnd = _allBehindEnd && area.size() < _areaSize;
    warn(block.error());
}

// A last resort. Only what says that it is where it is gets its checksum computed, so that a
// volume full of signatures costs no more than one that has none.
void MetadataLocator::searchPiece(ByteView piece, uint64_t begin)
{
    for (size_t at = 0; at + MetadataBlock::kHeaderSize <= piece.size; at += kSearchStep) {
        const std::vector<uint64_t> named = MetadataBlock::namedCopies(piece.from(at));
        if (std::find(named.begin(), named.end(), begin + at) != named.end())
            addCandidates({begin + at});
    }
}

Error MetadataLocator::search()
{
    std::vector<uint8_t> piece(kSearchPiece);
    const uint64_t end = std::min(_source.size(), kSearchLimit);
    for (uint64_t begin = 0; begin < end; begin += kSearchPiece) {
        if (isCancelled(_cancel))
            return {Status::Cancelled, ""};
        const auto count = static_cast<size_t>(std::min<uint64_t>(kSearchPiece, end - begin));
        if (!_source.readAt(begin, piece.data(), count))
            searchPiece(ByteView(piece.data(), count), begin);
    }
    return {};
}

Error MetadataLocator::failure() const
{
    if (_readError)
        return _readError;
    if (_allBehindEnd)
        return {Status::TruncatedImage, "it ends before the metadata"};
    return {Status::DamagedMetadata, "none of its copies can be used"};
}

void MetadataLocator::tryCandidates()
{
    for (; !_candidates.empty(); _candidates.pop_front())
        tryCopy(_candidates.front());
}

Result<MetadataCopies> MetadataLocator::locate()
{
    const std::vector<uint64_t> &offsets = _boot.metadataOffsets;
    if (std::find(offsets.begin(), offsets.end(), 0) != offsets.end())
        _copies.warnings.push_back("the boot sector does not name every copy of the metadata");
    addCandidates(offsets);
    _allBehindEnd = !_candidates.empty();
    tryCandidates();
    if (_copies.usable.empty() && !_allBehindEnd) {
        if (Error error = search())
            return error;
        tryCandidates();
    }
    if (_copies.usable.empty())
        return failure();
    std::stable_sort(_copies.usable.begin(), _copies.usable.end(),
                     [](const MetadataBlock &a, const MetadataBlock &b) {
                         return a.nonceCounter > b.nonceCounter;
                     });
    return std::move(_copies);
}

}  // namespace vx::bitlocker
