#include "VhdxTable.h"

#include "ByteReader.h"
#include "LostRanges.h"
#include "VhdxHeader.h"

#include <algorithm>

namespace vx {
namespace {

// Which places of the file are in use.
class Claims {
public:
    explicit Claims(uint64_t fileBytes)
        : _used(std::min(fileBytes, VhdxBlocks::kFurthest) / kVhdxUnit + 1),
          _contested(_used.size())
    {
    }

    void Add(uint64_t at, uint64_t bytes)
    {
        if (at >= VhdxBlocks::kFurthest)
            return;
        const uint64_t end =
            std::min<uint64_t>((at + bytes + kVhdxUnit - 1) / kVhdxUnit, _used.size());
        for (uint64_t unit = at / kVhdxUnit; unit < end; ++unit) {
            _contested[unit] = _contested[unit] || _used[unit];
            _used[unit] = true;
        }
    }

    // at: of a unit in the file.
    bool IsTaken(uint64_t at) const
    {
        return at / kVhdxUnit < _used.size() && _used[at / kVhdxUnit];
    }

    ByteRanges Contested() const
    {
        LostRanges contested;
        for (uint64_t unit = 0; unit < _contested.size(); ++unit) {
            if (_contested[unit])
                contested.Add({unit * kVhdxUnit, kVhdxUnit});
        }
        return contested.All();
    }

private:
    std::vector<bool> _used;
    std::vector<bool> _contested;  // by more than one
};

class Examination {
public:
    Examination(const ByteSource &file, const VhdxBlocks::Shape &shape,
                const std::vector<VhdxRegion> &taken)
        : _file(file), _shape(shape), _claims(file.Size())
    {
        _claims.Add(0, kVhdxUnit);
        for (const VhdxRegion &region : taken)
            _claims.Add(region.at, region.bytes);
    }

    VhdxTable Run()
    {
        const uint64_t needed = NeededEntries() * VhdxBlocks::kEntryBytes;
        const uint64_t bytes = std::min(needed, _shape.tableBytes);
        std::vector<uint8_t> piece;
        for (uint64_t at = 0; at < bytes; at += piece.size()) {
            piece.resize(static_cast<size_t>(std::min(kPieceBytes, bytes - at)));
            if (_file.ReadAt(_shape.tableAt + at, piece.data(), piece.size()))
                _found.unreadBytes += piece.size();
            else
                TakeEntries(at / VhdxBlocks::kEntryBytes, piece);
        }
        const uint64_t blocksInTable = BlockOf(bytes / VhdxBlocks::kEntryBytes);
        _found.missingBytes +=
            _shape.diskBytes - std::min(_shape.diskBytes, blocksInTable * _shape.blockBytes);
        _found.contested = _claims.Contested();
        CountHidden();
        CountBeyond(needed);
        return std::move(_found);
    }

private:
    static constexpr uint64_t kPieceBytes = uint64_t{64} << 10;

    uint64_t NeededEntries() const
    {
        if (_shape.Blocks() == 0)
            return 0;
        const uint64_t last = _shape.Blocks() - 1;
        return (_shape.hasParent ? _shape.EntryOfBits(last) : _shape.EntryOfBlock(last)) + 1;
    }

    bool IsOfBits(uint64_t index) const
    {
        return index % (_shape.BlocksOfBits() + 1) == _shape.BlocksOfBits();
    }

    // How many blocks have an entry before this one.
    uint64_t BlockOf(uint64_t index) const { return index - index / (_shape.BlocksOfBits() + 1); }

    // Of the last block the disk may need a part only; of one beyond the disk nothing.
    uint64_t BytesOfBlock(uint64_t block) const
    {
        const uint64_t begin = std::min(_shape.diskBytes, block * _shape.blockBytes);
        return std::min<uint64_t>(_shape.blockBytes, _shape.diskBytes - begin);
    }

    void TakeEntries(uint64_t index, const std::vector<uint8_t> &piece)
    {
        for (ByteReader reader(piece); reader.Left() > 0; ++index) {
            const uint64_t number = reader.U64();
            const VhdxBlocks::Entry entry = VhdxBlocks::ParseEntry(number);
            const bool isOfBits = IsOfBits(index);
            if (!isOfBits)
                TakeUnstored(number, entry, BytesOfBlock(BlockOf(index)));
            const bool isStored = entry.state == VhdxBlocks::State::kPresent ||
                                  entry.state == VhdxBlocks::State::kPartlyPresent;
            if (!isStored || entry.at == 0 || (isOfBits && !_shape.hasParent))
                continue;
            const uint64_t bytes =
                isOfBits ? VhdxBlocks::kBytesOfBits : BytesOfBlock(BlockOf(index));
            if (bytes > 0)
                _claims.Add(entry.at, bytes);
            if (!isOfBits)
                _found.missingBytes += BeyondTheEnd(entry.at, bytes);
        }
    }

    void TakeUnstored(uint64_t number, const VhdxBlocks::Entry &entry, uint64_t bytes)
    {
        constexpr size_t kMostKept = 4096;
        constexpr uint64_t kState = 7;
        constexpr uint64_t kMarkedAsZeros = 2;
        if (entry.state == VhdxBlocks::State::kNotPresent && bytes > 0)
            ++_found.absentBlocks;
        if (entry.state == VhdxBlocks::State::kZeros && (number & kState) == kMarkedAsZeros &&
            entry.at != 0 && _marked.size() < kMostKept)
            _marked.push_back({entry.at, bytes});
    }

    // A place that another block has taken since is no contradiction.
    void CountHidden()
    {
        for (const ByteRange &block : _marked) {
            if (!_claims.IsTaken(block.offset) && HoldsData(block))
                ++_found.hiddenBlocks;
        }
    }

    bool HoldsData(const ByteRange &block)
    {
        std::vector<uint8_t> piece;
        for (uint64_t done = 0; done < block.length && _lookedAt < VhdxTable::kMostLookedAt;
             done += piece.size(), _lookedAt += piece.size()) {
            piece.assign(static_cast<size_t>(std::min(kPieceBytes, block.length - done)), 0);
            ByteRanges gaps;
            (void)_file.Salvage(block.offset + done, piece.data(), piece.size(), &gaps);
            if (std::any_of(piece.begin(), piece.end(), [](uint8_t byte) { return byte != 0; }))
                return true;
        }
        return false;
    }

    // needed: bytes of the table.
    void CountBeyond(uint64_t needed)
    {
        const uint64_t end = std::min(_shape.tableBytes, needed + VhdxTable::kMostBeyond);
        std::vector<uint8_t> piece;
        for (uint64_t at = needed; at < end; at += piece.size()) {
            piece.resize(static_cast<size_t>(std::min(kPieceBytes, end - at)));
            if (_file.ReadAt(_shape.tableAt + at, piece.data(), piece.size()))
                continue;
            uint64_t index = at / VhdxBlocks::kEntryBytes;
            for (ByteReader reader(piece); reader.Left() > 0; ++index) {
                const VhdxBlocks::Entry entry = VhdxBlocks::ParseEntry(reader.U64());
                const bool isStored = entry.state == VhdxBlocks::State::kPresent && entry.at != 0;
                if (isStored && !IsOfBits(index))
                    ++_found.blocksBeyond;
            }
        }
    }

    uint64_t BeyondTheEnd(uint64_t at, uint64_t bytes) const
    {
        const uint64_t left = _file.Size() - std::min(_file.Size(), at);
        return bytes - std::min(bytes, left);
    }

    const ByteSource &_file;
    const VhdxBlocks::Shape &_shape;
    Claims _claims;
    VhdxTable _found;
    ByteRanges _marked;  // blocks that are marked as zeros and have a place
    uint64_t _lookedAt = 0;
};

}  // namespace

VhdxTable VhdxTable::Examine(const ByteSource &file, const VhdxBlocks::Shape &shape,
                             const std::vector<VhdxRegion> &taken)
{
    return Examination(file, shape, taken).Run();
}

}  // namespace vx
