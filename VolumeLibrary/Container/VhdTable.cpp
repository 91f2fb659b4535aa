#include "VhdTable.h"

#include "ByteReader.h"
#include "PieceClaims.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vx {
namespace {

class Examination {
public:
    Examination(const ByteSource &file, const VhdBlocks::Shape &shape, ByteRanges beside)
        : _file(file), _shape(shape), _claims(file.Size(), shape.StoredBytes(), std::move(beside))
    {
    }

    VhdTable Run()
    {
        constexpr uint64_t kPieceBytes = uint64_t{64} << 10;
        constexpr uint64_t kEntriesAtOnce = kPieceBytes / VhdBlocks::kEntryBytes;
        const uint64_t entries = _shape.NeededEntries();
        for (uint64_t first = 0; first < entries; first += kEntriesAtOnce)
            TakePiece(first, std::min(kEntriesAtOnce, entries - first));
        return {_claims.Contested(), _claims.IsComplete()};
    }

private:
    // Of a piece with a bad sector the others are taken.
    void TakePiece(uint64_t first, uint64_t count)
    {
        constexpr uint64_t kEntriesOfSector = 512 / VhdBlocks::kEntryBytes;
        if (TakeEntries(first, count) || count <= kEntriesOfSector)
            return;
        for (uint64_t done = 0; done < count; done += kEntriesOfSector)
            (void)TakeEntries(first + done, std::min(kEntriesOfSector, count - done));
    }

    bool TakeEntries(uint64_t first, uint64_t count)
    {
        std::vector<uint8_t> bytes(static_cast<size_t>(count * VhdBlocks::kEntryBytes));
        if (_file.ReadAt(_shape.tableAt + first * VhdBlocks::kEntryBytes, bytes.data(),
                         bytes.size()))
            return false;
        ByteReader reader(bytes);
        for (uint64_t block = first; reader.Left() > 0; ++block) {
            const uint32_t sector = reader.BigU32();
            if (sector != VhdBlocks::kNotStored)
                _claims.Add(sector * VhdBlocks::kSector, _shape.NeededBytes(block));
        }
        return true;
    }

    const ByteSource &_file;
    const VhdBlocks::Shape &_shape;
    PieceClaims _claims;
};

}  // namespace

VhdTable VhdTable::Examine(const ByteSource &file, const VhdBlocks::Shape &shape, ByteRanges beside)
{
    beside.push_back({shape.tableAt, shape.NeededEntries() * VhdBlocks::kEntryBytes});
    return Examination(file, shape, std::move(beside)).Run();
}

}  // namespace vx
